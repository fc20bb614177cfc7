// The comparison of the directory's servers with the SRV records in DNS.

#include <gtest/gtest.h>

#include "directory/dns_utils.h"
#include "tests/directory/asking.h"

namespace {

using directory_test::Asking;
using directory_test::forest;
using testing_support::MoreFiles;

const std::string kZone =
    "$ORIGIN corp.example.\n"
    "_ldap._tcp.dc._msdcs IN SRV 0 100 389 dc1\n"
    "_ldap._tcp.dc._msdcs IN SRV 0 100 389 dc2\n"
    "_ldap._tcp.old       IN SRV 0 100 389 dc1\n"
    "_ldap._tcp.empty     IN TXT nothing\n"
    "_ldap._tcp.twice     IN SRV 0 100 389 extra\n"
    "_ldap._tcp.twice     IN SRV 5 100 389 extra\n"
    "dc1 IN A 192.0.2.1\n"
    "dc2 IN A 192.0.2.2\n";

const std::string kPrimary = "_ldap._tcp.dc._msdcs.corp.example";
const std::string kNoName = "_ldap._tcp.nowhere.corp.example";
const std::string kOld = "_ldap._tcp.old.corp.example";

class CompareSRV : public Asking {
 protected:
  CompareSRV() : Asking(forest()) {
    recording_.emplace(forest(), "", MoreFiles{{"dns.zone", kZone}});
  }

  using Names = std::vector<std::string>;
  // "name/type/difference;" for each row.
  std::string rows(const std::string& primary, const std::string& fallback, const Names& names,
                   SRVRecordType type = SRVRecordType::kDomainController) {
    SRVDifferences found;
    EXPECT_EQ(0, DNSUtils::CompareSRV(&found, nullptr, primary.c_str(), fallback.c_str(), names,
                                      SRVCompareMode::kRows, type));
    std::string text;
    for (const auto& row : found) {
      std::string name(row.text<"DADSRM">());
      EXPECT_EQ(256u, name.size());
      name.erase(name.find_last_not_of(' ') + 1);
      text += name + "/" + std::to_string(row.integer<"DADTOR">()) + "/" +
              std::to_string(row.integer<"DADT">()) + ";";
    }
    return text;
  }
  SRVSummary summary(const std::string& primary, const std::string& fallback, const Names& names,
                     SRVRecordType type) {
    SRVSummary row;
    add(row, primary, fallback, names, type);
    return row;
  }
  void add(SRVSummary& row, const std::string& primary, const std::string& fallback,
           const Names& names, SRVRecordType type) {
    EXPECT_EQ(0, DNSUtils::CompareSRV(nullptr, &row, primary.c_str(), fallback.c_str(), names,
                                      SRVCompareMode::kSummary, type));
  }
  static std::string padded(std::string text) {
    text.resize(64, ' ');
    return text;
  }
};

TEST_F(CompareSRV, OfListsThatAgreeFindsNothing) {
  EXPECT_EQ("", rows(kPrimary, kOld, {"dc1.corp.example", "dc2.corp.example"}));
  EXPECT_TRUE(trace_.contains("Comparing: ADSI: <dc1.corp.example>, DNS: <dc1.corp.example>"));
  EXPECT_EQ(2u, trace_.count("Match"));
  EXPECT_EQ(1u, trace_.count("Index:2"));
  EXPECT_EQ(1u, trace_.count("DnsQuery status : 0 for record : 1"));
}

TEST_F(CompareSRV, TakesATargetThatDiffersInCaseForAMatch) {
  EXPECT_EQ("", rows(kPrimary, kOld, {"DC1.Corp.Example", "DC2.CORP.EXAMPLE"}));
}

TEST_F(CompareSRV, PutsBogusRowsBeforeMissingOnes) {
  EXPECT_EQ("dc2.corp.example/1/1;dc3.corp.example/1/0;",
            rows(kPrimary, kOld, {"dc3.corp.example", "dc1.corp.example"}));
}

TEST_F(CompareSRV, ComparesTheFallbacksRecordsWhereTheFirstNameDoesNotExist) {
  EXPECT_EQ("dc2.corp.example/0/0;", rows(kNoName, kOld, {"dc1.corp.example", "dc2.corp.example"},
                                          SRVRecordType::kGlobalCatalog));
}

TEST_F(CompareSRV, DoesNotFallBackAfterAnyOtherFailure) {
  for (const std::int64_t status : {9002, 9501, 1460, -5}) {
    platform::faults::fail("DnsQuery_A", 1, status);
    EXPECT_EQ("dc1.corp.example/1/0;", rows(kNoName, kOld, {"dc1.corp.example"}));
    platform::faults::clear();
  }
}

TEST_F(CompareSRV, CountsARepeatedTargetTwice) {
  const SRVSummary row = summary("_ldap._tcp.twice.corp.example", kOld, {"dc1.corp.example"},
                                 SRVRecordType::kGlobalCatalog);
  EXPECT_EQ(2, row.integer<"DAIGCB">());
  EXPECT_EQ(padded("extra.corp.example"), row.text<"DAIBGC">());
}

TEST_F(CompareSRV, TakesANameWithoutRecordsForAFailedQuery) {
  EXPECT_EQ("dc1.corp.example/1/0;dc2.corp.example/1/0;",
            rows("_ldap._tcp.empty.corp.example", kOld, {"dc1.corp.example", "dc2.corp.example"}));
  EXPECT_EQ(1u, trace_.count("DnsQuery status : 9501 for record : 1"));
  EXPECT_FALSE(trace_.contains("DnsQuery Failed with status"));
}

TEST_F(CompareSRV, OfNothingWithNothingAppendsNothing) {
  EXPECT_EQ("", rows("_ldap._tcp.empty.corp.example", kOld, {}));
}

TEST_F(CompareSRV, TellsANegativeStatus) {
  platform::faults::fail("DnsQuery_A", 1, -7);
  EXPECT_EQ("dc1.corp.example/2/0;",
            rows(kPrimary, kOld, {"dc1.corp.example"}, SRVRecordType::kPrimaryDomainController));
  EXPECT_EQ(1u, trace_.count("DnsQuery Failed with status : -7 for record : 2"));
}

TEST_F(CompareSRV, AfterAFailedQueryAssignsTheCountAndAddsToTheSum) {
  SRVSummary row;
  row.set<"DAIDCM">(5);
  row.set<"DAINDM">(5);
  platform::faults::fail("DnsQuery_A", 1, 9002);
  add(row, kPrimary, kOld, {"a.corp.example", "b.corp.example"}, SRVRecordType::kDomainController);
  EXPECT_EQ(2, row.integer<"DAIDCM">());
  EXPECT_EQ(7, row.integer<"DAINDM">());
  EXPECT_EQ(padded("b.corp.example"), row.text<"DAIMDC">());
  EXPECT_EQ(padded("b.corp.example"), row.text<"DAIMNR">());
}

TEST_F(CompareSRV, SumsMissingServersOverTheThreeTypes) {
  SRVSummary row;
  const Names names{"dc1.corp.example", "gone.corp.example"};
  add(row, kPrimary, kOld, names, SRVRecordType::kGlobalCatalog);
  add(row, kPrimary, kOld, names, SRVRecordType::kDomainController);
  add(row, kPrimary, kOld, {"pdc.corp.example"}, SRVRecordType::kPrimaryDomainController);
  EXPECT_EQ(3, row.integer<"DAINDM">());
  EXPECT_EQ(1, row.integer<"DAIGCM">());
  EXPECT_EQ(1, row.integer<"DAIGCB">());
  EXPECT_EQ(1, row.integer<"DAIDCM">());
  EXPECT_EQ(1, row.integer<"DAIPDCM">());
  EXPECT_EQ(2, row.integer<"DAIPDCB">());
  EXPECT_EQ(padded("dc2.corp.example"), row.text<"DAIBPDC">());
  EXPECT_EQ(padded("pdc.corp.example"), row.text<"DAIMPDC">());
  EXPECT_EQ(padded("pdc.corp.example"), row.text<"DAIMNR">());
}

TEST_F(CompareSRV, WritesNothingForATypeThatIsNone) {
  const SRVSummary empty;
  const SRVSummary row =
      summary(kPrimary, kOld, {"gone.corp.example"}, static_cast<SRVRecordType>(3));
  EXPECT_EQ(std::string(empty.data(), SRVSummary::kSize),
            std::string(row.data(), SRVSummary::kSize));
}

TEST_F(CompareSRV, WithoutANameServerFindsEveryServerMissing) {
  answer_from(forest());
  EXPECT_EQ("dc1.corp.example/1/0;", rows(kPrimary, kOld, {"dc1.corp.example"}));
}

TEST_F(CompareSRV, SurvivesEachPlatformCallFailingOnce) {
  sweep([this] { return rows(kNoName, kOld, {"dc1.corp.example"}); },
        {{"DnsQuery_A", "DnsQuery status : 9002 for record : 1"}});
}

}  // namespace
