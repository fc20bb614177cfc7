#include "platform/counters/counter_path.h"

#include <charconv>

namespace platform {
namespace {

// Splits "name#12" into the name and its index; a hash with anything else behind it is a letter.
void parse_instance(std::string_view text, CounterPath& path) {
  const std::size_t hash = text.rfind('#');
  if (hash != std::string_view::npos && hash > 0) {
    std::uint32_t index = 0;
    const char* end = text.data() + text.size();
    const auto [stopped, error] = std::from_chars(text.data() + hash + 1, end, index);
    if (error == std::errc() && stopped == end) {
      path.index = index;
      text = text.substr(0, hash);
    }
  }
  path.instance = text;
}

}  // namespace

bool parse_counter_path(std::string_view text, CounterPath& path) {
  path = CounterPath();
  if (text.starts_with("\\\\")) {
    const std::size_t end = text.find('\\', 2);
    if (end == std::string_view::npos || end == 2) return false;
    path.machine = text.substr(2, end - 2);
    text.remove_prefix(end);
  }
  if (!text.starts_with('\\')) return false;
  text.remove_prefix(1);
  const std::size_t object_end = text.find_first_of("\\(");
  if (object_end == std::string_view::npos || object_end == 0) return false;
  path.object = text.substr(0, object_end);
  if (text[object_end] == '\\') {
    path.counter = text.substr(object_end + 1);
    return !path.counter.empty();
  }
  const std::size_t close = text.rfind(")\\");
  if (close == std::string_view::npos || close <= object_end + 1) return false;
  parse_instance(text.substr(object_end + 1, close - object_end - 1), path);
  path.counter = text.substr(close + 2);
  return !path.counter.empty();
}

std::string instance_text(const CounterPath& path) {
  std::string text = path.parent.empty() ? path.instance : path.parent + "/" + path.instance;
  if (path.index != kNoInstanceIndex && path.index != 0) text += "#" + std::to_string(path.index);
  return text;
}

std::string counter_path_text(const CounterPath& path) {
  std::string text;
  if (!path.machine.empty()) {
    text += path.machine.starts_with("\\\\") ? path.machine : "\\\\" + path.machine;
  }
  text += "\\" + path.object;
  if (!path.instance.empty() || !path.parent.empty()) {
    text += "(";
    if (!path.parent.empty()) text += path.parent + "/";
    text += path.instance;
    if (path.index != kNoInstanceIndex) text += "#" + std::to_string(path.index);
    text += ")";
  }
  return text + "\\" + path.counter;
}

}  // namespace platform
