#pragma once
// One row of a table: a flat block of the table's row size, columns in order with no gap, just as
// the framework receives it. A column is written whole by one call: value, padding and cut.

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>

#include "tables/definition.h"

namespace tables {

template <const auto& kTable>
class Row {
 public:
  static constexpr std::size_t kSize = kTable.row_size();

  // All bytes zero.
  Row() { clear(); }
  void clear() { std::memset(bytes_, 0, kSize); }

  char* data() { return bytes_; }
  const char* data() const { return bytes_; }

  template <Name kName>
  static constexpr std::size_t index_of() {
    constexpr std::size_t index = kTable.find(kName.view());
    static_assert(index < kTable.column_count, "the table has no column of that name");
    return index;
  }
  template <Name kName>
  static constexpr std::size_t width() {
    return kTable.columns[index_of<kName>()].width;
  }

  // The column's bytes in the row.
  template <Name kName>
  char* field() {
    return bytes_ + kTable.offset(index_of<kName>());
  }
  template <Name kName>
  const char* field() const {
    return bytes_ + kTable.offset(index_of<kName>());
  }

  template <Name kName>
  void set(std::int32_t value) {
    static_assert(kTable.columns[index_of<kName>()].type == ColumnType::kInteger);
    std::memcpy(field<kName>(), &value, sizeof value);
  }
  // Text padded with blanks to the column's width, or cut at it; no zero end.
  template <Name kName>
  void set(std::string_view value) {
    static_assert(kTable.columns[index_of<kName>()].type != ColumnType::kInteger);
    const std::size_t length = std::min(value.size(), width<kName>());
    std::memcpy(field<kName>(), value.data(), length);
    std::memset(field<kName>() + length, ' ', width<kName>() - length);
  }
  // Text followed by zeros up to the column's width, or cut at it: how records of fixed buffers
  // reach their columns.
  template <Name kName>
  void set_zero_padded(std::string_view value) {
    static_assert(kTable.columns[index_of<kName>()].type != ColumnType::kInteger);
    const std::size_t length = std::min(value.size(), width<kName>());
    std::memcpy(field<kName>(), value.data(), length);
    std::memset(field<kName>() + length, 0, width<kName>() - length);
  }

  template <Name kName>
  std::int32_t integer() const {
    static_assert(kTable.columns[index_of<kName>()].type == ColumnType::kInteger);
    std::int32_t value;
    std::memcpy(&value, field<kName>(), sizeof value);
    return value;
  }
  template <Name kName>
  std::string_view text() const {
    static_assert(kTable.columns[index_of<kName>()].type != ColumnType::kInteger);
    return {field<kName>(), width<kName>()};
  }

 private:
  char bytes_[kSize];
};

}  // namespace tables
