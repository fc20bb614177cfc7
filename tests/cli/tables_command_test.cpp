#include <gtest/gtest.h>

#include <fstream>
#include <map>
#include <nlohmann/json.hpp>
#include <sstream>
#include <string>
#include <vector>

#include "cli/commands.h"
#include "cli/table_names.h"

namespace {

struct Layout {
  std::string name, word;
  int row_size = 0, columns = 0, index = 0;
  std::vector<std::string> lines;  // "UPPER lower type offset width"
};

// The layouts as they were written down apart from the catalogue.
std::vector<Layout> golden_layouts() {
  std::vector<Layout> layouts;
  std::ifstream file(DIRWATCH_SOURCE "/tests/tables/layouts.txt");
  for (std::string line; std::getline(file, line);) {
    if (line.empty() || line[0] == '#') continue;
    if (line.rfind("table ", 0) != 0) {
      layouts.back().lines.push_back(line);
      continue;
    }
    Layout layout;
    std::istringstream words(line.substr(6));
    std::string index;
    words >> layout.name >> layout.row_size >> layout.columns >> index;
    layout.index = index == "-" ? 0 : std::stoi(index);
    std::getline(words >> std::ws, layout.word);
    layouts.push_back(layout);
  }
  return layouts;
}

std::string output_of(const cli::TablesOptions& options, int expected_status = 0) {
  testing::internal::CaptureStdout();
  EXPECT_EQ(cli::tables_command(options), expected_status);
  return testing::internal::GetCapturedStdout();
}

nlohmann::json described(const std::string& table = "") {
  return nlohmann::json::parse(output_of({.table = table, .format = "json"}));
}

TEST(TablesCommand, JsonHoldsTheLayoutOfEveryTable) {
  std::map<std::string, nlohmann::json> tables;
  for (const auto& table : described()) tables[table.at("name")] = table;
  const std::vector<Layout> layouts = golden_layouts();
  ASSERT_EQ(layouts.size(), 33u);
  EXPECT_EQ(tables.size(), 33u);
  for (const Layout& layout : layouts) {
    SCOPED_TRACE(layout.name);
    ASSERT_TRUE(tables.contains(layout.name));
    const nlohmann::json& table = tables[layout.name];
    EXPECT_EQ(table.at("row_size"), layout.row_size);
    ASSERT_EQ(table.at("columns").size(), layout.lines.size());
    EXPECT_EQ(layout.lines.size(), static_cast<std::size_t>(layout.columns));
    for (std::size_t i = 0; i < layout.lines.size(); ++i) {
      const nlohmann::json& column = table.at("columns")[i];
      std::ostringstream line;
      line << column.at("name").get<std::string>() << ' ' << column.at("lower").get<std::string>()
           << ' ' << column.at("type") << ' ' << column.at("offset") << ' ' << column.at("width");
      EXPECT_EQ(line.str(), layout.lines[i]);
      EXPECT_GT(column.at("description").get<std::string>().size(), 10u);
    }
  }
}

TEST(TablesCommand, JsonHoldsTheTimingWordAndIndexOrNull) {
  std::map<std::string, Layout> layouts;
  for (const Layout& layout : golden_layouts()) layouts[layout.name] = layout;
  int without = 0;
  for (const auto& table : described()) {
    const Layout& layout = layouts.at(table.at("name"));
    if (table.at("table_word").is_null()) {
      EXPECT_TRUE(table.at("table_index").is_null()) << layout.name;
      EXPECT_EQ(layout.index, 0) << layout.name;
      ++without;
    } else {
      EXPECT_EQ(table.at("table_word"), layout.word) << layout.name;
      EXPECT_EQ(table.at("table_index"), layout.index) << layout.name;
    }
  }
  EXPECT_EQ(without, 4);
}

TEST(TablesCommand, ATableIsFoundByNameOrByWordLetterCaseAside) {
  for (const char* name : {"DCWNTDSCNT", "dcwntdscnt", "Containers", "containers"}) {
    const nlohmann::json tables = described(name);
    ASSERT_EQ(tables.size(), 1u) << name;
    EXPECT_EQ(tables[0].at("name"), "DCWNTDSCNT");
  }
}

TEST(TablesCommand, AWordThatSeveralTablesShareNamesNone) {
  EXPECT_EQ(cli::find_table("ReplicationPartner"), nullptr);
  EXPECT_EQ(cli::find_table("DNS"), nullptr);
}

TEST(TablesCommand, AnUnknownTableIsNamedAndTheStatusIsTwo) {
  testing::internal::CaptureStderr();
  EXPECT_EQ(output_of({.table = "NOSUCH"}, 2), "");
  EXPECT_EQ(testing::internal::GetCapturedStderr(),
            "dirwatch: no table is named 'NOSUCH'; 'dirwatch tables' lists them all\n");
}

TEST(TablesCommand, TextNamesEveryTable) {
  const std::string text = output_of({});
  for (const Layout& layout : golden_layouts()) {
    EXPECT_NE(text.find("\n" + layout.name + " "), std::string::npos) << layout.name;
  }
}

TEST(TablesCommand, TextOfOneTableShowsEachColumnWithItsSentence) {
  const std::string text = output_of({.table = "DCWNTDSRDS"});
  for (const char* column :
       {"ORIGINNODE", "TIMESTAMP", "RDSRDN", "RDSDCFUN", "RDSDMFUN", "RDSFRFUN", "RDSFDN"}) {
    EXPECT_NE(text.find("\n" + std::string(column) + " "), std::string::npos) << column;
  }
}

}  // namespace
