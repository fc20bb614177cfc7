#include "include/platform/files.h"
#include "include/service_handle.h"
#include "include/trace.h"
#include "tables/ckutil.h"

static_assert(sizeof(SERVICE_STATUS_PROCESS) == 36);

bool CKUtil::IsServiceRunning(const char* name) {
  DCW_TRACE("IsServiceRunning");
  trace.detail()("Service Name: %s\n", name);
  const UniqueServiceHandle manager(OpenSCManagerA(nullptr, nullptr, GENERIC_READ));
  if (!manager) {
    trace.error()("OpenSCManager failed: (%d)\n", static_cast<int>(GetLastError()));
    return trace.returns(false);
  }
  const UniqueServiceHandle service(OpenServiceA(manager.get(), name, GENERIC_READ));
  if (!service) {
    trace.error()("OpenService failed: (%d)\n", static_cast<int>(GetLastError()));
    return trace.returns(false);
  }
  SERVICE_STATUS_PROCESS status = {};
  DWORD bytes_needed = 0;
  if (!QueryServiceStatusEx(service.get(), SC_STATUS_PROCESS_INFO, reinterpret_cast<BYTE*>(&status),
                            DWORD{sizeof status}, &bytes_needed)) {
    trace.detail()("QueryServiceStatusEx failed: (%d)\n", static_cast<int>(GetLastError()));
    return trace.returns(false);
  }
  if (status.dwCurrentState != SERVICE_RUNNING) return trace.returns(false);
  trace.error()("Service is running");
  return trace.returns(true);
}
