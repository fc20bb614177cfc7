#include "agent/service.h"

#include <cstdio>

#include "agent/agent_thread.h"
#include "agent/identity.h"
#include "include/platform/text.h"
#include "include/settings.h"
#include "include/trace.h"
#include "include/unique_handle.h"

char g_serviceName[] = "DirWatcher";
char* ServiceName = g_serviceName;
CRITICAL_SECTION g_statusLock;
SERVICE_STATUS g_serviceStatus;
std::atomic<SERVICE_STATUS_HANDLE> g_serviceStatusHandle{nullptr};
std::atomic<std::int32_t> g_reregisterDll{0};

namespace {

class StatusLock {
 public:
  StatusLock() { EnterCriticalSection(&g_statusLock); }
  ~StatusLock() { LeaveCriticalSection(&g_statusLock); }
  StatusLock(const StatusLock&) = delete;
  StatusLock& operator=(const StatusLock&) = delete;
};

SERVICE_STATUS last_status() {
  const StatusLock lock;
  return g_serviceStatus;
}

// The state in words.
struct StateText {
  char text[40];
  explicit StateText(DWORD state) {
    constexpr const char* kNames[] = {
        "SERVICE_STOPPED", "SERVICE_START_PENDING",    "SERVICE_STOP_PENDING",
        "SERVICE_RUNNING", "SERVICE_CONTINUE_PENDING", "SERVICE_PAUSE_PENDING",
        "SERVICE_PAUSED"};
    if (state >= SERVICE_STOPPED && state <= SERVICE_PAUSED) {
      std::snprintf(text, sizeof text, "%s", kNames[state - SERVICE_STOPPED]);
    } else {
      std::snprintf(text, sizeof text, "0x%.8X (Unrecognized)", unsigned(state));
    }
  }
};

DWORD accepted_controls(DWORD state) {
  if (state == SERVICE_RUNNING) return SERVICE_ACCEPT_STOP | SERVICE_ACCEPT_SHUTDOWN;
  if (state == SERVICE_PAUSED) {
    return SERVICE_ACCEPT_STOP | SERVICE_ACCEPT_PAUSE_CONTINUE | SERVICE_ACCEPT_SHUTDOWN;
  }
  return 0;
}

void look_at_arguments(const trace::Scope& trace, DWORD argument_count, char** arguments) {
  if (argument_count <= 1) return;
  trace.always()("ServiceMain: Argument one: %s", arguments[1]);
  const int comparison = lstrcmpiA("rereg", arguments[1]);
  trace.always()("ServiceMain: comparison yields [%d]", comparison);
  if (comparison != 0) return;
  trace.always()("ServiceMain: indicating DLL to be reregistered");
  g_reregisterDll = 1;
}

}  // namespace

void WINAPI ServiceMain(DWORD argument_count, char** arguments) {
  DCW_TRACE("ServiceMain");
  trace.always()("ServiceMain: Invoked.");
  Thread_and_ProcessID_Info();
  g_serviceStatusHandle = RegisterServiceCtrlHandlerA(ServiceName, &ServiceCtrlHandler);
  if (g_serviceStatusHandle == nullptr) return terminate(GetLastError());
  trace.always()("ServiceMain: registered the service control handler");
  if (!SendStatusToSCM(SERVICE_START_PENDING, 0, 0, 1, 1000)) return terminate(GetLastError());
  trace.always()("ServiceMain: Sent first status. May have to re-register DLL");
  look_at_arguments(trace, argument_count, arguments);
  if (!SendStatusToSCM(SERVICE_START_PENDING, 0, 0, 2, 5000)) return terminate(GetLastError());
  trace.always()("ServiceMain: Sent second status. Calling InitService");
  if (InitService() == 0) return terminate(GetLastError());
  trace.always()("ServiceMain: Returned from InitService");
  if (!SendStatusToSCM(SERVICE_RUNNING, 0, 0, 0, 0)) return terminate(GetLastError());
  trace.always()("ServiceMain: Marked service as running. Now waiting for terminate event");
  WaitForSingleObject(hTerminateEvent, INFINITE);
  trace.always()("ServiceMain: Returned from termination event wait");
  Thread_and_ProcessID_Info();
  terminate(0);
}

namespace {

struct StatusReport {
  DWORD state;
  DWORD exit_code = 0;
  DWORD specific_exit_code = 0;
  DWORD check_point = 0;
  DWORD wait_hint = 0;  // ms
  // Sent only while the service is still in the state that it tells. The control handler reads the
  // state before it reports it, and the service may come up, or down, between the two: an older
  // state told last would stay for ever, and a service that is told to be starting takes no stop.
  bool yields_to_newer = false;
};

BOOL send(const StatusReport& report) {
  DCW_TRACE("SendStatusToSCM");
  SERVICE_STATUS status = last_status();
  status.dwServiceType = SERVICE_WIN32_OWN_PROCESS;
  status.dwCurrentState = report.state;
  status.dwControlsAccepted = accepted_controls(report.state);
  status.dwWin32ExitCode =
      report.specific_exit_code != 0 ? ERROR_SERVICE_SPECIFIC_ERROR : report.exit_code;
  status.dwServiceSpecificExitCode = report.specific_exit_code;
  status.dwCheckPoint = report.check_point;
  status.dwWaitHint = report.wait_hint;
  trace.always()("SendStatusToSCM: Sending [%s] status to SCM", StateText(report.state).text);
  BOOL sent = FALSE;
  DWORD error = 0;
  {
    const StatusLock lock;
    if (report.yields_to_newer && g_serviceStatus.dwCurrentState != report.state) {
      return trace.returns(TRUE);
    }
    g_serviceStatus = status;
    sent = SetServiceStatus(g_serviceStatusHandle, &g_serviceStatus);
    if (!sent) error = GetLastError();
  }
  if (!sent) ErrorHandler(error);
  return trace.returns(sent);
}

}  // namespace

BOOL SendStatusToSCM(DWORD state, DWORD exit_code, DWORD specific_exit_code, DWORD check_point,
                     DWORD wait_hint) {
  return send({state, exit_code, specific_exit_code, check_point, wait_hint});
}

void WINAPI ServiceCtrlHandler(DWORD control) {
  DCW_TRACE("ServiceCtrlHandler");
  trace.always()("ServiceCtrlHandler: Invoked.");
  Thread_and_ProcessID_Info();
  DWORD check_point = 0;
  DWORD state = 0;
  if (control == SERVICE_CONTROL_STOP) {
    trace.always()("ServiceCtrlHandler: Control Code - SERVICE_CONTROL_STOP");
    SendStatusToSCM(SERVICE_STOP_PENDING, 0, 0, ++check_point, 1000);
    LaunchServiceTerminationThread();
    state = SERVICE_STOP_PENDING;
    ++check_point;
  } else {
    if (control == SERVICE_CONTROL_PAUSE) {
      trace.always()(
          "ServiceCtrlHandler: Control Code - SERVICE_CONTROL_PAUSE is not supported.  "
          "Ignored.\n");
    } else if (control == SERVICE_CONTROL_CONTINUE) {
      trace.always()(
          "ServiceCtrlHandler: Control Code - SERVICE_CONTROL_CONTINUE is not supported.  "
          "Ignored.\n");
    } else if (control == SERVICE_CONTROL_INTERROGATE) {
      trace.always()("ServiceCtrlHandler: Control Code - SERVICE_CONTROL_INTERROGATE\n");
    } else if (control == SERVICE_CONTROL_SHUTDOWN) {
      trace.always()("ServiceCtrlHandler: Control Code - SERVICE_CONTROL_SHUTDOWN\n");
      SendStatusToSCM(SERVICE_STOPPED, 0, 0, 0, 0);
      LaunchServiceShutdown();
    } else {
      trace.always()("ServiceCtrlHandler: Control Code - 0x");
      trace.always()("%x", unsigned(control));
      trace.always()(" undefined.  Ignored.\n");
    }
    state = last_status().dwCurrentState;
  }
  send({.state = state, .check_point = check_point, .yields_to_newer = true});
  trace.always()("ServiceCtrlHandler: Returning control to SCM.");
}

void LaunchServiceTerminationThread() {
  DCW_TRACE("LaunchServiceTerminationThread");
  trace.always()("LaunchServiceTerminationThread: Service termination requested.");
  unsigned identifier = 0;
  // A failed start is deliberately not looked at: the service then stays at stop pending.
  const std::uintptr_t handle =
      _beginthreadex(nullptr, 0, &ServiceTerminationThread, nullptr, 0, &identifier);
  trace.always()("ServiceTerminationThread will run as thread ID:[%u] Handle [0x%llx]", identifier,
                 static_cast<unsigned long long>(handle));
  close_now(reinterpret_cast<HANDLE>(handle));
}

unsigned ServiceTerminationThread(void* /*argument*/) {
  DCW_TRACE("ServiceTerminationThread");
  trace.always()("ServiceTerminationThread: Attached.");
  Thread_and_ProcessID_Info();
  trace.always()("ServiceTerminationThread: Stopping service.");
  StopService();
  trace.always()("ServiceTerminationThread: Exiting.");
  Thread_and_ProcessID_Info();
  return trace.returns(0u);
}

void LaunchServiceShutdown() {
  DCW_TRACE("LaunchServiceShutdown");
  trace.always()("LaunchServiceShutdown: TERMINATION");
  Thread_and_ProcessID_Info();
  ExitProcess(0);
}
