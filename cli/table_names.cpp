#include "cli/table_names.h"

#include <algorithm>
#include <cctype>
#include <cstdio>

namespace cli {

namespace {

bool same(std::string_view a, std::string_view b) {
  return std::equal(a.begin(), a.end(), b.begin(), b.end(), [](unsigned char x, unsigned char y) {
    return std::toupper(x) == std::toupper(y);
  });
}

}  // namespace

const tables::TableView* find_table(std::string_view name) {
  const tables::TableView* by_word = nullptr;
  int words = 0;
  for (const tables::TableView& table : tables::catalogue()) {
    if (same(table.name, name)) return &table;
    if (table.table_word != nullptr && same(table.table_word, name)) {
      by_word = &table;
      ++words;
    }
  }
  return words == 1 ? by_word : nullptr;
}

int report_unknown_table(std::string_view name) {
  std::fprintf(stderr, "dirwatch: no table is named '%.*s'; 'dirwatch tables' lists them all\n",
               static_cast<int>(name.size()), name.data());
  return 2;
}

}  // namespace cli
