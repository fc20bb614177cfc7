#pragma once
// Another program run to its end.

#include <string>
#include <vector>

namespace commands {

struct ProgramResult {
  std::string output;   // of both its streams
  int exit_code = 127;  // 127 when it could not be started
};

// No shell stands between: the words arrive as they are. In the C locale.
ProgramResult run_program(const std::vector<std::string>& words);

}  // namespace commands
