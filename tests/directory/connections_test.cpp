// How many connections domain controllers have, and where from.

#include <gtest/gtest.h>

#include <string>

#include "directory/dns_utils.h"
#include "tests/directory/asking.h"

namespace {

using directory_test::connection;
using directory_test::forest;
using directory_test::forest_with;
using directory_test::kSites;
using directory_test::settings_dn;

constexpr std::int32_t kUntouched = -77;

class Connections : public directory_test::Asking {
 protected:
  // A name that the operation may change.
  std::string server_ = "dc1";
  std::int32_t count_ = kUntouched;
};

using GetDSAConnections = Connections;

TEST_F(GetDSAConnections, CountsTheChildrenOfTheServersSettings) {
  EXPECT_EQ(ADSI_ENUM_END, DNSUtils::GetDSAConnections("DC1", "Hub", count_));
  EXPECT_EQ(2, count_);
}

TEST_F(GetDSAConnections, OfAServerWithoutConnectionsAreNone) {
  EXPECT_EQ(ADSI_ENUM_END, DNSUtils::GetDSAConnections("DC3", "Branch", count_));
  EXPECT_EQ(0, count_);
}

TEST_F(GetDSAConnections, WithAnUnreadableConfigurationContextAreASuccessWithTheCountUntouched) {
  answer_from(forest_with("configurationNamingContext: ", "otherContext: "));
  EXPECT_EQ(0, DNSUtils::GetDSAConnections("DC1", "Hub", count_));
  EXPECT_EQ(kUntouched, count_);
  EXPECT_EQ(1u, trace_.count("GetConfigurationNamingContext failed"));
}

TEST_F(GetDSAConnections, OfASiteThatIsNotThereAreAnObjectError) {
  EXPECT_EQ(ADSI_OBJECT_ERR, DNSUtils::GetDSAConnections("DC1", "Nowhere", count_));
  EXPECT_EQ(kUntouched, count_);
  EXPECT_EQ(1u, trace_.count("ADsGetObject Failed. Error number: 80072030"));
}

TEST_F(GetDSAConnections, OfAServerOfAnotherSiteAreAnObjectError) {
  EXPECT_EQ(ADSI_OBJECT_ERR, DNSUtils::GetDSAConnections("DC1", "Branch", count_));
  EXPECT_EQ(kUntouched, count_);
  EXPECT_EQ(1u, trace_.count("ADsGetObject Failed. Error number: 80072030"));
}

TEST_F(GetDSAConnections, WithoutAnEnumeratorAreAnEnumerationError) {
  platform::faults::fail("ADsBuildEnumerator", 1, std::int32_t(0x80004005));
  EXPECT_EQ(ADSI_ENUM_ERR, DNSUtils::GetDSAConnections("DC1", "Hub", count_));
  EXPECT_EQ(kUntouched, count_);
  EXPECT_EQ(1u, trace_.count("ADsBuildEnumerator Failed. Error number: 80004005"));
}

TEST_F(GetDSAConnections, LeaveOutAChildThatFailsWithoutAWord) {
  // Binding the root and the settings, and building the enumerator, ask for one interface each.
  platform::faults::fail("IUnknown::QueryInterface", 4);
  EXPECT_EQ(ADSI_ENUM_END, DNSUtils::GetDSAConnections("DC1", "Hub", count_));
  EXPECT_TRUE(platform::faults::struck());
  EXPECT_EQ(1, count_);
  EXPECT_FALSE(trace_.contains("ADsEnumerateNext Failed"));
}

TEST_F(GetDSAConnections, PauseAtEveryTenthChild) {
  std::string many;
  for (int i = 0; i < 23; ++i) {
    many += connection("Hub", "DC2", "x" + std::to_string(i), settings_dn("Hub", "DC1"));
  }
  answer_from(forest() + many);
  const platform::VirtualTime time;
  EXPECT_EQ(ADSI_ENUM_END, DNSUtils::GetDSAConnections("DC2", "Hub", count_));
  EXPECT_EQ(24, count_);
  EXPECT_EQ(2, time.elapsed_ms());
}

TEST_F(GetDSAConnections, SweepOfFaults) {
  sweep(
      [] {
        std::int32_t count = kUntouched;
        const int result = DNSUtils::GetDSAConnections("DC1", "Hub", count);
        return std::to_string(result) + " " + std::to_string(count);
      },
      {{"ADsGetObject", "GetConfigurationNamingContext failed"},
       {"IADs::Get", "pObj->Get Failed. Error number: "},
       {"ADsBuildEnumerator", "ADsBuildEnumerator Failed. Error number: "}});
}

}  // namespace
