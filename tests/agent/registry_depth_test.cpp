// Paths that only a recording can have: the real call takes no more than 260 characters at once.

#include "platform/control.h"
#include "tests/agent/imported_branch.h"
#include "tests/agent/registry_place.h"

namespace {

using namespace testing_support;

TEST_F(RegistryPlace, APathOfMoreThan1023CharactersIsNotGoneTo) {
  Opened opened;
  CRegistry& registry = opened.registry;
  const std::string name(200, 'n');
  std::string expected = kTree;
  while (expected.size() + 1 + name.size() < 1024) {
    ASSERT_EQ(0, registry.Position(name.c_str(), true));
    expected += "\\" + name;
  }
  EXPECT_EQ(CRegistry::kTargetTooSmall, registry.Position(name.c_str(), true));
  EXPECT_EQ(expected, path(registry));
  const std::string rest(1023 - expected.size() - 1, 'r');
  EXPECT_EQ(0, registry.Position(rest.c_str(), true));
  EXPECT_EQ(1023u, path(registry).size());
  EXPECT_EQ(CRegistry::kTargetTooSmall, registry.Position("x", true));
  EXPECT_EQ(0, registry.Position(".."));
  EXPECT_EQ(expected, path(registry));
}

TEST_F(ImportedBranch, APathOfMoreThan512CharactersIsWalked) {
  const std::string name(200, 'n');
  const std::string branch = name + "\\" + name + "\\" + name;
  text((branch + "\\Environment").c_str(), "DWT_A", "deep");
  text((name + "\\Environment").c_str(), "DWT_B", "half way");
  text(kLevel3, "DWT_C", "near");
  EXPECT_EQ(0, import("DirWatcherTest\\" + branch));
  EXPECT_EQ("deep", variable("DWT_A"));
  EXPECT_EQ("half way", variable("DWT_B"));
  EXPECT_EQ("near", variable("DWT_C"));
}

TEST_F(ImportedBranch, AnEnvironmentBeyond1024CharactersIsPassedOver) {
  const std::string root = "SOFTWARE\\Marlow\\DirWatcherTest";
  std::string below;
  while (root.size() + below.size() + 101 < 1020) below += "\\" + std::string(100, 'n');
  below += "\\" + std::string(1020 - root.size() - below.size() - 1, 'l');
  tree_.make(below.substr(1));
  text(kLevel3, "DWT_C", "near");
  EXPECT_EQ(0, import("DirWatcherTest" + below));
  EXPECT_EQ("near", variable("DWT_C"));
}

TEST_F(RegistryPlace, ALongPathLeavesNothingOpen) {
  const auto before = platform::accounting::live();
  {
    Opened opened;
    while (opened.registry.Position(std::string(100, 'n').c_str(), true) == 0) {
    }
    EXPECT_GT(path(opened.registry).size(), 900u);
  }
  EXPECT_EQ(before, platform::accounting::live());
}

}  // namespace
