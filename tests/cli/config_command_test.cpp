// dirwatch config over recordings and files: every setting, and what is made of each text.

#include <gtest/gtest.h>

#include <cstdio>
#include <fstream>
#include <map>
#include <nlohmann/json.hpp>
#include <set>
#include <sstream>

#include "agent/startup_settings.h"
#include "cli/commands.h"
#include "framework/xaf/control.h"
#include "framework/xaf/setting_list.h"
#include "include/platform/environment.h"
#include "include/setting_list.h"
#include "include/settings.h"
#include "platform/control.h"
#include "tests/support/small_recording.h"
#include "tools/setting_reference.h"

namespace {

using nlohmann::json;

class ConfigCommand : public testing::Test {
 protected:
  ConfigCommand() { forget(); }
  ~ConfigCommand() override {
    forget();
    std::remove(file_.c_str());
    platform::faults::clear();
  }
  static void forget() {
    for (const settings::Setting* setting : settings::kAll) unsetenv(setting->name);
    unsetenv("DIRWATCH_CONFIG");
  }
  static std::string output_of(const cli::ConfigOptions& options, int expected_status = 0) {
    testing::internal::CaptureStdout();
    EXPECT_EQ(cli::config_command(options), expected_status);
    return testing::internal::GetCapturedStdout();
  }
  static json asked(const std::string& configuration = "") {
    cli::ConfigOptions options;
    options.format = "json";
    options.configuration = configuration;
    return json::parse(output_of(options));
  }
  static json named(const json& list, const std::string& name) {
    for (const json& one : list) {
      if (one.at("name") == name) return one;
    }
    return nullptr;
  }
  // What the text of a variable comes to, and the warning about it.
  static std::string made_of(const std::string& name, const std::string& text) {
    setenv(name.c_str(), text.c_str(), 1);
    const json all = asked();
    unsetenv(name.c_str());
    std::string result = named(all.at("variables"), name).at("value").dump();
    for (const json& one : all.at("warnings")) {
      if (one.at("name") == name) {
        result +=
            " " + one.at("kind").get<std::string>() + ": " + one.at("text").get<std::string>();
      }
    }
    return result;
  }
  std::string write(const std::string& text) {
    std::ofstream(file_, std::ios::binary) << text;
    return file_;
  }

  const std::string file_ = testing::TempDir() + "/dirwatch_config_" +
                            testing::UnitTest::GetInstance()->current_test_info()->name() + ".toml";
  testing_support::SmallRecording recording_{
      testing_support::kSmallForest,
      "[HKEY_LOCAL_MACHINE\\SOFTWARE\\Marlow\\DCW\\Ver610\\Primary\\Environment]\n"};
};

TEST_F(ConfigCommand, ShowsEverySettingWithItsDefaultWhenNothingIsSet) {
  const json all = asked();
  EXPECT_EQ(all.at("warnings"), json::array());
  std::set<std::string> names;
  for (const json& one : all.at("variables")) {
    names.insert(one.at("name").get<std::string>());
    EXPECT_EQ(one.at("value"), one.at("default")) << one;
    EXPECT_EQ(one.at("from").at("source"), "default");
  }
  const std::set<std::string> expected = {"DWA_PING_COUNT",
                                          "DWA_PING_SIZE",
                                          "DWA_PING_TIMEOUT",
                                          "DWA_NUMBEROFOBJECTS_TIMEOUT",
                                          "DWA_ENABLE_WAIT_TIME",
                                          "DWA_CACHE_INTERVAL",
                                          "DWA_SYSVOL_REPLICATION_TEST_INTERVAL",
                                          "DWA_SYSVOL_REPLICATION_TEST_VERIFICATION_INTERVAL",
                                          "DWA_SYSVOL_FORCE_REPLICATION_FLAG",
                                          "FILE_CREATION_AND_REPLICATION_START_GAP",
                                          "DWA_GETSITEFORSERVER_FLAG",
                                          "ACTIVATE_REPL_LATENCY",
                                          "MARLOW_HOME",
                                          "AGENT_TIMING",
                                          "DCW_UNIT_TEST_SEED",
                                          "TRC_TRC1",
                                          "XCM_FAMILIES",
                                          "XCM_GLBSITES",
                                          "XAF_CELL_NAME",
                                          "XAF_HOSTNAME",
                                          "XAF_NODETYPE",
                                          "XAF_SUBSYSTEM_ID"};
  EXPECT_EQ(names, expected);
  EXPECT_EQ(all.at("configuration").size(), xaf::kConfigurationSettings.size());
}

TEST_F(ConfigCommand, TakesWhatTheProcessWasStartedWith) {
  EXPECT_EQ(made_of("DWA_PING_TIMEOUT", "500"), "500");
  EXPECT_EQ(made_of("MARLOW_HOME", "/opt"), "\"/opt\"");
  EXPECT_EQ(made_of("AGENT_TIMING", "x"), "true");
  setenv("DWA_PING_COUNT", "4", 1);
  EXPECT_EQ(named(asked().at("variables"), "DWA_PING_COUNT").at("from").at("source"),
            "environment");
}

TEST_F(ConfigCommand, TellsWhatStartUpMakesOfATextThatIsNoNumber) {
  EXPECT_EQ(made_of("DWA_CACHE_INTERVAL", "abc"),
            "0 malformed: 'abc' of the environment is no number: it reads as 0, which leaves the "
            "default 0");
  EXPECT_EQ(made_of("DWA_PING_COUNT", "many"),
            "0 malformed: 'many' of the environment is no number: it reads as 0");
  EXPECT_EQ(made_of("DWA_PING_SIZE", "12x"),
            "12 malformed: '12x' of the environment is not only a number: it reads as 12");
  EXPECT_EQ(made_of("DWA_PING_SIZE", "99999999999"),
            "2147483647 malformed: '99999999999' of the environment is out of range: it reads as "
            "2147483647");
}

TEST_F(ConfigCommand, TellsANumberThatIsNotTaken) {
  EXPECT_EQ(made_of("DWA_PING_COUNT", "-5"),
            "1 not_taken: '-5' of the environment is not taken; 1 count stay in force");
  EXPECT_EQ(made_of("DWA_NUMBEROFOBJECTS_TIMEOUT", "60"),
            "1800 not_taken: '60' of the environment is not taken; 1800 seconds stay in force");
  EXPECT_EQ(made_of("DWA_NUMBEROFOBJECTS_TIMEOUT", "1800"), "1800");
  EXPECT_EQ(made_of("DWA_NUMBEROFOBJECTS_TIMEOUT", "1801"), "1801");
  EXPECT_EQ(made_of("DWA_CACHE_INTERVAL", "9999999"),
            "2147483 not_taken: '9999999' of the environment is longer than can be waited; "
            "2147483647 milliseconds are in force");
}

TEST_F(ConfigCommand, TellsASwitchThatStaysOnAgainstItsLooks) {
  EXPECT_EQ(made_of("DWA_ENABLE_WAIT_TIME", "false"), "false");
  EXPECT_EQ(made_of("DWA_ENABLE_WAIT_TIME", "TRUE"), "true");
  EXPECT_EQ(made_of("DWA_ENABLE_WAIT_TIME", "no"),
            "true malformed: 'no' of the environment counts as on; only FALSE switches off");
  EXPECT_EQ(made_of("DWA_GETSITEFORSERVER_FLAG", "off"),
            "true malformed: 'off' of the environment counts as on; only OFF switches off");
  EXPECT_EQ(made_of("ACTIVATE_REPL_LATENCY", "disabled"), "false");
}

TEST_F(ConfigCommand, TellsAVerificationThatSwitchesTheSysvolTestOff) {
  setenv("DWA_SYSVOL_REPLICATION_TEST_INTERVAL", "10", 1);
  EXPECT_EQ(made_of("DWA_SYSVOL_REPLICATION_TEST_VERIFICATION_INTERVAL", "9"), "9");
  EXPECT_EQ(made_of("DWA_SYSVOL_REPLICATION_TEST_VERIFICATION_INTERVAL", "10"),
            "10 not_taken: not shorter than DWA_SYSVOL_REPLICATION_TEST_INTERVAL: the test of "
            "SYSVOL is switched off");
}

// The same texts through start-up itself.
TEST_F(ConfigCommand, ShowsTheValuesThatStartUpTakes) {
  for (const char* text : {"-7", "0", "1", "60", "1801", "abc", "12x", "99999999999", "FALSE"}) {
    SCOPED_TRACE(text);
    for (const settings::Setting* setting : settings::kAll) setenv(setting->name, text, 1);
    const json variables = asked().at("variables");
    DCW_TRACE("test");
    g_sleepWhileIterating = 1;
    g_cacheInterval = 0;
    agent::read_ping_settings(trace);
    agent::read_object_count_period(trace);
    agent::read_iteration_yield(trace);
    agent::read_cache_interval(trace);
    agent::read_sysvol_intervals(trace);
    agent::read_forced_replication(trace);
    const auto shown = [&variables](const char* name) {
      return named(variables, name).at("value");
    };
    EXPECT_EQ(g_pingCount.load(), shown("DWA_PING_COUNT"));
    EXPECT_EQ(g_pingSize.load(), shown("DWA_PING_SIZE"));
    EXPECT_EQ(g_pingTimeout.load(), shown("DWA_PING_TIMEOUT"));
    EXPECT_EQ(g_numberOfObjectsInterval / 1000, shown("DWA_NUMBEROFOBJECTS_TIMEOUT"));
    EXPECT_EQ(g_sleepWhileIterating != 0, shown("DWA_ENABLE_WAIT_TIME"));
    EXPECT_EQ(g_cacheInterval / 1000, shown("DWA_CACHE_INTERVAL"));
    EXPECT_EQ(g_sysvolTestInterval / 60000, shown("DWA_SYSVOL_REPLICATION_TEST_INTERVAL"));
    EXPECT_EQ(g_forceReplication != 0, shown("DWA_SYSVOL_FORCE_REPLICATION_FLAG"));
  }
}

TEST_F(ConfigCommand, NamesTheLineOfEachSettingOfTheFile) {
  const std::string path = write(
      "[framework]\n\ninterval = \"5m\"\n[tables.DCWNTDSAB]\nenabled = false\n"
      "[trace.units]\nMwMain = 64\n");
  const json file = asked(path).at("configuration");
  EXPECT_EQ(named(file, "framework.interval").at("value"), "'5m'");
  EXPECT_EQ(named(file, "framework.interval").at("default"), "'60s'");
  EXPECT_EQ(named(file, "framework.interval").at("place"), path + ":3");
  EXPECT_EQ(named(file, "tables.DCWNTDSAB.enabled").at("value"), "false");
  EXPECT_EQ(named(file, "tables.DCWNTDSAB.enabled").at("place"), path + ":5");
  EXPECT_EQ(named(file, "trace.units.MwMain").at("value"), "64");
  EXPECT_TRUE(named(file, "sink.path").at("place").is_null());
}

TEST_F(ConfigCommand, FindsTheFileThatTheEnvironmentNames) {
  setenv("DIRWATCH_CONFIG", write("[trace]\nkeep = 7\n").c_str(), 1);
  EXPECT_EQ(named(asked().at("configuration"), "trace.keep").at("value"), "7");
}

TEST_F(ConfigCommand, AFileThatCannotBeTakenIsStatusOne) {
  testing::internal::CaptureStderr();
  cli::ConfigOptions options;
  options.configuration = "/no/such/file.toml";
  EXPECT_EQ(output_of(options, 1), "");
  options.configuration = write("[framework]\nintervall = \"5m\"\n");
  EXPECT_EQ(output_of(options, 1), "");
  options = {};
  options.controller = "/no/such/recording";
  EXPECT_EQ(output_of(options, 1), "");
  const std::string errors = testing::internal::GetCapturedStderr();
  EXPECT_NE(errors.find("/no/such/file.toml: cannot be read"), std::string::npos);
  EXPECT_NE(errors.find(":2: framework.intervall: unknown key"), std::string::npos);
  EXPECT_NE(errors.find("/no/such/recording"), std::string::npos);
}

TEST_F(ConfigCommand, ABranchThatIsMissingOrDeniedIsAWarning) {
  platform::faults::fail("RegOpenKeyExA", 3, 5);
  EXPECT_EQ(asked().at("warnings")[0].at("text"),
            "HKEY_LOCAL_MACHINE\\SOFTWARE\\Marlow\\DCW\\Ver610\\Primary cannot be opened: nothing "
            "is imported from the registry");
  platform::faults::clear();
  platform::faults::fail("RegOpenKeyExA", 4, 5);
  EXPECT_EQ(asked().at("warnings")[0].at("text"),
            "HKEY_LOCAL_MACHINE\\SOFTWARE\\Marlow\\DCW\\Ver610\\Primary\\Environment: cannot be "
            "read, error 5");
}

TEST_F(ConfigCommand, TextShowsTheSame) {
  setenv("DWA_CACHE_INTERVAL", "30", 1);
  setenv("DWA_PING_COUNT", "-1", 1);
  cli::ConfigOptions options;
  options.configuration = write("[trace]\nkeep = 7\n");
  const std::string text = output_of(options);
  for (const std::string line :
       {"VARIABLE                                           VALUE        DEFAULT    UNIT          "
        "FROM\n",
        "\nDWA_CACHE_INTERVAL                                 30           0          seconds      "
        " "
        "environment\n",
        "\nDWA_PING_TIMEOUT                                   2000         2000       "
        "milliseconds  default\n",
        "\nWARNINGS\nDWA_PING_COUNT: '-1' of the environment is not taken; 1 count stay in "
        "force\n"}) {
    EXPECT_NE(text.find(line), std::string::npos) << line << text;
  }
  EXPECT_NE(text.find(file_ + ":2\n"), std::string::npos) << text;
}

// ---- the lists --------------------------------------------------------------------------------

std::string contents(const std::string& path) {
  std::ostringstream text;
  text << std::ifstream(std::string(DIRWATCH_SOURCE "/") + path).rdbuf();
  return text.str();
}

TEST(SettingList, IsWhatTheReferencePageSays) {
  EXPECT_TRUE(contents("docs/settings.md") == setting_reference())
      << "run setting_reference > docs/settings.md";
}

TEST_F(ConfigCommand, TheListOfTheFileIsWhatTheReaderTakesAndTheDocumentShows) {
  std::string whole;
  for (const xaf::ConfigurationSetting& setting : xaf::kConfigurationSettings) {
    if (setting.preset[0] == '\0') continue;
    whole += std::string(setting.name) + " = " + setting.preset + "\n";
  }
  xaf::Configuration read;
  std::string error;
  EXPECT_TRUE(xaf::load_configuration(write(whole), read, error)) << error;
  const json shipped = asked(DIRWATCH_SOURCE "/docs/dirwatch.toml").at("configuration");
  ASSERT_EQ(shipped.size(), xaf::kConfigurationSettings.size());
  for (const json& one : shipped) {
    EXPECT_EQ(one.at("value"), one.at("default")) << one;
    EXPECT_EQ(one.at("place").is_null(), one.at("name") == "trace.flags") << one;
  }
}

}  // namespace
