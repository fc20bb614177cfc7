// Who holds the operations-master roles.

#include <gtest/gtest.h>

#include <string>

#include "directory/dns_utils.h"
#include "tests/directory/asking.h"

namespace {

using directory_test::forest;
using directory_test::forest_with;
using directory_test::kConfiguration;
using directory_test::kDomain;
using directory_test::server_dn;
using directory_test::settings_dn;

constexpr const char* kDomainName = "DC=corp,DC=example";

struct Role {
  const char* name;
  std::function<int(std::span<char>)> ask;
  const char* owner;
  std::string holder;       // the object that names the owner
  std::string owner_trace;  // formats of the traces, up to the name
  std::string parent_trace;
  bool reads_root;
};

const std::vector<Role>& roles() {
  static const std::vector<Role> all{
      {"PDC", [](auto out) { return DNSUtils::GetPDCFSMO(kDomainName, out, "cn"); }, "DC1", kDomain,
       "NTDS Settings FSMO Role Owner Object: ", "Parent Object of NTDS Settings  ", false},
      {"RID", [](auto out) { return DNSUtils::GetRIDFSMO(kDomainName, out); }, "DC3",
       "CN=RID Manager$,CN=System," + kDomain, "FSMO Role Owner: ", "Parent Object: ", false},
      {"infrastructure", [](auto out) { return DNSUtils::GetInfrastructureFSMO(kDomainName, out); },
       "DC3", "CN=Infrastructure," + kDomain, "FSMO Role Owner : ", "Parent Object ", false},
      {"schema", [](auto out) { return DNSUtils::GetSchemaFSMO("DC1", out); }, "DC1",
       "CN=Schema," + kConfiguration, "FSMO Role Owner : ", "Parent Object ", true},
      {"naming", [](auto out) { return DNSUtils::GetDomainNamingFSMO("DC1", out); }, "DC1",
       "CN=Partitions," + kConfiguration, "FSMO Role Owner : ", "Parent Object ", true},
  };
  return all;
}

std::string site_of(const Role& role) {
  return std::string(role.owner) == "DC1" ? "Hub" : "Branch";
}

class Roles : public directory_test::Asking {
 protected:
  char owner_[64] = "before";
};

TEST_F(Roles, AreHeldByTheServerAboveTheOwnersSettings) {
  for (const Role& role : roles()) {
    SCOPED_TRACE(role.name);
    const trc::Capture trace;
    EXPECT_EQ(0, role.ask(owner_));
    EXPECT_STREQ(role.owner, owner_);
    const std::string settings = settings_dn(site_of(role), role.owner);
    const std::string server = server_dn(site_of(role), role.owner);
    EXPECT_EQ(1u, trace.count(role.owner_trace + settings));
    EXPECT_EQ(1u, trace.count(role.parent_trace + "LDAP://" + server + ";"));
  }
}

TEST_F(Roles, OfThePdcAreNamedShortOrInFull) {
  EXPECT_EQ(0, DNSUtils::GetPDCFSMO(kDomainName, owner_, "cn"));
  EXPECT_STREQ("DC1", owner_);
  EXPECT_EQ(0, DNSUtils::GetPDCFSMO(kDomainName, owner_, "dNSHostName"));
  EXPECT_STREQ("DC1.corp.example", owner_);
}

TEST_F(Roles, OfTheForestTraceWhereTheyLook) {
  EXPECT_EQ(0, DNSUtils::GetSchemaFSMO("DC1", owner_));
  EXPECT_EQ(1u, trace_.count("Query for dMD Object: LDAP://CN=Schema," + kConfiguration));
  EXPECT_EQ(0, DNSUtils::GetDomainNamingFSMO("DC1", owner_));
  EXPECT_EQ(1u, trace_.count("Root DSE Object: LDAP://DC1/rootDSE"));
  EXPECT_EQ(1u, trace_.count("Configuration Naming Context : " + kConfiguration));
  EXPECT_EQ(1u, trace_.count("Query for crossRefContainer Object: LDAP://CN=Partitions," +
                             kConfiguration));
}

// What each step's failure comes to: the bind or the read, one after the other.
TEST_F(Roles, FailAtEachBindWithAnObjectErrorAndLeaveTheBuffer) {
  for (const Role& role : roles()) {
    for (std::uint32_t nth = 1; nth <= (role.reads_root ? 4u : 3u); ++nth) {
      SCOPED_TRACE(role.name + std::to_string(nth));
      const trc::Capture trace;
      platform::faults::fail("ADsGetObject", nth, std::int32_t(0x8007203A));
      EXPECT_EQ(ADSI_OBJECT_ERR, role.ask(owner_));
      EXPECT_STREQ("before", owner_);
      EXPECT_TRUE(trace.contains("ADsGetObject Failed. Error number: 8007203a"));
      platform::faults::clear();
    }
  }
}

TEST_F(Roles, FailAtEachReadWithAnObjectErrorAndLeaveTheBuffer) {
  for (const Role& role : roles()) {
    for (std::uint32_t nth = 1; nth <= (role.reads_root ? 3u : 2u); ++nth) {
      SCOPED_TRACE(role.name + std::to_string(nth));
      const trc::Capture trace;
      platform::faults::fail("IADs::Get", nth, std::int32_t(0x8000500D));
      EXPECT_EQ(ADSI_OBJECT_ERR, role.ask(owner_));
      EXPECT_STREQ("before", owner_);
      EXPECT_TRUE(trace.contains("pObj->Get Failed. Error number: 8000500d"));
      platform::faults::clear();
    }
    const trc::Capture trace;
    platform::faults::fail("IADs::get_Parent", 1, std::int32_t(0x80004005));
    EXPECT_EQ(ADSI_OBJECT_ERR, role.ask(owner_));
    EXPECT_TRUE(trace.contains("pObj->Get Failed. Error number: 80004005"));
    platform::faults::clear();
  }
}

TEST_F(Roles, WhoseHolderIsNotThereAreAnObjectError) {
  for (const Role& role : roles()) {
    answer_from(forest_with("dn: " + role.holder + "\n", "dn: CN=Other,DC=nowhere\n"));
    EXPECT_EQ(ADSI_OBJECT_ERR, role.ask(owner_)) << role.name;
    EXPECT_STREQ("before", owner_);
  }
}

TEST_F(Roles, WhoseOwnerIsGoneAreAnObjectError) {
  answer_from(
      forest_with("dn: " + settings_dn("Branch", "DC3"), "dn: CN=Other," + directory_test::kSites));
  EXPECT_EQ(ADSI_OBJECT_ERR, DNSUtils::GetRIDFSMO(kDomainName, owner_));
  EXPECT_EQ(ADSI_OBJECT_ERR, DNSUtils::GetInfrastructureFSMO(kDomainName, owner_));
  EXPECT_EQ(2u, trace_.count("ADsGetObject Failed. Error number: 80072030"));
}

TEST_F(Roles, OfNoDomainAreAnObjectError) {
  EXPECT_EQ(ADSI_OBJECT_ERR, DNSUtils::GetPDCFSMO("DC=nowhere", owner_, "cn"));
  EXPECT_EQ(ADSI_OBJECT_ERR, DNSUtils::GetRIDFSMO(nullptr, owner_));
  EXPECT_EQ(ADSI_OBJECT_ERR, DNSUtils::GetSchemaFSMO("elsewhere", owner_));
  EXPECT_EQ(ADSI_OBJECT_ERR, DNSUtils::GetDomainNamingFSMO("elsewhere", owner_));
}

TEST_F(Roles, OfADomainWithALongNameAreCutAtTheirOwnSizes) {
  const std::string domain = "DC=" + std::string(1200, 'd');
  EXPECT_EQ(ADSI_OBJECT_ERR, DNSUtils::GetPDCFSMO(domain.c_str(), owner_, "cn"));
  EXPECT_TRUE(trace_.contains("cut to 259"));
  EXPECT_EQ(ADSI_OBJECT_ERR, DNSUtils::GetRIDFSMO(domain.c_str(), owner_));
  EXPECT_TRUE(trace_.contains("cut to 1023"));
}

TEST_F(Roles, SweepOfFaults) {
  for (const Role& role : roles()) {
    sweep(
        [&role] {
          char owner[64] = "before";
          const int result = role.ask(owner);
          return std::to_string(result) + " " + owner;
        },
        {{"ADsGetObject", "ADsGetObject Failed. Error number: "},
         {"IADs::get_Parent", "pObj->Get Failed. Error number: "},
         {"IADs::Get", "pObj->Get Failed. Error number: "}});
  }
}

}  // namespace
