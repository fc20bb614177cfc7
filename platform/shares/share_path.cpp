#include "platform/shares/share_path.h"

#include <string>

namespace platform {
namespace {

bool is_slash(char c) { return c == '\\' || c == '/'; }

// The next name, which is taken off the front with the slashes behind it.
std::string take_name(std::string_view& path) {
  std::size_t end = 0;
  while (end < path.size() && !is_slash(path[end])) ++end;
  std::string name(path.substr(0, end));
  while (end < path.size() && is_slash(path[end])) ++end;
  path.remove_prefix(end);
  return name;
}

}  // namespace

std::optional<SharePath> parse_share_path(std::string_view path) {
  if (path.size() < 3 || !is_slash(path[0]) || !is_slash(path[1]) || is_slash(path[2])) {
    return std::nullopt;
  }
  path.remove_prefix(2);
  SharePath found;
  found.server = take_name(path);
  found.share = take_name(path);
  while (!path.empty()) {
    if (!found.path.empty()) found.path.push_back('/');
    found.path += take_name(path);
  }
  return found;
}

}  // namespace platform
