// dirwatch: the friendly front end of the agent.

#include <CLI/CLI.hpp>

#include "cli/commands.h"

namespace {

CLI::Option* add_controller(CLI::App* command, std::string& target) {
  return command->add_option(
      "-c,--controller", target,
      "a recording's folder, or ldap://HOST, ldaps://HOST, ldapi://SOCKET; "
      "default: $DIRWATCH_CONTROLLER, else the recording inside the program");
}

}  // namespace

int main(int argc, char** argv) {
  CLI::App app{"DirWatcher: the health of Active Directory from one controller's point of view"};
  app.require_subcommand(1);
  app.set_version_flag("--version", DIRWATCH_VERSION);

  const char* const agent_output =
      "show what the agent itself prints (values, progress) on standard error";

  cli::TablesOptions tables;
  CLI::App* tables_command =
      app.add_subcommand("tables", "List the tables, or describe the columns of one");
  tables_command->add_option("TABLE", tables.table, "a table's name, for instance DCWNTDSCNT");
  tables_command->add_option("-f,--format", tables.format, "text or json")
      ->check(CLI::IsMember({"text", "json"}));

  cli::CountersOptions counters;
  CLI::App* counters_command = app.add_subcommand(
      "counters", "Show each performance counter that the tables want: is it there, and its value");
  counters_command->add_option("TABLE", counters.table, "one table by name; default: all of them");
  add_controller(counters_command, counters.controller);
  counters_command->add_option("-f,--format", counters.format, "text or json")
      ->check(CLI::IsMember({"text", "json"}));

  cli::SampleOptions sample;
  CLI::App* sample_command = app.add_subcommand(
      "sample", "Sample tables once; the exit status is 0 when every table named gave rows");
  sample_command->add_option("TABLE", sample.tables, "tables by name; default: every table");
  add_controller(sample_command, sample.controller);
  sample_command->add_option("-f,--format", sample.format, "table, json (one object a row) or csv")
      ->check(CLI::IsMember({"table", "json", "csv"}));
  sample_command->add_option("--config", sample.configuration, "a configuration file (TOML)");

  sample_command->add_flag("--agent-output", sample.agent_output, agent_output);
  sample_command->add_flag("--real-time", sample.real_time,
                           "a recording's waits last as long as a live controller's would");

  cli::RunOptions run;
  CLI::App* run_command =
      app.add_subcommand("run", "Run the agent on the console until it is stopped (Ctrl-C)");
  add_controller(run_command, run.controller);
  run_command->add_option("--config", run.configuration, "a configuration file (TOML)");

  run_command->add_flag("--agent-output", run.agent_output, agent_output);

  cli::CachesOptions caches;
  CLI::App* caches_command = app.add_subcommand(
      "caches", "Show what the caches of the agent that runs on this machine do now");
  caches_command->add_option("-f,--format", caches.format, "text or json")
      ->check(CLI::IsMember({"text", "json"}));

  cli::RecordOptions record;
  CLI::App* record_command =
      app.add_subcommand("record", "Write a recording of a live directory into a folder");
  add_controller(record_command, record.controller)->required();
  record_command->add_option("-o,--output", record.output, "the folder to make")->required();

  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& error) {
    return app.exit(error) == 0 ? 0 : 2;
  }
  if (*tables_command) return cli::tables_command(tables);
  if (*counters_command) return cli::counters_command(counters);
  if (*sample_command) return cli::sample_command(sample);
  if (*run_command) return cli::run_command(run);
  if (*caches_command) return cli::caches_command(caches);
  return cli::record_command(record);
}
