#include <gmock/gmock.h>

#include <limits>

#include "counter_tables.h"
#include "counters/counter_table.h"
#include "include/platform/adsi.h"
#include "include/trc.h"
#include "platform/recorded/recording.h"
#include "tests/support/two_sites.h"

namespace {

constexpr std::int32_t kNumberOutOfRange = std::numeric_limits<std::int32_t>::min();
TEST_F(CounterTables, ShowTheOlderNamesOnMajorVersions5And10) {
  install(all_series());
  for (const int major : {5, 10}) {
    build_for(major, 0);
    expect_row<tables::DCWNTDSAB>(from(0, 7));
    expect_row<tables::DCWNTDSDS>(from(2000, 19, {-1, -1, -1}));
    expect_row<tables::DCWNTDSKCC>(from(3000, 3, {1}));
    expect_row<tables::DCWNTDSKDC>(from(4000, 3));
    expect_row<tables::DCWNTDSLDP>(
        {5000, 5001, 5002, 5003, 5004, -1, 5006, 5007, 5008, 5009, -1, -1, -1, -1});
    expect_row<tables::DCWNTDSLSA>(from(6000, 3));
    expect_row<tables::DCWNTDSNSP>(from(7000, 4));
    expect_row<tables::DCWNTDSSAM>(from(8000, 17, {-1, -1}));
    expect_row<tables::DCWNTDSXDS>(from(9000, 4));
  }
}

TEST_F(CounterTables, ShowTheNewerNamesOnMajorVersion6) {
  install(all_series());
  for (const int minor : {0, 1}) {
    build_for(6, minor);
    expect_row<tables::DCWNTDSAB>(from(14000, 7));
    expect_row<tables::DCWNTDSDS>(from(16000, 22));
    expect_row<tables::DCWNTDSKCC>(from(17000, 3, {1}));
    expect_row<tables::DCWNTDSKDC>(from(18000, 3));
    expect_row<tables::DCWNTDSLDP>({19000, 19001, 19002, 19003, 19004, -1, 19006, 19007, 19008,
                                    19009, 19010, 19011, 19012, 19005});
    expect_row<tables::DCWNTDSLSA>(from(20000, 3));
    expect_row<tables::DCWNTDSNSP>(from(21000, 4));
    expect_row<tables::DCWNTDSSAM>(from(22000, 19));
    expect_row<tables::DCWNTDSXDS>({-1, -1, -1, -1});
  }
}

TEST_F(CounterTables, StampTheRowBeforeTheHalfSecondOfTheCollection) {
  set_version(10, 0);
  install(series_of(g_ABList, 1));
  build_for(10, 0);
  const auto rows = sampler<tables::DCWNTDSAB>()->sample();
  ASSERT_EQ(rows.size(), 1u);
  EXPECT_EQ(rows[0], long_head(1, kStamp) + columns_of(from(1, 7)));
  EXPECT_EQ(time.elapsed_ms(), 500);
}

TEST_F(CounterTables, FillTheNodeNameToItsWidthWithoutAnEnd) {
  xaf::Configuration configuration;
  configuration.node_name = std::string(70, 'n');
  xaf::configure(configuration);
  platform::install(std::make_shared<Machine>(""));
  set_version(10, 0);
  const auto rows = sampler<tables::DCWNTDSXDS>()->sample();
  ASSERT_EQ(rows.size(), 1u);
  EXPECT_EQ(rows[0].substr(0, 64), std::string(64, 'n'));
  EXPECT_EQ(rows[0].substr(64, 4), std::string("\1\0\0\0", 4));
}

TEST_F(CounterTables, CarryTheSeedThroughToTheRow) {
  install(all_series());
  build_for(10, 0);
  SYS1_PutEnv("DCW_UNIT_TEST_SEED=10");
  expect_row<tables::DCWNTDSAB>(from(10, 7));
  build_for(6, 1);
  expect_row<tables::DCWNTDSLDP>({10, 11, 12, 13, 14, -1, 16, 17, 18, 19, 20, 21, 22, 15});
  EXPECT_EQ(time.elapsed_ms(), 0);
}

TEST_F(CounterTables, CutValuesTowardZeroAndShowTheLowestNumberForWhatDoesNotFit) {
  EXPECT_EQ(counters::truncated(2.9), 2);
  EXPECT_EQ(counters::truncated(-2.9), -2);
  EXPECT_EQ(counters::truncated(-0.5), 0);
  EXPECT_EQ(counters::truncated(2147483647.9), 2147483647);
  EXPECT_EQ(counters::truncated(2147483648.0), kNumberOutOfRange);
  EXPECT_EQ(counters::truncated(-2147483648.9), kNumberOutOfRange);
  EXPECT_EQ(counters::truncated(-2147483649.0), kNumberOutOfRange);
  EXPECT_EQ(counters::truncated(std::numeric_limits<double>::infinity()), kNumberOutOfRange);
  EXPECT_EQ(counters::truncated(std::numeric_limits<double>::quiet_NaN()), kNumberOutOfRange);

  install({{"\\NTDS\\KDC AS Requests", {2.9}},
           {"\\NTDS\\KDC TGS Requests", {-2.9}},
           {"\\NTDS\\Kerberos Authentications", {3000000000.0}}});
  build_for(10, 0);
  expect_row<tables::DCWNTDSKDC>({2, -2, kNumberOutOfRange});
}

TEST_F(CounterTables, CountSamplesEvenWhereNoRowComes) {
  install(series_of(g_KDCList, 1));
  build_for(10, 0);
  const auto kerberos = sampler<tables::DCWNTDSKDC>();
  ASSERT_EQ(kerberos->sample().size(), 1u);
  install(series_of(g_ABList, 1));
  build_for(10, 0);
  EXPECT_TRUE(kerberos->sample().empty());
  EXPECT_TRUE(kerberos->sample().empty());
  install(series_of(g_KDCList, 1));
  build_for(10, 0);
  const auto rows = kerberos->sample();
  ASSERT_EQ(rows.size(), 1u);
  EXPECT_EQ(rows[0][64], 4);
}

TEST_F(CounterTables, HaveNoRowWithoutTheirObjectButForExchange) {
  install({{"\\Memory\\Available Bytes", {1}}});
  build_for(10, 0);
  // One line for each, when the collectors are built: it names what is missing.
  for (const char* path :
       {"\\NTDS\\AB ANR/sec", "\\NTDS\\DS Client Binds/sec", "\\NTDS\\DS % Reads from KCC",
        "\\NTDS\\KDC AS Requests", "\\NTDS\\LDAP Active Threads", "\\NTDS\\DS % Reads from LSA",
        "\\NTDS\\DS % Reads from NSPI", "\\NTDS\\SAM Account Group Evaluation Latency"}) {
    EXPECT_EQ(trace.count("PdhValidatePath failed for [" + std::string(path) + "] c0000bb8"), 1u)
        << path;
  }
  EXPECT_TRUE(sampler<tables::DCWNTDSAB>()->sample().empty());
  EXPECT_TRUE(sampler<tables::DCWNTDSDS>()->sample().empty());
  EXPECT_TRUE(sampler<tables::DCWNTDSKCC>()->sample().empty());
  EXPECT_TRUE(sampler<tables::DCWNTDSKDC>()->sample().empty());
  EXPECT_TRUE(sampler<tables::DCWNTDSLDP>()->sample().empty());
  EXPECT_TRUE(sampler<tables::DCWNTDSLSA>()->sample().empty());
  EXPECT_TRUE(sampler<tables::DCWNTDSNSP>()->sample().empty());
  EXPECT_TRUE(sampler<tables::DCWNTDSSAM>()->sample().empty());
  EXPECT_EQ(time.elapsed_ms(), 0);
  expect_row<tables::DCWNTDSXDS>({-1, -1, -1, -1});
}

TEST_F(CounterTables, ReadAndThrowAwayTheExchangeCountersOnMajorVersion6) {
  install(all_series());
  set_version(6, 1);
  testing::internal::CaptureStdout();
  const auto rows = sampler<tables::DCWNTDSXDS>()->sample();
  std::fflush(stdout);
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
  ASSERT_EQ(rows.size(), 1u);
  EXPECT_EQ(time.elapsed_ms(), 500);
  EXPECT_EQ(trace.count(" Collecting data for [ XDS ] "), 1u);
}

TEST_F(CounterTables, ShowTheNumbersOfBeforeWhenACollectionFails) {
  install(series_of(g_KDCList, 40));
  build_for(10, 0);
  const auto kerberos = sampler<tables::DCWNTDSKDC>();
  platform::faults::fail("PdhCollectQueryData", 1);
  auto rows = kerberos->sample();
  ASSERT_EQ(rows.size(), 1u);
  EXPECT_EQ(rows[0].substr(rows[0].size() - 12), columns_of({0, 0, 0}));
  rows = kerberos->sample();
  EXPECT_EQ(rows[0].substr(rows[0].size() - 12), columns_of({40, 41, 42}));
  platform::faults::clear();
  platform::faults::fail("PdhCollectQueryData", 2);
  rows = kerberos->sample();
  EXPECT_EQ(rows[0].substr(rows[0].size() - 12), columns_of({40, 41, 42}));
}

TEST_F(CounterTables, WaitUntilTheCollectorsExistAndExchangeDoesNot) {
  install(all_series());
  set_version(10, 0);
  struct Late {
    static unsigned __stdcall build(void*) {
      Sleep(3000);
      return allocateGlobals(nullptr);
    }
  };
  const auto exchange = sampler<tables::DCWNTDSXDS>();
  const auto address_book = sampler<tables::DCWNTDSAB>();
  const auto thread = _beginthreadex(nullptr, 0, Late::build, nullptr, 0, nullptr);
  ASSERT_NE(thread, 0u);
  EXPECT_EQ(exchange->sample().size(), 1u);
  EXPECT_EQ(time.elapsed_ms(), 500);
  EXPECT_EQ(trace.count("*****CREATED OBJECTS*****"), 0u);
  const auto rows = address_book->sample();
  ASSERT_EQ(rows.size(), 1u);
  EXPECT_EQ(trace.count("*****CREATED OBJECTS*****"), 1u);
  EXPECT_EQ(rows[0].substr(72, 16), "1110102030408000");
  WaitForSingleObject(reinterpret_cast<HANDLE>(thread), INFINITE);
  CloseHandle(reinterpret_cast<HANDLE>(thread));
}

TEST_F(CounterTables, MeasureThemselvesUnderTheirOwnLabels) {
  install(all_series());
  build_for(10, 0);
  SYS1_PutEnv("AGENT_TIMING=1");
  sampler<tables::DCWNTDSDS>()->sample();
  EXPECT_EQ(trace.count("TIMER: 9 : DNS : TakeSample : Time to Complete:     0.50"), 1u);
  sampler<tables::DCWNTDSXDS>()->sample();
  EXPECT_TRUE(trace.contains("TIMER: 26 : ExchangeDirectoryService : TakeSample : "));
}

TEST_F(CounterTables, TellWhetherTheConsistencyCheckerIsEnabled) {
  const auto machine = std::make_shared<Machine>(counter_log(all_series(), {0}));
  platform::install(machine);
  CoInitializeEx(nullptr, COINIT_MULTITHREADED);
  build_for(10, 0);
  for (const auto& [options, shown] :
       {std::pair("16", 0), std::pair("17", 0), std::pair("18", 1), std::pair("", 1)}) {
    machine->domain = platform::make_recording(
        {{"directory.ldif", testing_support::two_sites_forest(options, "0")},
         {"locator.json", testing_support::kTwoSitesLocator}},
        "test", {});
    expect_row<tables::DCWNTDSKCC>(from(3000, 3, {shown}));
  }
  CoUninitialize();
}

TEST_F(FaultSweep, AddressBook) { sweep<tables::DCWNTDSAB>(&g_AddressBook, 0u); }
TEST_F(FaultSweep, DirectoryServices) { sweep<tables::DCWNTDSDS>(&g_DirServices, 2u); }
TEST_F(FaultSweep, ConsistencyChecker) { sweep<tables::DCWNTDSKCC>(&g_KCC, 3u); }
TEST_F(FaultSweep, KeyDistribution) { sweep<tables::DCWNTDSKDC>(&g_KDC, 4u); }
TEST_F(FaultSweep, Ldap) { sweep<tables::DCWNTDSLDP>(&g_LDAP, 5u); }
TEST_F(FaultSweep, SecurityAuthority) { sweep<tables::DCWNTDSLSA>(&g_LSA, 6u); }
TEST_F(FaultSweep, NameService) { sweep<tables::DCWNTDSNSP>(&g_NSPI, 7u); }
TEST_F(FaultSweep, AccountsManager) { sweep<tables::DCWNTDSSAM>(&g_SAM, 8u); }
TEST_F(FaultSweep, Exchange) { sweep<tables::DCWNTDSXDS, ADPDH>(nullptr, 9u); }
TEST_F(FaultSweep, FileReplication) { sweep<tables::DCWNTDSFRS>(&g_FRS, 10u); }
TEST_F(FaultSweep, DistributedReplication) { sweep<tables::DCWNTDSDFS>(&g_DFSR, 14u); }
TEST_F(FaultSweep, ReplicationConnections) {
  sweep<tables::DCWNTDSDRC>(&g_DFRC, 15u, "DFS Replication Connections");
}
TEST_F(FaultSweep, ReplicationVolumes) {
  sweep<tables::DCWNTDSDSV>(&g_DFSV, 16u, "DFS Replication Service Volumes");
}
TEST_F(FaultSweep, ReplicatedFolders) {
  sweep<tables::DCWNTDSDRF>(&g_DFRF, 17u, "DFS Replicated Folders");
}

}  // namespace
