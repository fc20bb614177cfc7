#include "directory/policy_file.h"

#include <algorithm>

#include "include/decimal.h"

namespace directory {
namespace {

constexpr std::size_t kLineSize = 63;  // of a buffer of 64 with its zero end

// As a stream in text mode gives it: line ends are newlines alone, and Ctrl-Z ends the file.
std::string as_text(std::string_view file) {
  file = file.substr(0, file.find('\x1A'));
  std::string text;
  text.reserve(file.size());
  for (std::size_t i = 0; i < file.size(); ++i) {
    const bool ends_line = file[i] == '\r' && i + 1 < file.size() && file[i + 1] == '\n';
    if (!ends_line) text.push_back(file[i]);
  }
  return text;
}

// The next line or piece of one, which is taken off the front of text.
std::string_view take_line(std::string_view& text) {
  const std::string_view window = text.substr(0, kLineSize);
  const std::size_t newline = window.find('\n');
  const std::string_view line = newline == window.npos ? window : window.substr(0, newline + 1);
  text.remove_prefix(line.size());
  return line;
}

std::optional<std::int32_t> version_of(std::string_view line) {
  const std::size_t equals = line.find('=');
  if (equals == line.npos) return std::nullopt;
  std::string_view number = line.substr(equals + 1);
  if (!number.empty()) number.remove_suffix(1);
  return decimal_number(number);
}

}  // namespace

std::vector<VersionLine> version_lines(std::string_view file) {
  const std::string text = as_text(file);
  std::string_view rest = text;
  std::vector<VersionLine> found;
  while (!rest.empty()) {
    std::string_view line = take_line(rest);
    line = line.substr(0, line.find('\0'));
    if (line.find("Version") == line.npos) continue;
    found.push_back({std::string(line), version_of(line)});
  }
  return found;
}

}  // namespace directory
