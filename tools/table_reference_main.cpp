// Writes the reference of all tables, docs/tables.md, to standard output: run it again whenever the
// catalogue changes. A test compares the committed page with what this writes.

#include <cstdio>
#include <string>

#include "tables/catalogue_view.h"

namespace {

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

void write_introduction() {
  std::puts(
      "# Tables\n"
      "\n"
      "Generated from tables/catalogue; do not edit. `table_reference > docs/tables.md` writes "
      "it.\n"
      "\n"
      "A row is one flat block of bytes: the columns in order with no gap between them. An "
      "integer\n"
      "is 32 bits, signed. A text fills its width, padded with blanks or zero bytes, and needs no\n"
      "zero end; what is longer is cut.\n"
      "\n"
      "Values of performance counters are truncated to whole numbers. A counter that could not be\n"
      "read shows 0, one that does not fit 32 bits shows -2147483648, and -1 stands for a\n"
      "value that this version of the system lacks.\n");
}

void write_list() {
  std::puts("| Table | Word | Columns | Row size | One row tells |\n|---|---|---|---|---|");
  for (const tables::TableView& table : tables::catalogue()) {
    std::printf("| [%s](#%s) | %s | %zu | %u | %s |\n", table.name, table.lower,
                table.table_word != nullptr ? table.table_word : "", table.columns.size(),
                static_cast<unsigned>(table.row_size), cell(table.sentence).c_str());
  }
}

void write_table(const tables::TableView& table) {
  std::printf("\n## %s\n\n%s\n\n", table.name, cell(table.sentence).c_str());
  std::printf("Row size %u bytes.", static_cast<unsigned>(table.row_size));
  if (table.table_word != nullptr) {
    std::printf(" Timing lines carry the number %d and the word \"%s\".", table.table_index,
                table.table_word);
  }
  std::puts("\n\n| Column | Type | Offset | Width | Meaning |\n|---|---|---|---|---|");
  for (const tables::ColumnView& column : table.columns) {
    std::printf("| %s | %s | %u | %u | %s |\n", column.name, type_name(column.type),
                unsigned{column.offset}, unsigned{column.width}, cell(column.sentence).c_str());
  }
}

}  // namespace

int main() {
  write_introduction();
  write_list();
  for (const tables::TableView& table : tables::catalogue()) write_table(table);
  return std::fflush(stdout) == 0 ? 0 : 1;
}
