#include <algorithm>
#include <cstdio>
#include <memory>
#include <optional>

#include "agent/session.h"
#include "cli/commands.h"
#include "cli/host.h"
#include "cli/sample_progress.h"
#include "cli/table_names.h"
#include "include/platform/signals.h"
#include "include/platform/threads.h"
#include "include/unique_handle.h"

namespace cli {

namespace {

int report(const std::string& error) {
  std::fprintf(stderr, "dirwatch: %s\n", error.c_str());
  return 1;
}

// The names asked for in the framework's spelling; every table when none is.
// Not 0: the exit status of a name that is no table.
int resolve(const std::vector<std::string>& asked, std::vector<std::string>& names) {
  for (const std::string& name : asked) {
    const tables::TableView* table = find_table(name);
    if (table == nullptr) return report_unknown_table(name);
    if (std::find(names.begin(), names.end(), table->name) == names.end()) {
      names.emplace_back(table->name);
    }
  }
  if (!asked.empty()) return 0;
  for (const tables::TableView& table : tables::catalogue()) {
    names.emplace_back(table.name);
  }
  return 0;
}

constexpr int kInterrupted = 130;  // as shells count an end by Ctrl-C
HANDLE interrupted = nullptr;      // signalled by Ctrl-C, while collections are waited for

BOOL WINAPI on_control(DWORD /*control*/) {
  SetEvent(interrupted);
  return TRUE;
}

// Lets Ctrl-C end the wait for collections, which the framework does not watch over.
class InterruptWatch {
 public:
  InterruptWatch() : event_(CreateEventA(nullptr, TRUE, FALSE, nullptr)) {
    interrupted = event_.get();
    if (event_) SetConsoleCtrlHandler(on_control, TRUE);
  }
  ~InterruptWatch() {
    if (event_) SetConsoleCtrlHandler(on_control, FALSE);
  }
  InterruptWatch(const InterruptWatch&) = delete;
  InterruptWatch& operator=(const InterruptWatch&) = delete;
  HANDLE event() const { return event_.get(); }

 private:
  const UniqueHandle event_;
};

void report_unfilled(const std::vector<std::string>& tables) {
  for (const std::string& table : tables) {
    std::fprintf(stderr,
                 "dirwatch: the collection of %s ended without rows; a trace file tells why "
                 "([trace] path in --config)\n",
                 table.c_str());
  }
}

// Ends the process when Ctrl-C comes first: the collections go on until then.
void fill_caches(agent::Session& session, const std::vector<std::string>& names) {
  const InterruptWatch watch;
  std::vector<std::string> unfilled;
  if (!session.fill_caches(names, watch.event(), unfilled)) {
    std::fprintf(stderr, "dirwatch: interrupted\n");
    agent::Session::abandon();
    ExitProcess(kInterrupted);
  }
  report_unfilled(unfilled);
}

// Samples the configured tables one time each. False, with the reason, when the framework or the
// collectors could not start.
bool sample_once(const std::vector<std::string>& names, bool tells_progress, std::string& error) {
  agent::Session session;
  if (!session.start(error)) return false;
  std::optional<Progress> progress;
  if (tells_progress) progress.emplace(names);
  fill_caches(session, names);
  char program[] = "dirwatch";
  char* arguments[] = {program, nullptr};
  const std::int32_t result = xafmain(1, arguments);
  if (result != 0) {
    error = "the framework ended with code " + std::to_string(result) + "; its trace tells why";
  }
  return result == 0;
}

// 0 when every table that was asked for by name gave rows, or, with none named, any table did.
int judge(const CountingSink& sink, const std::vector<std::string>& names, bool all_must) {
  std::string empty;
  std::size_t with_rows = 0;
  for (const std::string& name : names) {
    if (sink.rows(name) > 0) {
      ++with_rows;
    } else {
      empty += " " + name;
    }
  }
  if (!empty.empty()) std::fprintf(stderr, "dirwatch: no rows from%s\n", empty.c_str());
  return (all_must ? with_rows == names.size() : with_rows > 0) ? 0 : 1;
}

}  // namespace

int sample_command(const SampleOptions& options) {
  std::vector<std::string> names;
  if (const int status = resolve(options.tables, names); status != 0) return status;
  std::string error;
  xaf::Configuration configuration;
  if (!options.configuration.empty() &&
      !xaf::load_configuration(options.configuration, configuration, error)) {
    return report(error);
  }
  configuration.once = true;
  configuration.only_tables = names;
  if (!use_controller(options.controller, error)) return report(error);
  if (!keep_standard_output_for_rows(options.agent_output)) {
    return report("standard output cannot be kept for rows");
  }
  auto target = xaf::make_sink(options.format, "", error);
  if (target == nullptr) return report(error);
  const auto sink = std::make_shared<CountingSink>(target);
  xaf::add_sink(sink);
  xaf::configure(configuration);
  // What passes at once needs no progress told.
  const std::shared_ptr<void> hurry = options.real_time ? nullptr : pass_waits_at_once();
  if (!sample_once(names, hurry == nullptr, error)) return report(error);
  return judge(*sink, names, !options.tables.empty());
}

}  // namespace cli
