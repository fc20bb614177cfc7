#pragma once
// One row of a table: a flat block of the table's row size, columns in order with no gap, just as
// the framework receives it. A column is written whole by one call: value, padding and cut.

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>
#include <type_traits>

#include "tables/definition.h"

namespace tables {

template <const auto& kTable>
class Row {
 public:
  static constexpr std::size_t kSize = Layout<kTable>::row_size;

  // All bytes zero.
  Row() { clear(); }
  void clear() { std::memset(bytes_, 0, kSize); }

  char* data() { return bytes_; }
  const char* data() const { return bytes_; }

  template <Name kName>
  static constexpr typename Layout<kTable>::Field column() {
    constexpr std::size_t index = kTable.find(kName.view());
    static_assert(index < kTable.column_count, "the table has no column of that name");
    return Layout<kTable>::fields[index];
  }
  template <Name kName>
  static constexpr std::size_t width() {
    return std::integral_constant<std::size_t, column<kName>().width>::value;
  }

  // The column's bytes in the row.
  template <Name kName>
  char* field() {
    return bytes_ + std::integral_constant<std::size_t, column<kName>().offset>::value;
  }
  template <Name kName>
  const char* field() const {
    return bytes_ + std::integral_constant<std::size_t, column<kName>().offset>::value;
  }

  template <Name kName>
  void set(std::int32_t value) {
    static_assert(column<kName>().type == ColumnType::kInteger, "the column holds text");
    std::memcpy(field<kName>(), &value, sizeof value);
  }
  // Text padded with blanks to the column's width, or cut at it; no zero end.
  template <Name kName>
  void set(std::string_view value) {
    fill<kName>(value, ' ');
  }
  // Text followed by zeros up to the column's width, or cut at it: how records of fixed buffers
  // reach their columns.
  template <Name kName>
  void set_zero_padded(std::string_view value) {
    fill<kName>(value, '\0');
  }

  template <Name kName>
  std::int32_t integer() const {
    static_assert(column<kName>().type == ColumnType::kInteger, "the column holds text");
    std::int32_t value;
    std::memcpy(&value, field<kName>(), sizeof value);
    return value;
  }
  // The column's full width.
  template <Name kName>
  std::string_view text() const {
    static_assert(column<kName>().type != ColumnType::kInteger, "the column holds a number");
    return {field<kName>(), width<kName>()};
  }

 private:
  template <Name kName>
  void fill(std::string_view value, char padding) {
    static_assert(column<kName>().type != ColumnType::kInteger, "the column holds a number");
    const std::size_t length = std::min(value.size(), width<kName>());
    std::copy_n(value.data(), length, field<kName>());
    std::memset(field<kName>() + length, padding, width<kName>() - length);
  }

  char bytes_[kSize];
};

}  // namespace tables
