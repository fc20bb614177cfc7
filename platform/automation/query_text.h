#pragma once
// The text of a directory query: "<LDAP://DC=x>;(filter);name,cn;SubTree".

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/adsi/path.h"
#include "platform/controller.h"

namespace platform {

struct QueryText {
  AdsPath base;
  std::string filter;
  std::vector<std::string> names;
  SearchScope scope = SearchScope::kSubtree;
};

// Nothing for a text of another form. The scope may be left out, and its case does not count.
std::optional<QueryText> parse_query_text(std::string_view text);

}  // namespace platform
