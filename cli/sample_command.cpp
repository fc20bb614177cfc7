#include <algorithm>
#include <cstdio>

#include "agent/session.h"
#include "cli/commands.h"
#include "cli/host.h"
#include "cli/sample_progress.h"
#include "cli/table_names.h"

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

// Samples the configured tables one time each. False, with the reason, when the framework or the
// collectors could not start.
bool sample_once(const std::vector<std::string>& names, std::string& error) {
  agent::Session session;
  if (!session.start(error)) return false;
  Progress progress(names);
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
  if (!sample_once(names, error)) return report(error);
  return judge(*sink, names, !options.tables.empty());
}

}  // namespace cli
