#include "platform/recorded/distinguished_name.h"

#include "platform/recorded/utf8.h"

namespace platform {
namespace {

int hex_digit(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  return -1;
}

std::string_view trim(std::string_view text) {
  while (text.starts_with(' ')) text.remove_prefix(1);
  // A blank that a backslash stands before belongs to the value.
  while (text.ends_with(' ') && !(text.size() > 1 && text[text.size() - 2] == '\\')) {
    text.remove_suffix(1);
  }
  return text;
}

std::string unescape(std::string_view text) {
  std::string plain;
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (text[i] != '\\' || i + 1 == text.size()) {
      plain.push_back(text[i]);
    } else if (i + 2 < text.size() && hex_digit(text[i + 1]) >= 0 && hex_digit(text[i + 2]) >= 0) {
      plain.push_back(static_cast<char>(hex_digit(text[i + 1]) * 16 + hex_digit(text[i + 2])));
      i += 2;
    } else {
      plain.push_back(text[++i]);
    }
  }
  return plain;
}

struct RelativeName {
  std::string type;   // small letters
  std::string value;  // without escapes
};

RelativeName parse_relative_name(std::string_view text) {
  const std::size_t equals = text.find('=');
  if (equals == std::string_view::npos) return {{}, unescape(trim(text))};
  return {fold_case(trim(text.substr(0, equals))), unescape(trim(text.substr(equals + 1)))};
}

// Enough escaping that two different names never give one text.
void append_escaped(std::string& text, std::string_view value) {
  for (const char c : value) {
    if (c == ',' || c == '\\') text.push_back('\\');
    text.push_back(c);
  }
}

}  // namespace

std::size_t find_unescaped(std::string_view text, char wanted, std::size_t from) {
  for (std::size_t i = from; i < text.size(); ++i) {
    if (text[i] == '\\') {
      ++i;
    } else if (text[i] == wanted) {
      return i;
    }
  }
  return std::string_view::npos;
}

std::vector<std::string_view> split_dn(std::string_view dn) {
  std::vector<std::string_view> names;
  if (trim(dn).empty()) return names;
  for (std::size_t begin = 0;;) {
    const std::size_t comma = find_unescaped(dn, ',', begin);
    names.push_back(trim(dn.substr(begin, comma - begin)));
    if (comma == std::string_view::npos) return names;
    begin = comma + 1;
  }
}

std::string normalise_dn(std::string_view dn) {
  std::string normal;
  for (const std::string_view name : split_dn(dn)) {
    const RelativeName parts = parse_relative_name(name);
    if (!normal.empty()) normal.push_back(',');
    normal.append(parts.type).push_back('=');
    append_escaped(normal, fold_case(parts.value));
  }
  return normal;
}

std::string_view parent_dn(std::string_view dn) {
  const std::size_t comma = find_unescaped(dn, ',');
  return comma == std::string_view::npos ? std::string_view() : trim(dn.substr(comma + 1));
}

std::string leaf_value(std::string_view dn) {
  const std::vector<std::string_view> names = split_dn(dn);
  return names.empty() ? std::string() : parse_relative_name(names.front()).value;
}

std::string dns_name(std::string_view dn) {
  std::string name;
  for (const std::string_view part : split_dn(dn)) {
    const RelativeName relative = parse_relative_name(part);
    if (relative.type != "dc") continue;
    if (!name.empty()) name.push_back('.');
    name += relative.value;
  }
  return name;
}

std::string canonical_name(std::string_view dn) {
  const std::vector<std::string_view> names = split_dn(dn);
  std::size_t domain_begin = names.size();
  while (domain_begin > 0 && parse_relative_name(names[domain_begin - 1]).type == "dc") {
    --domain_begin;
  }
  std::string path;
  for (std::size_t i = domain_begin; i < names.size(); ++i) {
    if (!path.empty()) path.push_back('.');
    path += parse_relative_name(names[i]).value;
  }
  path.push_back('/');
  for (std::size_t i = domain_begin; i-- > 0;) {
    for (const char c : parse_relative_name(names[i]).value) {
      if (c == '/') path.push_back('\\');
      path.push_back(c);
    }
    if (i > 0) path.push_back('/');
  }
  return path;
}

}  // namespace platform
