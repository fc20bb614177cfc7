#pragma once
// Whether a service is installed on this machine, for the tables of the services that can be.

#include "services/service.h"

namespace counters {

// Installed and readable, whether or not it runs; false also when the service manager cannot be
// asked. What a CService tells of a name that it does not know is a dummy of -1 values.
inline bool is_installed(CService& services, const wchar_t* name) {
  if (services.GetData(name) == 0) return false;
  const ServiceRecord* record = services.GetRows();
  if (record == nullptr || record->config == nullptr) return false;
  return record->config[0].dwStartType != static_cast<DWORD>(-1);
}

}  // namespace counters
