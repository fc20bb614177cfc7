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

class InboundConnections : public Connections {
 protected:
  int one() { return DNSUtils::GetInboundConnections(server_.data(), count_); }
  int two(const char* server = "DC1") {
    return DNSUtils::GetInboundConnections(server, known_, from_this_);
  }

  std::int32_t known_ = kUntouched;
  std::int32_t from_this_ = kUntouched;
};

TEST_F(InboundConnections, AreCountedWhereverTheServerStands) {
  EXPECT_EQ(0, one());
  EXPECT_EQ(2, count_);
  EXPECT_EQ(1u, trace_.count("STROBJECT: <LDAP://" + settings_dn("Hub", "DC1") + ">"));
  EXPECT_EQ(1u,
            trace_.count("ConfigurationNamingContext: <" + directory_test::kConfiguration + ">"));
}

TEST_F(InboundConnections, UpperCaseTheCallersOwnName) {
  EXPECT_EQ(0, one());
  EXPECT_EQ("DC1", server_);
}

TEST_F(InboundConnections, OfOneServerAreFoundWithoutRegardToCase) {
  answer_from(forest_with("\ncn: DC1\n", "\ncn: dC1\n"));
  EXPECT_EQ(0, one());
  EXPECT_EQ(2, count_);
}

TEST_F(InboundConnections, OfAServerThatStandsInTwoSitesAreAddedUp) {
  answer_from(forest() + directory_test::server("Branch", "DC1") +
              directory_test::settings("Branch", "DC1", "") +
              connection("Branch", "DC1", "c9", settings_dn("Hub", "DC2")));
  EXPECT_EQ(0, one());
  EXPECT_EQ(3, count_);
}

TEST_F(InboundConnections, OfAServerWithoutConnectionObjectsAreNoneInBothForms) {
  server_ = "DC3";
  EXPECT_EQ(0, one());
  EXPECT_EQ(0, count_);
  EXPECT_EQ(ADSI_ENUM_END, two("DC9"));
  EXPECT_EQ(0, from_this_);
  EXPECT_EQ(3, known_);
}

TEST_F(InboundConnections, GoOnWhereASiteHasNoServers) {
  // The transports and the subnets are no sites, and nobody leaves them out by name.
  EXPECT_EQ(0, one());
  EXPECT_EQ(2u, trace_.count("ADsGetObject Failed. Error number: 80072030"));
}

TEST_F(InboundConnections, GoOnWhereAServerHasNoSettings) {
  server_ = "OLD";
  EXPECT_EQ(0, one());
  EXPECT_EQ(0, count_);
  EXPECT_EQ(3u, trace_.count("ADsGetObject Failed. Error number: 80072030"));
}

TEST_F(InboundConnections, CountKnownSourcesAndThoseFromThisServer) {
  EXPECT_EQ(ADSI_ENUM_END, two());
  EXPECT_EQ(3, known_);
  EXPECT_EQ(1, from_this_);
}

TEST_F(InboundConnections, CountEachPairOfServerAndSource) {
  // A second server of the name: each source that bears it counts twice.
  answer_from(forest() + directory_test::server("Branch", "DC1"));
  EXPECT_EQ(ADSI_ENUM_END, two());
  EXPECT_EQ(4, known_);
  EXPECT_EQ(1, from_this_);
}

TEST_F(InboundConnections, CompareSourcesWithRegardToCase) {
  EXPECT_EQ(ADSI_ENUM_END, two("dc1"));
  EXPECT_EQ(3, known_);
  EXPECT_EQ(0, from_this_);
}

TEST_F(InboundConnections, TakeWhatStandsBetweenTheCommasOfASource) {
  const std::string from = "fromServer: " + settings_dn("Hub", "DC2") + "\n";
  for (const char* other : {"DC1", "CN=DC1", "", "CN=Settings,DC1", "a,b=DC1,c"}) {
    answer_from(forest_with(from, std::string("fromServer: ") + other + "\n"));
    EXPECT_EQ(ADSI_ENUM_END, two());
    // The connection of another server names DC1 as well.
    EXPECT_EQ(*other == '\0' ? 1 : 2, from_this_) << other;
  }
}

TEST_F(InboundConnections, LeaveOutAConnectionWithoutASource) {
  answer_from(forest_with("fromServer: " + settings_dn("Hub", "DC2") + "\n", ""));
  EXPECT_EQ(ADSI_ENUM_END, two());
  EXPECT_EQ(2, known_);
}

TEST_F(InboundConnections, WithAnUnreadableConfigurationContextAreAnObjectErrorAndZero) {
  answer_from(forest_with("configurationNamingContext: ", "otherContext: "));
  EXPECT_EQ(ADSI_OBJECT_ERR, one());
  EXPECT_EQ(0, count_);
  EXPECT_EQ(ADSI_OBJECT_ERR, two());
  EXPECT_EQ(0, known_);
  EXPECT_EQ(0, from_this_);
  EXPECT_EQ(2u, trace_.count("GetConfigurationNamingContext failed"));
}

TEST_F(InboundConnections, WithoutSitesAreAnObjectError) {
  answer_from(forest_with("dn: " + kSites + "\n", "dn: CN=Other," + kSites + "\n"));
  EXPECT_EQ(ADSI_OBJECT_ERR, one());
  EXPECT_EQ(ADSI_OBJECT_ERR, two());
  EXPECT_EQ(0, count_);
}

TEST_F(InboundConnections, WithoutAnEnumeratorAtAnyLevelAreAnEnumerationErrorAndUnwritten) {
  for (const std::uint32_t level : {1u, 2u, 3u}) {
    platform::faults::fail("ADsBuildEnumerator", level);
    EXPECT_EQ(ADSI_ENUM_ERR, one()) << level;
    EXPECT_EQ(0, count_);
    platform::faults::clear();
    platform::faults::fail("ADsBuildEnumerator", level);
    EXPECT_EQ(ADSI_ENUM_ERR, two()) << level;
    EXPECT_EQ(0, known_);
    EXPECT_EQ(0, from_this_);
    platform::faults::clear();
  }
  EXPECT_TRUE(trace_.contains("ADsBuildEnumerator Failed. Error number: "));
}

TEST_F(InboundConnections, AreCountedOverThousandsOfServers) {
  std::string many;
  for (int i = 0; i < 2500; ++i) {
    const std::string name = "S" + std::to_string(i);
    many += directory_test::server("Branch", name) + directory_test::settings("Branch", name, "") +
            connection("Branch", name, "c", settings_dn("Hub", "DC1"));
  }
  answer_from(forest() + many);
  EXPECT_EQ(ADSI_ENUM_END, two());
  EXPECT_EQ(2503, known_);
  EXPECT_EQ(2501, from_this_);
}

TEST_F(InboundConnections, SweepOfFaultsOfOneCount) {
  sweep(
      [] {
        std::string server = "dc1";
        std::int32_t count = kUntouched;
        const int result = DNSUtils::GetInboundConnections(server.data(), count);
        return std::to_string(result) + " " + std::to_string(count);
      },
      {{"ADsGetObject", "GetConfigurationNamingContext failed"},
       {"IADs::Get", "pObj->Get Failed. Error number: "},
       {"ADsBuildEnumerator", "ADsBuildEnumerator Failed. Error number: "}});
}

TEST_F(InboundConnections, SweepOfFaultsOfTwoCounts) {
  sweep(
      [] {
        std::int32_t known = kUntouched;
        std::int32_t from_this = kUntouched;
        const int result = DNSUtils::GetInboundConnections("DC1", known, from_this);
        return std::to_string(result) + " " + std::to_string(known) + " " +
               std::to_string(from_this);
      },
      {{"ADsGetObject", "GetConfigurationNamingContext failed"},
       {"ADsBuildEnumerator", "ADsBuildEnumerator Failed. Error number: "}});
}

}  // namespace
