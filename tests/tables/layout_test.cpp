// The layout of every table against one written down apart, and the pages made from the catalogue.

#include <gtest/gtest.h>

#include <fstream>
#include <map>
#include <set>
#include <sstream>
#include <string>
#include <string_view>

#include "tables/catalogue.h"
#include "tables/catalogue_view.h"
#include "tables/table.h"
#include "tools/table_reference.h"

namespace {

std::string contents(const std::string& path) {
  std::ifstream file(std::string(DIRWATCH_SOURCE) + "/" + path, std::ios::binary);
  EXPECT_TRUE(file.good()) << path;
  std::ostringstream text;
  text << file.rdbuf();
  return text.str();
}

// The blocks of layouts.txt by table: the head line and the column lines.
std::map<std::string, std::string> expected_layouts() {
  std::map<std::string, std::string> layouts;
  std::istringstream file(contents("tests/tables/layouts.txt"));
  std::string line;
  std::string table;
  while (std::getline(file, line)) {
    if (line.starts_with('#')) continue;
    if (line.starts_with("table ")) {
      table = line.substr(6, line.find(' ', 6) - 6);
    }
    layouts[table] += line + '\n';
  }
  return layouts;
}

std::string layout_of(const tables::TableView& table) {
  std::ostringstream text;
  text << "table " << table.name << ' ' << table.row_size << ' ' << table.columns.size() << ' ';
  if (table.table_word != nullptr) {
    text << table.table_index << ' ' << table.table_word;
  } else {
    text << "- -";
  }
  text << '\n';
  for (const tables::ColumnView& column : table.columns) {
    text << column.name << ' ' << column.lower << ' ' << column.type << ' ' << column.offset << ' '
         << column.width << '\n';
  }
  return text.str();
}

TEST(Layouts, AllTablesOfTheCatalogueAreAsTheReceivingSideExpectsThem) {
  const auto expected = expected_layouts();
  ASSERT_EQ(expected.size(), 33u);
  ASSERT_EQ(tables::catalogue().size(), 33u);
  std::set<std::string> seen;
  for (const tables::TableView& table : tables::catalogue()) {
    ASSERT_TRUE(expected.contains(table.name)) << table.name;
    EXPECT_EQ(layout_of(table), expected.at(table.name));
    seen.insert(table.name);
  }
  EXPECT_EQ(seen.size(), 33u);
}

// A table's generated class without its TakeSample.
template <const auto& kTable>
class Probe : public tables::Base<kTable> {
 public:
  Probe() : tables::Base<kTable>(nullptr, nullptr, nullptr) {}
  ~Probe() override = default;
  void TakeSample() override {}
  using tables::Base<kTable>::AllocationDefault;
};

template <const auto& kTable>
std::string layout_from_class() {
  Probe<kTable> object;
  std::ostringstream text;
  std::size_t end = 0;
  const auto count = object.GetColumnCount();
  for (int i = 0; i < static_cast<int>(count); ++i) {
    ColumnInfo info = {};
    EXPECT_EQ(object.GetColumnInfo(&info, i), 0);
    EXPECT_EQ(info.offset, end) << "a gap before " << info.name;
    end = info.offset + info.width;
    text << info.name << ' ' << info.type << ' ' << info.offset << ' ' << info.width << '\n';
  }
  EXPECT_EQ(end, kTable.row_size());
  EXPECT_EQ(object.AllocationDefault(), 2u);
  return text.str();
}

std::string without_names(const std::string& layout) {
  std::istringstream lines(layout);
  std::string line;
  std::string result;
  std::getline(lines, line);  // the table's own
  while (std::getline(lines, line)) result += line.substr(line.find(' ') + 1) + '\n';
  return result;
}

TEST(Layouts, EveryTablesClassTellsTheFrameworkTheSame) {
  const auto expected = expected_layouts();
#define CHECK_CLASS(lower, definition)                                                        \
  ASSERT_TRUE(expected.contains(#definition));                                                \
  EXPECT_EQ(layout_from_class<tables::definition>(), without_names(expected.at(#definition))) \
      << #definition;
  DCW_FOR_EACH_TABLE(CHECK_CLASS)
#undef CHECK_CLASS
}

TEST(Layouts, ATableWithTheShortHeadStartsItsOwnColumnsAtByte80) {
  int short_heads = 0;
  for (const tables::TableView& table : tables::catalogue()) {
    std::set<std::string> names;
    for (const auto& column : table.columns) names.insert(column.name);
    if (names.contains("SAMPLENO")) {
      ASSERT_GT(table.columns.size(), 6u);
      EXPECT_EQ(table.columns[6].offset, 216) << table.name;
      continue;
    }
    ++short_heads;
    EXPECT_FALSE(names.contains("ROWNO")) << table.name;
    EXPECT_FALSE(names.contains("ZATTRIB")) << table.name;
    EXPECT_FALSE(names.contains("ZVALUE")) << table.name;
    ASSERT_GT(table.columns.size(), 2u);
    EXPECT_STREQ(table.columns[1].name, "TIMESTAMP");
    EXPECT_EQ(table.columns[2].offset, 80) << table.name;
  }
  EXPECT_EQ(short_heads, 10);
}

const tables::TableView& table_named(std::string_view name) {
  for (const tables::TableView& table : tables::catalogue()) {
    if (table.name == name) return table;
  }
  ADD_FAILURE() << name;
  return tables::catalogue()[0];
}

TEST(Layouts, TheLabelsOfTimingLinesAreNotUnique) {
  EXPECT_STREQ(table_named("DCWNTDSDS").table_word, table_named("DCWNTDSDNS").table_word);
  EXPECT_NE(table_named("DCWNTDSDS").table_index, table_named("DCWNTDSDNS").table_index);
  EXPECT_EQ(table_named("DCWNTDSTTP").table_index, 21);
  EXPECT_EQ(table_named("DCWSYSRPL").table_index, 21);
  EXPECT_EQ(table_named("DCWNTDSRPL").table_index, 21);
  EXPECT_EQ(table_named("DCWNTDSLDA").table_index, table_named("DCWNTDSLFO").table_index);
  EXPECT_STREQ(table_named("DCWSYSRPL").table_word, table_named("DCWNTDSRPL").table_word);
  EXPECT_EQ(table_named("DCWNTDSDAD").table_word, nullptr);
}

TEST(Catalogue, EveryTableAndColumnSaysWhatItTells) {
  for (const tables::TableView& table : tables::catalogue()) {
    EXPECT_TRUE(std::string_view(table.sentence).ends_with('.')) << table.name;
    for (const tables::ColumnView& column : table.columns) {
      const std::string_view sentence = column.sentence;
      EXPECT_GT(sentence.size(), 12u) << table.name << ' ' << column.name;
      EXPECT_TRUE(sentence.ends_with('.')) << table.name << ' ' << column.name;
      EXPECT_EQ(sentence.find("TODO"), sentence.npos) << table.name << ' ' << column.name;
    }
  }
}

TEST(Catalogue, TheReferencePageIsWhatTheCatalogueSays) {
  EXPECT_TRUE(contents("docs/tables.md") == table_reference())
      << "run table_reference > docs/tables.md";
}

}  // namespace
