#pragma once
// The service protocol of a program that runs as a service, and questions to the service manager:
// which services there are, how each stands and how it is set up.

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

// A handle to a service manager or to one of its services.
using SC_HANDLE = struct SC_HANDLE__*;

struct ENUM_SERVICE_STATUSW {
  LPWSTR lpServiceName;
  LPWSTR lpDisplayName;
  SERVICE_STATUS ServiceStatus;
};
using LPENUM_SERVICE_STATUSW = ENUM_SERVICE_STATUSW*;

// Its strings stand behind it in the same buffer.
struct QUERY_SERVICE_CONFIGW {
  DWORD dwServiceType;
  DWORD dwStartType;
  DWORD dwErrorControl;
  LPWSTR lpBinaryPathName;
  LPWSTR lpLoadOrderGroup;
  DWORD dwTagId;
  LPWSTR lpDependencies;  // each with its zero end, and one more zero behind the last
  LPWSTR lpServiceStartName;
  LPWSTR lpDisplayName;
};
using LPQUERY_SERVICE_CONFIGW = QUERY_SERVICE_CONFIGW*;

struct SERVICE_STATUS_PROCESS {
  DWORD dwServiceType;
  DWORD dwCurrentState;
  DWORD dwControlsAccepted;
  DWORD dwWin32ExitCode;
  DWORD dwServiceSpecificExitCode;
  DWORD dwCheckPoint;
  DWORD dwWaitHint;
  DWORD dwProcessId;
  DWORD dwServiceFlags;
};

enum SC_STATUS_TYPE { SC_STATUS_PROCESS_INFO = 0 };

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

#define SERVICE_ERROR_IGNORE 0
#define SERVICE_ERROR_NORMAL 1
#define SERVICE_ERROR_SEVERE 2
#define SERVICE_ERROR_CRITICAL 3

#define SC_MANAGER_CONNECT 1
#define SC_MANAGER_ENUMERATE_SERVICE 4
#define SERVICE_QUERY_CONFIG 1
#define SERVICE_QUERY_STATUS 4

#define ERROR_INVALID_DATA 13
#define ERROR_INVALID_SERVICE_CONTROL 1052
#define ERROR_SERVICE_REQUEST_TIMEOUT 1053
#define ERROR_SERVICE_ALREADY_RUNNING 1056
#define ERROR_SERVICE_CANNOT_ACCEPT_CTRL 1061
#define ERROR_SERVICE_NOT_ACTIVE 1062
#define ERROR_PROCESS_ABORTED 1067

// Runs the service's main function on a thread of its own and its control handler on the calling
// one, control by control; true when the main function has returned. False with
// ERROR_FAILED_SERVICE_CONTROLLER_CONNECT when no service manager started this program. Only the
// first entry of the table counts.
BOOL StartServiceCtrlDispatcherA(const SERVICE_TABLE_ENTRYA* table);
// Null with ERROR_SERVICE_NOT_IN_EXE in a program that is no service. The name is not looked at.
SERVICE_STATUS_HANDLE RegisterServiceCtrlHandlerA(const char* name, LPHANDLER_FUNCTION handler);
// A report behind that of the end changes nothing: a control handler may be slower than the stop
// that it began.
BOOL SetServiceStatus(SERVICE_STATUS_HANDLE service, SERVICE_STATUS* status);

// Null on failure. The machine is null for this one; another one gives RPC_S_SERVER_UNAVAILABLE
// when no service manager answers there. The database is null.
SC_HANDLE OpenSCManagerA(const char* machine, const char* database, DWORD access);
SC_HANDLE OpenSCManagerW(const wchar_t* machine, const wchar_t* database, DWORD access);
// Null with ERROR_SERVICE_DOES_NOT_EXIST for a name that is not known. Letter case does not count.
SC_HANDLE OpenServiceA(SC_HANDLE manager, const char* name, DWORD access);
SC_HANDLE OpenServiceW(SC_HANDLE manager, const wchar_t* name, DWORD access);
BOOL CloseServiceHandle(SC_HANDLE handle);

// The records that fit into size bytes, from *resume on; ERROR_MORE_DATA when there are more, with
// the bytes that the rest needs. Strings stand in the same buffer.
BOOL EnumServicesStatusW(SC_HANDLE manager, DWORD type, DWORD state, ENUM_SERVICE_STATUSW* records,
                         DWORD size, DWORD* bytes_needed, DWORD* returned, DWORD* resume);
// ERROR_INSUFFICIENT_BUFFER, with the bytes needed, when the record and its strings do not fit.
BOOL QueryServiceConfigW(SC_HANDLE service, QUERY_SERVICE_CONFIGW* record, DWORD size,
                         DWORD* bytes_needed);
BOOL QueryServiceStatus(SC_HANDLE service, SERVICE_STATUS* status);
// The level is SC_STATUS_PROCESS_INFO, the buffer a SERVICE_STATUS_PROCESS.
BOOL QueryServiceStatusEx(SC_HANDLE service, SC_STATUS_TYPE level, BYTE* buffer, DWORD size,
                          DWORD* bytes_needed);

#endif
