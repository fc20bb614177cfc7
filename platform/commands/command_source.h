#pragma once
// What a controller's machine answers to the system's own commands (ping, w32tm, netdom, net,
// ntfrsutl), which no other system has in that form. Plain portable C++.

#include <cstdint>
#include <string>
#include <string_view>

namespace platform {

struct CommandAnswer {
  std::string output;  // as the command prints it, bytes of any code page
  int exit_code = 0;
  std::uint32_t takes_s = 0;  // how long it runs before it prints
};

class CommandSource {
 public:
  virtual ~CommandSource() = default;
  // What the command line prints. A command that is not there prints nothing and ends with 1, as
  // the command interpreter does. From any thread.
  virtual CommandAnswer run(std::string_view command_line) = 0;
};

}  // namespace platform
