// Lists of domain controllers and global catalogs.

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "directory/dns_utils.h"
#include "tests/directory/asking.h"

namespace {

using directory_test::forest;
using directory_test::forest_with;
using directory_test::joined;
using directory_test::kSites;

class Lists : public directory_test::Asking {
 protected:
  int forest_catalogs() { return DNSUtils::GetGCList("DC1", list_); }
  int catalogs_of(const char* site) { return DNSUtils::GetGCList("DC1", site, list_); }
  int catalogs_outside(const char* site) { return DNSUtils::GetGCListOutSite("DC1", site, list_); }
  int controllers_of(const char* site) { return DNSUtils::GetDCList("DC1", site, list_); }
  int domain_controllers() { return DNSUtils::GetDomainControllers("DC1", list_); }

  std::vector<std::string> list_{"kept"};
};

// A catalog besides DC1.
std::string with_second_catalog() { return forest_with("options: 5\n", "options: 1\n"); }

TEST_F(Lists, OfCatalogsHoldServersWhoseOptionsAreExactlyOne) {
  EXPECT_EQ(ADSI_ENUM_END, forest_catalogs());
  EXPECT_EQ("kept;DC1.corp.example;", joined(list_)) << "options of 0 and 5 do not count";
  EXPECT_EQ(1u,
            trace_.count("ConfigurationNamingContext: <" + directory_test::kConfiguration + ">"));
}

TEST_F(Lists, OfCatalogsOfTheForestGoThroughAllSitesInOrder) {
  answer_from(with_second_catalog());
  EXPECT_EQ(ADSI_ENUM_END, forest_catalogs());
  EXPECT_EQ("kept;DC1.corp.example;DC3.corp.example;", joined(list_));
}

TEST_F(Lists, OfCatalogsOfOneSiteHoldOnlyItsOwn) {
  answer_from(with_second_catalog());
  EXPECT_EQ(ADSI_ENUM_END, catalogs_of("Branch"));
  EXPECT_EQ("kept;DC3.corp.example;", joined(list_));
  EXPECT_EQ(1u, trace_.count("Found GC' In site fqdn:DC3.corp.example"));
}

TEST_F(Lists, OfCatalogsOutsideASiteLeaveItOutWhateverItsLetterCase) {
  answer_from(with_second_catalog());
  EXPECT_EQ(ADSI_ENUM_END, catalogs_outside("hUB"));
  EXPECT_EQ("kept;DC3.corp.example;", joined(list_));
  EXPECT_EQ(1u, trace_.count("Current Site Found: Hub"));
  EXPECT_EQ(ADSI_ENUM_END, catalogs_outside(nullptr));
  EXPECT_EQ(4u, list_.size());
}

TEST_F(Lists, OfASiteWithoutServersGetNothingAndEndNormally) {
  answer_from(forest() + directory_test::site("Empty"));
  EXPECT_EQ(ADSI_ENUM_END, catalogs_of("Empty"));
  EXPECT_EQ(ADSI_ENUM_END, controllers_of("Empty"));
  EXPECT_EQ("kept;", joined(list_));
}

TEST_F(Lists, OfCatalogsOfASiteThatIsNotThereAreASuccessWithNothing) {
  EXPECT_EQ(0, catalogs_of("Nowhere"));
  EXPECT_EQ("kept;", joined(list_));
  EXPECT_EQ(1u, trace_.count("ADsGetObject Failed. Error number: 80072030"));
}

TEST_F(Lists, OfControllersOfASiteThatIsNotThereAreAnObjectError) {
  EXPECT_EQ(ADSI_OBJECT_ERR, controllers_of("Nowhere"));
  EXPECT_EQ("kept;", joined(list_));
}

TEST_F(Lists, OfAForestWhoseConfigurationIsUnreadableAreAnObjectError) {
  answer_from(forest_with("configurationNamingContext: ", "otherContext: "));
  EXPECT_EQ(ADSI_OBJECT_ERR, forest_catalogs());
  EXPECT_EQ(ADSI_OBJECT_ERR, catalogs_of("Hub"));
  EXPECT_EQ(ADSI_OBJECT_ERR, catalogs_outside("Hub"));
  EXPECT_EQ(ADSI_OBJECT_ERR, controllers_of("Hub"));
  EXPECT_EQ(4u, trace_.count("GetConfigurationNamingContext failed"));
  EXPECT_EQ("kept;", joined(list_));
}

TEST_F(Lists, OfAForestWithoutSitesAreAnObjectError) {
  answer_from(forest_with("dn: " + kSites + "\n", "dn: CN=Other," + kSites + "\n"));
  EXPECT_EQ(ADSI_OBJECT_ERR, forest_catalogs());
  EXPECT_EQ(ADSI_OBJECT_ERR, catalogs_outside("Hub"));
}

TEST_F(Lists, OfCatalogsGoOnBehindASiteWithoutServers) {
  answer_from(testing_support::replaced(with_second_catalog(), "dn: CN=Servers,CN=Hub,",
                                        "dn: CN=Other,CN=Hub,"));
  EXPECT_EQ(ADSI_ENUM_END, forest_catalogs());
  EXPECT_EQ("kept;DC3.corp.example;", joined(list_));
  // The site, the transports and the subnets.
  EXPECT_EQ(3u, trace_.count("ADsGetObject Failed. Error number: 80072030"));
}

TEST_F(Lists, KeepWhatWasAppendedBeforeAnEnumeratorFailed) {
  answer_from(with_second_catalog());
  platform::faults::fail("ADsBuildEnumerator", 3, std::int32_t(0x80004005));
  EXPECT_EQ(ADSI_ENUM_ERR, forest_catalogs());
  EXPECT_EQ("kept;DC1.corp.example;", joined(list_));
  EXPECT_EQ(1u, trace_.count("ADsBuildEnumerator Failed. Error number: 80004005"));
}

TEST_F(Lists, WithoutAnEnumeratorAreAnEnumerationError) {
  platform::faults::fail("ADsBuildEnumerator", 0);
  EXPECT_EQ(ADSI_ENUM_ERR, forest_catalogs());
  EXPECT_EQ(ADSI_ENUM_ERR, catalogs_of("Hub"));
  EXPECT_EQ(ADSI_ENUM_ERR, catalogs_outside("Hub"));
  EXPECT_EQ(ADSI_ENUM_ERR, controllers_of("Hub"));
  EXPECT_EQ(ADSI_ENUM_ERR, domain_controllers());
}

TEST_F(Lists, OfCatalogsSkipAServerWithoutAFullName) {
  answer_from(forest_with("dNSHostName: DC1.corp.example\n", ""));
  EXPECT_EQ(ADSI_ENUM_END, forest_catalogs());
  EXPECT_EQ("kept;", joined(list_));
  EXPECT_FALSE(trace_.contains("dnsHostName Failed"));
  EXPECT_EQ(ADSI_ENUM_END, catalogs_of("Hub"));
  EXPECT_EQ("kept;", joined(list_));
  EXPECT_EQ(1u, trace_.count("dnsHostName Failed, Last Error : 87"));
}

TEST_F(Lists, OfCatalogsSkipAServerWithoutOptions) {
  answer_from(forest_with("options: 1\n", ""));
  EXPECT_EQ(ADSI_ENUM_END, forest_catalogs());
  EXPECT_EQ(ADSI_ENUM_END, catalogs_of("Hub"));
  EXPECT_EQ("kept;", joined(list_));
  EXPECT_EQ(2u, trace_.count("pObj->Get Failed. Error number: 8000500d"));
}

TEST_F(Lists, OfControllersHoldServersWithSettings) {
  EXPECT_EQ(ADSI_ENUM_END, controllers_of("Hub"));
  EXPECT_EQ("kept;DC1.corp.example;DC2.corp.example;", joined(list_)) << "OLD has none";
}

TEST_F(Lists, OfControllersHoldAnEmptyTextForOneWithoutAFullName) {
  answer_from(forest_with("dNSHostName: DC1.corp.example\n", ""));
  EXPECT_EQ(ADSI_ENUM_END, controllers_of("Hub"));
  EXPECT_EQ("kept;;DC2.corp.example;", joined(list_));
}

TEST_F(Lists, OfControllersLeaveOutAServerWithoutAName) {
  answer_from(forest_with("\ncn: DC1\n", "\n"));
  EXPECT_EQ(ADSI_ENUM_END, controllers_of("Hub"));
  EXPECT_EQ("kept;DC2.corp.example;", joined(list_));
}

TEST_F(Lists, TraceAServerThatIsNoObject) {
  // The root, the servers and their enumerator ask for one interface each.
  platform::faults::fail("IUnknown::QueryInterface", 4);
  EXPECT_EQ(ADSI_ENUM_END, controllers_of("Hub"));
  EXPECT_EQ("kept;DC2.corp.example;", joined(list_));
  EXPECT_EQ(1u, trace_.count("ADsEnumerateNext Failed. Error number: 80004002"));
}

TEST_F(Lists, OfTheDomainsControllersAreReadFromTheirUnit) {
  EXPECT_EQ(0, domain_controllers());
  EXPECT_EQ("kept;DC1.corp.example;DC3.corp.example;", joined(list_));
  EXPECT_EQ(1u,
            trace_.count("LDAP Query STRING : <LDAP://OU=Domain Controllers,DC=corp,DC=example>"));
}

TEST_F(Lists, OfTheDomainsControllersLeaveOutOneWithoutAFullName) {
  answer_from(
      forest_with("cn: DC1\nname: DC1\ndistinguishedName: CN=DC1,OU=Domain Controllers,"
                  "DC=corp,DC=example\ndNSHostName: DC1.corp.example\n",
                  "cn: DC1\n"));
  EXPECT_EQ(0, domain_controllers());
  EXPECT_EQ("kept;DC3.corp.example;", joined(list_));
}

TEST_F(Lists, OfTheDomainsControllersKeepTheCodeOfAChildThatFailed) {
  platform::faults::fail("IUnknown::QueryInterface", 4);
  EXPECT_EQ(ADSI_ENUM_ERR, domain_controllers());
  EXPECT_EQ("kept;DC3.corp.example;", joined(list_));
  EXPECT_EQ(1u, trace_.count("ADsEnumerateNext Failed. Error number: 80004002"));
}

TEST_F(Lists, OfTheDomainsControllersWithoutADomainAreAnObjectError) {
  answer_from(forest_with("defaultNamingContext: ", "otherContext: "));
  EXPECT_EQ(ADSI_OBJECT_ERR, domain_controllers());
  EXPECT_EQ(1u, trace_.count("GetDefaultNamingContext failed"));
}

TEST_F(Lists, OfTheDomainsControllersWithoutTheirUnitAreAnObjectError) {
  answer_from(forest_with("dn: OU=Domain Controllers,", "dn: OU=Others,"));
  EXPECT_EQ(ADSI_OBJECT_ERR, domain_controllers());
}

TEST_F(Lists, OfThousandsPauseOnlyWhereTheyAreToldTo) {
  std::string many;
  for (int i = 0; i < 5000; ++i) {
    many += directory_test::object(
        "CN=M" + std::to_string(i) + ",OU=Domain Controllers," + directory_test::kDomain,
        "computer", "dNSHostName: m\n");
  }
  for (int i = 0; i < 57; ++i) many += directory_test::server("Hub", "S" + std::to_string(i));
  answer_from(forest() + many);
  const platform::VirtualTime time;
  EXPECT_EQ(0, domain_controllers());
  EXPECT_EQ(5003u, list_.size());
  EXPECT_EQ(0, time.elapsed_ms());
  EXPECT_EQ(ADSI_ENUM_END, controllers_of("Hub"));
  EXPECT_EQ(6, time.elapsed_ms()) << "60 servers";
}

TEST_F(Lists, OfNamesLongerThanTheirBuffersAreCutAndTraced) {
  const std::string long_name(500, 'n');
  answer_from(forest_with("dNSHostName: DC1.corp.example\n", "dNSHostName: " + long_name + "\n"));
  EXPECT_EQ(ADSI_ENUM_END, forest_catalogs());
  EXPECT_EQ("kept;" + long_name.substr(0, 224) + ";", joined(list_));
  EXPECT_TRUE(trace_.contains("Text of 500 characters cut to 224"));
}

TEST_F(Lists, TakeSeveralFullNamesForNoText) {
  answer_from(forest_with("dNSHostName: DC1.corp.example\n",
                          "dNSHostName: a.corp.example\ndNSHostName: b.corp.example\n"));
  EXPECT_EQ(ADSI_ENUM_END, controllers_of("Hub"));
  EXPECT_EQ("kept;;DC2.corp.example;", joined(list_));
}

TEST_F(Lists, SweepOfFaults) {
  const auto sweep_list = [this](const std::function<int(std::vector<std::string>&)>& ask,
                                 const std::map<std::string, std::string>& required) {
    sweep(
        [&ask] {
          std::vector<std::string> list;
          const int result = ask(list);
          return std::to_string(result) + " " + joined(list);
        },
        required);
  };
  const std::map<std::string, std::string> required{
      {"ADsGetObject", "GetConfigurationNamingContext failed"},
      {"IADs::Get", "pObj->Get Failed. Error number: "},
      {"ADsBuildEnumerator", "ADsBuildEnumerator Failed. Error number: "}};
  sweep_list([](auto& list) { return DNSUtils::GetGCList("DC1", list); }, required);
  sweep_list([](auto& list) { return DNSUtils::GetGCList("DC1", "Hub", list); }, required);
  sweep_list([](auto& list) { return DNSUtils::GetGCListOutSite("DC1", "Hub", list); }, required);
  sweep_list([](auto& list) { return DNSUtils::GetDCList("DC1", "Hub", list); }, required);
  sweep_list([](auto& list) { return DNSUtils::GetDomainControllers("DC1", list); },
             {{"ADsGetObject", "GetDefaultNamingContext failed"},
              {"ADsBuildEnumerator", "ADsBuildEnumerator Failed. Error number: "}});
}

}  // namespace
