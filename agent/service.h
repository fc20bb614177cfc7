#pragma once
// The agent's life as a Windows service: what it reports to the Service Control Manager and how it
// answers controls. A console run shares none of it but terminate, which then reports nothing.

#include <atomic>

#include "include/platform/base.h"
#include "include/platform/service_manager.h"
#include "include/platform/threads.h"

// The service's name; writable only because the dispatch table's type asks for it.
extern char g_serviceName[];
extern char* ServiceName;

// Guards the service status record; made and destroyed by Main.
extern CRITICAL_SECTION g_statusLock;
extern SERVICE_STATUS g_serviceStatus;  // the last status sent; under g_statusLock
// Null until the control handler is registered, and always in console mode.
extern std::atomic<SERVICE_STATUS_HANDLE> g_serviceStatusHandle;
// Set when the service is started with the argument "rereg"; nothing reads it.
extern std::atomic<std::int32_t> g_reregisterDll;

// The service's body, on the dispatcher's thread: starts the agent and waits for its end.
void WINAPI ServiceMain(DWORD argument_count, char** arguments);
// Acts on a control, on the dispatcher's thread.
void WINAPI ServiceCtrlHandler(DWORD control);

// Reports a status; the result of SetServiceStatus. A report that fails ends the process. Any
// thread.
BOOL SendStatusToSCM(DWORD state, DWORD exit_code, DWORD specific_exit_code, DWORD check_point,
                     DWORD wait_hint);

// Runs the orderly stop on a thread of its own, so that the control handler can return.
void LaunchServiceTerminationThread();
unsigned ServiceTerminationThread(void* argument);

// The system goes down: ends the process at once, deliberately without the orderly stop.
void LaunchServiceShutdown();
