#pragma once
// The whole agent as a service of a service manager, in virtual time.

#include <cstdint>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "agent/agent_thread.h"
#include "agent/service.h"
#include "include/platform/threads.h"
#include "include/settings.h"
#include "platform/service_control.h"
#include "tests/agent/agent_run.h"

namespace testing_support {

inline constexpr std::uint32_t kMinute_ms = 60000;

// What one status report says.
struct Told {
  DWORD state;
  DWORD check_point = 0;
  DWORD wait_hint_ms = 0;
  DWORD exit_code = 0;

  friend bool operator==(const Told&, const Told&) = default;
  friend std::ostream& operator<<(std::ostream& out, const Told& told) {
    return out << "state " << told.state << ", check point " << told.check_point << ", hint "
               << told.wait_hint_ms << ", exit code " << told.exit_code;
  }
};

inline constexpr Told kFirstStep{SERVICE_START_PENDING, 1, 1000};
inline constexpr Told kSecondStep{SERVICE_START_PENDING, 2, 5000};
inline constexpr Told kRunning{SERVICE_RUNNING};
inline constexpr Told kStopping{SERVICE_STOP_PENDING, 1, 1000};
inline constexpr Told kStillStopping{SERVICE_STOP_PENDING, 2};
inline constexpr Told kStopped{SERVICE_STOPPED};

class ServiceRun : public AgentRun {
 protected:
  using Manager = platform::SimulatedServiceManager;

  ServiceRun() { one_table(); }
  ~ServiceRun() override { process_.reset(); }

  void one_table(std::uint32_t stop_after_ms = 0, const std::string& table = "DCWNTDSRDS") {
    xaf::Configuration configuration;
    configuration.node_name = "NODE1";
    configuration.sink = "none";
    configuration.trace_flags = 1 | 128;
    configuration.only_tables = {table};
    configuration.stop_after_ms = stop_after_ms;
    configure(configuration);
  }

  void start_service(std::vector<std::string> arguments = {}) {
    manager_ = std::make_unique<Manager>(std::move(arguments));
    start({});
  }
  // The stop takes ten seconds, twice five for the sysvol test that never gives its files up: time
  // for a test to look at a service that is stopping, whatever the machine is doing.
  void start_service_that_stops_slowly(std::vector<std::string> arguments = {}) {
    manager_ = std::make_unique<Manager>(std::move(arguments));
    start_entry([] {
      g_sysvolClearEvent = CreateEventA(nullptr, TRUE, FALSE, "SYSCLRRPL");
      char program[] = "DirWatcher";
      char* words[] = {program, nullptr};
      Main(1, words);
    });
  }
  void run_until_running() {
    ASSERT_TRUE(manager_->wait_for_state(SERVICE_RUNNING, kMinute_ms));
    // Behind the report stand the last traces of the start.
    Sleep(1);
  }

  std::vector<Told> told() const {
    std::vector<Told> all;
    for (const Manager::Report& report : manager_->reports()) {
      all.push_back({report.status.dwCurrentState, report.status.dwCheckPoint,
                     report.status.dwWaitHint, report.status.dwWin32ExitCode});
    }
    return all;
  }

  std::unique_ptr<Manager> manager_;
};

}  // namespace testing_support
