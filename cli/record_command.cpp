#include <cstdio>

#include "cli/commands.h"
#include "cli/host.h"

namespace cli {

int record_command(const RecordOptions& options) {
  std::string error;
  if (!record_controller(options.controller, options.output, error)) {
    std::fprintf(stderr, "dirwatch: %s\n", error.c_str());
    return 1;
  }
  std::fprintf(stderr, "recorded %s into %s; try: dirwatch sample --controller %s\n",
               options.controller.c_str(), options.output.c_str(), options.output.c_str());
  return 0;
}

}  // namespace cli
