// The framework's life: configuration, loading the agents, lanes, and the orderly end.

#include <cstdio>
#include <cstdlib>
#include <exception>
#include <mutex>
#include <optional>
#include <utility>

#include "framework/trc/control.h"
#include "framework/xaf/access.h"
#include "framework/xaf/control.h"
#include "framework/xaf/hub.h"
#include "framework/xaf/lane.h"
#include "framework/xaf/loader.h"
#include "framework/xaf/settings.h"
#include "platform/signals.h"
#include "platform/sockets.h"
#include "trace.h"

namespace xaf {
namespace {

constexpr std::int32_t kEnded = 0;
constexpr std::int32_t kAlreadyRunning = 1;
constexpr std::int32_t kBadConfiguration = 2;
constexpr std::int32_t kNoThread = 3;
// How often a stop that waits for samples says for which.
constexpr DWORD kPatienceMs = 10000;

struct Life {
  std::mutex mutex;
  // Guarded by mutex.
  bool running = false;
  bool shutdown_asked = false;  // also before xafmain, which then ends at once
  std::shared_ptr<Run> run;     // while running
  XAF_AgentLoader loader = nullptr;
  bool loaded = false;
};

Life& life() {
  static Life* const instance = new Life;
  return *instance;
}

BOOL WINAPI on_console_control(DWORD /*control*/) {
  XAF_Shutdown(1);
  return 1;
}

// From the start of xafmain to its end on every way out.
class Running {
 public:
  Running() : run_(std::make_shared<Run>()) {
    const std::lock_guard hold(life().mutex);
    if (life().running) return;
    life().running = true;
    started_ = true;
    life().run = run_;
    if (life().shutdown_asked) run_->shutdown.set();
  }
  ~Running() {
    if (!started_) return;
    SetConsoleCtrlHandler(on_console_control, 0);
    const std::lock_guard hold(life().mutex);
    life().running = false;
    life().shutdown_asked = false;
    life().run.reset();
  }
  Running(const Running&) = delete;
  Running& operator=(const Running&) = delete;
  bool started() const { return started_; }
  const std::shared_ptr<Run>& run() const { return run_; }

 private:
  std::shared_ptr<Run> run_;
  bool started_ = false;
};

std::int32_t refuse(const std::string& reason) {
  DCW_TRACE("xafmain");
  trace.always()("%s", reason.c_str());
  std::fprintf(stderr, "%s\n", reason.c_str());
  return trace.returns(kBadConfiguration);
}

bool read_configuration(Configuration& configuration, std::string& error) {
  CurrentConfiguration current = current_configuration();
  configuration = std::move(current.configuration);
  const char* const path = std::getenv("DIRWATCH_CONFIG");
  if (current.configured || path == nullptr || *path == '\0') return true;
  if (!load_configuration(path, configuration, error)) return false;
  configure(configuration);  // the node name is asked for elsewhere
  return true;
}

bool apply_trace_settings(const Configuration& configuration, std::string& error) {
  if (configuration.trace_flags) trc::set_flags(*configuration.trace_flags);
  for (const auto& [unit, flags] : configuration.trace_units) trc::set_unit_flags(unit, flags);
  if (configuration.trace_console) trc::set_console(true);
  if (configuration.trace_path.empty()) {
    trc::forget_early_lines();
    return true;
  }
  return trc::open_file(
      {configuration.trace_path, configuration.trace_rotate_bytes, configuration.trace_keep_files},
      error);
}

bool apply_sink(const Configuration& configuration, bool& made, std::string& error) {
  if (have_sinks() || configuration.sink == "none") return true;
  std::shared_ptr<Sink> sink =
      make_sink(configuration.sink, configuration.sink_path, error, configuration.sink_rotation);
  if (sink == nullptr) return false;
  add_sink(std::move(sink));
  made = true;
  return true;
}

// A name in the configuration that no table has is a mistake that would otherwise show only as
// rows that never come.
bool know_tables(const Configuration& configuration, std::string& error) {
  const auto known = [&error](const std::string& table) {
    if (registered_manager(table).manager != nullptr) return true;
    error = table + ": there is no such table";
    return false;
  };
  for (const std::string& table : configuration.only_tables) {
    if (!known(table)) return false;
  }
  for (const auto& [table, settings] : configuration.tables) {
    if (!known(table)) return false;
  }
  return true;
}

// Makes the lane of one table, or none when the table is not wanted or makes no object.
bool add_lane(const Registered& entry, const Configuration& configuration,
              const std::shared_ptr<Run>& run, std::vector<std::shared_ptr<Lane>>& lanes,
              std::string& error) {
  DCW_TRACE("add_lane");
  const std::string& table = entry.core->table;
  TableSettings settings = settings_of(configuration, table);
  if (!settings.enabled) return trace.returns(true);
  if (settings.interval_ms == 0) {
    error = table + ": the interval is 0";
    return trace.returns(false);
  }
  for (Threshold& threshold : settings.thresholds) threshold.column = upper_case(threshold.column);
  const _IntfSampleType type = configuration.once ? IntfSampleType_Once : IntfSampleType_Interval;
  xaftable* const object = XaftableAccess::create(entry, settings, type, false);
  if (object == nullptr) {
    trace.always()("%s: no sample object could be made, the table is not served", table.c_str());
    note_failure(table);
    return trace.returns(true);
  }
  lanes.push_back(std::make_shared<Lane>(run, entry.core, object, settings.interval_ms));
  return trace.returns(check_thresholds(table, XaftableAccess::columns(object), settings, error));
}

// One thread a lane; the last lane to end says so.
bool start_lanes(const std::vector<std::shared_ptr<Lane>>& lanes, const std::shared_ptr<Run>& run,
                 std::vector<std::unique_ptr<Thread>>& threads) {
  DCW_TRACE("start_lanes");
  run->lanes_running = static_cast<std::uint32_t>(lanes.size());
  if (lanes.empty() && run->once) run->lanes_ended.set();
  for (std::size_t index = 0; index < lanes.size(); ++index) {
    threads.push_back(std::make_unique<Thread>([lane = lanes[index], run] {
      lane->work();
      if (--run->lanes_running == 0) run->lanes_ended.set();
    }));
    if (threads.back()->started()) continue;
    trace.always()("%s: no thread for the table", lanes[index]->table().c_str());
    threads.pop_back();
    return trace.returns(false);
  }
  return trace.returns(true);
}

// Until shutdown, the end of the time given, or the end of all lanes.
void wait_for_end(Run& run) {
  const HANDLE ends[] = {run.shutdown.handle(), run.lanes_ended.handle()};
  const bool timed = run.stop_us != std::numeric_limits<std::int64_t>::max();
  while (true) {
    const std::int64_t left_us = timed ? run.stop_us - steady_us() : 0;
    if (timed && left_us <= 0) return;
    const DWORD timeout_ms = timed ? wait_ms(left_us) : INFINITE;
    if (WaitForMultipleObjects(2, ends, 0, timeout_ms) != WAIT_TIMEOUT) return;
  }
}

void join_all(const std::vector<std::shared_ptr<Lane>>& lanes,
              const std::vector<std::unique_ptr<Thread>>& threads) {
  DCW_TRACE("join_all");
  for (std::size_t index = 0; index < threads.size(); ++index) {
    while (!threads[index]->join(kPatienceMs)) {
      trace.always()("%s: the stop waits for a sample to end", lanes[index]->table().c_str());
    }
  }
}

// The loader runs on a thread of the framework's own: it may need a stack and a state of its own,
// and must not be able to disturb the one that runs xafmain.
bool load_on_own_thread() {
  Thread thread([] { load_agents(); });
  if (!thread.started()) return false;
  thread.join(INFINITE);
  return true;
}

std::int32_t run_lanes(const Configuration& configuration, const std::shared_ptr<Run>& run) {
  std::vector<std::shared_ptr<Lane>> lanes;
  std::string error;
  if (!know_tables(configuration, error)) return refuse(error);
  for (const Registered& entry : registered_managers()) {
    if (!add_lane(entry, configuration, run, lanes, error)) return refuse(error);
  }
  run->start_us = steady_us();
  std::vector<std::unique_ptr<Thread>> threads;
  const bool started = start_lanes(lanes, run, threads);
  if (started) wait_for_end(*run);
  run->shutdown.set();
  join_all(lanes, threads);
  for (const Registered& entry : registered_managers()) entry.manager->Shutdown(1);
  return started ? kEnded : kNoThread;
}

}  // namespace

void load_agents() {
  DCW_TRACE("load_agents");
  XAF_AgentLoader loader = nullptr;
  {
    const std::lock_guard hold(life().mutex);
    if (life().loaded) return;
    loader = life().loader;
    life().loaded = loader != nullptr;
  }
  if (loader == nullptr) return;
  try {
    const std::int32_t result = loader();
    if (result != 0) trace.always()("the agent loader gave %d", result);
  } catch (const std::exception& failure) {
    trace.always()("the agent loader failed: %s", failure.what());
  }
}

void reset() {
  {
    const std::lock_guard hold(life().mutex);
    life().loaded = false;
    life().loader = nullptr;
    life().shutdown_asked = false;
  }
  delete_managers();
  clear_sinks();
  forget_deliveries();
  forget_configuration();
}

namespace {

// The agent's own threads ask the sockets library for names before the framework runs, and on
// Windows it must have been started by then. It stays so to the end of the process.
void start_sockets() {
  DCW_TRACE("start_sockets");
  constexpr WORD kVersion2_2 = 0x0202;
  WSADATA data;
  if (const int error = WSAStartup(kVersion2_2, &data); error != 0) {
    trace.always()("the sockets library did not start: %d", error);
  }
}

}  // namespace

}  // namespace xaf

std::int32_t XAF_RegisterAgentLoader(XAF_AgentLoader loader) {
  xaf::start_sockets();
  const std::lock_guard hold(xaf::life().mutex);
  xaf::life().loader = loader;
  xaf::life().loaded = false;
  return 0;
}

std::int32_t XAF_Shutdown(int /*mode*/) {
  const std::lock_guard hold(xaf::life().mutex);
  xaf::life().shutdown_asked = true;
  if (xaf::life().run != nullptr) xaf::life().run->shutdown.set();
  return 0;
}

std::int32_t xafmain(int /*argument_count*/, char** /*arguments*/) {
  DCW_TRACE("xafmain");
  const xaf::Running running;
  if (!running.started()) return trace.returns(xaf::kAlreadyRunning);
  const std::shared_ptr<xaf::Run>& run = running.run();
  if (run->shutdown.wait(0)) return trace.returns(xaf::kEnded);

  xaf::Configuration configuration;
  std::string error;
  if (!xaf::read_configuration(configuration, error)) return trace.returns(xaf::refuse(error));
  if (!xaf::apply_trace_settings(configuration, error)) return trace.returns(xaf::refuse(error));
  bool sink_made = false;
  if (!xaf::apply_sink(configuration, sink_made, error)) return trace.returns(xaf::refuse(error));

  SetConsoleCtrlHandler(xaf::on_console_control, 1);
  run->once = configuration.once;
  if (configuration.stop_after_ms != 0) {
    run->stop_us = xaf::steady_us() + std::int64_t{configuration.stop_after_ms} * 1000;
  }
  std::int32_t result = xaf::kNoThread;
  if (xaf::load_on_own_thread()) result = xaf::run_lanes(configuration, run);
  xaf::close_sinks();
  if (sink_made) xaf::clear_sinks();
  return trace.returns(result);
}
