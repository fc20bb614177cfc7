#include <cstdio>

#include "agent/session.h"
#include "cli/commands.h"
#include "cli/host.h"
#include "framework/xaf/control.h"

namespace cli {

int run_command(const RunOptions& options) {
  std::string error;
  xaf::Configuration configuration;
  if (!options.configuration.empty() &&
      !xaf::load_configuration(options.configuration, configuration, error)) {
    std::fprintf(stderr, "dirwatch: %s\n", error.c_str());
    return 1;
  }
  if (!use_controller(options.controller, error)) {
    std::fprintf(stderr, "dirwatch: %s\n", error.c_str());
    return 1;
  }
  if (!keep_standard_output_for_rows(options.agent_output)) {
    std::fprintf(stderr, "dirwatch: standard output cannot be kept for rows\n");
    return 1;
  }
  if (!options.configuration.empty()) xaf::configure(configuration);
  std::fprintf(stderr, "dirwatch: running until Ctrl-C\n");
  return agent::run_on_console();
}

}  // namespace cli
