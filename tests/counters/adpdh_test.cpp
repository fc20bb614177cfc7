#include "counters/adpdh.h"

#include <gmock/gmock.h>

#include "include/platform/system.h"
#include "include/trc.h"
#include "machine.h"

namespace {

using testing::HasSubstr;

std::vector<double> values_of(const ADPDH& collector) {
  const double* first = collector.GetValues();
  if (first == nullptr) return {};
  return {first, first + collector.GetCounterCount()};
}

class Collectors : public CountersTest {};

TEST_F(Collectors, DeliverValuesInListOrder) {
  set_version(10, 0);
  install(series_of(g_NSPIList, 7.25));
  ADPDH collector(kNameServiceCollector);
  ASSERT_EQ(collector.IsPresent(), 1);
  EXPECT_EQ(collector.CollectData(), 1);
  EXPECT_EQ(values_of(collector), (std::vector<double>{7.25, 8.25, 9.25, 10.25}));
  EXPECT_EQ(trace.count(" Collecting data for [ NSPI ] "), 1u);
  EXPECT_EQ(trace.count("Adding (3) [NTDS\\NTLM Authentications]"), 1u);
  EXPECT_EQ(trace.count("DS % Reads from NSPI: 7.250000"), 1u);
}

TEST_F(Collectors, TakeTheirTwoCollectionsExactly500MillisecondsApart) {
  set_version(10, 0);
  // Between 499 and 501 ms the value is another one.
  install({{"\\NTDS\\DS % Reads from LSA", {1, 2, 3}},
           {"\\NTDS\\DS % Searches from LSA", {1, 2, 3}},
           {"\\NTDS\\DS % Writes from LSA", {1, 2, 3}}},
          {0, 500, 501});
  ADPDH collector(kSecurityAuthorityCollector);
  ASSERT_EQ(collector.IsPresent(), 1);
  EXPECT_EQ(collector.CollectData(), 1);
  EXPECT_EQ(time.elapsed_ms(), 500);
  EXPECT_EQ(values_of(collector), (std::vector<double>{2, 2, 2}));
}

TEST_F(Collectors, DeliverTheSeedAndItsFollowersWithoutAnyDataCall) {
  set_version(10, 0);
  install(series_of(g_NSPIList, 1));
  ADPDH collector(kNameServiceCollector);
  SYS1_PutEnv("DCW_UNIT_TEST_SEED=100");
  platform::faults::reset_counts();
  EXPECT_EQ(collector.CollectData(), 1);
  EXPECT_EQ(values_of(collector), (std::vector<double>{100, 101, 102, 103}));
  EXPECT_EQ(time.elapsed_ms(), 0);
  for (const auto& [call, count] : platform::faults::reached()) {
    EXPECT_THAT(call, testing::Not(HasSubstr("Pdh"))) << count;
  }
  EXPECT_EQ(trace.count("Using unit test data."), 1u);
  EXPECT_EQ(trace.count("NTLM Authentications: 103.000000"), 1u);
}

TEST_F(Collectors, TakeASeedThatIsNoNumberAsZero) {
  set_version(10, 0);
  install(series_of(g_KDCList, 1));
  ADPDH collector(kKeyDistributionCollector);
  SYS1_PutEnv("DCW_UNIT_TEST_SEED=abc");
  collector.CollectData();
  EXPECT_EQ(values_of(collector), (std::vector<double>{0, 1, 2}));
}

TEST_F(Collectors, TakeASeedBeyond32BitsAtItsLimit) {
  set_version(10, 0);
  install(series_of(g_KDCList, 1));
  ADPDH collector(kKeyDistributionCollector);
  SYS1_PutEnv("DCW_UNIT_TEST_SEED=99999999999");
  collector.CollectData();
  EXPECT_EQ(values_of(collector), (std::vector<double>{2147483647, 2147483648, 2147483649}));
}

TEST_F(Collectors, AreMissingWithTheirObjectHoweverTheSeedIsSet) {
  set_version(10, 0);
  install(series_of(g_ABList, 1));
  SYS1_PutEnv("DCW_UNIT_TEST_SEED=100");
  ADPDH collector(kKeyDistributionCollector);
  EXPECT_EQ(collector.IsPresent(), 0);
}

TEST_F(Collectors, ThatProbeFirstHaveNoCountAndNoArraysWithoutTheirObject) {
  set_version(10, 0);
  install(series_of(g_ABList, 1));
  for (const auto id : {kFileReplicationCollector, kDatabaseCollector, kDnsCollector}) {
    ADPDH collector(id);
    EXPECT_EQ(collector.IsPresent(), 0);
    EXPECT_EQ(collector.GetCounterCount(), 0);
    EXPECT_EQ(collector.GetValues(), nullptr);
    testing::internal::CaptureStdout();
    collector.PrintValues();
    std::fflush(stdout);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
  }
  ADPDH other(kReplicationCollector);
  EXPECT_EQ(other.IsPresent(), 0);
  EXPECT_EQ(other.GetCounterCount(), 34);
}

TEST_F(Collectors, PrintTheirValuesToStandardOutput) {
  set_version(10, 0);
  install(series_of(g_KDCList, 1.5));
  ADPDH collector(kKeyDistributionCollector);
  collector.CollectData();
  testing::internal::CaptureStdout();
  collector.PrintValues();
  std::fflush(stdout);
  EXPECT_EQ(testing::internal::GetCapturedStdout(),
            "Value of [Table: KDC, Counter Index: 0] is : [1.500]\n"
            "Value of [Table: KDC, Counter Index: 1] is : [2.500]\n"
            "Value of [Table: KDC, Counter Index: 2] is : [3.500]\n");
}

// The count and the first value of each collector tell which list it reads.
TEST_F(Collectors, ReadTheNewerNamesOnMajorVersionSixOnly) {
  install(all_series());
  struct Expected {
    std::uint32_t id;
    int count, count_six;
    double first, first_six;
  };
  const Expected collectors[] = {{0, 7, 7, 0.9, 14000.9},        {1, 34, 47, 1000.9, 15000.9},
                                 {2, 19, 22, 2000.9, 16000.9},   {3, 3, 3, 3000.9, 17000.9},
                                 {4, 3, 3, 4000.9, 18000.9},     {5, 10, 13, 5000.9, 19000.9},
                                 {6, 3, 3, 6000.9, 20000.9},     {7, 4, 4, 7000.9, 21000.9},
                                 {8, 17, 19, 8000.9, 22000.9},   {9, 4, 4, 9000.9, 9000.9},
                                 {10, 65, 65, 10000.9, 10000.9}, {11, 34, 34, 11000.9, 11000.9},
                                 {12, 29, 29, 12000.9, 12000.9}, {13, 62, 62, 13000.9, 13000.9}};
  for (const int major : {5, 6, 7, 10}) {
    set_version(major, 0);
    for (const Expected& expected : collectors) {
      ADPDH collector(expected.id);
      EXPECT_EQ(collector.IsPresent(), 1) << expected.id;
      EXPECT_EQ(collector.GetCounterCount(), major == 6 ? expected.count_six : expected.count)
          << expected.id;
      EXPECT_EQ(collector.CollectData(), 1);
      EXPECT_DOUBLE_EQ(values_of(collector).front(),
                       major == 6 ? expected.first_six : expected.first)
          << expected.id << " on " << major;
    }
  }
}

TEST_F(Collectors, TakeTheVersion6DhcpObjectByItsNameOfTheSystemVersion) {
  install(all_series());
  const auto row_14 = [this](int major, int minor) {
    set_version(major, minor);
    ADPDH collector(kDhcpCollector);
    EXPECT_EQ(collector.GetCounterCount(), 29);
    collector.CollectData();
    return values_of(collector)[14];
  };
  EXPECT_DOUBLE_EQ(row_14(6, 0), 12014.9);
  EXPECT_DOUBLE_EQ(row_14(6, 1), 24014.9);
  EXPECT_DOUBLE_EQ(row_14(6, 2), 12014.9);
  EXPECT_DOUBLE_EQ(row_14(5, 2), 12014.9);
}

TEST_F(Collectors, AddTheDhcpListTwiceOnVersion60) {
  install(all_series());
  set_version(6, 0);
  ADPDH collector(kDhcpCollector);
  EXPECT_EQ(live().at("pdh counter"), 58);
  EXPECT_EQ(trace.count("Adding (0) [DHCP Server\\Declines/sec]"), 2u);
}

TEST_F(Collectors, ProbeTheDatabaseByItsSeventhRow) {
  set_version(10, 0);
  std::vector<Series> series = series_of(g_ESEList, 1);
  series.erase(series.begin());
  install(series);
  EXPECT_EQ(ADPDH(kDatabaseCollector).IsPresent(), 1);
  series.erase(series.begin() + 6);
  install(series);
  EXPECT_EQ(ADPDH(kDatabaseCollector).IsPresent(), 0);
}

TEST_F(Collectors, GiveZeroForACounterThatGoesAwayAndTheOthersAsTheyAre) {
  set_version(10, 0);
  install({{"\\NTDS\\KDC AS Requests", {1}},
           {"\\NTDS\\KDC TGS Requests", {2, std::nullopt, 2}},
           {"\\NTDS\\Kerberos Authentications", {3}}},
          {0, 250, 5000});
  ADPDH collector(kKeyDistributionCollector);
  EXPECT_EQ(collector.CollectData(), 1);
  EXPECT_EQ(values_of(collector), (std::vector<double>{1, 0, 3}));
  EXPECT_TRUE(trace.contains("PGFCV failed for [ Table :KDC, Counter#: KDC TGS Requests ] "));
}

TEST_F(Collectors, RefuseATableTheyDoNotKnow) {
  ADPDH collector(18);
  EXPECT_EQ(trace.count("Unrecognized Table Request"), 1u);
  EXPECT_EQ(collector.GetCounterCount(), 0);
  EXPECT_EQ(collector.IsPresent(), 0);
  EXPECT_EQ(collector.GetValues(), nullptr);
}

TEST_F(Collectors, TreatATooLongPathAsAnyFailedRow) {
  set_version(10, 0);
  install(series_of(g_KDCList, 1));
  ADPDH collector(kKeyDistributionCollector);
  std::string name(300, 'x');
  counters::CounterRow row = g_KDCList[0];
  row.szCounterName = name.data();
  EXPECT_EQ(collector.CheckCounterPresence(row), 0);
  EXPECT_EQ(trace.count("PdhMakeCounterPath failed for [" + name + "] 800007d2"), 1u);
  EXPECT_EQ(collector.IsPresent(), 0);
}

TEST_F(Collectors, ReportAQueryThatCannotBeOpenedEachInItsOwnWords) {
  set_version(10, 0);
  install(all_series());
  const char* lines[] = {"POQ failed for [ Address Book ], Error Code: c0000bbb",
                         "POQ failed for [ Replication ],, Error Code: c0000bbb",
                         "POQ failed for [ Directory Services ] , Error Code: c0000bbb",
                         "POQ failed for [ KCC ], Error Code: c0000bbb",
                         "POQ failed for [ KDC ] , Error Code: c0000bbb",
                         "POQ failed for [ LDAP ] , Error Code: c0000bbb",
                         "POQ failed for [ LSA ] , Error Code: c0000bbb",
                         "POQ failed for [ NSPI ] , Error Code: c0000bbb",
                         "POQ failed for [ SAM ] , Error Code: c0000bbb",
                         "POQ failed\tfor [ XDS ] , Error Code: c0000bbb",
                         "POQ failed for [ FRS ] , Error Code: c0000bbb",
                         "POQ failed for [ ESE ] , Error Code: c0000bbb",
                         "POQ failed for [ DHCP ], Error Code: c0000bbb",
                         "POQ failed for [ DNS ] , Error Code: c0000bbb",
                         "POQ failed for [ DFSR ] , Error Code: c0000bbb"};
  platform::faults::fail("PdhOpenQueryA", 0, std::int64_t{0xc0000bbb});
  for (std::uint32_t id = 0; id < std::size(lines); ++id) {
    trc::Capture lines_of_this;
    ADPDH collector(id);
    EXPECT_EQ(lines_of_this.count(lines[id]), 1u) << lines[id];
    EXPECT_TRUE(lines_of_this.contains("PDH error message text <")) << id;
    EXPECT_EQ(collector.IsPresent(), 0);
    const bool counted_first = id <= 8 || id == kDhcpCollector;
    EXPECT_EQ(collector.GetCounterCount() > 0, counted_first) << id;
    EXPECT_EQ(collector.Initialize(), 0);
  }
  EXPECT_EQ(live().count("pdh query"), 0u);
}

TEST_F(Collectors, OfAnInstanceReportItUnderTheNameOfDns) {
  platform::faults::fail("PdhOpenQueryA", 0, std::int64_t{0xc0000bbb});
  for (const auto id : {kDfsConnectionCollector, kDfsVolumeCollector, kDfsFolderCollector}) {
    trc::Capture lines;
    ADPDH collector(id, "one");
    EXPECT_EQ(lines.count("*****Open query FAiled*****:"), 1u);
    EXPECT_EQ(lines.count("POQ failed for [ DNS ] , Error Code: c0000bbb"), 1u);
    EXPECT_EQ(lines.count("*****Open query Passed*****:"), 0u);
    EXPECT_EQ(collector.Initialize(), 0);
  }
}

TEST_F(Collectors, ReportAProbeThatFails) {
  set_version(10, 0);
  install(series_of(g_KDCList, 1));
  platform::faults::fail("PdhMakeCounterPathA", 1, std::int64_t{0xc0000bbd});
  EXPECT_EQ(ADPDH(kKeyDistributionCollector).IsPresent(), 0);
  EXPECT_EQ(trace.count("PdhMakeCounterPath failed for [KDC AS Requests] c0000bbd"), 1u);
  platform::faults::clear();
  platform::faults::fail("PdhValidatePathA", 1, std::int64_t{0xc0000bb9});
  EXPECT_EQ(ADPDH(kKeyDistributionCollector).IsPresent(), 0);
  EXPECT_EQ(trace.count("PdhValidatePath failed for [\\NTDS\\KDC AS Requests] c0000bb9"), 1u);
}

TEST_F(Collectors, GoOnBehindARowThatCannotBeAdded) {
  set_version(10, 0);
  install(series_of(g_KDCList, 5));
  const auto values_with_fault = [](const char* call, std::uint32_t nth, std::int64_t code) {
    platform::faults::clear();
    platform::faults::fail(call, nth, code);
    ADPDH collector(kKeyDistributionCollector);
    EXPECT_EQ(collector.IsPresent(), 1);
    EXPECT_EQ(collector.CollectData(), 1);
    return values_of(collector);
  };
  const std::vector<double> without_second = {5, 0, 7};
  // The first path made and validated is the probe's.
  EXPECT_EQ(values_with_fault("PdhMakeCounterPathA", 3, 0xc0000bbd), without_second);
  EXPECT_EQ(trace.count("PdhMakeCounterPath failed for [KDC TGS Requests] c0000bbd"), 1u);
  EXPECT_EQ(values_with_fault("PdhValidatePathA", 3, 0xc0000bb9), without_second);
  EXPECT_EQ(trace.count("PdhValidatePath failed for [\\NTDS\\KDC TGS Requests] c0000bb9"), 1u);
  EXPECT_EQ(values_with_fault("PdhAddCounterA", 2, 0xc0000bb9), without_second);
  EXPECT_EQ(trace.count("PdhAddCounter failed for [\\NTDS\\KDC TGS Requests] c0000bb9"), 1u);
}

TEST_F(Collectors, KeepTheValuesOfBeforeWhenACollectionFails) {
  set_version(10, 0);
  install(series_of(g_KDCList, 5));
  ADPDH collector(kKeyDistributionCollector);
  platform::faults::fail("PdhCollectQueryData", 1, std::int64_t{0x800007d5});
  EXPECT_EQ(collector.CollectData(), 0);
  EXPECT_EQ(values_of(collector), (std::vector<double>{0, 0, 0}));
  EXPECT_EQ(trace.count("PCQD failed 800007d5"), 1u);
  EXPECT_EQ(time.elapsed_ms(), 0);
  EXPECT_EQ(collector.CollectData(), 1);
  platform::faults::clear();
  platform::faults::fail("PdhCollectQueryData", 2, std::int64_t{0x800007d5});
  EXPECT_EQ(collector.CollectData(), 0);
  EXPECT_EQ(trace.count("PCQD failed 800007d5"), 2u);
  EXPECT_EQ(values_of(collector), (std::vector<double>{5, 6, 7}));
}

TEST_F(Collectors, WriteNothingAboutFailuresWithTheErrorLevelOff) {
  set_version(10, 0);
  install(series_of(g_ABList, 1));
  trc::set_flags(0);
  EXPECT_EQ(ADPDH(kKeyDistributionCollector).IsPresent(), 0);
  EXPECT_FALSE(trace.contains("failed"));
}

TEST_F(Collectors, GiveTheirQueriesBack) {
  set_version(6, 1);
  install(all_series());
  const auto before = live();
  for (std::uint32_t id = 0; id < 18; ++id) ADPDH collector(id);
  { ADPDH collector(kDfsFolderCollector, "one"); }
  EXPECT_EQ(live(), before);
}

}  // namespace
