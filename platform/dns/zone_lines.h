#pragma once
// The lexical side of zone files: lines into words, with comments, quotes, escapes and the
// parentheses that join lines.

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace platform {

struct ZoneWord {
  std::string text;  // escapes kept as they stand, so that "\." is no separator yet
  bool quoted = false;
};

struct ZoneLine {
  std::size_t number = 0;       // of its first line, from 1
  bool begins_blank = false;    // the owner is the one of the record before
  std::vector<ZoneWord> words;  // at least one
};

// Throws ControllerError, "file:line: what is wrong".
std::vector<ZoneLine> read_zone_lines(std::string_view text, const std::string& file_name);

[[noreturn]] void zone_fault(const std::string& file_name, std::size_t line,
                             const std::string& what);

}  // namespace platform
