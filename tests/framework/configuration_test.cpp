// The configuration file, and what is said about one with a mistake in it.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdio>
#include <fstream>

#include "framework/xaf/control.h"

namespace {

using testing::ElementsAre;

class Configuration : public testing::Test {
 protected:
  ~Configuration() override { std::remove(path_.c_str()); }

  bool load(const std::string& text) {
    std::ofstream(path_, std::ios::binary) << text;
    error_.clear();
    return xaf::load_configuration(path_, read_, error_);
  }
  // The error without the file's name; empty when the file was taken.
  std::string mistake(const std::string& text) {
    if (load(text)) return "";
    EXPECT_EQ(error_.substr(0, path_.size()), path_);
    return error_.substr(path_.size());
  }

  const std::string path_ = testing::TempDir() + "/dirwatch_configuration_" +
                            testing::UnitTest::GetInstance()->current_test_info()->name() + ".toml";
  xaf::Configuration read_;
  std::string error_;
};

TEST_F(Configuration, AnEmptyFileLeavesTheDefaults) {
  ASSERT_TRUE(load("")) << error_;
  EXPECT_EQ(read_.defaults.interval_ms, 60000u);
  EXPECT_TRUE(read_.defaults.enabled);
  EXPECT_EQ(read_.sink, "table");
  EXPECT_FALSE(read_.trace_flags.has_value());
  EXPECT_FALSE(read_.once);
  EXPECT_EQ(read_.stop_after_ms, 0u);
}

TEST_F(Configuration, EverySettingIsRead) {
  ASSERT_TRUE(load(R"(
[tables.dcwntdsab]
interval = "5m"
match = "any"
thresholds = [
  {column = "abanrps", operator = ">=", value = 10},
  {column = "ORIGINNODE", operator = "not contains", value = "TEST"},
]
[tables.DCWNTDSDS]
enabled = false
row_limit = 7
[framework]
node_name = "PRIMARY:DC01"
interval = "90s"
row_limit = 500
stop_after = "2h"
once = true
tables = ["DCWNTDSAB", "dcwntdsds"]
[trace]
flags = 0xC1
path = "trace.log"
rotate = "3MiB"
keep = 9
console = true
[trace.units]
MwMain = 64
"adpdh.cpp" = 129
[sink]
format = "json"
path = "rows.json"
rotate = "2GiB"
keep = 3
)")) << error_;
  EXPECT_EQ(read_.node_name, "PRIMARY:DC01");
  EXPECT_EQ(read_.defaults.interval_ms, 90000u);
  EXPECT_EQ(read_.defaults.row_limit, 500u);
  EXPECT_EQ(read_.stop_after_ms, 7200000u);
  EXPECT_TRUE(read_.once);
  EXPECT_THAT(read_.only_tables, ElementsAre("DCWNTDSAB", "DCWNTDSDS"));
  ASSERT_EQ(read_.tables.size(), 2u);
  const xaf::TableSettings& ab = read_.tables["DCWNTDSAB"];
  EXPECT_TRUE(ab.enabled);
  EXPECT_EQ(ab.interval_ms, 300000u);
  EXPECT_EQ(ab.row_limit, 500u);
  EXPECT_FALSE(ab.match_all);
  ASSERT_EQ(ab.thresholds.size(), 2u);
  EXPECT_EQ(ab.thresholds[0].column, "ABANRPS");
  EXPECT_EQ(ab.thresholds[0].operation, IntfOper_GreaterOrEqual);
  EXPECT_EQ(ab.thresholds[0].value, "10");
  EXPECT_EQ(ab.thresholds[1].operation, IntfOper_NotContains);
  EXPECT_EQ(ab.thresholds[1].value, "TEST");
  const xaf::TableSettings& ds = read_.tables["DCWNTDSDS"];
  EXPECT_FALSE(ds.enabled);
  EXPECT_EQ(ds.interval_ms, 90000u);  // from [framework], which stands behind it in the file
  EXPECT_EQ(ds.row_limit, 7u);
  EXPECT_EQ(read_.trace_flags, 0xC1u);
  EXPECT_EQ(read_.trace_path, "trace.log");
  EXPECT_EQ(read_.trace_rotate_bytes, 3u << 20);
  EXPECT_EQ(read_.trace_keep_files, 9u);
  EXPECT_TRUE(read_.trace_console);
  EXPECT_EQ(read_.trace_units["MwMain"], 64u);
  EXPECT_EQ(read_.trace_units["adpdh.cpp"], 129u);
  EXPECT_EQ(read_.sink, "json");
  EXPECT_EQ(read_.sink_path, "rows.json");
  EXPECT_EQ(read_.sink_rotation.bytes, std::uint64_t{2} << 30);
  EXPECT_EQ(read_.sink_rotation.keep_files, 3u);
}

TEST_F(Configuration, EveryOperatorHasAName) {
  const std::pair<const char*, _IntfOper> names[] = {{"=", IntfOper_Equal},
                                                     {"==", IntfOper_Equal},
                                                     {"!=", IntfOper_NotEqual},
                                                     {"<>", IntfOper_NotEqual},
                                                     {"<", IntfOper_Less},
                                                     {"<=", IntfOper_LessOrEqual},
                                                     {">", IntfOper_Greater},
                                                     {">=", IntfOper_GreaterOrEqual},
                                                     {"contains", IntfOper_Contains},
                                                     {"not contains", IntfOper_NotContains},
                                                     {"like", IntfOper_Like}};
  for (const auto& [name, operation] : names) {
    ASSERT_TRUE(load(std::string("tables.T.thresholds = [{column = \"A\", operator = \"") + name +
                     "\", value = \"x\"}]"))
        << error_;
    ASSERT_FALSE(read_.tables["T"].thresholds.empty());
    EXPECT_EQ(read_.tables["T"].thresholds.back().operation, operation) << name;
  }
}

TEST_F(Configuration, DurationsHaveUnits) {
  const std::pair<const char*, std::uint32_t> durations[] = {
      {"1ms", 1}, {"1s", 1000}, {"3m", 180000}, {"1h", 3600000}, {"2d", 172800000}};
  for (const auto& [text, milliseconds] : durations) {
    ASSERT_TRUE(load(std::string("framework.interval = \"") + text + "\"")) << error_;
    EXPECT_EQ(read_.defaults.interval_ms, milliseconds);
  }
  const std::string wanted =
      ":1: framework.interval: must be a duration with its unit, for instance \"60s\" (ms, s, m, "
      "h, d)";
  for (const char* text : {"60", "\"60\"", "\"s\"", "\"\"", "\"60 s\"", "\"-1s\"", "\"1.5s\"",
                           "\"60sec\"", "\"99999999999s\"", "true"}) {
    EXPECT_EQ(mistake(std::string("framework.interval = ") + text), wanted) << text;
  }
  EXPECT_EQ(mistake("framework.interval = \"0s\""),
            ":1: framework.interval: must be a duration of at least 1ms");
  EXPECT_EQ(mistake("framework.interval = \"50d\""),
            ":1: framework.interval: must be a duration of at most 49 days");
}

struct MistakeCase {
  const char* text;
  const char* error;
};

TEST_F(Configuration, AMistakeIsNamedWithItsLineAndKey) {
  const MistakeCase cases[] = {
      {"[framework]\n\nintervall = \"60s\"\n", ":3: framework.intervall: unknown key"},
      {"[frame]\nonce = true\n", ":1: frame: unknown key"},
      {"framework = 1\n", ":1: framework: must be a table"},
      {"[framework]\nonce = 1\n", ":2: framework.once: must be true or false"},
      {"[framework]\nnode_name = 5\n", ":2: framework.node_name: must be a text"},
      {"[framework]\ntables = \"DCWNTDSAB\"\n", ":2: framework.tables: must be a list of texts"},
      {"[framework]\ntables = [1]\n", ":2: framework.tables: must be a text"},
      {"[trace]\nflags = -1\n", ":2: trace.flags: must be a whole number from 0 to 4294967295"},
      {"[trace]\nflags = \"all\"\n",
       ":2: trace.flags: must be a whole number from 0 to 4294967295"},
      {"[trace]\nrotate = 10\n",
       ":2: trace.rotate: must be a size with its unit, for instance \"10MiB\""},
      {"[trace]\nkeep = 1001\n", ":2: trace.keep: must be a whole number from 0 to 1000"},
      {"[trace]\nlevel = 1\n", ":2: trace.level: unknown key"},
      {"[trace.units]\nMwMain = true\n",
       ":2: trace.units.MwMain: must be a whole number from 0 to 4294967295"},
      {"[sink]\nformat = \"xml\"\n", ":2: sink.format: must be one of table, json, csv, none"},
      {"[sink]\nfile = \"x\"\n", ":2: sink.file: unknown key"},
      {"[tables]\nDCWNTDSAB = 1\n", ":2: tables.DCWNTDSAB: must be a table"},
      {"[tables.DCWNTDSAB]\ninterval = 60\n",
       ":2: tables.DCWNTDSAB.interval: must be a duration with its unit, for instance \"60s\" "
       "(ms, s, m, h, d)"},
      {"[tables.DCWNTDSAB]\nmatch = \"some\"\n",
       ":2: tables.DCWNTDSAB.match: must be \"all\" or \"any\""},
      {"[tables.DCWNTDSAB]\nthresholds = 1\n",
       ":2: tables.DCWNTDSAB.thresholds: must be a list of thresholds"},
      {"[tables.DCWNTDSAB]\nthresholds = [\n  {column = \"A\", operator = \"~\", value = 1}\n]\n",
       ":3: tables.DCWNTDSAB.thresholds.operator: must be one of = != < <= > >= contains \"not "
       "contains\" like"},
      {"[tables.DCWNTDSAB]\nthresholds = [{column = \"A\", operator = \"=\", value = 1.5}]\n",
       ":2: tables.DCWNTDSAB.thresholds.value: must be a text or a whole number"},
      {"[tables.DCWNTDSAB]\nthresholds = [{column = \"A\", value = 1}]\n",
       ":2: tables.DCWNTDSAB.thresholds: must be complete: column, operator and value"},
      {"[tables.DCWNTDSAB]\nthresholds = [{column = \"A\", operator = \"=\", vale = 1}]\n",
       ":2: tables.DCWNTDSAB.thresholds.vale: unknown key"},
      {"[tables.DCWNTDSAB]\ntreshold = 1\n", ":2: tables.DCWNTDSAB.treshold: unknown key"},
  };
  for (const MistakeCase& one : cases) EXPECT_EQ(mistake(one.text), one.error) << one.text;
}

TEST_F(Configuration, WhatIsNoTomlIsAnErrorWithItsLine) {
  EXPECT_THAT(mistake("[framework]\nonce = yes\n"), testing::StartsWith(":2: "));
  EXPECT_THAT(mistake("[framework\n"), testing::StartsWith(":1: "));
  EXPECT_THAT(mistake("a = 1\na = 2\n"), testing::StartsWith(":2: "));
}

TEST_F(Configuration, AMistakeLeavesTheConfigurationAsItWas) {
  read_.node_name = "KEPT";
  EXPECT_FALSE(load("[framework]\nnode_name = \"NEW\"\nonce = 1\n"));
  EXPECT_EQ(read_.node_name, "KEPT");
}

TEST_F(Configuration, AFileThatIsNotThereIsAnError) {
  xaf::Configuration configuration;
  std::string error;
  EXPECT_FALSE(xaf::load_configuration("/no/such/file.toml", configuration, error));
  EXPECT_EQ(error, "/no/such/file.toml: cannot be read");
}

TEST_F(Configuration, TheFileInTheDocumentsIsTakenAsItStands) {
  std::string error;
  xaf::Configuration shipped;
  const std::string root = DIRWATCH_SOURCE "/";
  ASSERT_TRUE(xaf::load_configuration(root + "docs/dirwatch.toml", shipped, error)) << error;
  // It says what holds without it.
  const xaf::Configuration standard;
  EXPECT_EQ(shipped.defaults.interval_ms, standard.defaults.interval_ms);
  EXPECT_EQ(shipped.defaults.row_limit, standard.defaults.row_limit);
  EXPECT_EQ(shipped.stop_after_ms, standard.stop_after_ms);
  EXPECT_EQ(shipped.trace_flags, standard.trace_flags);
  EXPECT_EQ(shipped.trace_rotate_bytes, standard.trace_rotate_bytes);
  EXPECT_EQ(shipped.trace_keep_files, standard.trace_keep_files);
  EXPECT_EQ(shipped.sink, standard.sink);
  EXPECT_EQ(shipped.sink_rotation.bytes, standard.sink_rotation.bytes);
  EXPECT_EQ(shipped.sink_rotation.keep_files, standard.sink_rotation.keep_files);
  EXPECT_TRUE(shipped.tables.empty());
}

}  // namespace
