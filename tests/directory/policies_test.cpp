// Group policies, and the version in a policy's folder.

#include <gtest/gtest.h>

#include "directory/dns_utils.h"
#include "directory/policy_file.h"
#include "tests/directory/asking.h"

namespace {

using directory::version_lines;
using directory_test::Asking;
using directory_test::forest;
using directory_test::kDomain;
using directory_test::object;

const std::string kPolicies = "CN=Policies,CN=System," + kDomain;

std::string policy(const std::string& name, const std::string& attributes) {
  return object("CN=" + name + "," + kPolicies, "groupPolicyContainer", attributes);
}
std::string forest_of_policies() {
  return forest() + object(kPolicies, "container") +
         policy("{A}",
                "displayName: First\nversionNumber: 7\nflags: 0\n"
                "gPCFileSysPath: \\\\corp.example\\sysvol\\corp.example\\Policies\\{A}\n"
                "whenCreated: 20110102030405.0Z\nwhenChanged: 20110304101112.0Z\n") +
         policy("{B}",
                "displayName: Second\nversionNumber: 8\nflags: 4\n"
                "gPCFileSysPath: \\\\down.example\\sysvol\\{B}\n") +
         policy("{C}", "flags: 3\n");
}

class GetAllGPOList : public Asking {
 protected:
  GetAllGPOList() : Asking(forest_of_policies()) {
    recording_.emplace(
        forest_of_policies(), "",
        testing_support::MoreFiles{{"shares/corp.example/sysvol/corp.example/Policies/{A}/GPT.INI",
                                    "[General]\r\nVersion=12\r\ndisplayName=New\r\n"}});
  }
  std::vector<GPOInfo> list(int expected = ADSI_ENUM_END) {
    std::vector<GPOInfo> records;
    EXPECT_EQ(expected, DNSUtils::GetAllGPOList(kDomain.c_str(), records));
    return records;
  }
};

TEST_F(GetAllGPOList, FillsARecordForEachPolicy) {
  const auto records = list();
  ASSERT_EQ(3u, records.size());
  EXPECT_STREQ("First", records[0].name);
  EXPECT_STREQ("{A}", records[0].guid);
  EXPECT_EQ(7, records[0].version);
  EXPECT_EQ(12, records[0].sysvolVersion);
  EXPECT_EQ(-1, records[0].status);
  EXPECT_STREQ("01/02/2011  03:04", records[0].created);
  EXPECT_STREQ("03/04/2011  10:11", records[0].modified);
  EXPECT_EQ(1u, trace_.count("Version String: Version=12"));
}

TEST_F(GetAllGPOList, WithFlags4KeepsStatus0) { EXPECT_EQ(0, list()[1].status); }

TEST_F(GetAllGPOList, TakesFlagsFrom1To3AsTheyStand) { EXPECT_EQ(3, list()[2].status); }

TEST_F(GetAllGPOList, WithAFolderOutOfReachKeepsMinus1AndFillsTheRest) {
  const auto records = list();
  EXPECT_EQ(-1, records[1].sysvolVersion);
  EXPECT_STREQ("Second", records[1].name);
  EXPECT_EQ(8, records[1].version);
  EXPECT_TRUE(trace_.contains("Failed to Open GPT.INI"));
}

TEST_F(GetAllGPOList, LeavesWhatCannotBeReadAtItsPreset) {
  const auto records = list();
  EXPECT_STREQ("", records[2].name);
  EXPECT_EQ(0, records[2].version);
  EXPECT_EQ(-1, records[2].sysvolVersion);
  EXPECT_STREQ("", records[2].created);
}

TEST_F(GetAllGPOList, LeavesATimeThatIsNoArrayAsItWas) {
  platform::faults::fail("IADs::GetEx", 1);
  const auto records = list();
  EXPECT_STREQ("", records[0].created);
  EXPECT_STREQ("03/04/2011  10:11", records[0].modified);
}

TEST_F(GetAllGPOList, SkipsAChildThatIsNoObject) {
  // The container and its enumerator are asked for before the first child.
  platform::faults::fail("IUnknown::QueryInterface", 3);
  EXPECT_EQ(2u, list().size());
}

TEST_F(GetAllGPOList, OfADomainWithoutPoliciesIsAnObjectError) {
  std::vector<GPOInfo> records;
  EXPECT_EQ(ADSI_OBJECT_ERR, DNSUtils::GetAllGPOList("DC=other", records));
  EXPECT_TRUE(trace_.contains("ADsGetObject Failed. Error number: "));
  EXPECT_TRUE(records.empty());
}

TEST_F(GetAllGPOList, WithoutAnEnumeratorIsAnEnumerationError) {
  platform::faults::fail("ADsBuildEnumerator", 1);
  list(ADSI_ENUM_ERR);
  EXPECT_TRUE(trace_.contains("ADsBuildEnumerator Failed. Error number: "));
}

TEST_F(GetAllGPOList, GivesWhatWasReadOfAFileThatBreaksOff) {
  platform::faults::fail("ReadFile", 1);
  EXPECT_EQ(-1, list()[0].sysvolVersion);
}

TEST_F(GetAllGPOList, YieldsAtEvery25thWhateverTheSetting) {
  g_sleepWhileIterating = 0;
  std::string text = forest() + object(kPolicies, "container");
  for (int i = 0; i < 50; ++i) text += policy("{" + std::to_string(i) + "}", "");
  answer_from(text);
  platform::VirtualTime time;
  EXPECT_EQ(50u, list().size());
  EXPECT_EQ(2, time.elapsed_ms());
}

TEST_F(GetAllGPOList, SurvivesEachPlatformCallFailingOnce) {
  sweep(
      [] {
        std::vector<GPOInfo> records;
        std::string text = std::to_string(DNSUtils::GetAllGPOList(kDomain.c_str(), records));
        for (const GPOInfo& info : records) {
          text += std::string(info.name) + info.guid + std::to_string(info.version) + "/" +
                  std::to_string(info.sysvolVersion) + info.created + info.modified + ";";
        }
        return text;
      },
      {{"ADsGetObject", "ADsGetObject Failed. Error number: "},
       {"ADsBuildEnumerator", "ADsBuildEnumerator Failed. Error number: "},
       {"CreateFileA", "Failed to Open GPT.INI"}});
}

TEST(PolicyFile, ALineVersion12Gives12) {
  const auto lines = version_lines("[General]\r\nVersion=12\r\n");
  ASSERT_EQ(1u, lines.size());
  EXPECT_EQ("Version=12\n", lines[0].text);
  EXPECT_EQ(12, lines[0].version);
}

TEST(PolicyFile, WithoutANewlineAtItsEndLosesTheLastDigit) {
  EXPECT_EQ(1, version_lines("Version=12")[0].version);
  EXPECT_EQ(0, version_lines("Version=5")[0].version);
}

TEST(PolicyFile, GivesEveryLineThatHoldsTheWordInOrder) {
  const auto lines = version_lines("Version=1\ngPCFunctionalityVersion=2\nversion=3\n");
  ASSERT_EQ(2u, lines.size());
  EXPECT_EQ(1, lines[0].version);
  EXPECT_EQ(2, lines[1].version);
}

TEST(PolicyFile, WithoutAnEqualsSignTellsNoVersion) {
  const auto lines = version_lines("Version 12\n");
  ASSERT_EQ(1u, lines.size());
  EXPECT_FALSE(lines[0].version.has_value());
}

TEST(PolicyFile, IsReadInPiecesOf63Characters) {
  const std::string filler(58, 'x');
  // "Versi" ends the first piece: neither piece holds the word.
  EXPECT_TRUE(version_lines(filler + "Version=7\n").empty());
  // The whole word stands in the second piece.
  const auto lines = version_lines(std::string(63, 'x') + "Version=7\n");
  ASSERT_EQ(1u, lines.size());
  EXPECT_EQ(7, lines[0].version);
}

TEST(PolicyFile, EndsAtControlZAndALineAtAZeroByte) {
  EXPECT_TRUE(version_lines("\x1AVersion=7\n").empty());
  EXPECT_TRUE(version_lines(std::string("a\0Version=7\n", 12)).empty());
}

TEST(PolicyFile, KeepsANumberThatIsTooLargeAtTheNearest) {
  EXPECT_EQ(2147483647, version_lines("Version=99999999999\n")[0].version);
  EXPECT_EQ(-2147483647 - 1, version_lines("Version=-99999999999\n")[0].version);
  EXPECT_EQ(0, version_lines("Version=\n")[0].version);
}

}  // namespace
