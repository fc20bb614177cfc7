#include "agent/environment_import.h"

#include <cstdio>

#include "agent/registry.h"
#include "tests/agent/agent_run.h"

namespace {

using testing_support::AgentRun;

// Text as an export writes a value of the expandable type: UTF-16 with its zero end, in
// hexadecimal.
std::string expandable(const std::string& text) {
  std::string hex = "hex(2):";
  for (const char c : text) {
    char bytes[8];
    std::snprintf(bytes, sizeof bytes, "%02x,00,", static_cast<unsigned char>(c));
    hex += bytes;
  }
  return hex + "00,00";
}

std::string branch() {
  return R"([HKEY_LOCAL_MACHINE\SOFTWARE\Marlow]

[HKEY_LOCAL_MACHINE\SOFTWARE\Marlow\Environment]
"DWT_ROOT"="not read"

[HKEY_LOCAL_MACHINE\SOFTWARE\Marlow\DCW]

[HKEY_LOCAL_MACHINE\SOFTWARE\Marlow\DCW\Environment]
"DWT_BOTH"="level 3"

[HKEY_LOCAL_MACHINE\SOFTWARE\Marlow\DCW\Ver610]

[HKEY_LOCAL_MACHINE\SOFTWARE\Marlow\DCW\Ver610\Environment]
"DWT_SHORT"="before"
"DWT_LONG"=")" +
         std::string(2100, 'x') +
         R"("
"DWT_LATE"="after"

[HKEY_LOCAL_MACHINE\SOFTWARE\Marlow\DCW\Ver610\Primary]

[HKEY_LOCAL_MACHINE\SOFTWARE\Marlow\DCW\Ver610\Primary\Environment]
"DWT_NUMBER"=dword:00000007
"DWT_TEXT"="a value"
"DWT_BOTH"="level 1"
"DWT_EXPANDED"=)" +
         expandable("%DWT_TEXT%!") + "\n\"DWT_KEPT\"=" + expandable("%DWT_NONE%") + "\n\n";
}

const char* variable(const char* name) {
  const char* value = std::getenv(name);
  return value == nullptr ? "(unset)" : value;
}

class Import : public AgentRun {
 protected:
  Import() : AgentRun(branch()) {}
  std::int32_t run() { return SetEnvFromReg(kRegistryBranch); }
};

TEST_F(Import, TakesTextValuesOfTheBranchUpToItsRoot) {
  EXPECT_EQ(0, run());
  EXPECT_STREQ("a value", variable("DWT_TEXT"));
  EXPECT_STREQ("(unset)", variable("DWT_ROOT"));
  EXPECT_EQ(1u, trace_.count("Setting environment variable DWT_TEXT=a value"));
}

TEST_F(Import, PassesOverANumberAndGoesOn) {
  run();
  EXPECT_STREQ("(unset)", variable("DWT_NUMBER"));
  EXPECT_STREQ("a value", variable("DWT_TEXT"));
}

TEST_F(Import, OfAValueThatIsTooLongEndsThatLevelAndGoesOnWithTheNext) {
  run();
  EXPECT_STREQ("before", variable("DWT_SHORT"));
  EXPECT_STREQ("(unset)", variable("DWT_LONG"));
  EXPECT_STREQ("(unset)", variable("DWT_LATE"));
  EXPECT_STREQ("level 3", variable("DWT_BOTH"));
  EXPECT_EQ(1u, trace_.count("There is more data from registry entry but the buffer isn't big "
                             "enough. dwEnumIndex = 1"));
  EXPECT_EQ(1u, trace_.count("rRegistry.EnumVals returned 4. dItemNameSize = 2101 "));
}

TEST_F(Import, LetsTheLevelNearerTheRootWin) {
  run();
  EXPECT_STREQ("level 3", variable("DWT_BOTH"));
}

TEST_F(Import, ExpandsWhatIsSetAndKeepsThePercentSignsOfWhatIsNot) {
  run();
  EXPECT_STREQ("a value!", variable("DWT_EXPANDED"));
  EXPECT_STREQ("%DWT_NONE%", variable("DWT_KEPT"));
}

TEST_F(Import, LeavesNothingOpen) {
  const auto before = platform::accounting::live();
  run();
  EXPECT_EQ(before, platform::accounting::live());
}

class NoBranch : public AgentRun {};
TEST_F(NoBranch, TheImportTellsThatTheBranchIsMissing) {
  EXPECT_EQ(CRegistry::kCallFailed, SetEnvFromReg(kRegistryBranch));
}

}  // namespace
