#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <map>
#include <nlohmann/json.hpp>
#include <string>

#include "cli/commands.h"
#include "counters/lists.h"
#include "framework/xaf/control.h"
#include "include/settings.h"
#include "platform/control.h"

namespace {

class CountersCommand : public testing::Test {
 protected:
  ~CountersCommand() override { platform::faults::clear(); }

  static std::string output_of(const cli::CountersOptions& options, int expected_status = 0) {
    testing::internal::CaptureStdout();
    EXPECT_EQ(cli::counters_command(options), expected_status);
    return testing::internal::GetCapturedStdout();
  }
  static cli::CountersOptions of_table(const std::string& table) {
    cli::CountersOptions options;
    options.table = table;
    return options;
  }
  static nlohmann::json answers(const std::string& table, const std::string& controller = "") {
    return nlohmann::json::parse(
        output_of({.table = table, .controller = controller, .format = "json"}));
  }

  platform::VirtualTime time_;
};

TEST_F(CountersCommand, ShowsWhatATableWantsAndTheValueNow) {
  const nlohmann::json found = answers("DCWNTDSKDC");
  ASSERT_EQ(found.size(), 3u);
  const nlohmann::json expected = {{"table", "DCWNTDSKDC"}, {"object", "NTDS"},
                                   {"instance", nullptr},   {"counter", "KDC AS Requests"},
                                   {"state", "present"},    {"value", found[0]["value"]}};
  EXPECT_EQ(found[0], expected);
  EXPECT_GT(found[0]["value"].get<double>(), 0);
  EXPECT_EQ(time_.elapsed_ms(), 500);
}

TEST_F(CountersCommand, FindsATableByItsWord) { EXPECT_EQ(answers("AddressBook").size(), 7u); }

TEST_F(CountersCommand, NamesInstancesAsTheTablesDo) {
  const nlohmann::json folders = answers("DCWNTDSDRF");
  ASSERT_EQ(folders.size(), 2u * 27);
  EXPECT_EQ(folders[0]["instance"], "SYSVOL Share-{3F8E2D10-7C6B-4A19-B2D5-8C4E9A0F1B03}");
  EXPECT_EQ(folders[27]["instance"],
            "Shared Data, Branch (R&D)-{D4C7B8A9-1E2F-4D3C-A5B6-7F8091A2B304}");
  for (const nlohmann::json& one : folders) EXPECT_EQ(one["state"], "present") << one;
}

// That table asks for the first counter of each object under the instance before it.
TEST_F(CountersCommand, ShowsTheTwoCountersThatATableNeverFinds) {
  std::map<std::string, int> states;
  for (const nlohmann::json& one : answers("DCWNTDSDFS")) {
    ++states[one["state"].get<std::string>()];
    if (one["state"] != "present") {
      EXPECT_EQ(one["counter"], "Bandwidth Savings Using DFS Replication");
      EXPECT_TRUE(one["value"].is_null());
    }
  }
  EXPECT_EQ(states, (std::map<std::string, int>{{"present", 40}, {"no instance", 2}}));
}

TEST_F(CountersCommand, CoversEveryTableWithCounters) {
  std::map<std::string, int> tables;
  for (const nlohmann::json& one : answers("")) ++tables[one["table"].get<std::string>()];
  const std::map<std::string, int> expected = {
      {"DCWNTDSAB", 7},   {"DCWNTDSDCP", 34}, {"DCWNTDSDFS", 42}, {"DCWNTDSDHC", 29},
      {"DCWNTDSDNS", 62}, {"DCWNTDSDRC", 20}, {"DCWNTDSDRF", 54}, {"DCWNTDSDS", 19},
      {"DCWNTDSDSV", 10}, {"DCWNTDSFRS", 65}, {"DCWNTDSKCC", 3},  {"DCWNTDSKDC", 3},
      {"DCWNTDSLDP", 10}, {"DCWNTDSLSA", 3},  {"DCWNTDSNSP", 4},  {"DCWNTDSRPL", 34},
      {"DCWNTDSSAM", 17}, {"DCWNTDSXDS", 4}};
  EXPECT_EQ(tables, expected);
}

TEST_F(CountersCommand, TextHasALineForEach) {
  const std::string text = output_of(of_table("DCWNTDSLSA"));
  EXPECT_EQ(text.substr(0, text.find('\n')),
            "TABLE       STATE                     VALUE  COUNTER");
  EXPECT_NE(text.find("\nDCWNTDSLSA  present "), std::string::npos) << text;
  EXPECT_NE(text.find("  \\NTDS\\DS % Reads from LSA\n"), std::string::npos) << text;
}

TEST_F(CountersCommand, ShowsLocalNamesOnAGermanMachine) {
  const nlohmann::json found = answers("DCWNTDSFRS", DIRWATCH_SOURCE "/recordings/german");
  ASSERT_EQ(found.size(), 65u);
  EXPECT_EQ(found[0]["object"], "Dateireplikatsatz");
  for (const nlohmann::json& one : found) EXPECT_EQ(one["state"], "present") << one;
}

class OneCounter : public CountersCommand {
 protected:
  OneCounter() {
    std::filesystem::create_directories(folder_);
    std::ofstream(folder_ / "counters.csv")
        << "\"(PDH-CSV 4.0) (UTC)(0)\",\"\\NTDS\\KDC AS Requests\"\n"
           "\"01/02/2011 03:04:05.000\",\"7.5\"\n";
  }
  ~OneCounter() override { std::filesystem::remove_all(folder_); }
  cli::CountersOptions asking(const std::string& table) const {
    cli::CountersOptions options = of_table(table);
    options.controller = folder_.string();
    return options;
  }

  std::filesystem::path folder_ =
      std::filesystem::path(testing::TempDir()) / ("counters" + std::to_string(getpid()));
};

TEST_F(OneCounter, IsToldFromThoseThatAreMissing) {
  const std::string text = output_of(asking("DCWNTDSKDC"));
  EXPECT_NE(text.find("DCWNTDSKDC  present                   7.500  \\NTDS\\KDC AS Requests\n"),
            std::string::npos)
      << text;
  EXPECT_NE(text.find("DCWNTDSKDC  no counter                    -  \\NTDS\\KDC TGS Requests\n"),
            std::string::npos)
      << text;
}

TEST_F(OneCounter, OfAnotherObjectIsStatusOne) {
  const std::string text = output_of(asking("DCWNTDSFRS"), 1);
  EXPECT_NE(text.find("DCWNTDSFRS  no object "), std::string::npos) << text;
}

TEST_F(OneCounter, WithoutInstancesOfATableIsSaid) {
  testing::internal::CaptureStderr();
  output_of(asking("DCWNTDSDRF"), 1);
  EXPECT_EQ(testing::internal::GetCapturedStderr(),
            "dirwatch: the counter object of DCWNTDSDRF has no instance\n");
}

TEST_F(CountersCommand, AnUnknownTableIsStatusTwo) {
  testing::internal::CaptureStderr();
  EXPECT_EQ(output_of(of_table("NOSUCH"), 2), "");
  EXPECT_NE(testing::internal::GetCapturedStderr().find("'NOSUCH'"), std::string::npos);
}

TEST_F(CountersCommand, ATableWithoutCountersIsStatusTwo) {
  testing::internal::CaptureStderr();
  EXPECT_EQ(output_of(of_table("DCWNTDSCNT"), 2), "");
  EXPECT_EQ(testing::internal::GetCapturedStderr(),
            "dirwatch: DCWNTDSCNT shows no performance counters\n");
}

TEST_F(CountersCommand, SaysWhyTheCountersCannotBeAsked) {
  for (const auto& [call, what] :
       {std::pair<const char*, const char*>{"PdhOpenQueryA", "cannot be asked"},
        {"PdhCollectQueryData", "cannot be collected"}}) {
    testing::internal::CaptureStderr();
    platform::faults::fail(call, 1);
    EXPECT_EQ(output_of(of_table("DCWNTDSAB"), 1), "");
    platform::faults::clear();
    EXPECT_NE(testing::internal::GetCapturedStderr().find(what), std::string::npos) << call;
  }
}

}  // namespace
