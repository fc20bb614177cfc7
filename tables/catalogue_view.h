#pragma once
// The catalogue as plain values, for programs that show tables and columns without knowing any of
// them: the command line program and the reference page. The agent itself never needs it, and so
// does not carry the sentences.

#include <cstdint>
#include <span>

namespace tables {

struct ColumnView {
  const char* name;      // upper case
  const char* lower;     // as GetColumnInfo gives it
  const char* sentence;  // what it measures, its unit and special values
  std::uint16_t type;    // 3 integer, 9 text, 12 UTF-8 text
  std::uint16_t offset;  // bytes
  std::uint16_t width;   // bytes
};

struct TableView {
  const char* name;        // upper case
  const char* lower;       // lower case, as in the names of the table's classes
  const char* sentence;    // what one row tells
  const char* table_word;  // label in the timing lines; null where sampling is not timed
  int table_index;         // its number there; 0 where not timed
  std::uint32_t row_size;  // bytes
  std::span<const ColumnView> columns;
};

// All tables, in the order in which the agent registers them. Static data; any thread.
std::span<const TableView> catalogue();

}  // namespace tables
