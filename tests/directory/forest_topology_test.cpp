// The domain controllers of the forest.

#include <gtest/gtest.h>

#include "directory/dns_utils.h"
#include "tests/directory/asking.h"

namespace {

using directory_test::Asking;
using directory_test::forest;
using directory_test::kSites;
using directory_test::server_dn;
using testing_support::replaced;

// The forest with DC1's and DC3's settings telling what they are; DC2 predates the attribute.
std::string forest_of_kinds() {
  std::string text = replaced(forest(), "options: 1\n", "options: 1\nmsDS-isRODC: FALSE\n");
  return replaced(text, "options: 5\n", "options: 5\nmsDS-isRODC: TRUE\n");
}

class GetForestTopologyInfo : public Asking {
 protected:
  GetForestTopologyInfo() : Asking(forest_of_kinds()) {}
  std::vector<ForestTopologyInfo> list(int expected = 0) {
    std::vector<ForestTopologyInfo> records;
    EXPECT_EQ(expected, DNSUtils::GetForestTopologyInfo("DC1", records));
    return records;
  }
  // The record of DC1 under another full name.
  ForestTopologyInfo of_host(const std::string& full_name) {
    const std::string hub = server_dn("Hub", "DC1") + "\ndNSHostName: ";
    answer_from(replaced(forest_of_kinds(), hub + "DC1.corp.example", hub + full_name));
    const auto records = list();
    EXPECT_EQ(3u, records.size());
    return records.empty() ? ForestTopologyInfo{} : records[0];
  }
};

TEST_F(GetForestTopologyInfo, FillsARecordForEachController) {
  const auto records = list();
  ASSERT_EQ(3u, records.size());
  EXPECT_STREQ("DC1.CORP.EXAMPLE", records[0].hostName);
  EXPECT_STREQ("CORP.EXAMPLE", records[0].domainName);
  EXPECT_EQ(server_dn("Hub", "DC1"), records[0].distinguishedName);
  EXPECT_EQ(server_dn("Hub", "DC1"), records[0].fullDistinguishedName);
  EXPECT_STREQ("Hub", records[0].siteName);
  EXPECT_STREQ("DC1", records[0].commonName);
  EXPECT_STREQ("FALSE", records[0].isRODC);
  EXPECT_STREQ("CORP.EXAMPLE", records[0].parentDomain);
  EXPECT_STREQ("Branch", records[2].siteName);
  EXPECT_STREQ("TRUE", records[2].isRODC);
  EXPECT_TRUE(trace_.contains("CanonicalName : corp.example/Configuration"));
  EXPECT_EQ(1u, trace_.count("Root Domain : corp.example"));
}

TEST_F(GetForestTopologyInfo, OfAForestOfOneDomainNamesThatAsTheParent) {
  EXPECT_STREQ("CORP.EXAMPLE", list()[1].parentDomain);
  EXPECT_EQ(3u, trace_.count("Success"));
}

TEST_F(GetForestTopologyInfo, TakesWhatFollowsTheFirstDotBelowAnotherRoot) {
  EXPECT_STREQ("B.C", of_host("dc1.a.b.c").parentDomain);
}

TEST_F(GetForestTopologyInfo, TakesTheDomainItselfWhereTheParentWouldHoldNoDot) {
  EXPECT_STREQ("X.Y", of_host("dc1.x.y").parentDomain);
}

TEST_F(GetForestTopologyInfo, LeavesOutAServerWithoutSettings) {
  for (const auto& record : list()) EXPECT_STRNE("OLD", record.commonName);
  EXPECT_EQ(1u, trace_.count("ADsGetObject() for NTDS Settings Failed for server : OLD. Not a "
                             "Domain Controller."));
}

TEST_F(GetForestTopologyInfo, ShowsNotSupportedForAControllerThatPredatesTheMark) {
  EXPECT_STREQ("NOT_SUPPORTED", list()[1].isRODC);
  EXPECT_EQ(1u, trace_.count("Get(msDS-isRODC) failed for <DC2.CORP.EXAMPLE>"));
}

TEST_F(GetForestTopologyInfo, TellsEachNameThatCannotBeRead) {
  platform::faults::fail("IADs::Get", 0, std::int32_t(0x8000500D));
  list(ADSI_OBJECT_ERR);
  EXPECT_EQ(1u, trace_.count("GetConfigurationNamingContext failed"));
}

TEST_F(GetForestTopologyInfo, OfAServerThatIsDownIsAnObjectError) {
  std::vector<ForestTopologyInfo> records;
  EXPECT_EQ(ADSI_OBJECT_ERR, DNSUtils::GetForestTopologyInfo("elsewhere", records));
  EXPECT_EQ(1u, trace_.count("GetConfigurationNamingContext failed"));
}

TEST_F(GetForestTopologyInfo, TellsEachStepThatFailsBeforeTheWalk) {
  const struct {
    const char* call;
    std::uint32_t nth;
    const char* message;
  } steps[] = {
      {"ADsGetObject", 2, "ADsGetObject Failed for Configuration. Error : 8007203a"},
      {"ADsBuildVarArrayStr", 1, "ADsBuildVarArrayStr. Error : 8007000e"},
      {"IADs::GetInfoEx", 1, "GetInfoEx Failed for Configuration. Error : "},
      {"IADs::Get", 2, "Get(canonicalName) Failed for Configuration. Error : 8000500d"},
  };
  for (const auto& step : steps) {
    SCOPED_TRACE(step.call);
    platform::faults::fail(step.call, step.nth);
    EXPECT_TRUE(list(ADSI_OBJECT_ERR).empty());
    EXPECT_TRUE(trace_.contains(step.message));
    platform::faults::clear();
  }
}

TEST_F(GetForestTopologyInfo, WithoutTheSitesIsAPlainFailure) {
  platform::faults::fail("ADsGetObject", 3);
  EXPECT_TRUE(list(-1).empty());
}

TEST_F(GetForestTopologyInfo, WithoutAnEnumeratorOfTheSitesIsAnEnumerationError) {
  platform::faults::fail("ADsBuildEnumerator", 1);
  EXPECT_TRUE(list(ADSI_ENUM_ERR).empty());
}

TEST_F(GetForestTopologyInfo, GoesOnBehindASiteWhoseServersCannotBeBound) {
  platform::faults::fail("ADsGetObject", 4);
  EXPECT_EQ(1u, list().size());
  EXPECT_EQ(1u, trace_.count("ADsGetObject Failed for Site: Hub. Error number: 8007203a"));
}

TEST_F(GetForestTopologyInfo, EndsAtServersWithoutAnEnumeratorAndKeepsWhatWasFound) {
  platform::faults::fail("ADsBuildEnumerator", 3);
  EXPECT_EQ(2u, list(ADSI_ENUM_ERR).size());
  EXPECT_TRUE(trace_.contains("ADsBuildEnumerator Failed. Error number: "));
}

TEST_F(GetForestTopologyInfo, SkipsTheFoldersThatAreNoSites) {
  list();
  EXPECT_FALSE(trace_.contains("ADsGetObject Failed for Site: Subnets"));
  EXPECT_FALSE(trace_.contains("ADsGetObject Failed for Site: Inter-Site Transports"));
}

TEST_F(GetForestTopologyInfo, TellsTheNamesOfAServerThatCannotBeRead) {
  const std::string hub = server_dn("Hub", "DC1") + "\ndNSHostName: ";
  answer_from(replaced(forest_of_kinds(), hub + "DC1.corp.example\n",
                       hub.substr(0, hub.find("dNSHostName"))));
  const auto records = list();
  ASSERT_EQ(3u, records.size());
  EXPECT_STREQ("", records[0].hostName);
  EXPECT_STREQ("", records[0].parentDomain);
  EXPECT_EQ(1u, trace_.count("Get(DNSHostName) failed"));
  EXPECT_EQ(1u, trace_.count("DNSDomainName not available"));
}

TEST_F(GetForestTopologyInfo, SurvivesEachPlatformCallFailingOnce) {
  sweep(
      [] {
        std::vector<ForestTopologyInfo> records;
        std::string text = std::to_string(DNSUtils::GetForestTopologyInfo("DC1", records));
        for (const ForestTopologyInfo& info : records) {
          text += std::string(info.hostName) + info.domainName + info.siteName + info.commonName +
                  info.isRODC + info.parentDomain + info.fullDistinguishedName + ";";
        }
        return text;
      },
      {{"ADsGetObject", "GetConfigurationNamingContext failed"},
       {"ADsBuildVarArrayStr", "ADsBuildVarArrayStr. Error : 8007000e"},
       {"IADs::GetInfoEx", "GetInfoEx Failed for Configuration. Error : "},
       {"ADsBuildEnumerator", "ADsBuildEnumerator Failed. Error number: "}});
}

}  // namespace
