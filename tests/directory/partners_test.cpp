// From a partner's settings to its server and site.

#include <gtest/gtest.h>

#include <string>

#include "directory/dns_utils.h"
#include "tests/directory/asking.h"

namespace {

using directory_test::forest;
using directory_test::forest_with;
using directory_test::kSites;
using directory_test::server_dn;
using directory_test::settings_dn;

const std::string kDc3 = settings_dn("Branch", "DC3");

class Partners : public directory_test::Asking {
 protected:
  int partner(const std::string& dsa, const char* attribute = "cn") {
    return DNSUtils::GetPartner(dsa.c_str(), value_, attribute);
  }
  int site_of(const std::string& dsa) {
    return DNSUtils::GetDirectPartnerSiteName(dsa.c_str(), value_);
  }
  char value_[128] = "before";
};

TEST_F(Partners, AreKnownByAnAttributeOfTheirServer) {
  EXPECT_EQ(0, partner(kDc3));
  EXPECT_STREQ("DC3", value_);
  EXPECT_EQ(0, partner(kDc3, "dNSHostName"));
  EXPECT_STREQ("DC3.corp.example", value_);
  EXPECT_EQ(2u, trace_.count("Source DSA Object: LDAP://" + kDc3));
  EXPECT_EQ(2u, trace_.count("Parent Object : LDAP://" + server_dn("Branch", "DC3")));
}

TEST_F(Partners, StandInASiteThreeStepsUp) {
  EXPECT_EQ(0, site_of(kDc3));
  EXPECT_STREQ("Branch", value_);
  EXPECT_EQ(1u, trace_.count("Parent Object : LDAP://" + server_dn("Branch", "DC3")));
  EXPECT_EQ(1u, trace_.count("Parent Object : LDAP://CN=Servers,CN=Branch," + kSites));
  EXPECT_EQ(1u, trace_.count("Parent Object : LDAP://CN=Branch," + kSites));
}

TEST_F(Partners, ThatAreNotThereAreAnObjectErrorAndEmptyTheBuffer) {
  EXPECT_EQ(ADSI_OBJECT_ERR, partner(settings_dn("Branch", "DC9")));
  EXPECT_STREQ("", value_);
  value_[0] = 'x';
  EXPECT_EQ(ADSI_OBJECT_ERR, site_of(""));
  EXPECT_STREQ("", value_);
  EXPECT_TRUE(trace_.contains("ADsGetObject Failed. Error number: 80072030"));
}

TEST_F(Partners, WithoutTheAttributeAreAnObjectError) {
  EXPECT_EQ(ADSI_OBJECT_ERR, partner(kDc3, "noSuch"));
  EXPECT_STREQ("", value_);
  EXPECT_EQ(1u, trace_.count("pObj->Get Failed. Error number: 8000500d"));
}

TEST_F(Partners, WhoseParentCannotBeHadAreAnObjectError) {
  platform::faults::fail("IADs::get_Parent", 1, std::int32_t(0x80004005));
  EXPECT_EQ(ADSI_OBJECT_ERR, partner(kDc3));
  EXPECT_EQ(1u, trace_.count("pObj->Get Failed. Error number: 80004005"));
  for (const std::uint32_t step : {1u, 2u, 3u}) {
    platform::faults::fail("IADs::get_Parent", step);
    EXPECT_EQ(ADSI_OBJECT_ERR, site_of(kDc3)) << step;
    platform::faults::clear();
  }
}

TEST_F(Partners, OfNoNameAreAnObjectError) {
  EXPECT_EQ(ADSI_OBJECT_ERR, DNSUtils::GetPartner(nullptr, value_, "cn"));
  EXPECT_EQ(ADSI_OBJECT_ERR, DNSUtils::GetPartner(kDc3.c_str(), value_, nullptr));
  EXPECT_EQ(ADSI_OBJECT_ERR, DNSUtils::GetDirectPartnerSiteName(nullptr, value_));
  EXPECT_STREQ("", value_);
}

TEST_F(Partners, OfNamesLongerThanThePathAreCutAndTraced) {
  const std::string long_name = settings_dn("Branch", std::string(500, 'D'));
  EXPECT_EQ(ADSI_OBJECT_ERR, partner(long_name));
  EXPECT_TRUE(trace_.contains("cut to 199"));
}

TEST_F(Partners, OfASiteWithALongNameAreFoundUpToTheCallersBuffer) {
  const std::string site(500, 'S');
  answer_from(forest() + directory_test::site(site) + directory_test::server(site, "DC7") +
              directory_test::settings(site, "DC7", ""));
  EXPECT_EQ(0, site_of(settings_dn(site, "DC7")));
  EXPECT_EQ(site.substr(0, 127), value_);
  EXPECT_TRUE(trace_.contains("Text of 500 characters cut to 127"));
}

TEST_F(Partners, BehindAReferralAreAnObjectError) {
  platform::faults::fail("ADsGetObject", 2, platform::kDirectoryReferral);
  EXPECT_EQ(ADSI_OBJECT_ERR, partner(kDc3));
  EXPECT_EQ(1u, trace_.count("ADsGetObject Failed. Error number: 8007202b"));
}

TEST_F(Partners, SweepOfFaults) {
  sweep(
      [] {
        char name[64] = {};
        char site[64] = {};
        const int named = DNSUtils::GetPartner(kDc3.c_str(), name, "dNSHostName");
        const int sited = DNSUtils::GetDirectPartnerSiteName(kDc3.c_str(), site);
        return std::to_string(named) + name + std::to_string(sited) + site;
      },
      {{"ADsGetObject", "ADsGetObject Failed. Error number: "},
       {"IADs::get_Parent", "pObj->Get Failed. Error number: "},
       {"IADs::Get", "pObj->Get Failed. Error number: "}});
}

}  // namespace
