#pragma once
// The service that tests make on the machine under test, and take away again.

#include <string>

#include "include/platform/service_manager.h"

namespace fixture {

// 70 characters, three of them outside ASCII.
inline const wchar_t* const kDisplayName =
    L"Gr\u00F6\u00DFe \u4E00 of the service that a test made, seventy characters long total";
static_assert(sizeof(wchar_t) == 2);

// False with the last error set.
inline bool create(const wchar_t* name) {
  const SC_HANDLE manager = OpenSCManagerW(nullptr, nullptr, SC_MANAGER_ALL_ACCESS);
  if (manager == nullptr) return false;
  const SC_HANDLE service =
      CreateServiceW(manager, name, kDisplayName, SERVICE_ALL_ACCESS, SERVICE_WIN32_OWN_PROCESS,
                     SERVICE_DEMAND_START, SERVICE_ERROR_NORMAL, L"C:\\fixture\\program.exe -x",
                     L"Fixture", nullptr, nullptr, nullptr, nullptr);
  if (service != nullptr) CloseServiceHandle(service);
  CloseServiceHandle(manager);
  return service != nullptr;
}

inline bool remove(const wchar_t* name) {
  const SC_HANDLE manager = OpenSCManagerW(nullptr, nullptr, SC_MANAGER_ALL_ACCESS);
  if (manager == nullptr) return false;
  const SC_HANDLE service = OpenServiceW(manager, name, SERVICE_ALL_ACCESS);
  const bool gone = service != nullptr && DeleteService(service) != 0;
  if (service != nullptr) CloseServiceHandle(service);
  CloseServiceHandle(manager);
  return gone;
}

}  // namespace fixture
