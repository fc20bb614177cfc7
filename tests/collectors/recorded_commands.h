#pragma once
// The commands of a recording, and the parts of rows that many tables share, as tests write them.

#include <string>
#include <utility>
#include <vector>

#include "tests/collectors/sampling.h"

namespace testing_support {

using Lines = std::vector<std::string>;
// A command line, in which stars stand for anything, and what it prints.
struct Command {
  std::string line;
  Lines output;
};

inline std::string json_text(const std::string& text) {
  std::string quoted = "\"";
  for (const char c : text) {
    if (c == '"' || c == '\\') quoted += '\\';
    quoted += c;
  }
  return quoted + "\"";
}

inline std::string commands_json(const std::vector<Command>& commands) {
  std::string text;
  for (const Command& command : commands) {
    std::string lines;
    for (const std::string& line : command.output) {
      lines += (lines.empty() ? "" : ", ") + json_text(line);
    }
    text += std::string(text.empty() ? "" : ",\n") + R"({"command": )" + json_text(command.line) +
            R"(, "output": [)" + lines + "]}";
  }
  return R"({"commands": [)" + text + "]}";
}

// Text as a column of that width holds it.
inline std::string padded(const std::string& text, std::size_t width) {
  return field(text, width, ' ');
}

inline std::string head(std::int32_t sample, std::int32_t row, const std::string& stamp) {
  return padded("NODE1", 64) + number(sample) + number(row) + stamp + std::string(128, '\0');
}

// How often a platform call was reached since the counts were reset.
inline std::uint32_t times_reached(const std::string& call) {
  for (const auto& [name, times] : platform::faults::reached()) {
    if (name == call) return times;
  }
  return 0;
}

}  // namespace testing_support
