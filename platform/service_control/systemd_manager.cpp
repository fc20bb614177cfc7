// systemd as the service manager: status reports go over its notification socket, and its signals
// become controls.

#include <signal.h>
#include <systemd/sd-daemon.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <mutex>
#include <string>

#include "include/trace.h"
#include "platform/kernel/process.h"
#include "platform/service_control/session.h"
#include "platform/signal_delivery.h"

namespace platform::service_control {

namespace {

constexpr std::uint64_t kMicrosecondsInMillisecond = 1000;

// For people, as `systemctl status` shows it.
std::string in_words(const SERVICE_STATUS& status) {
  std::string words;
  switch (status.dwCurrentState) {
    case SERVICE_STOPPED:
      words = "Stopped";
      break;
    case SERVICE_START_PENDING:
      words = "Starting";
      break;
    case SERVICE_STOP_PENDING:
      words = "Stopping";
      break;
    case SERVICE_RUNNING:
      words = "Running";
      break;
    default:
      words = "State " + std::to_string(status.dwCurrentState);
      break;
  }
  if (status.dwCheckPoint != 0) words += ", step " + std::to_string(status.dwCheckPoint);
  if (status.dwWin32ExitCode != 0) words += " with error " + std::to_string(status.dwWin32ExitCode);
  return words;
}

bool goes_down(const SERVICE_STATUS& status) {
  return status.dwCurrentState == SERVICE_STOP_PENDING || status.dwCurrentState == SERVICE_STOPPED;
}

std::string message_of(const SERVICE_STATUS& status) {
  std::string message = "STATUS=" + in_words(status) + "\nMAINPID=" + std::to_string(::getpid());
  if (status.dwCurrentState == SERVICE_RUNNING) message += "\nREADY=1";
  if (goes_down(status)) message += "\nSTOPPING=1";
  if (status.dwWaitHint != 0) {
    message += "\nEXTEND_TIMEOUT_USEC=" +
               std::to_string(std::uint64_t{status.dwWaitHint} * kMicrosecondsInMillisecond);
  }
  return message;
}

bool notify(const std::string& message) { return ::sd_notify(0, message.c_str()) > 0; }

// What the service's end means to whoever started the process.
DWORD exit_code_of(const SERVICE_STATUS& last) {
  if (last.dwCurrentState != SERVICE_STOPPED) return ERROR_PROCESS_ABORTED;
  return last.dwWin32ExitCode == ERROR_SERVICE_SPECIFIC_ERROR ? last.dwServiceSpecificExitCode
                                                              : last.dwWin32ExitCode;
}

void on_signal(const std::shared_ptr<Session>& session, int number) {
  DCW_TRACE("on_signal");
  switch (number) {
    case SIGTERM:
    case SIGINT:
      // The same signal whether this service or the whole system stops; it stops in order in both
      // cases, for which systemd gives the time. One that comes during the start waits for its end.
      trace.always()("signal %d: the service is to stop", number);
      session->post({SERVICE_CONTROL_STOP, Delivery::kOnceAccepted, nullptr, nullptr});
      break;
    case SIGPWR:
      trace.always()("signal %d: the power fails", number);
      session->post({SERVICE_CONTROL_SHUTDOWN, Delivery::kRegardless, nullptr, nullptr});
      break;
    case SIGHUP:
      trace.always()("signal %d: reload is not supported; settings are read at the start", number);
      notify("STATUS=" + in_words(session->status()) +
             "; reload is not supported, restart to take new settings");
      break;
    default:
      break;
  }
}

class SystemdManager : public Manager {
 public:
  bool connected(const std::shared_ptr<Session>& session) override {
    if (!deliver_signals([session](int number) { on_signal(session, number); })) return false;
    return notify("STATUS=Starting\nMAINPID=" + std::to_string(::getpid()));
  }
  // systemd hands arguments to the program, never to the service.
  std::vector<std::string> arguments() const override { return {}; }
  DWORD report(const SERVICE_STATUS& status, bool late) override {
    if (late || notify(message_of(status))) return 0;
    return RPC_S_SERVER_UNAVAILABLE;
  }
  void disconnected(const SERVICE_STATUS& last) override {
    kernel::set_service_exit_code(exit_code_of(last));
  }
};

}  // namespace

std::shared_ptr<Manager> systemd_manager() {
  const char* const socket = std::getenv("NOTIFY_SOCKET");
  if (socket == nullptr || *socket == '\0') return nullptr;
  return std::make_shared<SystemdManager>();
}

}  // namespace platform::service_control
