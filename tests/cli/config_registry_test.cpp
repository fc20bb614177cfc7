// dirwatch config over a branch that the test writes into the registry; on Windows the real one.

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>
#include <string>

#include "cli/commands.h"
#include "include/platform/environment.h"
#include "include/setting_list.h"
#include "tests/agent/registry_tree.h"

namespace {

constexpr const char* kBranch = "DirWatcherTest\\Ver\\Primary";
constexpr const char* kLevel1 = "Ver\\Primary\\Environment";
constexpr const char* kLevel3 = "Environment";
const std::string kTree = "HKEY_LOCAL_MACHINE\\SOFTWARE\\Marlow\\DirWatcherTest\\";

class ConfigRegistry : public testing::Test {
 protected:
  ConfigRegistry() {
    tree_.make("Ver\\Primary");
    forget();
  }
  ~ConfigRegistry() override { forget(); }
  static void forget() {
    for (const settings::Setting* setting : settings::kAll) {
      _putenv((std::string(setting->name) + "=").c_str());
    }
  }
  static nlohmann::json asked() {
    testing::internal::CaptureStdout();
    cli::ConfigOptions options;
    options.format = "json";
    options.branch = kBranch;
    EXPECT_EQ(0, cli::config_command(options));
    return nlohmann::json::parse(testing::internal::GetCapturedStdout());
  }
  static nlohmann::json variable(const nlohmann::json& all, const std::string& name) {
    for (const nlohmann::json& one : all.at("variables")) {
      if (one.at("name") == name) return one;
    }
    return nullptr;
  }
  // The texts of one kind, each with its name in front.
  static std::string warnings(const nlohmann::json& all, const std::string& kind) {
    std::string texts;
    for (const nlohmann::json& one : all.at("warnings")) {
      if (one.at("kind") != kind) continue;
      texts += (one.at("name").is_null() ? "" : one.at("name").get<std::string>() + ": ") +
               one.at("text").get<std::string>() + "\n";
    }
    return texts;
  }

  testing_support::RegistryTree tree_{HKEY_LOCAL_MACHINE, "SOFTWARE\\Marlow\\DirWatcherTest"};
};

TEST_F(ConfigRegistry, NamesTheKeyThatAValueComesFrom) {
  tree_.set_text(kLevel1, "DWA_PING_COUNT", "3");
  const nlohmann::json found = variable(asked(), "DWA_PING_COUNT");
  EXPECT_EQ(found.at("value"), 3);
  EXPECT_EQ(found.at("default"), 1);
  EXPECT_EQ(found.at("unit"), "count");
  EXPECT_EQ(found.at("from").at("source"), "registry");
  EXPECT_EQ(found.at("from").at("place"), kTree + kLevel1);
  EXPECT_EQ(found.at("from").at("text"), "3");
}

TEST_F(ConfigRegistry, TellsWhichLevelAndWhichEnvironmentAreShadowed) {
  _putenv("DWA_PING_SIZE=8");
  tree_.set_text(kLevel1, "DWA_PING_SIZE", "16");
  tree_.set_text(kLevel3, "DWA_PING_SIZE", "64");
  const nlohmann::json all = asked();
  const nlohmann::json found = variable(all, "DWA_PING_SIZE");
  EXPECT_EQ(found.at("value"), 64);
  ASSERT_EQ(found.at("shadowed").size(), 2u);
  EXPECT_EQ(found.at("shadowed")[0].at("source"), "environment");
  EXPECT_EQ(found.at("shadowed")[1].at("place"), kTree + kLevel1);
  EXPECT_EQ(warnings(all, "shadowed"), "DWA_PING_SIZE: '8' of the environment is replaced by " +
                                           kTree + kLevel3 + "\n" + "DWA_PING_SIZE: '16' of " +
                                           kTree + kLevel1 + " is replaced by " + kTree + kLevel3 +
                                           "\n");
}

TEST_F(ConfigRegistry, NamesWhatNothingReadsAndWhatMayBeMeant) {
  _putenv("DWA_SOMETHING_ELSE=1");
  tree_.set_text(kLevel1, "DWA_PING_CUONT", "3");
  tree_.set_text(kLevel1, "UNRELATED", "3");
  const nlohmann::json all = asked();
  const std::string key = kTree + kLevel1;
  EXPECT_EQ(warnings(all, "unknown"),
            "DWA_SOMETHING_ELSE: set in the environment, and nothing reads it\n"
            "DWA_PING_CUONT: set in " +
                key +
                ", and no setting has this name; is DWA_PING_COUNT meant?\n"
                "UNRELATED: set in " +
                key + ", and no setting has this name\n");
  for (const char* name : {"DWA_SOMETHING_ELSE=", "DWA_PING_CUONT=", "UNRELATED="}) _putenv(name);
}

TEST_F(ConfigRegistry, TellsWhatTheImportPassesOver) {
  tree_.set(kLevel1, "DWA_PING_COUNT", REG_DWORD, std::string("\3\0\0\0", 4));
  tree_.set_text(kLevel3, "DWA_PING_SIZE", std::string(2048, '9'));
  const nlohmann::json all = asked();
  EXPECT_EQ(variable(all, "DWA_PING_COUNT").at("from").at("source"), "default");
  EXPECT_EQ(warnings(all, "not_imported"),
            "DWA_PING_COUNT: " + kTree + kLevel1 + ": not a text, and so passed over\n" + kTree +
                kLevel3 +
                ": a name or value is too long; it and what comes behind it is not read\n");
}

TEST_F(ConfigRegistry, AnEmptyValueTakesTheVariableAway) {
  _putenv("DWA_PING_SIZE=8");
  tree_.set_text(kLevel1, "DWA_PING_SIZE", "");
  const nlohmann::json all = asked();
  EXPECT_EQ(variable(all, "DWA_PING_SIZE").at("value"), 32);
  EXPECT_EQ(warnings(all, "removed"),
            "DWA_PING_SIZE: " + kTree + kLevel1 + " is empty, which takes the variable away\n");
}

}  // namespace
