#include <gtest/gtest.h>

#include "collectors/background.h"
#include "collectors/caches.h"
#include "include/unique_handle.h"
#include "tests/collectors/sampling.h"
#include "tests/counters/machine.h"

namespace {

using testing_support::number;
using testing_support::Sampling;
using Values = std::vector<std::int32_t>;

// The server's settings with three connections beneath them.
const std::string kSites = R"(
dn: CN=Sites,CN=Configuration,DC=corp,DC=example
objectClass: sitesContainer
cn: Sites

dn: CN=Head-Office,CN=Sites,CN=Configuration,DC=corp,DC=example
objectClass: site
cn: Head-Office

dn: CN=Servers,CN=Head-Office,CN=Sites,CN=Configuration,DC=corp,DC=example
objectClass: serversContainer
cn: Servers

dn: CN=DC1,CN=Servers,CN=Head-Office,CN=Sites,CN=Configuration,DC=corp,DC=example
objectClass: server
cn: DC1

dn: CN=NTDS Settings,CN=DC1,CN=Servers,CN=Head-Office,CN=Sites,CN=Configuration,DC=corp,DC=example
objectClass: nTDSDSA
cn: NTDS Settings

dn: CN=one,CN=NTDS Settings,CN=DC1,CN=Servers,CN=Head-Office,CN=Sites,CN=Configuration,DC=corp,DC=example
objectClass: nTDSConnection
cn: one

dn: CN=two,CN=NTDS Settings,CN=DC1,CN=Servers,CN=Head-Office,CN=Sites,CN=Configuration,DC=corp,DC=example
objectClass: nTDSConnection
cn: two

dn: CN=three,CN=NTDS Settings,CN=DC1,CN=Servers,CN=Head-Office,CN=Sites,CN=Configuration,DC=corp,DC=example
objectClass: nTDSConnection
cn: three
)";
constexpr const char* kLocator =
    R"({"controllers": [{"name": "DC1.corp.example", "site": "Head-Office"}]})";

// Counter n of the list shows 1000 n + 1000.9, but those that are named.
std::string database_counters(const std::map<std::size_t, double>& own = {}) {
  std::vector<Series> series = series_of(g_ESEList, 0);
  for (std::size_t n = 0; n < series.size(); ++n) {
    const auto named = own.find(n);
    series[n].cells = {named == own.end() ? 1000.0 * static_cast<double>(n) + 1000.9
                                          : named->second};
  }
  return counter_log(series, {0});
}

class DomainControllerPerformance : public Sampling {
 protected:
  explicit DomainControllerPerformance(const std::map<std::size_t, double>& own = {},
                                       const std::string& locator = kLocator)
      : Sampling(testing_support::kSmallForest + kSites,
                 {{"counters.csv", database_counters(own)}, {"locator.json", locator}}) {
    g_osMajorVersion = 10;
    g_osMinorVersion = 0;
  }
  void TearDown() override {
    deleteGlobals();
    g_cacheInterval = 0;
  }

  static std::vector<std::string> sample() { return xaf::DirectSampler("DCWNTDSDCP").sample(); }
  // The row's own columns, in the table's order.
  static Values columns(const std::string& row) {
    Values values(31);
    std::memcpy(values.data(), row.data() + 216, 31 * sizeof values[0]);
    return values;
  }
  // A sample on a system of that version, as a whole.
  static std::vector<std::string> sample_on(int major, int minor) {
    g_osMajorVersion = major;
    g_osMinorVersion = minor;
    g_ESE = new ADPDH(kDatabaseCollector);
    return sample();
  }
  static std::string whole_row(const std::string& stamp, const Values& values) {
    return long_head(1, stamp) + columns_of(values);
  }
};

constexpr std::int32_t kNo = -1;  // not on this version

TEST_F(DomainControllerPerformance, OfAVersionBelowFiveTwoHasTheFileColumnsAndNoNewerOnes) {
  const auto rows = sample_on(5, 1);
  ASSERT_EQ(1u, rows.size());
  EXPECT_EQ(whole_row(time_stamp(),
                      {16001, 18001, 7000,  6000,  5000, 9000, 11000, 12000, 10000, 14,  8000,
                       20001, 3,     17000, 18000, kNo,  kNo,  kNo,   kNo,   kNo,   kNo, kNo,
                       kNo,   kNo,   kNo,   kNo,   kNo,  kNo,  kNo,   kNo,   kNo}),
            rows[0]);
}

TEST_F(DomainControllerPerformance, OfVersionFiveTwoHasNeitherTheFileColumnsNorTheNewerOnes) {
  const auto rows = sample_on(5, 2);
  ASSERT_EQ(1u, rows.size());
  EXPECT_EQ(whole_row(time_stamp(),
                      {16001, 18001, kNo,   kNo,   kNo, 9000, 11000, 12000, 10000, 14,  8000,
                       20001, 3,     17000, 18000, kNo, kNo,  kNo,   kNo,   kNo,   kNo, kNo,
                       kNo,   kNo,   kNo,   kNo,   kNo, kNo,  kNo,   kNo,   kNo}),
            rows[0]);
}

class OfNewSystems : public DomainControllerPerformance,
                     public ::testing::WithParamInterface<std::pair<int, int>> {};

TEST_P(OfNewSystems, HasTheNewerColumnsAndNoFileColumns) {
  const auto rows = sample_on(GetParam().first, GetParam().second);
  ASSERT_EQ(1u, rows.size());
  EXPECT_EQ(whole_row(time_stamp(),
                      {16001, 18001, kNo,   kNo,   kNo,   9000,  11000, 12000, 10000, 14,    8000,
                       20001, 3,     17000, 18000, 19000, 20000, 21000, 22000, 23000, 24000, 25000,
                       26000, 27000, 28000, 29000, 30000, 31000, 32000, 33000, 34000}),
            rows[0]);
}
INSTANTIATE_TEST_SUITE_P(Versions, OfNewSystems,
                         ::testing::Values(std::pair{6, 0}, std::pair{6, 1}, std::pair{10, 0}));

TEST_F(DomainControllerPerformance, TellsItsStepsInOrder) {
  trc::Capture lines;
  sample_on(10, 0);
  std::vector<std::string> texts;
  for (const trc::Line& line : lines.lines()) {
    if (line.kind == trc::Kind::kText && line.function == "CollectData" &&
        line.file == "domain_controller_performance.cpp") {
      texts.push_back(line.text);
    }
  }
  EXPECT_EQ((std::vector<std::string>{"DSFUtils::GetSiteName = Head-Office",
                                      "DNSUtils::GetDSAConnections:", "DSA Connections : <3>",
                                      "DCP Data collection complete.Transfer to global buffer",
                                      "DCP Transfer to global buffer complete"}),
            texts);
  EXPECT_EQ(1u, lines.count("AddData Global DCP buffer"));
  EXPECT_TRUE(lines.contains("TIMER: 4 : DomainControllerPerformance : TakeSample"));
}

TEST_F(DomainControllerPerformance, WithoutCountersGivesNoRowAndTransfersNothing) {
  EXPECT_TRUE(sample().empty());
  EXPECT_EQ(nullptr, g_DCPEvent.handle());
  EXPECT_EQ(1u, trace_.count("DSA Connections : <3>"));
}

TEST_F(DomainControllerPerformance, WhoseCountersAreGoneKeepsItsRow) {
  const auto right = sample_on(10, 0);
  ASSERT_EQ(1u, right.size());
  deleteGlobals();
  Sleep(60000);
  EXPECT_EQ(right, sample());
}

TEST_F(DomainControllerPerformance, WhoseHostIsUnknownKeepsItsRow) {
  const auto right = sample_on(10, 0);
  ASSERT_EQ(1u, right.size());
  platform::faults::fail("getaddrinfo", 1);
  Sleep(60000);
  EXPECT_EQ(right, sample());
  EXPECT_EQ(1u, trace_.count("getaddrinfo failed: error#:11001"));
}

TEST_F(DomainControllerPerformance, WithoutASiteCountsNoConnections) {
  platform::faults::fail("DsGetSiteNameA", 1);
  const auto rows = sample_on(10, 0);
  ASSERT_EQ(1u, rows.size());
  EXPECT_EQ(0, columns(rows[0])[12]);
  EXPECT_EQ(1u, trace_.count("DSFUtils::GetSiteName = "));
}

class CacheSize : public DomainControllerPerformance {
 protected:
  CacheSize(double older, double newer) : DomainControllerPerformance({{0, older}, {12, newer}}) {}
  std::int32_t size() {
    const auto rows = sample_on(10, 0);
    return rows.empty() ? -99 : columns(rows[0])[9];
  }
};
// Rounded to the nearest 1024, in either form of the counter.
struct CacheSizeOf511 : CacheSize {
  CacheSizeOf511() : CacheSize(511, 0) {}
};
TEST_F(CacheSizeOf511, IsNothing) { EXPECT_EQ(0, size()); }
struct CacheSizeOf512 : CacheSize {
  CacheSizeOf512() : CacheSize(0, 512) {}
};
TEST_F(CacheSizeOf512, IsOne) { EXPECT_EQ(1, size()); }
struct CacheSizeOf1535 : CacheSize {
  CacheSizeOf1535() : CacheSize(1000, 535) {}
};
TEST_F(CacheSizeOf1535, IsOne) { EXPECT_EQ(1, size()); }
struct CacheSizeOf1536 : CacheSize {
  CacheSizeOf1536() : CacheSize(0, 1536) {}
};
TEST_F(CacheSizeOf1536, IsTwo) { EXPECT_EQ(2, size()); }

TEST_F(DomainControllerPerformance, IsCollectedByItsThreadAndSampledFromTheCache) {
  g_cacheInterval = 60000;
  hTerminateEvent = CreateEventA(nullptr, TRUE, FALSE, nullptr);
  g_ESE = new ADPDH(kDatabaseCollector);
  EXPECT_TRUE(sample().empty());
  EXPECT_EQ(0, time_->elapsed_ms());
  const UniqueHandle thread{
      _beginthreadex(nullptr, 0, &collectandCacheDCPData, nullptr, 0, nullptr)};
  Sleep(30000);
  const auto first = sample();
  ASSERT_EQ(1u, first.size());
  EXPECT_EQ(first, sample());
  EXPECT_EQ(30000, time_->elapsed_ms());
  Sleep(60000);
  const auto second = sample();
  ASSERT_EQ(1u, second.size());
  EXPECT_EQ(number(2), second[0].substr(64, 4));
  close_now(hTerminateEvent.exchange(nullptr));
  EXPECT_EQ(WAIT_OBJECT_0, WaitForSingleObject(thread.get(), INFINITE));
}

TEST_F(DomainControllerPerformance, OutlivesAStopInTheMiddleOfItsCollection) {
  g_cacheInterval = 60000;
  hTerminateEvent = CreateEventA(nullptr, TRUE, FALSE, nullptr);
  g_ESE = new ADPDH(kDatabaseCollector);
  const UniqueHandle thread{
      _beginthreadex(nullptr, 0, &collectandCacheDCPData, nullptr, 0, nullptr)};
  Sleep(100);
  deleteGlobals();
  Sleep(1000);
  EXPECT_EQ(1u, sample().size());
  close_now(hTerminateEvent.exchange(nullptr));
  EXPECT_EQ(WAIT_OBJECT_0, WaitForSingleObject(thread.get(), INFINITE));
}

TEST_F(DomainControllerPerformance, SurvivesEachPlatformCallFailingOnce) {
  g_ESE = new ADPDH(kDatabaseCollector);
  sweep("DCWNTDSDCP",
        {{"getaddrinfo", "getaddrinfo failed: error#:11001"},
         {"DsGetSiteNameA", "ERROR: DsGetSiteName failed. Error code: "},
         {"ResetEvent", "Lock cache lock failed: "},
         {"SetEvent", "Release cache lock failed: "}},
        numbered_samples());
}

}  // namespace
