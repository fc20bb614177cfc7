// Many starts and stops: a stop at each call of a start, each call of a start and a stop failing,
// and stops and faults at random.

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <map>
#include <sstream>

#include "agent/service.h"
#include "tests/agent/fresh_process.h"
#include "tests/agent/service_run.h"
#include "tests/support/seeds.h"

namespace {

using testing_support::in_fresh_process;
using testing_support::kMinute_ms;
using testing_support::Random;
using testing_support::Seed;

// ThreadSanitizer makes a process of its own for each start several times dearer.
#ifdef __SANITIZE_THREAD__
constexpr std::uint64_t kShare = 20;
#else
constexpr std::uint64_t kShare = 1;
#endif

using Counts = std::map<std::string, std::int64_t>;
using Calls = std::vector<std::pair<std::string, std::uint32_t>>;

std::string words(const Counts& counts) {
  std::ostringstream out;
  for (const auto& [kind, count] : counts) out << kind << " " << count << "; ";
  return out.str();
}

// The agent as a service, started and stopped once in virtual time.
class Cycle {
 public:
  Cycle() {
    // The usage text of each start.
    if (std::freopen("/dev/null", "w", stdout) == nullptr) std::abort();
    platform::set_deadlock_patience(10000);
  }
  ~Cycle() { process_.reset(); }

  void start() {
    process_ = std::make_unique<platform::SimulatedProcess>([] {
      char program[] = "DirWatcher";
      char* arguments[] = {program, nullptr};
      Main(1, arguments);
    });
  }

  platform::SimulatedServiceManager& manager() { return manager_; }
  // Stops it as an operator does, and looks at what is left. may_stay: after a fault a service
  // whose stop could not be carried out is in order too; it stays at stop pending until it is
  // killed.
  std::string finish(bool may_stay) {
    std::string complaint;
    if (!stops()) {
      const DWORD state = manager_.status().dwCurrentState;
      if (!may_stay || state != SERVICE_STOP_PENDING) {
        complaint = "it stays in state " + std::to_string(state) + "; ";
      }
      process_->kill();
      process_->wait_for_exit(kMinute_ms);
    }
    if (!process_->exited()) return complaint + "its threads do not end; ";
    if (manager_.status().dwCurrentState != SERVICE_STOPPED) complaint += "not stopped; ";
    exit_code_ = process_->exit_code();
    process_.reset();
    if (const Counts live = platform::accounting::live(); live != before_) {
      complaint += "left behind: " + words(live) + " and not " + words(before_);
    }
    return complaint;
  }
  std::uint32_t exit_code() const { return exit_code_; }

 private:
  // Sent until it is taken: one that comes before the service runs is refused.
  bool stops() {
    constexpr std::uint32_t kPause_ms = 5000;
    for (std::uint32_t waited_ms = 0; waited_ms < 10 * kMinute_ms; waited_ms += kPause_ms) {
      manager_.control(SERVICE_CONTROL_STOP);
      if (process_->wait_for_exit(kPause_ms)) return true;
    }
    return false;
  }

  const Counts before_ = platform::accounting::live();
  const platform::VirtualTime time_;
  platform::SimulatedServiceManager manager_;
  std::unique_ptr<platform::SimulatedProcess> process_;
  std::uint32_t exit_code_ = 0;
};

class ServiceCycles : public ::testing::Test {
 protected:
  ServiceCycles() {
    trc::set_flags(0);
    xaf::Configuration configuration;
    configuration.node_name = "NODE1";
    configuration.sink = "none";
    configuration.trace_flags = 0;
    configuration.only_tables = {"DCWNTDSRDS", "DCWNTDSCNT", "DCWNTDSLDP"};
    xaf::configure(configuration);
  }
  ~ServiceCycles() override { xaf::reset(); }

  // Every file of the recording, by its size: a run leaves none behind and changes none.
  std::map<std::string, std::uintmax_t> files() const {
    std::map<std::string, std::uintmax_t> all;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(recording_.folder())) {
      if (entry.is_regular_file()) all[entry.path().string()] = entry.file_size();
    }
    return all;
  }

  testing_support::SmallRecording recording_;
};

// The calls of a start and its first second, and with them those of a stop.
Calls calls_of(bool with_stop) {
  const std::string told = in_fresh_process([with_stop] {
    platform::faults::reset_counts();
    Cycle cycle;
    cycle.start();
    if (!cycle.manager().wait_for_state(SERVICE_RUNNING, kMinute_ms)) {
      return std::string("it does not start");
    }
    Sleep(1000);
    Calls reached = platform::faults::reached();
    if (const std::string complaint = cycle.finish(false); !complaint.empty()) return complaint;
    if (with_stop) reached = platform::faults::reached();
    std::ostringstream out;
    for (const auto& [call, times] : reached) out << call << " " << times << " ";
    return out.str();
  });
  Calls calls;
  std::istringstream in(told);
  std::string call;
  for (std::uint32_t times = 0; in >> call >> times;) calls.emplace_back(call, times);
  if (calls.empty()) ADD_FAILURE() << told;
  return calls;
}

TEST_F(ServiceCycles, AStopBeforeEachCallOfTheStartEndsItInOrder) {
  std::uint64_t total = 0;
  for (const auto& [call, times] : calls_of(false)) total += times;
  ASSERT_GT(total, 100u);
  constexpr std::uint64_t kMostStops = 200 / kShare;
  const std::uint64_t step = (total + kMostStops - 1) / kMostStops;
  for (std::uint64_t nth = 1; nth <= total; nth += step) {
    const std::string complaint = in_fresh_process([nth] {
      Cycle cycle;
      platform::faults::at_call("", nth, [&] { cycle.manager().send(SERVICE_CONTROL_STOP); });
      cycle.start();
      cycle.manager().wait_for_state(SERVICE_RUNNING, kMinute_ms);
      Sleep(1000);
      std::string wrong = cycle.finish(false);
      if (cycle.exit_code() != 0) wrong += "exit code " + std::to_string(cycle.exit_code());
      return wrong;
    });
    EXPECT_EQ("", complaint) << "before call " << nth;
  }
}

// Each call that a start, a second of running and a stop reach is made to fail. Of a call that
// comes often, the first few times: the service's own steps are among them.
TEST_F(ServiceCycles, EachCallThatFailsLeavesNothingBehind) {
  constexpr std::uint32_t kMostTimes = kShare == 1 ? 8 : 1;
  const Calls calls = calls_of(true);
  ASSERT_GT(calls.size(), 20u);
  for (const auto& [call, times] : calls) {
    for (std::uint32_t nth = 1; nth <= std::min(times, kMostTimes); ++nth) {
      const std::string complaint = in_fresh_process([&call = call, nth] {
        platform::faults::fail(call, nth);
        Cycle cycle;
        cycle.start();
        cycle.manager().wait_for_state(SERVICE_RUNNING, kMinute_ms);
        Sleep(1000);
        return cycle.finish(true);
      });
      EXPECT_EQ("", complaint) << call << " " << nth;
    }
  }
}

// One start, a stop at a moment or before a call that the seed chooses, perhaps a second stop or
// another control, and perhaps faults.
std::string random_cycle(Random random, const Calls& calls, std::uint64_t total) {
  Cycle cycle;
  std::string plan;
  const bool faulty = random.one_in(2);
  if (faulty) {
    for (std::uint64_t left = random.between(1, 3); left > 0; --left) {
      const auto& [call, times] = calls[random.below(calls.size())];
      const auto nth = static_cast<std::uint32_t>(random.between(1, times));
      platform::faults::fail(call, nth);
      plan += call + " " + std::to_string(nth) + " fails; ";
    }
  }
  constexpr std::uint32_t kControls[] = {SERVICE_CONTROL_STOP,        SERVICE_CONTROL_STOP,
                                         SERVICE_CONTROL_STOP,        SERVICE_CONTROL_PAUSE,
                                         SERVICE_CONTROL_INTERROGATE, SERVICE_CONTROL_SHUTDOWN};
  const std::uint32_t early = kControls[random.below(std::size(kControls))];
  if (random.one_in(2)) {
    const std::uint64_t nth = random.between(1, total);
    platform::faults::at_call("", nth, [&cycle, early] { cycle.manager().send(early); });
    plan += "control " + std::to_string(early) + " before call " + std::to_string(nth) + "; ";
  }
  cycle.start();
  cycle.manager().wait_for_state(SERVICE_RUNNING, static_cast<std::uint32_t>(random.below(2000)));
  Sleep(static_cast<DWORD>(random.below(random.one_in(10) ? 180000 : 3000)));
  if (random.one_in(4)) cycle.manager().send(kControls[random.below(std::size(kControls))]);
  if (random.one_in(4)) Sleep(static_cast<DWORD>(random.below(20)));
  std::string complaint = cycle.finish(faulty);
  if (!faulty && cycle.exit_code() != 0) {
    complaint += "exit code " + std::to_string(cycle.exit_code());
  }
  return complaint.empty() ? complaint : complaint + " with " + plan;
}

TEST_F(ServiceCycles, AThousandWithRandomStopsAndFaultsLeaveNothingBehind) {
  constexpr std::uint64_t kCycles = 1000 / kShare;
  const Calls calls = calls_of(true);
  ASSERT_GT(calls.size(), 20u);
  std::uint64_t total = 0;
  for (const auto& [call, times] : calls) total += times;
  const auto before = files();
  const Seed seed;
  for (std::uint64_t run = 0; run < kCycles && !HasFailure(); ++run) {
    const std::string complaint =
        in_fresh_process([&] { return random_cycle(seed.stream(run), calls, total); });
    EXPECT_EQ("", complaint) << "cycle " << run;
  }
  EXPECT_EQ(before, files());
}

}  // namespace
