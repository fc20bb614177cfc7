#include <gtest/gtest.h>

#include "tests/collectors/replicating.h"

namespace {

using directory_test::forest;
using directory_test::forest_with;
using directory_test::kConfiguration;
using directory_test::kDomain;
using testing_support::field;
using testing_support::neighbour;
using testing_support::number;
using testing_support::Replicating;

constexpr std::size_t kPartner = 216;
constexpr std::size_t kAttempt = 280;
constexpr std::size_t kSuccess = 344;
constexpr std::size_t kContext = 408;
constexpr std::size_t kFailures = 472;
constexpr std::size_t kType = 476;
constexpr std::size_t kPartnersSite = 540;
constexpr std::size_t kSite = 604;
constexpr std::size_t kText = 732;

const std::string kGood = neighbour(
    kDomain, "Hub", "DC2",
    R"(, "last_success": "2011-01-02T02:55:00Z", "last_attempt": "2011-01-02T03:00:59Z")");
const std::string kFailing =
    neighbour(kConfiguration, "Branch", "DC3",
              R"(, "last_success": "2010-12-31T23:59:00Z", "last_attempt": "2011-01-02T03:01:00Z",
        "last_result": 1722, "failures": 7)");

class ReplicationPartner : public Replicating {
 protected:
  ReplicationPartner() : Replicating({kGood, kFailing}) {}
  static std::vector<std::string> sample() { return xaf::DirectSampler("DCWNTDSRPL").sample(); }
  // The one row of the one neighbour with these members.
  std::string row_with(const std::string& more) {
    record({neighbour(kDomain, "Hub", "DC2", more)});
    const auto rows = sample();
    EXPECT_EQ(1u, rows.size());
    return rows.empty() ? std::string(1244, '?') : rows[0];
  }
  static std::string blank(const std::string& text, std::size_t width = 64) {
    return field(text, width, ' ');
  }
};

TEST_F(ReplicationPartner, GivesOneRowANeighbourByteForByte) {
  const auto rows = sample();
  ASSERT_EQ(2u, rows.size());
  const std::string fine = "The operation completed successfully.\r\n";
  EXPECT_EQ(head(1, 1) + blank("DC2") + blank("01/02/2011  03:00") + blank("01/02/2011  02:55") +
                blank("corp.example") + number(0) + blank("IntraSite") + blank("Hub") +
                blank("Hub") + blank("DC1.corp.example") + blank(fine, 128) + blank(fine, 384),
            rows[0]);
  const std::string down = "The RPC server is unavailable.\r\n";
  EXPECT_EQ(head(1, 2) + blank("DC3") + blank("01/02/2011  03:01") + blank("12/31/2010  23:59") +
                blank("Configuration.corp.example") + number(7) + blank("InterSite") +
                blank("Branch") + blank("Hub") + blank("DC1.corp.example") + blank(down, 128) +
                blank(down, 384),
            rows[1]);
}

TEST_F(ReplicationPartner, TellsItsStepsInOrder) {
  const trc::Capture lines;
  sample();
  EXPECT_EQ((std::vector<std::string>{
                "partnerIndex: <2>", "RPL Data collection complete.Transfer to global buffer",
                "RPL Data collection complete.Transfer to global buffer",
                "RPL Transfer to global buffer complete", "AddData Global RPL buffer"}),
            texts_of(lines, "replication_partner.cpp"));
  EXPECT_TRUE(lines.contains("TIMER: 21 : ReplicationPartner : TakeSample"));
}

TEST_F(ReplicationPartner, ThatReplicatesThreeContextsHasThreeRows) {
  record({neighbour(kDomain, "Hub", "DC2"), neighbour(kConfiguration, "Hub", "DC2"),
          neighbour("DC=DomainDnsZones," + kDomain, "Hub", "DC2")});
  const auto rows = sample();
  ASSERT_EQ(3u, rows.size());
  for (const std::string& row : rows) EXPECT_EQ("DC2", text(row, kPartner, 64));
  EXPECT_EQ("corp.example", text(rows[0], kContext, 64));
  EXPECT_EQ("Configuration.corp.example", text(rows[1], kContext, 64));
  EXPECT_EQ("DomainDnsZones.corp.example", text(rows[2], kContext, 64));
}

TEST_F(ReplicationPartner, IsGoneWithoutStaleRowsWhenAllNeighboursAre) {
  ASSERT_EQ(2u, sample().size());
  record({});
  EXPECT_TRUE(sample().empty());
  EXPECT_EQ(1u, trace_.count("partnerIndex: <0>"));
  // The cache is there and free, only empty.
  EXPECT_EQ(2u, trace_.count("AddData Global RPL buffer"));
}

TEST_F(ReplicationPartner, HasNoRowsWhenNobodyAnswersNotTheOldOnes) {
  ASSERT_EQ(2u, sample().size());
  const trc::Capture lines;
  platform::faults::fail("DsReplicaGetInfoW", 1);
  EXPECT_TRUE(sample().empty());
  EXPECT_FALSE(lines.contains("partnerIndex"));
  EXPECT_EQ(1u, lines.count("RPL Transfer to global buffer complete"));
}

TEST_F(ReplicationPartner, KeepsItsRowsWhenTheHostIsUnknown) {
  const auto right = sample();
  ASSERT_EQ(2u, right.size());
  platform::faults::fail("getaddrinfo", 1);
  EXPECT_EQ(right, sample());
  EXPECT_EQ(1u, trace_.count("getaddrinfo failed: error#:11001"));
}

TEST_F(ReplicationPartner, NumbersItsRowsOnFromCollectionToCollection) {
  ASSERT_EQ(2u, sample().size());
  const auto rows = sample();
  ASSERT_EQ(2u, rows.size());
  EXPECT_EQ(number(2) + number(3), rows[0].substr(64, 8));
  EXPECT_EQ(number(2) + number(4), rows[1].substr(64, 8));
}

TEST_F(ReplicationPartner, AsksForTheTextOfASuccessToo) {
  const std::string row = row_with(R"(, "last_result": 0)");
  EXPECT_EQ("The operation completed successfully.\r\n", text(row, kText, 128));
  EXPECT_EQ("The operation completed successfully.\r\n", text(row, kText + 128, 384));
}

TEST_F(ReplicationPartner, WithAResultThatHasNoTextLeavesBothTextsBlank) {
  const std::string row = row_with(R"(, "last_result": 4000000000)");
  EXPECT_EQ(std::string(512, ' '), row.substr(kText, 512));
  EXPECT_EQ(1u, trace_.count("No message found"));
}

TEST_F(ReplicationPartner, ShowsATimeThatNeverWasInTheSameForm) {
  const std::string row = row_with("");
  EXPECT_EQ("01/01/1601  00:00", text(row, kAttempt, 64));
  EXPECT_EQ("01/01/1601  00:00", text(row, kSuccess, 64));
}

TEST_F(ReplicationPartner, ShowsTimesAsTheMachinesClockHasThem) {
  setenv("TZ", "CET-1CEST,M3.5.0,M10.5.0/3", 1);
  tzset();
  const std::string row = row_with(
      R"(, "last_success": "2010-12-31T23:30:00Z", "last_attempt": "2010-07-01T22:30:00Z")");
  EXPECT_EQ("01/01/2011  00:30", text(row, kSuccess, 64));
  EXPECT_EQ("07/02/2010  00:30", text(row, kAttempt, 64));
}

TEST_F(ReplicationPartner, ShowsATimeThatCannotBeConvertedAsZerosInTheSameForm) {
  for (const char* call : {"FileTimeToSystemTime", "SystemTimeToTzSpecificLocalTime"}) {
    SCOPED_TRACE(call);
    platform::faults::fail(call, 1);
    const auto rows = sample();
    platform::faults::clear();
    ASSERT_EQ(2u, rows.size());
    EXPECT_EQ("00/00/0  00:00", text(rows[0], kSuccess, 64));
    EXPECT_EQ("01/02/2011  03:00", text(rows[0], kAttempt, 64));
  }
}

TEST_F(ReplicationPartner, InASiteOfOtherLetterCaseIsInAnotherSite) {
  record({kGood}, forest(), R"({"controllers": [{"name": "DC1.corp.example", "site": "HUB"}]})");
  const auto rows = sample();
  ASSERT_EQ(1u, rows.size());
  EXPECT_EQ("InterSite", text(rows[0], kType, 64));
  EXPECT_EQ("Hub", text(rows[0], kPartnersSite, 64));
  EXPECT_EQ("HUB", text(rows[0], kSite, 64));
}

TEST_F(ReplicationPartner, ThatTheDirectoryDoesNotKnowHasBlanksForItsNameAndSite) {
  record({neighbour(kDomain, "Hub", "GONE")});
  const auto rows = sample();
  ASSERT_EQ(1u, rows.size());
  EXPECT_EQ(std::string(64, ' '), rows[0].substr(kPartner, 64));
  EXPECT_EQ(std::string(64, ' '), rows[0].substr(kPartnersSite, 64));
  EXPECT_EQ("InterSite", text(rows[0], kType, 64));
}

TEST_F(ReplicationPartner, LeavesNothingOfTheRowBefore) {
  record({neighbour(kDomain, "Branch", "DC3", R"(, "last_result": 1722, "failures": 7)"),
          neighbour(kDomain, "Hub", "GONE", R"(, "last_result": 4000000000)")});
  const auto rows = sample();
  ASSERT_EQ(2u, rows.size());
  EXPECT_EQ("", text(rows[1], kPartner, 64));
  EXPECT_EQ(0, integer(rows[1], kFailures));
  EXPECT_EQ("", text(rows[1], kText, 512));
}

TEST_F(ReplicationPartner, IsCollectedByItsThreadAndSampledFromTheCache) {
  // Before the thread has started: a sample does not collect by itself.
  g_cacheInterval = 60000;
  EXPECT_TRUE(sample().empty());
  while_cached(&collectandCacheRPLData, [this] {
    Sleep(30000);
    const auto first = sample();
    ASSERT_EQ(2u, first.size());
    EXPECT_EQ(first, sample());
    Sleep(60000);
    const auto second = sample();
    ASSERT_EQ(2u, second.size());
    EXPECT_EQ(number(2) + number(3), second[0].substr(64, 8));
    EXPECT_EQ(90000, time_->elapsed_ms());
  });
}

TEST_F(ReplicationPartner, SurvivesEachPlatformCallFailingOnce) {
  sweep("DCWNTDSRPL",
        {{"getaddrinfo", "getaddrinfo failed: error#:11001"},
         {"DsGetSiteNameA", "ERROR: DsGetSiteName failed. Error code: "},
         {"DsReplicaGetInfoW", "Error: DsReplicaGetInfoW failed. Error Code: <1722>"},
         {"FormatMessageW", "No message found"},
         {"ResetEvent", "Lock cache lock failed: "},
         {"SetEvent", "Release cache lock failed: "}},
        testing_support::of_replication());
}

}  // namespace
