#include "directory/adsi_utils.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <string>

#include "directory/patterns.h"
#include "framework/trc/control.h"
#include "include/platform/adsi.h"
#include "platform/control.h"
#include "tests/support/small_recording.h"

namespace {

using testing_support::kSmallForest;
using testing_support::replaced;
using testing_support::SmallRecording;

struct Converted {
  int result;
  std::string text;
};
Converted to_ldap(const char* name) {
  char out[256] = "before";
  const int result = ADSIutils::ConvertDNSToLDAP(name, out);
  return {result, out};
}
Converted to_dns(const char* name) {
  char out[256] = "before";
  const int result = ADSIutils::ConvertLDAPToDNS(name, out);
  return {result, out};
}

// A thread of the apartment with a small forest to ask.
class AdsiUtils : public ::testing::Test {
 protected:
  AdsiUtils() {
    trc::set_flags(1 | 128);
    CoInitializeEx(nullptr, COINIT_MULTITHREADED);
  }
  ~AdsiUtils() override {
    platform::faults::clear();
    CoUninitialize();
    EXPECT_EQ(before_, platform::accounting::live());
  }
  std::map<std::string, std::int64_t> before_ = platform::accounting::live();
  SmallRecording recording_;
  trc::Capture trace_;
};

TEST(ConvertDNSToLDAP, AnswersComponents) {
  EXPECT_EQ(0, to_ldap("a.b").result);
  EXPECT_EQ("DC=a,DC=b", to_ldap("a.b").text);
  EXPECT_EQ("DC=a,DC=b,DC=c", to_ldap("a.b.c").text);
}

TEST(ConvertDNSToLDAP, RefusesALdapNameAndEmptiesTheResult) {
  trc::set_flags(1);
  trc::Capture trace;
  EXPECT_EQ(-1, to_ldap("DC=a").result);
  EXPECT_EQ("", to_ldap("DC=a").text);
  EXPECT_EQ(2u, trace.count("Error: DNSDomainName DC=a not in DNS format"));
}

TEST(ConvertDNSToLDAP, RefusesNothing) {
  trc::set_flags(1);
  trc::Capture trace;
  EXPECT_EQ(-1, to_ldap("").result);
  EXPECT_EQ("", to_ldap(nullptr).text);
  EXPECT_EQ(2u, trace.count("Error: DNSDomainName is empty or null"));
}

TEST(ConvertDNSToLDAP, KeepsATrailingDotAsAnEmptyComponent) {
  EXPECT_EQ("DC=a,DC=", to_ldap("a.").text);
}

TEST(ConvertDNSToLDAP, TracesBothNamesAtDetailLevel) {
  trc::set_flags(1);
  trc::Capture trace;
  to_ldap("a.b");
  EXPECT_EQ(1u, trace.count("DNSDomainName = a.b"));
  EXPECT_EQ(1u, trace.count("LDAPDomainName = DC=a,DC=b"));
}

TEST(ConvertDNSToLDAP, CutsWhatIsLongerThanItsWorkBuffer) {
  trc::set_flags(128);
  trc::Capture trace;
  const std::string name(300, 'x');
  EXPECT_EQ("DC=" + std::string(224, 'x'), to_ldap(name.c_str()).text);
  EXPECT_TRUE(trace.contains("cut to 224"));
}

TEST(ConvertDNSToLDAP, CutsAtTheCallersBuffer) {
  trc::set_flags(128);
  trc::Capture trace;
  char out[6] = {};
  EXPECT_EQ(0, ADSIutils::ConvertDNSToLDAP("abcdef", out));
  EXPECT_STREQ("DC=ab", out);
  EXPECT_TRUE(trace.contains("cut to 5"));
}

TEST(ConvertLDAPToDNS, AnswersTheValues) {
  EXPECT_EQ(0, to_dns("DC=a,DC=b").result);
  EXPECT_EQ("a.b", to_dns("DC=a,DC=b").text);
}

TEST(ConvertLDAPToDNS, RefusesADnsNameAndEmptiesTheResult) {
  EXPECT_EQ(-1, to_dns("a.b").result);
  EXPECT_EQ("", to_dns("a.b").text);
}

TEST(ConvertLDAPToDNS, TakesABlankAfterTheComma) { EXPECT_EQ("a.b", to_dns("DC=a, DC=b").text); }

TEST(ConvertLDAPToDNS, KeepsATrailingNewline) { EXPECT_EQ("a.b\n", to_dns("DC=a,DC=b\n").text); }

TEST(ConvertLDAPToDNS, DoesNotLookAtAttributeTypes) { EXPECT_EQ("x.y", to_dns("OU=x,DC=y").text); }

TEST(ConvertLDAPToDNS, LeavesOutEmptyComponents) {
  EXPECT_EQ("a.c", to_dns("DC=a,DC=,DC=c").text);
  EXPECT_EQ("", to_dns("nothing").text);
  EXPECT_EQ(0, to_dns("nothing").result);
}

TEST(ConvertLDAPToDNS, RefusesNothing) {
  trc::set_flags(1);
  trc::Capture trace;
  EXPECT_EQ(-1, to_dns("").result);
  EXPECT_EQ("", to_dns(nullptr).text);
  EXPECT_EQ(2u, trace.count("Error: LDAPDomainName is empty or null"));
}

TEST(ConvertLDAPToDNS, CutsAtItsWorkBuffers) {
  EXPECT_EQ(std::string(63, 'x'), to_dns(("DC=" + std::string(70, 'x')).c_str()).text);
  const std::string many = "DC=" + std::string(60, 'a') + ",DC=" + std::string(80, 'b');
  EXPECT_EQ(std::string(60, 'a') + "." + std::string(60, 'b'), to_dns(many.c_str()).text);
}

TEST_F(AdsiUtils, ForestNameEndsInANewline) {
  char name[128] = {};
  EXPECT_EQ(0, ADSIutils::GetForestName("DC1", name));
  EXPECT_STREQ("DC=corp,DC=example\n", name);
  EXPECT_EQ(1u, trace_.count("Root DSE Object: LDAP://DC1/rootDSE"));
}

TEST_F(AdsiUtils, ForestNameThatCannotBeBoundIsAnObjectErrorAndLeavesTheBuffer) {
  platform::faults::fail("ADsGetObject", 1);
  char name[128] = "before";
  EXPECT_EQ(ADSI_OBJECT_ERR, ADSIutils::GetForestName("DC1", name));
  EXPECT_STREQ("before", name);
  EXPECT_TRUE(trace_.contains("Error number "));
  EXPECT_EQ(1u, trace_.count("ADSI_OBJECT_ERR"));
}

TEST_F(AdsiUtils, ForestNameThatCannotBeReadIsAnObjectErrorAndLeavesTheBuffer) {
  platform::faults::fail("IADs::Get", 1);
  char name[128] = "before";
  EXPECT_EQ(ADSI_OBJECT_ERR, ADSIutils::GetForestName("DC1", name));
  EXPECT_STREQ("before", name);
  EXPECT_EQ(1u, trace_.count("ADSI_OBJECT_ERR"));
}

TEST_F(AdsiUtils, RootDSETimeIsOneHourAhead) {
  std::tm time{};
  EXPECT_EQ(0, ADSIutils::GetRootDSETime("DC1", time));
  EXPECT_EQ(111, time.tm_year);
  EXPECT_EQ(0, time.tm_mon);
  EXPECT_EQ(2, time.tm_mday);
  EXPECT_EQ(4, time.tm_hour);
  EXPECT_EQ(4, time.tm_min);
  EXPECT_EQ(5, time.tm_sec);
}

TEST(RootDSETime, AnHourBeforeMidnightCarriesIntoTheNextDay) {
  const SmallRecording recording(replaced(kSmallForest, "20110102030405.0Z", "20101231235959.0Z"));
  CoInitializeEx(nullptr, COINIT_MULTITHREADED);
  std::tm time{};
  EXPECT_EQ(0, ADSIutils::GetRootDSETime("DC1", time));
  EXPECT_EQ(111, time.tm_year);
  EXPECT_EQ(0, time.tm_mon);
  EXPECT_EQ(1, time.tm_mday);
  EXPECT_EQ(0, time.tm_hour);
  EXPECT_EQ(59, time.tm_min);
  EXPECT_EQ(59, time.tm_sec);
  CoUninitialize();
}

TEST_F(AdsiUtils, RootDSETimeOfAServerThatIsDownIsAnObjectError) {
  std::tm time{};
  time.tm_year = 7;
  EXPECT_EQ(ADSI_OBJECT_ERR, ADSIutils::GetRootDSETime("elsewhere", time));
  EXPECT_EQ(7, time.tm_year);
  EXPECT_EQ(1u, trace_.count("ADSI_OBJECT_ERR"));
}

TEST_F(AdsiUtils, NumericAttributeComesWithANewline) {
  char value[32] = {};
  EXPECT_EQ(0, ADSIutils::GetAttributeValue("DC=corp,DC=example", "msDS-Behavior-Version", value));
  EXPECT_STREQ("4\n", value);
}

TEST_F(AdsiUtils, StringAttributeGivesTheLowBitsOfItsSlot) {
  char value[32] = {};
  EXPECT_EQ(0, ADSIutils::GetAttributeValue("CN=Users,DC=corp,DC=example", "cn", value));
  const std::string text(value);
  ASSERT_TRUE(text.ends_with("\n"));
  EXPECT_EQ(text, std::to_string(std::atoi(value)) + "\n");
  EXPECT_STRNE("Users\n", value);
}

TEST_F(AdsiUtils, AttributeOfNothingIsRefused) {
  char value[32] = "before";
  EXPECT_EQ(-1, ADSIutils::GetAttributeValue(nullptr, "cn", value));
  EXPECT_EQ(-1, ADSIutils::GetAttributeValue("DC=corp,DC=example", nullptr, value));
  EXPECT_STREQ("before", value);
  EXPECT_EQ(1u, trace_.count("Error: DistinguishedNameOfObject is empty or null"));
  EXPECT_EQ(1u, trace_.count("Error: AttributeNameOfObject is empty or null"));
}

TEST_F(AdsiUtils, AttributeOfAnObjectThatIsNotThere) {
  char value[32] = "before";
  EXPECT_EQ(-1, ADSIutils::GetAttributeValue("CN=No,DC=corp,DC=example", "cn", value));
  EXPECT_EQ(1u, trace_.count("Error: Unable to get object"));
  EXPECT_EQ(-1, ADSIutils::GetAttributeValue("DC=corp,DC=example", "noSuch", value));
  EXPECT_EQ(1u, trace_.count("Error: Unable to fetch attribute value"));
  EXPECT_STREQ("before", value);
}

TEST_F(AdsiUtils, PathIsCutAtItsBufferAndTraced) {
  const std::string server(400, 's');
  char name[128] = {};
  EXPECT_EQ(ADSI_OBJECT_ERR, ADSIutils::GetForestName(server.c_str(), name));
  EXPECT_TRUE(trace_.contains("cut to 199"));
  EXPECT_EQ(1u, trace_.count("Root DSE Object: LDAP://" + std::string(192, 's')));
}

}  // namespace
