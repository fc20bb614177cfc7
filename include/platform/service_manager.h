#pragma once
// The service protocol: a program that runs as a service, and the control of services.

#include "platform/base.h"
#ifdef _WIN32
#include <winsvc.h>
#else

using SERVICE_STATUS_HANDLE = void*;

struct SERVICE_STATUS {
  DWORD dwServiceType;
  DWORD dwCurrentState;
  DWORD dwControlsAccepted;
  DWORD dwWin32ExitCode;
  DWORD dwServiceSpecificExitCode;
  DWORD dwCheckPoint;
  DWORD dwWaitHint;
};
using LPSERVICE_STATUS = SERVICE_STATUS*;

using LPSERVICE_MAIN_FUNCTIONA = void (*)(DWORD argument_count, char** arguments);
using LPHANDLER_FUNCTION = void (*)(DWORD control);
struct SERVICE_TABLE_ENTRYA {
  LPSTR lpServiceName;
  LPSERVICE_MAIN_FUNCTIONA lpServiceProc;
};

#define SERVICE_WIN32_OWN_PROCESS 0x10
#define SERVICE_WIN32_SHARE_PROCESS 0x20
#define SERVICE_WIN32 0x30
#define SERVICE_KERNEL_DRIVER 0x1
#define SERVICE_FILE_SYSTEM_DRIVER 0x2
#define SERVICE_DRIVER 0xB

#define SERVICE_STOPPED 1
#define SERVICE_START_PENDING 2
#define SERVICE_STOP_PENDING 3
#define SERVICE_RUNNING 4
#define SERVICE_CONTINUE_PENDING 5
#define SERVICE_PAUSE_PENDING 6
#define SERVICE_PAUSED 7

#define SERVICE_CONTROL_STOP 1
#define SERVICE_CONTROL_PAUSE 2
#define SERVICE_CONTROL_CONTINUE 3
#define SERVICE_CONTROL_INTERROGATE 4
#define SERVICE_CONTROL_SHUTDOWN 5

#define SERVICE_ACCEPT_STOP 1
#define SERVICE_ACCEPT_PAUSE_CONTINUE 2
#define SERVICE_ACCEPT_SHUTDOWN 4

#define SERVICE_BOOT_START 0
#define SERVICE_SYSTEM_START 1
#define SERVICE_AUTO_START 2
#define SERVICE_DEMAND_START 3
#define SERVICE_DISABLED 4

#define SERVICE_ACTIVE 1
#define SERVICE_INACTIVE 2
#define SERVICE_STATE_ALL 3

// Blocks until the service has stopped. False with ERROR_FAILED_SERVICE_CONTROLLER_CONNECT when
// no service manager started this program.
BOOL StartServiceCtrlDispatcherA(const SERVICE_TABLE_ENTRYA* table);
SERVICE_STATUS_HANDLE RegisterServiceCtrlHandlerA(const char* name, LPHANDLER_FUNCTION handler);
BOOL SetServiceStatus(SERVICE_STATUS_HANDLE service, SERVICE_STATUS* status);

#endif
