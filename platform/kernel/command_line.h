#pragma once
// A command line as the command interpreter of Windows reads it, for commands of that system which
// run here under their own names.

#include <string>
#include <string_view>
#include <vector>

namespace platform::kernel {

// Words between blanks; double quotes keep blanks together and go.
std::vector<std::string> command_words(std::string_view line);

// The name of the system's own command that the line runs, in small letters and without its
// extension; empty for any other.
std::string system_command(std::string_view line);

// The words as one line for this system's shell, to which none of their characters means anything.
std::string shell_line(const std::vector<std::string>& words);

}  // namespace platform::kernel
