// Every column of every table is written whole, by one call, and nothing beside it.

#include "tables/row.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <utility>

#include "tables/catalogue.h"
#include "tests/tables/sample_table.h"

namespace {

constexpr char kPoison = static_cast<char>(0xEE);

template <const auto& kTable, std::size_t kIndex>
consteval auto name_of() {
  constexpr std::size_t length = std::string_view(kTable.columns[kIndex].name).size();
  char text[length + 1] = {};
  for (std::size_t i = 0; i < length; ++i) text[i] = kTable.columns[kIndex].name[i];
  return tables::Name<length + 1>(text);
}

template <const auto& kTable, std::size_t kIndex>
void write_column(tables::Row<kTable>& row) {
  constexpr auto name = name_of<kTable, kIndex>();
  if constexpr (kTable.columns[kIndex].type == tables::ColumnType::kInteger) {
    row.template set<name>(-2);
    EXPECT_EQ(row.template integer<name>(), -2);
  } else {
    row.template set<name>("x");
    std::string expected(kTable.columns[kIndex].width, ' ');
    expected[0] = 'x';
    EXPECT_EQ(row.template text<name>(), expected) << kTable.columns[kIndex].name;
  }
}

// Writes the columns one after the other into a poisoned row: each must leave what is behind it.
template <const auto& kTable>
void check_table() {
  tables::Row<kTable> row;
  std::memset(row.data(), kPoison, row.kSize);
  [&]<std::size_t... kIndex>(std::index_sequence<kIndex...>) {
    const auto check_rest = [&](std::size_t index) {
      const std::size_t end = kTable.offset(index + 1);
      const std::string rest(row.data() + end, row.kSize - end);
      EXPECT_EQ(rest, std::string(rest.size(), kPoison)) << kTable.columns[index].name;
    };
    ((write_column<kTable, kIndex>(row), check_rest(kIndex)), ...);
  }
  (std::make_index_sequence<kTable.column_count>());
  EXPECT_EQ(std::string(row.data(), row.kSize).find(kPoison), std::string::npos) << kTable.name;
}

TEST(Row, NoPoisonIsLeftWhenEveryColumnOfEveryTableIsWritten) {
#define CHECK_TABLE(lower, definition) check_table<tables::definition>();
  DCW_FOR_EACH_TABLE(CHECK_TABLE)
#undef CHECK_TABLE
}

TEST(Row, StartsWithZerosOnly) {
  const SampleRow row;
  EXPECT_EQ(std::string(row.data(), row.kSize), std::string(SampleRow::kSize, '\0'));
}

TEST(Row, ATextOfTheColumnsWidthIsKeptWholeAndALongerOneIsCut) {
  SampleRow row;
  row.set<"SMPTXT">("abcde");
  EXPECT_EQ(row.text<"SMPTXT">(), "abcde");
  row.set<"SMPTXT">("abcdefg");
  EXPECT_EQ(row.text<"SMPTXT">(), "abcde");
  EXPECT_EQ(row.text<"SMPUTF">(), std::string(8, '\0'));
}

TEST(Row, AZeroPaddedTextIsFollowedByZerosToTheWidth) {
  SampleRow row;
  std::memset(row.data(), kPoison, row.kSize);
  row.set_zero_padded<"SMPTXT">("ab");
  EXPECT_EQ(row.text<"SMPTXT">(), std::string("ab\0\0\0", 5));
  row.set_zero_padded<"SMPTXT">("abcdefg");
  EXPECT_EQ(row.text<"SMPTXT">(), "abcde");
}

TEST(Row, AnEmptyTextIsAllBlanks) {
  SampleRow row;
  row.set<"SMPTXT">(std::string_view());
  EXPECT_EQ(row.text<"SMPTXT">(), "     ");
}

}  // namespace
