#include "directory/dsf_utils.h"

#include <gtest/gtest.h>

#include <cstring>
#include <map>
#include <string>

#include "framework/trc/control.h"
#include "include/platform/adsi.h"
#include "platform/control.h"
#include "tests/support/two_sites.h"

namespace {

using testing_support::kSmallForest;
using testing_support::kTwoSitesLocator;
using testing_support::site_settings;
using testing_support::sites_container;
using testing_support::SmallRecording;
using testing_support::two_sites_forest;

using Files = std::map<std::string, std::string>;

class Services : public ::testing::Test {
 protected:
  Services() {
    trc::set_flags(1 | 128);
    CoInitializeEx(nullptr, COINIT_MULTITHREADED);
    before_ = platform::accounting::live();
  }
  ~Services() override {
    platform::faults::clear();
    EXPECT_EQ(before_, platform::accounting::live());
    CoUninitialize();
  }
  void record(const std::string& forest, Files files = {{"locator.json", kTwoSitesLocator}}) {
    recording_ = std::make_unique<SmallRecording>(forest, "", files);
  }

  std::map<std::string, std::int64_t> before_;
  std::unique_ptr<SmallRecording> recording_;
  trc::Capture trace_;
};

using GetSiteName = Services;

TEST_F(GetSiteName, OfAServerIsTheLocatorsAnswer) {
  record(kSmallForest);
  char site[64];
  std::memset(site, 'x', sizeof site);
  EXPECT_EQ(0u, DSFUtils::GetSiteName("DC1", site));
  EXPECT_STREQ("Head-Office", site);
  EXPECT_EQ(0u, DSFUtils::GetSiteName("dc2.CORP.example", site));
  EXPECT_STREQ("Branch", site);
}

TEST_F(GetSiteName, OfAServerThatDoesNotAnswerIsEmptyWithThePlatformsStatus) {
  record(kSmallForest);
  char site[64] = "old";
  EXPECT_EQ(1722u, DSFUtils::GetSiteName("DC9", site));
  EXPECT_STREQ("", site);
  EXPECT_TRUE(trace_.contains("ERROR: DsGetSiteName failed. Error code: 1722"));
}

TEST_F(GetSiteName, OfAServerThatIsInNoSiteFails) {
  record(kSmallForest);
  char site[64] = "old";
  EXPECT_EQ(1919u, DSFUtils::GetSiteName("DC1.child.corp.example", site));
  EXPECT_STREQ("", site);
}

TEST_F(GetSiteName, ThatDoesNotFitIsCutAndTraced) {
  record(kSmallForest);
  char site[5];
  EXPECT_EQ(0u, DSFUtils::GetSiteName("DC1", site));
  EXPECT_STREQ("Head", site);
  EXPECT_TRUE(trace_.contains("Text of 11 characters cut to 4"));
}

class IsKCCEnabled : public Services {
 protected:
  // The flag after a question for DC1, which is in Head-Office.
  int flag_with(const std::string& options) {
    record(two_sites_forest(options, "0"));
    unsigned char enabled = 7;
    EXPECT_EQ(0, DSFUtils::IsKCCEnabled("DC1", enabled));
    return enabled;
  }
};

TEST_F(IsKCCEnabled, IsFalseWithOptions16Or17) {
  EXPECT_EQ(0, flag_with("16"));
  EXPECT_EQ(0, flag_with("17"));
}

TEST_F(IsKCCEnabled, IsTrueWithOptions18) { EXPECT_EQ(1, flag_with("18")); }

TEST_F(IsKCCEnabled, IsTrueWithBitsBeyondThoseThatTurnItOff) {
  EXPECT_EQ(1, flag_with("0"));
  EXPECT_EQ(1, flag_with("48"));
  EXPECT_EQ(1, flag_with("-1"));
}

TEST_F(IsKCCEnabled, LooksAtTheSettingsOfTheHostsOwnSite) {
  record(two_sites_forest("0", "16"));
  unsigned char enabled = 7;
  EXPECT_EQ(0, DSFUtils::IsKCCEnabled("DC1", enabled));
  EXPECT_EQ(1, enabled);
  EXPECT_EQ(0, DSFUtils::IsKCCEnabled("DC2", enabled));
  EXPECT_EQ(0, enabled);
}

TEST_F(IsKCCEnabled, TakesASiteWhoseNameHoldsTheHostsSite) {
  record(kSmallForest + sites_container() + site_settings("Old-Branch-7", "17") +
         site_settings("Branch", "0"));
  unsigned char enabled = 7;
  EXPECT_EQ(0, DSFUtils::IsKCCEnabled("DC2", enabled));
  EXPECT_EQ(0, enabled);
}

TEST_F(IsKCCEnabled, ComparesTheSiteWithRegardToCase) {
  record(kSmallForest + sites_container() + site_settings("BRANCH", "16"));
  unsigned char enabled = 7;
  EXPECT_EQ(0, DSFUtils::IsKCCEnabled("DC2", enabled));
  EXPECT_EQ(1, enabled);
}

TEST_F(IsKCCEnabled, WithNoMatchingRowLeavesTheFlagTrueAndReturns0) {
  record(kSmallForest + sites_container() + site_settings("Elsewhere", "16"));
  unsigned char enabled = 0;
  EXPECT_EQ(0, DSFUtils::IsKCCEnabled("DC1", enabled));
  EXPECT_EQ(1, enabled);
}

TEST_F(IsKCCEnabled, WithoutASiteTakesTheFirstSettings) {
  record(two_sites_forest("16", "0"), {});
  unsigned char enabled = 7;
  EXPECT_EQ(0, DSFUtils::IsKCCEnabled("DC1", enabled));
  EXPECT_EQ(0, enabled);
  EXPECT_TRUE(trace_.contains("ERROR: DsGetSiteName failed. Error code: "));
}

TEST_F(IsKCCEnabled, WithoutOptionsFailsWithTheFlagTrue) {
  record(two_sites_forest("", "0"));
  unsigned char enabled = 0;
  EXPECT_EQ(-1, DSFUtils::IsKCCEnabled("DC1", enabled));
  EXPECT_EQ(1, enabled);
}

TEST_F(IsKCCEnabled, OfANullHostLeavesTheFlagUnwritten) {
  record(two_sites_forest("16", "0"));
  unsigned char enabled = 7;
  EXPECT_EQ(-1, DSFUtils::IsKCCEnabled(nullptr, enabled));
  EXPECT_EQ(7, enabled);
  EXPECT_TRUE(trace_.contains("Error: hostName is empty or null"));
}

TEST_F(IsKCCEnabled, TellsWhichStepFailed) {
  const struct {
    const char* call;
    std::uint32_t nth;
    const char* text;
  } steps[] = {
      {"ADsGetObject", 1, "Error: Unable to get object"},
      {"IADs::Get", 1, "Error: Unable to fetch configurationNamingContext attribute value"},
      {"ADsOpenObject", 1, "Error: Unable to open object"},
      {"IDirectorySearch::ExecuteSearch", 1, "Error: Unable to execute search query"},
  };
  record(two_sites_forest("16", "0"));
  for (const auto& step : steps) {
    SCOPED_TRACE(step.call);
    platform::faults::fail(step.call, step.nth);
    unsigned char enabled = 0;
    EXPECT_EQ(-1, DSFUtils::IsKCCEnabled("DC1", enabled));
    EXPECT_EQ(1, enabled);
    EXPECT_EQ(1u, trace_.count(step.text));
    platform::faults::clear();
  }
}

TEST_F(IsKCCEnabled, WithARowThatCannotBeHadOrReadFails) {
  record(two_sites_forest("0", "16"));
  for (const char* call : {"IDirectorySearch::GetNextRow", "IDirectorySearch::GetColumn"}) {
    for (const std::uint32_t nth : {1u, 2u}) {
      SCOPED_TRACE(std::string(call) + " " + std::to_string(nth));
      platform::faults::fail(call, nth);
      unsigned char enabled = 0;
      EXPECT_EQ(-1, DSFUtils::IsKCCEnabled("DC2", enabled));
      EXPECT_EQ(1, enabled);
      platform::faults::clear();
    }
  }
}

// Every call that the question reaches fails once; what was taken comes back each time, as the
// fixture sees in the end, and the next question is answered rightly.
TEST_F(IsKCCEnabled, GivesEverythingBackWhicheverCallFails) {
  record(two_sites_forest("0", "16"));
  unsigned char enabled = 7;
  platform::faults::reset_counts();
  DSFUtils::IsKCCEnabled("DC2", enabled);
  const auto reached = platform::faults::reached();
  ASSERT_GE(reached.size(), 7u);
  const auto before = platform::accounting::live();
  for (const auto& [call, times] : reached) {
    for (std::uint32_t nth = 1; nth <= times; ++nth) {
      SCOPED_TRACE(call + " " + std::to_string(nth));
      platform::faults::fail(call, nth);
      DSFUtils::IsKCCEnabled("DC2", enabled);
      EXPECT_TRUE(platform::faults::struck());
      platform::faults::clear();
      EXPECT_EQ(before, platform::accounting::live());
      EXPECT_EQ(0, DSFUtils::IsKCCEnabled("DC2", enabled));
      EXPECT_EQ(0, enabled);
    }
  }
}

constexpr const char* kTrusts = R"({"servers": {"DC1": {"trusts": [
  {"netbios_name": "CORP", "dns_name": "corp.example", "flags": ["PRIMARY", "IN_FOREST"]},
  {"netbios_name": "OTHER", "dns_name": "other.example", "flags": ["DIRECT_OUTBOUND"],
   "parent_index": 3, "type": 2, "attributes": 8, "sid": "S-1-5-21-1-2-4000000000",
   "guid": "01020304-0506-0708-090a-0b0c0d0e0f10"},
  {"netbios_name": "OLD", "flags": ["DIRECT_INBOUND"], "type": 1}
]}, "DC2": {"status": 5}}})";

using GetDomainTrustRelationships = Services;

TEST_F(GetDomainTrustRelationships, AreThoseThatTheDomainHasItself) {
  record(kSmallForest, {{"locator.json", kTwoSitesLocator}, {"trusts.json", kTrusts}});
  PDS_DOMAIN_TRUSTSA trusts = nullptr;
  ULONG count = 77;
  ASSERT_EQ(0u, DSFUtils::GetDomainTrustRelationships("DC1", &trusts, count));
  ASSERT_EQ(2u, count);
  EXPECT_STREQ("OTHER", trusts[0].NetbiosDomainName);
  EXPECT_STREQ("other.example", trusts[0].DnsDomainName);
  EXPECT_EQ(DS_DOMAIN_DIRECT_OUTBOUND, trusts[0].Flags);
  EXPECT_EQ(3u, trusts[0].ParentIndex);
  EXPECT_EQ(2u, trusts[0].TrustType);
  EXPECT_EQ(8u, trusts[0].TrustAttributes);
  EXPECT_EQ(0x01020304u, trusts[0].DomainGuid.Data1);
  EXPECT_EQ(0x0506u, trusts[0].DomainGuid.Data2);
  EXPECT_EQ(0x10u, trusts[0].DomainGuid.Data4[7]);
  const unsigned char sid[] = {1, 4, 0, 0, 0, 0, 0, 5, 21, 0,    0,    0,
                               1, 0, 0, 0, 2, 0, 0, 0, 0,  0x28, 0x6B, 0xEE};
  EXPECT_EQ(0, std::memcmp(sid, trusts[0].DomainSid, sizeof sid));
  EXPECT_STREQ("OLD", trusts[1].NetbiosDomainName);
  EXPECT_EQ(nullptr, trusts[1].DnsDomainName);
  EXPECT_EQ(nullptr, trusts[1].DomainSid);
  NetApiBufferFree(trusts);
}

TEST_F(GetDomainTrustRelationships, ThatFailHandOutNothingAndACountOf0) {
  record(kSmallForest, {{"locator.json", kTwoSitesLocator}, {"trusts.json", kTrusts}});
  PDS_DOMAIN_TRUSTSA trusts = nullptr;
  ULONG count = 77;
  EXPECT_EQ(5u, DSFUtils::GetDomainTrustRelationships("DC2", &trusts, count));
  EXPECT_EQ(0u, count);
  EXPECT_EQ(nullptr, trusts);
  EXPECT_TRUE(trace_.contains("Error:DsEnumerateDomainTrusts failed. Error code: 5"));
  platform::faults::fail("DsEnumerateDomainTrustsA", 1);
  EXPECT_EQ(1311u, DSFUtils::GetDomainTrustRelationships("DC1", &trusts, count));
  EXPECT_EQ(nullptr, trusts);
}

}  // namespace
