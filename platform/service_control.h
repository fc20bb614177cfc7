#pragma once
// A service manager for tests: it starts a simulated process as its service, sends it controls and
// keeps every status report. The other side of the service protocol, as platform/control.h is the
// other side of the rest.

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "include/platform/service_manager.h"

namespace platform {

namespace service_control {
class SimulatedManager;
}

// While one of these lives, StartServiceCtrlDispatcherA connects a simulated process to it: the
// service's main function runs on a thread of its own, the control handler on the dispatcher's
// thread, one control at a time. Outlives the processes that connect to it. At most one lives at a
// time. Its waits are in the platform's time.
class SimulatedServiceManager {
 public:
  struct Report {
    SERVICE_STATUS status;
    std::int64_t at_ms;       // since the manager began
    std::uint32_t thread_id;  // that reported
  };

  // What the service is started with, behind its name.
  explicit SimulatedServiceManager(std::vector<std::string> arguments = {});
  ~SimulatedServiceManager();
  SimulatedServiceManager(const SimulatedServiceManager&) = delete;
  SimulatedServiceManager& operator=(const SimulatedServiceManager&) = delete;

  // As ControlService: refused when the service does not accept it in the state that it has when
  // its turn comes, else back when the handler has returned or, as in Windows, after 30 seconds. 0
  // or the error. Code 5 stands for the system's shutdown, which nobody else may send.
  std::uint32_t control(std::uint32_t code);
  // Hands a control over whatever the service accepts, and does not wait: what a control that was
  // on its way when the state changed looks like. Any thread, also from faults::at_call.
  void send(std::uint32_t code);

  // As QueryServiceStatus: stopped before a process has connected, start pending until its first
  // report, and stopped with ERROR_PROCESS_ABORTED when it ended without a last one.
  SERVICE_STATUS status() const;
  bool wait_for_state(std::uint32_t state, std::uint32_t timeout_ms);
  // In their order, those included that came behind the report of the end and changed nothing.
  std::vector<Report> reports() const;

 private:
  std::shared_ptr<service_control::SimulatedManager> manager_;
};

}  // namespace platform
