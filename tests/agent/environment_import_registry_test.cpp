// The import of a branch that the test writes into the registry itself; on Windows the real one.

#include "tests/agent/imported_branch.h"

namespace {

using namespace testing_support;

TEST_F(ImportedBranch, IsReadFromTheDeepestLevelToTheRootWhichWins) {
  text(kLevel1, "DWT_ONE", "1");
  text(kLevel1, "DWT_ALL", "level 1");
  text(kLevel2, "DWT_TWO", "2");
  text(kLevel2, "DWT_ALL", "level 2");
  text(kLevel3, "DWT_THREE", "3");
  text(kLevel3, "DWT_ALL", "level 3");
  EXPECT_EQ(0, import());
  EXPECT_EQ("1", variable("DWT_ONE"));
  EXPECT_EQ("2", variable("DWT_TWO"));
  EXPECT_EQ("3", variable("DWT_THREE"));
  EXPECT_EQ("level 3", variable("DWT_ALL"));
  EXPECT_EQ(1u, trace_.count("Setting environment variable DWT_ALL=level 1"));
}

TEST_F(ImportedBranch, WithoutAnEnvironmentAtALevelIsReadAtTheOthers) {
  text(kLevel3, "DWT_THREE", "3");
  EXPECT_EQ(0, import());
  EXPECT_EQ("3", variable("DWT_THREE"));
}

TEST_F(ImportedBranch, ThatIsMissingIsToldAndImportsNothing) {
  text(kLevel3, "DWT_THREE", "3");
  EXPECT_EQ(CRegistry::kCallFailed, import("DirWatcherTest\\Ver\\Secondary"));
  EXPECT_EQ("(unset)", variable("DWT_THREE"));
}

TEST_F(ImportedBranch, GivesItsTextsAndNoOtherTypes) {
  const std::string seven("\7\0\0\0\0\0\0\0", 8);
  bytes(kLevel1, "DWT_A", seven.substr(0, 4), REG_DWORD);
  bytes(kLevel1, "DWT_B", seven.substr(0, 4), REG_DWORD_BIG_ENDIAN);
  bytes(kLevel1, "DWT_C", seven, REG_QWORD);
  bytes(kLevel1, "DWT_D", "bytes", REG_BINARY);
  bytes(kLevel1, "DWT_E", std::string("one\0two\0\0", 9), REG_MULTI_SZ);
  bytes(kLevel1, "DWT_F", "", REG_NONE);
  text(kLevel1, "DWT_G", "text");
  text(kLevel1, "DWT_H", "text", REG_EXPAND_SZ);
  EXPECT_EQ(0, import());
  for (const char* name : {"DWT_A", "DWT_B", "DWT_C", "DWT_D", "DWT_E", "DWT_F"}) {
    EXPECT_EQ("(unset)", variable(name)) << name;
  }
  EXPECT_EQ("text", variable("DWT_G"));
  EXPECT_EQ("text", variable("DWT_H"));
}

// ---- sizes ----------------------------------------------------------------------------------

TEST_F(ImportedBranch, AValueOf2048CharactersWithItsZeroEndIsTaken) {
  text(kLevel1, "DWT_A", std::string(2047, 'v'));
  text(kLevel1, "DWT_B", "behind");
  EXPECT_EQ(0, import());
  EXPECT_EQ(std::string(2047, 'v'), variable("DWT_A"));
  EXPECT_EQ("behind", variable("DWT_B"));
}

TEST_F(ImportedBranch, AValueOf2049CharactersWithItsZeroEndEndsTheLevelAndNoOther) {
  text(kLevel1, "DWT_A", "before");
  text(kLevel1, "DWT_B", std::string(2048, 'v'));
  text(kLevel1, "DWT_C", "behind");
  text(kLevel2, "DWT_D", "next level");
  EXPECT_EQ(0, import());
  EXPECT_EQ("before", variable("DWT_A"));
  EXPECT_EQ("(unset)", variable("DWT_B"));
  EXPECT_EQ("(unset)", variable("DWT_C"));
  EXPECT_EQ("next level", variable("DWT_D"));
  EXPECT_EQ(1u, trace_.count("There is more data from registry entry but the buffer isn't big "
                             "enough. dwEnumIndex = 1"));
  EXPECT_TRUE(trace_.contains("rRegistry.EnumVals returned 4. dItemNameSize = "));
}

TEST_F(ImportedBranch, AValueOf2048CharactersWithoutAZeroEndIsTakenWhole) {
  bytes(kLevel1, "DWT_A", std::string(2048, 'v'), REG_SZ);
  EXPECT_EQ(0, import());
  EXPECT_EQ(std::string(2048, 'v'), variable("DWT_A"));
}

TEST_F(ImportedBranch, ANameOf127CharactersIsTaken) {
  const std::string name = "DWT_" + std::string(123, 'N');
  text(kLevel1, name, "value");
  EXPECT_EQ(0, import());
  EXPECT_EQ("value", variable(name));
}

TEST_F(ImportedBranch, ANameOf128CharactersOrMoreEndsTheLevelAndNoOther) {
  for (const std::size_t size : {128u, 129u}) {
    const std::string name = "DWT_" + std::string(size - 4, 'N');
    text(kLevel1, name, "value");
    text(kLevel1, "DWT_Z", "behind");
    text(kLevel2, "DWT_D", "next level");
    EXPECT_EQ(0, import());
    EXPECT_EQ("(unset)", variable(name));
    EXPECT_EQ("(unset)", variable("DWT_Z"));
    EXPECT_EQ("next level", variable("DWT_D"));
    EXPECT_TRUE(trace_.contains("rRegistry.EnumVals returned 4."));
    tree_.remove_below(kLevel1);
    _putenv("DWT_D=");
  }
}

TEST_F(ImportedBranch, AValueEndsAtAZeroWithinIt) {
  bytes(kLevel1, "DWT_A", std::string("ab\0cd\0", 6), REG_SZ);
  EXPECT_EQ(0, import());
  EXPECT_EQ("ab", variable("DWT_A"));
}

TEST_F(ImportedBranch, AnEmptyValueTakesTheVariableAway) {
  text(kLevel1, "DWT_A", "set");
  text(kLevel2, "DWT_A", "");
  EXPECT_EQ(0, import());
  EXPECT_EQ("(unset)", variable("DWT_A"));
}

TEST_F(ImportedBranch, ADefaultValueHasNoNameAndSetsNothing) {
  tree_.set_text(kLevel1, "", "nameless");
  text(kLevel1, "DWT_A", "behind");
  EXPECT_EQ(0, import());
  EXPECT_EQ("behind", variable("DWT_A"));
}

// ---- expansion ------------------------------------------------------------------------------

TEST_F(ImportedBranch, AnExpandableValueSeesWhatWasSetBefore) {
  text(kLevel1, "DWT_A", "first");
  text(kLevel1, "DWT_B", "<%DWT_A%>", REG_EXPAND_SZ);
  text(kLevel1, "DWT_C", "<%DWT_A%>");
  text(kLevel2, "DWT_D", "[%DWT_B%]", REG_EXPAND_SZ);
  EXPECT_EQ(0, import());
  EXPECT_EQ("<first>", variable("DWT_B"));
  EXPECT_EQ("<%DWT_A%>", variable("DWT_C"));
  EXPECT_EQ("[<first>]", variable("DWT_D"));
}

TEST_F(ImportedBranch, AVariableThatIsNotSetKeepsItsPercentSigns) {
  text(kLevel1, "DWT_A", "%DWT_NEVER% and 100%", REG_EXPAND_SZ);
  EXPECT_EQ(0, import());
  EXPECT_EQ("%DWT_NEVER% and 100%", variable("DWT_A"));
}

// The branch is imported twice at each start, so such a value is appended twice; and it stops
// growing where it no longer fits.
TEST_F(ImportedBranch, AValueThatNamesItselfGrowsWithEachImportUpToTheLimit) {
  text(kLevel1, "DWT_A", "%DWT_A%" + std::string(600, 'x'), REG_EXPAND_SZ);
  EXPECT_EQ(0, import());
  EXPECT_EQ("%DWT_A%" + std::string(600, 'x'), variable("DWT_A"));
  EXPECT_EQ(0, import());
  const std::string twice = "%DWT_A%" + std::string(1200, 'x');
  EXPECT_EQ(twice, variable("DWT_A"));
  EXPECT_EQ(0, import());
  EXPECT_EQ(twice + std::string(600, 'x'), variable("DWT_A"));
  EXPECT_EQ(0, import());
  EXPECT_EQ(twice + std::string(600, 'x'), variable("DWT_A"));
  EXPECT_EQ(1u, trace_.count("The expanded value of DWT_A is too long and is left out"));
}

// ---- depth ----------------------------------------------------------------------------------

TEST_F(ImportedBranch, APathOfMoreThan1024CharactersIsNoBranch) {
  std::string branch = "DirWatcherTest";
  for (int i = 0; i < 6; ++i) branch += "\\" + std::string(200, 'n');
  text(kLevel3, "DWT_C", "near");
  EXPECT_EQ(CRegistry::kTargetTooSmall, import(branch));
  EXPECT_EQ("(unset)", variable("DWT_C"));
}

TEST_F(ImportedBranch, AtMostAHundredLevelsAreRead) {
  std::string below;
  for (int level = 0; level < 101; ++level) below += "\\d";
  text((below.substr(1) + "\\Environment").c_str(), "DWT_A", "deepest");
  text("d\\d\\Environment", "DWT_B", "the hundredth");
  text("d\\Environment", "DWT_C", "one too many");
  EXPECT_EQ(0, import("DirWatcherTest" + below));
  EXPECT_EQ("deepest", variable("DWT_A"));
  EXPECT_EQ("the hundredth", variable("DWT_B"));
  EXPECT_EQ("(unset)", variable("DWT_C"));
}

TEST_F(ImportedBranch, OfTenThousandValuesIsTakenWhole) {
  for (int i = 0; i < 10000; ++i) {
    text(kLevel1, "DWT_" + std::to_string(10000 + i), std::to_string(i));
  }
  EXPECT_EQ(0, import());
  int right = 0;
  for (int i = 0; i < 10000; ++i) {
    right += variable("DWT_" + std::to_string(10000 + i)) == std::to_string(i) ? 1 : 0;
  }
  EXPECT_EQ(10000, right);
}

}  // namespace
