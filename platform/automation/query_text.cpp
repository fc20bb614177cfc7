#include "platform/automation/query_text.h"

#include "platform/recorded/utf8.h"

namespace platform {
namespace {

std::vector<std::string> split(std::string_view text, char separator) {
  std::vector<std::string> pieces;
  for (;;) {
    const std::size_t at = text.find(separator);
    pieces.emplace_back(text.substr(0, at));
    if (at == text.npos) return pieces;
    text.remove_prefix(at + 1);
  }
}

std::optional<SearchScope> parse_scope(std::string_view text) {
  if (equal_without_case(text, "base")) return SearchScope::kBase;
  if (equal_without_case(text, "onelevel")) return SearchScope::kOneLevel;
  if (equal_without_case(text, "subtree")) return SearchScope::kSubtree;
  return std::nullopt;
}

}  // namespace

std::optional<QueryText> parse_query_text(std::string_view text) {
  const std::vector<std::string> pieces = split(text, ';');
  if (pieces.size() < 3 || pieces.size() > 4) return std::nullopt;
  const std::string& base = pieces[0];
  if (base.size() < 2 || base.front() != '<' || base.back() != '>') return std::nullopt;
  const auto path = parse_path(std::string_view(base).substr(1, base.size() - 2));
  if (!path || path->is_root) return std::nullopt;
  const auto scope = pieces.size() == 4 ? parse_scope(pieces[3]) : SearchScope::kSubtree;
  if (!scope) return std::nullopt;
  return QueryText{*path, pieces[1], split(pieces[2], ','), *scope};
}

}  // namespace platform
