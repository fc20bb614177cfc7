// What kind of controller a server is, and its full name.

#include <gtest/gtest.h>

#include <string>

#include "directory/dns_utils.h"
#include "tests/directory/asking.h"

namespace {

using directory_test::forest;
using directory_test::forest_with;
using directory_test::kConfiguration;
using directory_test::kSites;
using directory_test::settings_dn;

class Catalog : public directory_test::Asking {
 protected:
  int is_one(const char* server) { return DNSUtils::IsGlobalCatalogServer(server, flag_); }
  std::uint8_t flag_ = 7;
};

TEST_F(Catalog, IsAServerWhoseOptionsAreNotZero) {
  EXPECT_EQ(0, is_one("dc1"));
  EXPECT_EQ(1, flag_);
  EXPECT_EQ(0, is_one("DC2"));
  EXPECT_EQ(0, flag_);
  EXPECT_EQ(0, is_one("DC3"));
  EXPECT_EQ(1, flag_) << "options of 5 count here";
  EXPECT_EQ(2u, trace_.count("IsRODC: TRUE"));
  EXPECT_EQ(1u, trace_.count("IsRODC: FALSE, options = 0"));
}

TEST_F(Catalog, IsNeverFoundByACnInSmallLetters) {
  answer_from(forest_with("\ncn: DC1\n", "\ncn: dc1\n"));
  EXPECT_EQ(0, is_one("dc1"));
  EXPECT_EQ(7, flag_);
  EXPECT_EQ(1u, trace_.count("Server <DC1> not found"));
}

TEST_F(Catalog, ThatIsNotThereLeavesTheFlag) {
  EXPECT_EQ(0, is_one("DC9"));
  EXPECT_EQ(7, flag_);
  EXPECT_EQ(1u, trace_.count("Server <DC9> not found"));
  EXPECT_EQ(ADSI_OBJECT_ERR, is_one(nullptr));
}

TEST_F(Catalog, WithoutSettingsLeavesTheFlag) {
  EXPECT_EQ(0, is_one("OLD"));
  EXPECT_EQ(7, flag_);
  EXPECT_EQ(1u, trace_.count("ADsGetObject(NTDS Settings) Failed for Server: OLD. "
                             "Error number: 80072030"));
  EXPECT_FALSE(trace_.contains("not found"));
}

TEST_F(Catalog, WithUnreadableOptionsLeavesTheFlag) {
  answer_from(forest_with("options: 1\n", ""));
  EXPECT_EQ(0, is_one("DC1"));
  EXPECT_EQ(7, flag_);
  EXPECT_EQ(1u, trace_.count("<DC1> Not a Global Catalog Server. Get(CComBSTR()) Failed. "
                             "Error number: 8000500d"));
}

TEST_F(Catalog, OfAForestWhoseConfigurationIsUnreadableIsAnObjectError) {
  answer_from(forest_with("configurationNamingContext: ", "otherContext: "));
  EXPECT_EQ(ADSI_OBJECT_ERR, is_one("DC1"));
  EXPECT_EQ(1u, trace_.count("GetConfigurationNamingContext failed"));
}

TEST_F(Catalog, OfAForestWithoutSitesIsAPlainFailure) {
  answer_from(forest_with("dn: " + kSites + "\n", "dn: CN=Other," + kSites + "\n"));
  EXPECT_EQ(-1, is_one("DC1"));
  EXPECT_EQ(1u, trace_.count("ADsGetObject Failed. Error number: 80072030"));
  EXPECT_FALSE(trace_.contains("not found"));
}

TEST_F(Catalog, BehindASiteWithoutServersIsAPlainFailure) {
  answer_from(forest_with("dn: CN=Servers,CN=Hub,", "dn: CN=Other,CN=Hub,"));
  EXPECT_EQ(-1, is_one("DC3"));
  EXPECT_EQ(7, flag_);
}

TEST_F(Catalog, WithoutAnEnumeratorOfTheSitesIsAnEnumerationError) {
  platform::faults::fail("ADsBuildEnumerator", 1);
  EXPECT_EQ(ADSI_ENUM_ERR, is_one("DC1"));
  EXPECT_EQ(7, flag_);
}

TEST_F(Catalog, BehindASiteThatCannotBeEnumeratedIsFoundAndTheErrorTold) {
  platform::faults::fail("ADsBuildEnumerator", 2);
  EXPECT_EQ(ADSI_ENUM_ERR, is_one("DC3"));
  EXPECT_EQ(1, flag_);
  EXPECT_TRUE(trace_.contains("ADsBuildEnumerator Failed. Error number: "));
}

TEST_F(Catalog, IsLookedForWithoutPausesAndWithoutTheTransports) {
  std::string many;
  for (int i = 0; i < 40; ++i) many += directory_test::site("Site" + std::to_string(i));
  answer_from(forest() + many);
  const platform::VirtualTime time;
  EXPECT_EQ(0, is_one("DC9"));
  EXPECT_EQ(0, time.elapsed_ms());
  EXPECT_FALSE(trace_.contains("ADsGetObject Failed"));
}

TEST_F(Catalog, SweepOfFaults) {
  sweep(
      [] {
        std::uint8_t flag = 7;
        const int result = DNSUtils::IsGlobalCatalogServer("dc3", flag);
        return std::to_string(result) + " " + std::to_string(flag);
      },
      {{"ADsGetObject", "GetConfigurationNamingContext failed"},
       {"ADsBuildEnumerator", "ADsBuildEnumerator Failed. Error number: "}});
}

class ReadOnly : public directory_test::Asking {
 protected:
  ReadOnly() { locate(R"("READ_ONLY", "LDAP", "DS")"); }
  void locate(const std::string& flags, const std::string& domain = "corp.example") {
    answer_from(forest(), {{"locator.json", R"({"forest": "corp.example", "controllers": [)"
                                            R"({"name": "DC8.)" +
                                                domain + R"(", "flags": [)" + flags + "]}]}"}});
  }
  int is_one(const char* server = "DC1") { return DNSUtils::IsReadOnlyDC(server, flag_); }
  std::uint8_t flag_ = 7;
};

TEST_F(ReadOnly, IsWhatTheLocatorPicksInTheForestRoot) {
  EXPECT_EQ(0, is_one());
  EXPECT_EQ(1, flag_);
  EXPECT_EQ(1u, trace_.count("DNS Domain Name = [corp.example]"));
}

TEST_F(ReadOnly, IsNotAWritableController) {
  locate(R"("WRITABLE", "LDAP", "DS", "GC", "KDC", "TIMESERV")");
  EXPECT_EQ(0, is_one());
  EXPECT_EQ(0, flag_);
}

TEST_F(ReadOnly, CannotBeToldOfAServerThatIsDown) {
  EXPECT_EQ(ADSI_OBJECT_ERR, is_one("elsewhere"));
  EXPECT_EQ(0, flag_);
  EXPECT_EQ(1u, trace_.count("GetConfigurationNamingContext failed"));
}

TEST_F(ReadOnly, CannotBeToldOfAForestWithADotInItsName) {
  answer_from(forest_with("rootDomainNamingContext: DC=corp,", "rootDomainNamingContext: DC=a.b,"));
  EXPECT_EQ(ADSI_OBJECT_ERR, is_one());
  EXPECT_EQ(0, flag_);
  EXPECT_EQ(1u, trace_.count("ADSIutils::ConvertLDAPToDNS failed"));
}

TEST_F(ReadOnly, CannotBeToldWhereTheLocatorFindsNobody) {
  locate(R"("LDAP")", "other.example");
  EXPECT_EQ(ADSI_OBJECT_ERR, is_one());
  EXPECT_EQ(0, flag_);
  EXPECT_TRUE(trace_.contains("DsGetDcName failed, GetLastError() value = "));
}

TEST_F(ReadOnly, SweepOfFaults) {
  sweep(
      [] {
        std::uint8_t flag = 7;
        const int result = DNSUtils::IsReadOnlyDC("DC1", flag);
        return std::to_string(result) + " " + std::to_string(flag);
      },
      {{"ADsGetObject", "GetConfigurationNamingContext failed"},
       {"IADs::Get", "GetConfigurationNamingContext failed"},
       {"DsGetDcNameA", "DsGetDcName failed, GetLastError() value = "}});
}

class FullName : public directory_test::Asking {
 protected:
  int find(const char* name, bool by_host_name = false) {
    return DNSUtils::GetDNSHostName(name, kConfiguration.c_str(), full_, by_host_name);
  }
  char full_[255] = "before";
};

TEST_F(FullName, IsFoundByTheShortNameWithoutRegardToCase) {
  EXPECT_EQ(0, find("dc3"));
  EXPECT_STREQ("DC3.corp.example", full_);
  EXPECT_EQ(1u, trace_.count("tempServerName:: <DC3> and tempStr:: <DC1>"));
  EXPECT_EQ(1u, trace_.count("tempServerName:: <DC3> and tempStr:: <DC3>"));
}

TEST_F(FullName, IsFoundByItselfWhereThatIsAskedFor) {
  EXPECT_EQ(0, find("dc3.CORP.example", true));
  EXPECT_STREQ("DC3.corp.example", full_);
  EXPECT_EQ(ADSI_OBJECT_ERR, find("dc3", true));
  EXPECT_EQ(ADSI_OBJECT_ERR, find("dc3.corp.example", false));
}

TEST_F(FullName, ComparesWithoutRegardToCaseWhereTheCatalogDoesNot) {
  answer_from(forest_with("\ncn: DC1\n", "\ncn: dc1\n"));
  std::uint8_t flag = 7;
  EXPECT_EQ(0, DNSUtils::IsGlobalCatalogServer("dc1", flag));
  EXPECT_EQ(7, flag);
  EXPECT_EQ(0, find("dc1"));
  EXPECT_STREQ("DC1.corp.example", full_);
}

TEST_F(FullName, OfNobodyIsAnObjectErrorAndLeavesTheBuffer) {
  EXPECT_EQ(ADSI_OBJECT_ERR, find("DC9"));
  EXPECT_STREQ("before", full_);
  EXPECT_EQ(1u, trace_.count("Could not retrieve DNSHostName for <DC9>. Server not found"));
  EXPECT_EQ(ADSI_OBJECT_ERR, find(nullptr));
}

TEST_F(FullName, ThatCannotBeReadIsAnObjectError) {
  answer_from(forest_with("dNSHostName: DC3.corp.example\n", ""));
  EXPECT_EQ(ADSI_OBJECT_ERR, find("DC3"));
  EXPECT_STREQ("before", full_);
  EXPECT_EQ(1u, trace_.count("Get(dNSHostName) Failed for <DC3>. Error number: 8000500d"));
  EXPECT_FALSE(trace_.contains("Server not found"));
}

TEST_F(FullName, InAForestWithoutSitesIsAPlainFailure) {
  EXPECT_EQ(-1, DNSUtils::GetDNSHostName("DC1", "CN=Gone", full_, false));
  EXPECT_EQ(1u, trace_.count("ADsGetObject Failed. Error number: 80072030"));
  EXPECT_EQ(-1, DNSUtils::GetDNSHostName("DC1", nullptr, full_, false));
  platform::faults::fail("ADsBuildEnumerator", 1);
  EXPECT_EQ(ADSI_ENUM_ERR, find("DC1"));
  EXPECT_STREQ("before", full_);
  EXPECT_FALSE(trace_.contains("Server not found"));
}

TEST_F(FullName, BehindASiteWithoutServersIsAPlainFailureThatNamesTheSite) {
  answer_from(forest_with("dn: CN=Servers,CN=Hub,", "dn: CN=Other,CN=Hub,"));
  EXPECT_EQ(-1, find("DC3"));
  EXPECT_EQ(1u, trace_.count("ADsGetObject Failed for Site: Hub. Error number: 80072030"));
}

TEST_F(FullName, BehindASiteThatCannotBeEnumeratedIsFoundAndTheErrorTold) {
  trc::set_flags(0);  // which this message does not ask
  platform::faults::fail("ADsBuildEnumerator", 2, std::int32_t(0x80004005));
  EXPECT_EQ(ADSI_ENUM_ERR, find("DC3"));
  EXPECT_STREQ("DC3.corp.example", full_);
  EXPECT_EQ(1u, trace_.count("ADsBuildEnumerator Failed for Site: Hub. Error number: 80004005"));
}

TEST_F(FullName, OfNobodyBehindASiteThatCannotBeEnumeratedIsAnObjectError) {
  platform::faults::fail("ADsBuildEnumerator", 2);
  EXPECT_EQ(ADSI_OBJECT_ERR, find("DC1"));
  EXPECT_EQ(1u, trace_.count("Could not retrieve DNSHostName for <DC1>. Server not found"));
}

TEST_F(FullName, IsLookedForWithPausesAtBothLevels) {
  std::string many;
  for (int i = 0; i < 20; ++i) many += directory_test::server("Hub", "S" + std::to_string(i));
  for (int i = 0; i < 8; ++i) many += directory_test::site("Site" + std::to_string(i));
  answer_from(forest() + many);
  const platform::VirtualTime time;
  EXPECT_EQ(ADSI_OBJECT_ERR, find("DC9"));
  EXPECT_EQ(3, time.elapsed_ms()) << "12 children of the sites, 23 servers of one";
}

TEST_F(FullName, LongerThanTheBufferIsCutAndTraced) {
  char small[8] = {};
  EXPECT_EQ(0, DNSUtils::GetDNSHostName("DC1", kConfiguration.c_str(), small, false));
  EXPECT_STREQ("DC1.cor", small);
  EXPECT_TRUE(trace_.contains("cut to 7"));
}

TEST_F(FullName, SweepOfFaults) {
  sweep(
      [] {
        char full[255] = "before";
        const int result = DNSUtils::GetDNSHostName("dc3", kConfiguration.c_str(), full, false);
        return std::to_string(result) + " " + full;
      },
      {{"ADsGetObject", "ADsGetObject Failed. Error number: "},
       {"ADsBuildEnumerator", "ADsBuildEnumerator Failed. Error number: "}});
}

}  // namespace
