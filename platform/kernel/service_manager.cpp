// The service protocol on a machine without a service manager: every call answers as it does in a
// program that no manager started.

#include "platform/service_manager.h"

#include "platform/kernel/fault_point.h"

BOOL StartServiceCtrlDispatcherA(const SERVICE_TABLE_ENTRYA*) {
  const auto fault = platform::fault_point("StartServiceCtrlDispatcherA");
  SetLastError(fault ? fault->win32() : ERROR_FAILED_SERVICE_CONTROLLER_CONNECT);
  return FALSE;
}

SERVICE_STATUS_HANDLE RegisterServiceCtrlHandlerA(const char*, LPHANDLER_FUNCTION) {
  const auto fault = platform::fault_point("RegisterServiceCtrlHandlerA");
  SetLastError(fault ? fault->win32() : ERROR_SERVICE_NOT_IN_EXE);
  return nullptr;
}

BOOL SetServiceStatus(SERVICE_STATUS_HANDLE, SERVICE_STATUS*) {
  const auto fault = platform::fault_point("SetServiceStatus");
  SetLastError(fault ? fault->win32() : ERROR_INVALID_HANDLE);
  return FALSE;
}
