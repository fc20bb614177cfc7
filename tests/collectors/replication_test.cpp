#include <gtest/gtest.h>

#include "counters/globals.h"
#include "tests/collectors/replicating.h"
#include "tests/counters/machine.h"

namespace {

using directory_test::forest;
using directory_test::forest_with;
using directory_test::kConfiguration;
using directory_test::kDomain;
using directory_test::server_dn;
using testing_support::field;
using testing_support::kSchemaContext;
using testing_support::MoreFiles;
using testing_support::neighbour;
using testing_support::number;
using testing_support::replaced;
using testing_support::Replicating;
using Values = std::vector<std::int32_t>;

constexpr std::size_t kBridgeheads = 348;  // site links, partners elsewhere, partners here follow
constexpr std::size_t kPercentages = 364;
constexpr std::size_t kNetTime = 388;
constexpr std::size_t kIsBridgehead = 392;
constexpr std::size_t kConnections = 576;

const std::vector<std::string> kNeighbours = {
    neighbour(kDomain, "Hub", "DC2"), neighbour(kConfiguration, "Hub", "DC2"),
    neighbour(kSchemaContext, "Hub", "DC2"), neighbour(kConfiguration, "Branch", "DC3")};
constexpr const char* kNetTimeFinds = R"({"commands": [{"command": "net time", "exit_code": 0,
  "output": ["Current time at \\\\DC1 is 1/2/2011 3:04:05 AM", ""]}]})";

// The counters under the names of both variants of the list. Counter n of either shows
// first + n step.
std::string replication_counters(double first, double step) {
  std::vector<Series> all;
  for (const counters::CounterRows list :
       {counters::CounterRows(g_ReplListV6), counters::CounterRows(g_ReplList)}) {
    double value = first;
    for (Series& one : series_of(list, 0)) {
      one.cells = {value};
      value += step;
      all.push_back(std::move(one));
    }
  }
  return counter_log(all, {0});
}

class Replication : public Replicating {
 protected:
  Replication() : Replicating({}) { record_all(); }
  void TearDown() override {
    deleteGlobals();
    Replicating::TearDown();
  }

  void record_all(const std::string& forest_text = forest(), const MoreFiles& others = {}) {
    MoreFiles files = testing_support::replication_files(kNeighbours);
    files["counters.csv"] = replication_counters(1000.9, 1000);
    files["commands.json"] = kNetTimeFinds;
    for (const auto& [name, content] : others) files[name] = content;
    whole_.emplace(forest_text, "", files);
  }
  static std::vector<std::string> sample() { return xaf::DirectSampler("DCWNTDSDRA").sample(); }
  static std::vector<std::string> sample_on(int major) {
    g_osMajorVersion = major;
    g_osMinorVersion = 0;
    g_Replication = new ADPDH(kReplicationCollector);
    return sample();
  }
  static std::string the_row_on(int major) {
    const auto rows = sample_on(major);
    EXPECT_EQ(1u, rows.size());
    return rows.empty() ? std::string(588, '?') : rows[0];
  }
  static Values values_at(const std::string& row, std::size_t offset, std::size_t count) {
    Values values(count);
    std::memcpy(values.data(), row.data() + offset, count * sizeof values[0]);
    return values;
  }
  // first, first + 1000 and so on.
  static Values counting(std::int32_t first, std::size_t count) {
    Values values;
    for (std::size_t i = 0; i < count; ++i) {
      values.push_back(first + 1000 * static_cast<std::int32_t>(i));
    }
    return values;
  }
  static std::string expected_row(const Values& newer_columns) {
    return head(1, 1) + columns_of(counting(1000, 33)) + columns_of({0, 2, 1, 1}) +
           columns_of({85, 92, 88, 94, 49, 42}) + number(0) + field("FALSE", 64, ' ') +
           field("DC1.corp.example", 64, ' ') + number(34000) + columns_of(newer_columns) +
           columns_of({2, 3, 1});
  }
  // The bridgeheads of the transport.
  static std::string forest_with_bridgehead(const std::string& server) {
    return forest_with("objectClass: interSiteTransport\n",
                       "objectClass: interSiteTransport\nbridgeheadServerListBL: " +
                           server_dn("Hub", server) + "\n");
  }

 private:
  std::optional<testing_support::SmallRecording> whole_;
};

TEST_F(Replication, OnMajorVersion6ShowsEveryCounterByteForByte) {
  EXPECT_EQ(expected_row({34, 35, 36, 37, 38, 39, 40, 41, 43000, 44000, 45000, 46000, 47000}),
            the_row_on(6));
}

TEST_F(Replication, OnMajorVersion5LacksTheThirteenNewerCounters) {
  EXPECT_EQ(expected_row(Values(13, -1)), the_row_on(5));
}

TEST_F(Replication, OnMajorVersion10LacksThemToo) {
  EXPECT_EQ(expected_row(Values(13, -1)), the_row_on(10));
}

TEST_F(Replication, TellsItsStepsInOrder) {
  const trc::Capture lines;
  sample_on(10);
  EXPECT_EQ(
      (std::vector<std::string>{
          "hostName: DC1", "siteName: Hub", "siteName: <Hub>, partnerSite: <Hub>",
          "Intersite count: <0>, Intrasite count: <1>", "siteName: <Hub>, partnerSite: <Branch>",
          "Intersite count: <1>, Intrasite count: <1>", "Bridge head Count : <0>",
          "Site Link Count : <2>", "RPL: Preparing to collect data",
          "RPL: Data collected, adding to table.", "Pdata InBound :<2>",
          "DRA Data collection complete. Transfer to global buffer",
          "DRA Transfer to global buffer complete", "AddData Global DRA buffer"}),
      texts_of(lines, "replication.cpp"));
  EXPECT_TRUE(lines.contains("TIMER: 22 : Replication : TakeSample"));
}

// ---- topology -----------------------------------------------------------------------------------

TEST_F(Replication, WithoutBridgeheadsDoesNotAskWhetherThisServerIsOne) {
  trc::set_flags(1 | 64 | 128);
  const trc::Capture lines;
  const std::string row = the_row_on(10);
  EXPECT_EQ("FALSE", text(row, kIsBridgehead, 64));
  EXPECT_EQ(0, integer(row, kBridgeheads));
  for (const trc::Line& line : lines.lines()) EXPECT_NE("IsBridgeHeadServer", line.function);
}

TEST_F(Replication, TellsThatThisServerIsABridgehead) {
  record_all(forest_with_bridgehead("DC1"));
  const std::string row = the_row_on(10);
  EXPECT_EQ(1, integer(row, kBridgeheads));
  EXPECT_EQ("TRUE", text(row, kIsBridgehead, 64));
}

TEST_F(Replication, TellsThatAnotherServerIsTheBridgehead) {
  record_all(forest_with_bridgehead("DC2"));
  const std::string row = the_row_on(10);
  EXPECT_EQ(1, integer(row, kBridgeheads));
  EXPECT_EQ("FALSE", text(row, kIsBridgehead, 64));
}

TEST_F(Replication, CountsAPartnerOfSeveralContextsOnce) {
  record_all(forest(), {{"replication.json", testing_support::neighbours_of_dc1(
                                                 {neighbour(kDomain, "Hub", "DC2"),
                                                  neighbour(kSchemaContext, "Hub", "DC2"),
                                                  neighbour(kConfiguration, "Hub", "DC2")})}});
  EXPECT_EQ((Values{0, 2, 0, 1}), values_at(the_row_on(10), kBridgeheads, 4));
}

TEST_F(Replication, CountsNoPartnersWhenNobodyTellsThem) {
  platform::faults::fail("DsReplicaGetInfoW", 1);
  EXPECT_EQ((Values{0, 2, 0, 0}), values_at(the_row_on(10), kBridgeheads, 4));
}

TEST_F(Replication, WithoutASiteCountsEveryPartnerAsInAnother) {
  platform::faults::fail("DsGetSiteNameA", 1);
  EXPECT_EQ((Values{0, 2, 2, 0}), values_at(the_row_on(10), kBridgeheads, 4));
  EXPECT_EQ(1u, trace_.count("siteName: "));
}

// The second count goes by letter case, and the name is in capitals by then.
TEST_F(Replication, OfAHostInSmallLettersFindsItsConnections) {
  record_all(forest(), {{"registry.reg", replaced(testing_support::kMachine, "\"Hostname\"=\"DC1\"",
                                                  "\"Hostname\"=\"dc1\"")}});
  EXPECT_EQ((Values{2, 3, 1}), values_at(the_row_on(10), kConnections, 3));
  EXPECT_EQ(1u, trace_.count("hostName: dc1"));
}

// ---- values -------------------------------------------------------------------------------------

TEST_F(Replication, WithNothingReplicatedHasPercentagesOf0) {
  record_all(forest(), {{"counters.csv", replication_counters(0, 0)}});
  EXPECT_EQ(Values(6, 0), values_at(the_row_on(10), kPercentages, 6));
}

TEST_F(Replication, ShowsHowNetTimeEndedAndPrintsWhatItSays) {
  record_all(forest(), {{"commands.json", R"({"commands": [{"command": "net time",
      "output": ["Could not locate a time-server."], "exit_code": 2}]})"}});
  testing::internal::CaptureStdout();
  EXPECT_EQ(2, integer(the_row_on(10), kNetTime));
  EXPECT_NE(std::string::npos,
            testing::internal::GetCapturedStdout().find("Could not locate a time-server.\r\n"));
}

TEST_F(Replication, ShowsMinusOneWhenNetTimeCannotBeStarted) {
  platform::faults::fail("system", 1);
  EXPECT_EQ(-1, integer(the_row_on(10), kNetTime));
}

// ---- failures -----------------------------------------------------------------------------------

TEST_F(Replication, WithoutCountersGivesNoRowAndTransfersNothing) {
  EXPECT_TRUE(sample().empty());
  EXPECT_EQ(nullptr, g_DRAEvent.handle());
  EXPECT_EQ(1u, trace_.count("Site Link Count : <2>"));
  EXPECT_FALSE(trace_.contains("Preparing to collect data"));
}

TEST_F(Replication, OnAMachineWithoutTheseCountersGivesNoRow) {
  record_all(forest(), {{"counters.csv", counter_log(series_of(g_ABList, 0), {0})}});
  EXPECT_TRUE(sample_on(10).empty());
  EXPECT_EQ(nullptr, g_DRAEvent.handle());
}

TEST_F(Replication, WhoseCountersAreGoneKeepsItsRow) {
  const auto right = sample_on(10);
  ASSERT_EQ(1u, right.size());
  deleteGlobals();
  Sleep(60000);
  EXPECT_EQ(right, sample());
}

TEST_F(Replication, WhoseHostIsUnknownKeepsItsRow) {
  const auto right = sample_on(10);
  ASSERT_EQ(1u, right.size());
  platform::faults::fail("getaddrinfo", 1);
  Sleep(60000);
  EXPECT_EQ(right, sample());
  EXPECT_EQ(1u, trace_.count("getaddrinfo failed: error#:11001"));
}

TEST_F(Replication, IsCollectedByItsThreadAndSampledFromTheCache) {
  g_Replication = new ADPDH(kReplicationCollector);
  // Before the thread has started: a sample does not collect by itself.
  g_cacheInterval = 60000;
  EXPECT_TRUE(sample().empty());
  while_cached(&collectandCacheDRAData, [this] {
    Sleep(30000);
    const auto first = sample();
    ASSERT_EQ(1u, first.size());
    EXPECT_EQ(first, sample());
    Sleep(60000);
    const auto second = sample();
    ASSERT_EQ(1u, second.size());
    EXPECT_EQ(number(2) + number(1), second[0].substr(64, 8));
    EXPECT_EQ(90000, time_->elapsed_ms());
  });
}

TEST_F(Replication, SurvivesEachPlatformCallFailingOnce) {
  g_Replication = new ADPDH(kReplicationCollector);
  sweep("DCWNTDSDRA",
        {{"getaddrinfo", "getaddrinfo failed: error#:11001"},
         {"DsGetSiteNameA", "ERROR: DsGetSiteName failed. Error code: "},
         {"DsReplicaGetInfoW", "Error: DsReplicaGetInfoW failed. Error Code: <1722>"},
         {"ResetEvent", "Lock cache lock failed: "},
         {"SetEvent", "Unlock cache lock failed: "}},
        testing_support::of_replication());
}

}  // namespace
