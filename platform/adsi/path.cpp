#include "platform/adsi/path.h"

#include "platform/recorded/distinguished_name.h"
#include "platform/recorded/utf8.h"

namespace platform {
namespace {

constexpr std::string_view kProvider = "LDAP://";
constexpr std::string_view kRoot = "rootDSE";

std::string without_slash_escapes(std::string_view text) {
  std::string plain;
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (text[i] == '\\' && i + 1 < text.size()) {
      if (text[i + 1] != '/') plain.push_back('\\');
      ++i;
    }
    plain.push_back(text[i]);
  }
  return plain;
}

// False for a server that is none: empty, with blanks in it, or with a port that is no number.
bool read_server(std::string_view segment, std::string& server) {
  const std::size_t colon = segment.find(':');
  server = std::string(segment.substr(0, colon));
  if (server.empty() || server.find(' ') != std::string::npos) return false;
  if (colon == std::string_view::npos) return true;
  const std::string_view port = segment.substr(colon + 1);
  return !port.empty() && port.size() <= 5 &&
         port.find_first_not_of("0123456789") == std::string_view::npos;
}

// What stands behind the server, or alone: one segment that names an object.
bool read_object(std::string_view segment, AdsPath& path) {
  if (equal_without_case(segment, kRoot)) {
    path.is_root = true;
    return true;
  }
  if (segment.find('=') == std::string_view::npos) return false;
  if (find_unescaped(segment, '/') != std::string_view::npos) return false;
  path.dn = without_slash_escapes(segment);
  return true;
}

}  // namespace

std::optional<AdsPath> parse_path(std::string_view utf8) {
  if (!utf8.starts_with(kProvider)) return std::nullopt;
  const std::string_view rest = utf8.substr(kProvider.size());
  AdsPath path;
  const std::size_t slash = find_unescaped(rest, '/');
  const std::string_view first = rest.substr(0, slash);
  if (slash == std::string_view::npos) {
    // A lone server stands for the domain that it serves.
    if (!read_object(first, path) && !read_server(first, path.server)) return std::nullopt;
    if (!path.has_dn() && first.find('=') != std::string_view::npos) return std::nullopt;
    return path;
  }
  if (first.find('=') != std::string_view::npos || !read_server(first, path.server)) {
    return std::nullopt;
  }
  if (!read_object(rest.substr(slash + 1), path)) return std::nullopt;
  return path;
}

std::string path_text(const AdsPath& path) {
  std::string text(kProvider);
  text += path.server;
  if (!path.is_root && !path.has_dn()) return text;
  if (!path.server.empty()) text.push_back('/');
  if (path.is_root) return text.append(kRoot);
  for (const char c : path.dn) {
    if (c == '/') text.push_back('\\');
    text.push_back(c);
  }
  return text;
}

}  // namespace platform
