#pragma once
// A table is one thing, said once: a constexpr Definition in tables/catalogue/. Offsets, row size,
// lower-case names, column metadata, the row type and the table's classes follow from it at compile
// time, so that no column name is ever written twice.

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

namespace tables {

enum class ColumnType : std::uint16_t {
  kInteger = 3,  // 32-bit signed, 4 bytes
  kText = 9,     // single-byte text; fills its width, needs no zero end
  kUtf8 = 12,    // UTF-8 text; likewise
};

struct Column {
  const char* name;  // upper case
  ColumnType type;
  std::uint16_t width;   // bytes
  const char* sentence;  // what it measures, its unit and special values
};

consteval Column integer(const char* name, const char* sentence) {
  return {name, ColumnType::kInteger, 4, sentence};
}
consteval Column text(const char* name, std::uint16_t width, const char* sentence) {
  return {name, ColumnType::kText, width, sentence};
}
consteval Column utf8(const char* name, std::uint16_t width, const char* sentence) {
  return {name, ColumnType::kUtf8, width, sentence};
}

// The columns that begin every row: a long head, or a short one for tables that number nothing.
namespace head {
inline constexpr Column kNode =
    text("ORIGINNODE", 64, "Name of the node that the agent runs on, padded with blanks.");
inline constexpr Column kSample = integer(
    "SAMPLENO",
    "Number of the sample, or in a cached table of the collection that made the row, counted from "
    "1 since the agent started; 0 in tables that do not count.");
inline constexpr Column kRow = integer(
    "ROWNO", "Number of the row in its sample, from 1; tables that count otherwise say so.");
inline constexpr Column kTime = text(
    "TIMESTAMP", 16,
    "Local time at which the row was made: years since 1900 (3 digits), month, day, hour, minute, "
    "second (2 digits each) and milliseconds (3 digits, always 000).");
inline constexpr Column kAttribute =
    text("ZATTRIB", 64, "Reserved for the receiving side; always empty (zero bytes).");
inline constexpr Column kValue =
    text("ZVALUE", 64, "Reserved for the receiving side; always empty (zero bytes).");
}  // namespace head

inline constexpr std::array kLongHead = {head::kNode, head::kSample,    head::kRow,
                                         head::kTime, head::kAttribute, head::kValue};
inline constexpr std::array kShortHead = {head::kNode, head::kTime};

// The labels of a table's lines in the timing trace. They are not unique; nothing may key on them.
struct Timing {
  const char* word = nullptr;  // null: the table's sampling is not timed
  int index = 0;
};
inline constexpr Timing kNotTimed = {};

template <std::size_t kCount>
struct Definition {
  const char* name;      // upper case, for instance "DCWNTDSAB"
  const char* sentence;  // what one row tells
  Timing timing;
  std::array<Column, kCount> columns;  // the head first

  static constexpr std::size_t column_count = kCount;
  // How many rows the framework makes room for at a time; says nothing of how many there can be.
  static constexpr std::uint32_t allocation_default = 2;

  constexpr std::size_t row_size() const { return offset(kCount); }
  constexpr std::size_t offset(std::size_t column) const {
    std::size_t sum = 0;
    for (std::size_t i = 0; i < column; ++i) sum += columns[i].width;
    return sum;
  }
  // The position of the column of that upper-case name, or kCount.
  constexpr std::size_t find(std::string_view column) const {
    for (std::size_t i = 0; i < kCount; ++i) {
      if (column == columns[i].name) return i;
    }
    return kCount;
  }
};

template <std::size_t kHead, typename... Own>
consteval auto define(const std::array<Column, kHead>& head, const char* name, const char* sentence,
                      Timing timing, Own... own) {
  Definition<kHead + sizeof...(Own)> table{name, sentence, timing, {}};
  std::size_t next = 0;
  for (const Column& column : head) table.columns[next++] = column;
  ((table.columns[next++] = own), ...);
  return table;
}

// A column name as a template argument: row.set<"ABANRPS">(7).
template <std::size_t kSize>
struct Name {
  char text[kSize];
  consteval Name(const char (&source)[kSize]) {  // NOLINT: meant to convert
    for (std::size_t i = 0; i < kSize; ++i) text[i] = source[i];
  }
  constexpr std::string_view view() const { return {text, kSize - 1}; }
};

constexpr char lower_case(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c; }

// What a table's classes need of its definition at run time, worked out at compile time: everything
// but the sentences, which so stay out of programs that do not show them.
template <const auto& kTable>
struct Layout {
  using LowerName = std::array<char, 16>;
  struct Field {
    std::string_view name;  // upper case
    const char* lower;
    std::uint16_t offset;
    std::uint16_t width;
    ColumnType type;
  };

  static constexpr std::size_t row_size = kTable.row_size();
  static constexpr std::size_t column_count = kTable.column_count;

  static constexpr LowerName lowered(std::string_view name) {
    LowerName result{};
    if (name.size() >= result.size()) throw "a name is too long";  // at compile time
    for (std::size_t i = 0; i < name.size(); ++i) result[i] = lower_case(name[i]);
    return result;
  }
  static constexpr const char* table = kTable.name;
  static constexpr LowerName lower_table = lowered(kTable.name);
  static constexpr auto lower_columns = [] {
    std::array<LowerName, column_count> result{};
    for (std::size_t i = 0; i < column_count; ++i) result[i] = lowered(kTable.columns[i].name);
    return result;
  }();
  static constexpr auto fields = [] {
    std::array<Field, column_count> result{};
    std::size_t offset = 0;
    for (std::size_t i = 0; i < column_count; ++i) {
      const Column& column = kTable.columns[i];
      result[i] = {column.name, lower_columns[i].data(), static_cast<std::uint16_t>(offset),
                   column.width, column.type};
      offset += column.width;
    }
    return result;
  }();

  // The column of that upper-case name, or null. Lower case is deliberately another name.
  static constexpr const Field* find(std::string_view column) {
    for (const Field& field : fields) {
      if (field.name == column) return &field;
    }
    return nullptr;
  }
};

}  // namespace tables
