#pragma once
// The version in a group policy's folder: the GPT.INI file that stands there, read as text. Pure:
// no files, no trace. Whatever the bytes are, there is an answer.

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace directory {

struct VersionLine {
  std::string text;  // with its newline, at most 63 characters
  // Nothing for a line without "=".
  std::optional<std::int32_t> version;
};

// The lines that hold "Version", in the file's order; the last one with a number counts. A line is
// read in pieces of 63 characters. The last character of each is taken for its newline: a file that
// ends without one loses a digit, which is how the versions have always been read and compared.
std::vector<VersionLine> version_lines(std::string_view file);

}  // namespace directory
