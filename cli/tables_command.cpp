#include <algorithm>
#include <cstdio>
#include <nlohmann/json.hpp>

#include "cli/commands.h"
#include "cli/table_names.h"
#include "tables/catalogue_view.h"

namespace cli {

namespace {

const char* type_name(int type) {
  switch (type) {
    case 3:
      return "integer";
    case 9:
      return "text";
    case 12:
      return "utf-8";
    default:
      return "unknown";
  }
}

nlohmann::ordered_json as_json(const tables::TableView& table) {
  nlohmann::ordered_json columns = nlohmann::ordered_json::array();
  for (const tables::ColumnView& column : table.columns) {
    columns.push_back({{"name", column.name},
                       {"lower", column.lower},
                       {"type", column.type},
                       {"offset", column.offset},
                       {"width", column.width},
                       {"description", column.sentence}});
  }
  nlohmann::ordered_json result = {{"name", table.name}, {"row_size", table.row_size}};
  result["table_word"] = nullptr;
  result["table_index"] = nullptr;
  if (table.table_word != nullptr) {
    result["table_word"] = table.table_word;
    result["table_index"] = table.table_index;
  }
  result["description"] = table.sentence;
  result["columns"] = std::move(columns);
  return result;
}

void print_list() {
  std::printf("%-11s %-34s %7s %8s  %s\n", "TABLE", "WORD", "COLUMNS", "ROW SIZE", "ONE ROW TELLS");
  for (const tables::TableView& table : tables::catalogue()) {
    std::printf("%-11s %-34s %7zu %8zu  %s\n", table.name,
                table.table_word != nullptr ? table.table_word : "-", table.columns.size(),
                static_cast<std::size_t>(table.row_size), table.sentence);
  }
}

void print_table(const tables::TableView& table) {
  std::printf("%s  %s\n%s\n%zu columns, %zu bytes a row\n\n", table.name,
              table.table_word != nullptr ? table.table_word : "", table.sentence,
              table.columns.size(), static_cast<std::size_t>(table.row_size));
  std::printf("%-12s %-8s %6s %5s  %s\n", "COLUMN", "TYPE", "OFFSET", "WIDTH", "WHAT IT MEASURES");
  for (const tables::ColumnView& column : table.columns) {
    std::printf("%-12s %-8s %6d %5d  %s\n", column.name, type_name(column.type), int{column.offset},
                int{column.width}, column.sentence);
  }
}

}  // namespace

int tables_command(const TablesOptions& options) {
  const tables::TableView* only = nullptr;
  if (!options.table.empty()) {
    only = find_table(options.table);
    if (only == nullptr) return report_unknown_table(options.table);
  }
  if (options.format == "json") {
    nlohmann::ordered_json result = nlohmann::ordered_json::array();
    for (const tables::TableView& table : tables::catalogue()) {
      if (only == nullptr || only == &table) result.push_back(as_json(table));
    }
    std::printf("%s\n", result.dump(2).c_str());
  } else if (only != nullptr) {
    print_table(*only);
  } else {
    print_list();
  }
  return 0;
}

}  // namespace cli
