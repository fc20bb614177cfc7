// dirwatch: the friendly front end of the agent.

#include <CLI/CLI.hpp>
#include <functional>
#include <memory>

#include "cli/commands.h"

namespace {

// What the command that was named does; gives the exit status.
using Chosen = std::function<int()>;

// A command and its options, which live as long as the command.
template <typename Options>
struct Command {
  CLI::App* app;
  Options& options;
};

template <typename Options>
Command<Options> add_command(CLI::App& program, Chosen& chosen, const char* name,
                             const char* sentence, int (*run)(const Options&)) {
  CLI::App* const app = program.add_subcommand(name, sentence);
  const auto options = std::make_shared<Options>();
  app->callback([&chosen, run, options] { chosen = [run, options] { return run(*options); }; });
  return {app, *options};
}

void add_controller(CLI::App* command, std::string& target, bool is_required = false) {
  command
      ->add_option("-c,--controller", target,
                   "a recording's folder, or ldap://HOST, ldaps://HOST, ldapi://SOCKET; "
                   "default: $DIRWATCH_CONTROLLER, else the recording inside the program")
      ->required(is_required);
}

void add_text_or_json(CLI::App* command, std::string& target) {
  command->add_option("-f,--format", target, "text or json")
      ->check(CLI::IsMember({"text", "json"}));
}

void add_agent_output(CLI::App* command, bool& target) {
  command->add_flag("--agent-output", target,
                    "show what the agent itself prints (values, progress) on standard error");
}

// Commands that look at what there is.
void add_lists(CLI::App& program, Chosen& chosen) {
  const auto tables =
      add_command(program, chosen, "tables", "List the tables, or describe the columns of one",
                  cli::tables_command);
  tables.app->add_option("TABLE", tables.options.table, "a table's name, for instance DCWNTDSCNT");
  add_text_or_json(tables.app, tables.options.format);

  const auto counters =
      add_command(program, chosen, "counters",
                  "Show each performance counter that the tables want: is it there, and its value",
                  cli::counters_command);
  counters.app->add_option("TABLE", counters.options.table,
                           "one table by name; default: all of them");
  add_controller(counters.app, counters.options.controller);
  add_text_or_json(counters.app, counters.options.format);

  const auto caches = add_command(
      program, chosen, "caches",
      "Show what the caches of the agent that runs on this machine do now", cli::caches_command);
  add_text_or_json(caches.app, caches.options.format);

  const auto config = add_command(program, chosen, "config",
                                  "Show every setting: its value in force, and where it comes from",
                                  cli::config_command);
  add_controller(config.app, config.options.controller);
  add_text_or_json(config.app, config.options.format);
  config.app->add_option("--config", config.options.configuration,
                         "a configuration file (TOML); default: $DIRWATCH_CONFIG");
}

// Commands that ask a controller for rows, or keep what it answers.
void add_runs(CLI::App& program, Chosen& chosen) {
  const auto sample =
      add_command(program, chosen, "sample",
                  "Sample tables once; the exit status is 0 when every table named gave rows",
                  cli::sample_command);
  sample.app->add_option("TABLE", sample.options.tables, "tables by name; default: every table");
  add_controller(sample.app, sample.options.controller);
  sample.app
      ->add_option("-f,--format", sample.options.format, "table, json (one object a row) or csv")
      ->check(CLI::IsMember({"table", "json", "csv"}));
  sample.app->add_option("--config", sample.options.configuration, "a configuration file (TOML)");
  add_agent_output(sample.app, sample.options.agent_output);
  sample.app->add_flag("--real-time", sample.options.real_time,
                       "a recording's waits last as long as a live controller's would");

  const auto run =
      add_command(program, chosen, "run",
                  "Run the agent on the console until it is stopped (Ctrl-C)", cli::run_command);
  add_controller(run.app, run.options.controller);
  run.app->add_option("--config", run.options.configuration, "a configuration file (TOML)");
  add_agent_output(run.app, run.options.agent_output);

  const auto record =
      add_command(program, chosen, "record", "Write a recording of a live controller into a folder",
                  cli::record_command);
  add_controller(record.app, record.options.controller, true);
  record.app->add_option("-o,--output", record.options.output, "the folder to make")->required();
}

void add_service(CLI::App& program, Chosen& chosen) {
  const auto service = add_command(program, chosen, "service",
                                   "The agent as a service of this machine", cli::service_command);
  cli::ServiceOptions& options = service.options;
  const auto add = [&](const char* name, const char* sentence) {
    return service.app->add_subcommand(name, sentence)->callback([&options, name] {
      options.action = name;
    });
  };
  service.app->require_subcommand(1);
  add("install", "Register the service and make the settings that are missing");
  add("uninstall", "Stop the service and take it out; its settings stay")
      ->add_flag("--purge", options.purge, "the settings and what the agent wrote go, too");
  add("start", "Start it, and wait until it runs");
  add("stop", "Stop it, and wait until it has stopped");
  add("status", "Tell how it stands; the exit status is 0 when it runs");
}

}  // namespace

int main(int argc, char** argv) {
  CLI::App program{
      "DirWatcher: the health of Active Directory from one controller's point of view"};
  program.require_subcommand(1);
  program.set_version_flag("--version", DIRWATCH_VERSION);
  Chosen chosen;
  add_lists(program, chosen);
  add_runs(program, chosen);
  add_service(program, chosen);
  try {
    program.parse(argc, argv);
  } catch (const CLI::ParseError& error) {
    return program.exit(error) == 0 ? 0 : 2;
  }
  return chosen();
}
