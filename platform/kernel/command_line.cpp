#include "platform/kernel/command_line.h"

#include <algorithm>
#include <cctype>
#include <iterator>

namespace platform::kernel {
namespace {

constexpr std::string_view kSystemCommands[] = {"ping", "w32tm", "netdom", "net", "ntfrsutl"};

}  // namespace

std::vector<std::string> command_words(std::string_view line) {
  std::vector<std::string> words;
  bool in_word = false;
  bool in_quotes = false;
  for (const char c : line) {
    if (!in_quotes && (c == ' ' || c == '\t')) {
      in_word = false;
      continue;
    }
    if (!in_word) words.emplace_back();
    in_word = true;
    if (c == '"') {
      in_quotes = !in_quotes;
    } else {
      words.back() += c;
    }
  }
  return words;
}

std::string system_command(std::string_view line) {
  const std::vector<std::string> words = command_words(line);
  if (words.empty()) return {};
  std::string name = words.front();
  std::transform(name.begin(), name.end(), name.begin(),
                 [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
  if (name.ends_with(".exe")) name.resize(name.size() - 4);
  const bool known = std::find(std::begin(kSystemCommands), std::end(kSystemCommands), name) !=
                     std::end(kSystemCommands);
  return known ? name : std::string();
}

std::string shell_line(const std::vector<std::string>& words) {
  std::string line;
  for (const std::string& word : words) {
    line += line.empty() ? "'" : " '";
    for (const char c : word) {
      if (c == '\'') {
        line += "'\\''";
      } else {
        line += c;
      }
    }
    line += "'";
  }
  return line;
}

}  // namespace platform::kernel
