#include "tools/table_reference.h"

#include <sstream>

#include "tables/catalogue_view.h"

namespace {

constexpr const char* kIntroduction = R"(# Tables

Generated from tables/catalogue; do not edit: `table_reference > docs/tables.md` writes this page.

A row is one flat block of bytes: the columns in order with no gap between them. An integer is 32
bits, signed. A text fills its width, padded with blanks or zero bytes, and needs no zero end; what
is longer is cut.

Values of performance counters are truncated to whole numbers. A counter that could not be read
shows 0, one that does not fit 32 bits shows -2147483648, and -1 stands for a value that this
version of the system lacks.

)";

const char* type_name(std::uint16_t type) {
  switch (type) {
    case 3:
      return "integer";
    case 9:
      return "text";
    default:
      return "UTF-8 text";
  }
}

// Text that Markdown shows as it stands in a cell of a table.
std::string cell(const char* text) {
  std::string result;
  for (; *text != '\0'; ++text) {
    if (*text == '|' || *text == '\\' || *text == '_' || *text == '*') result += '\\';
    result += *text;
  }
  return result;
}

void write_list(std::ostream& page) {
  page << "| Table | Word | Columns | Row size | One row tells |\n|---|---|---|---|---|\n";
  for (const tables::TableView& table : tables::catalogue()) {
    page << "| [" << table.name << "](#" << table.lower << ") | "
         << (table.table_word != nullptr ? table.table_word : "") << " | " << table.columns.size()
         << " | " << table.row_size << " | " << cell(table.sentence) << " |\n";
  }
}

void write_table(std::ostream& page, const tables::TableView& table) {
  page << "\n## " << table.name << "\n\n"
       << cell(table.sentence) << "\n\nRow size " << table.row_size << " bytes.";
  if (table.table_word != nullptr) {
    page << " Timing lines carry the number " << table.table_index << " and the word \""
         << table.table_word << "\".";
  }
  page << "\n\n| Column | Type | Offset | Width | Meaning |\n|---|---|---|---|---|\n";
  for (const tables::ColumnView& column : table.columns) {
    page << "| " << column.name << " | " << type_name(column.type) << " | " << column.offset
         << " | " << column.width << " | " << cell(column.sentence) << " |\n";
  }
}

}  // namespace

std::string table_reference() {
  std::ostringstream page;
  page << kIntroduction;
  write_list(page);
  for (const tables::TableView& table : tables::catalogue()) write_table(page, table);
  return page.str();
}
