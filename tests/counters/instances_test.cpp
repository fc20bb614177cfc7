#include <gmock/gmock.h>

#include "counter_tables.h"
#include "counters/adpdh_instances.h"
#include "include/platform/threads.h"

namespace {

using testing::ElementsAre;

constexpr const char* kFolders = "DFS Replicated Folders";

std::string short_head(const std::string& stamp) { return "NODE1" + std::string(59, ' ') + stamp; }
std::string name_column(const std::string& name) {
  return (name + std::string(256, '\0')).substr(0, 256);
}

class Instances : public CountersTest {
 protected:
  template <const auto& kTable>
  static std::vector<std::string> sample() {
    if (tables::g_manager<kTable> == nullptr) tables::init<kTable>();
    return xaf::DirectSampler(kTable.name).sample();
  }
};

TEST_F(Instances, AreNoneWithoutTheRole) {
  install(series_of(g_ABList, 1));
  set_version(10, 0);
  allocateGlobals(nullptr);
  EXPECT_EQ(g_DFRC.load()->GetInstanceCount(), 0);
  EXPECT_EQ(g_DFSV.load()->GetInstanceCount(), 0);
  EXPECT_EQ(g_DFRF.load()->GetInstanceCount(), 0);
  EXPECT_EQ(g_DFSR.load()->IsPresent(), 0);
  EXPECT_TRUE(sample<tables::DCWNTDSDRC>().empty());
  EXPECT_TRUE(sample<tables::DCWNTDSDSV>().empty());
  EXPECT_TRUE(sample<tables::DCWNTDSDRF>().empty());
}

TEST_F(Instances, DeliverNoRowBeforeTheCollectorsExist) {
  EXPECT_TRUE(sample<tables::DCWNTDSDRC>().empty());
  EXPECT_EQ(trace.count("*******Adding Data*******"), 1u);
}

TEST_F(Instances, HaveARowEachInTheOrderOfTheCounterLibrary) {
  install(series_of(g_DFRFList, 100, "Zebra") + series_of(g_DFRFList, 200, "Apple"));
  allocateGlobals(nullptr);
  EXPECT_EQ(trace.count("*****Object Creted for Instance Num*****:2"), 1u);
  EXPECT_EQ(trace.count("*****Object Creted for Instance *****:Apple"), 1u);
  EXPECT_EQ(trace.count("*****Total Counters*****:27"), 2u);
  const auto rows = sample<tables::DCWNTDSDRF>();
  ASSERT_EQ(rows.size(), 2u);
  for (int i = 0; i < 2; ++i) {
    std::vector<std::int32_t> values(27);
    for (int n = 0; n < 27; ++n) values[static_cast<std::size_t>(n)] = 100 * (i + 1) + n;
    EXPECT_EQ(rows[static_cast<std::size_t>(i)], short_head("1110102030405000") +
                                                     columns_of(values) +
                                                     name_column(i == 0 ? "Zebra" : "Apple"));
  }
  EXPECT_EQ(time.elapsed_ms(), 1000);
}

TEST_F(Instances, TellOfEachConnectionAndOfTheCourseOfTheVolumes) {
  install(series_of(g_DFRCList, 10, "peer") + series_of(g_DFSVList, 20, "C:"));
  allocateGlobals(nullptr);
  const auto connections = sample<tables::DCWNTDSDRC>();
  ASSERT_EQ(connections.size(), 1u);
  EXPECT_EQ(connections[0], short_head("1110102030405000") +
                                columns_of({10, 11, 12, 13, 14, 15, 16, 17, 18, 19}) +
                                name_column("peer"));
  for (const char* line : {"*******Collection Started*******", "*****CAlling GetData *****",
                           "*****gET daTA COMPLETE *****", "*****print daTA COMPLETE *****",
                           "*****copy complete for instance :peer*****",
                           "*****get data call complete *****", "*****get count value*****:1",
                           "*****datfill complete *****", "*****DATA Collected for  *****:0",
                           "*******Collection ENDED*******", "*******Adding Data*******"}) {
    EXPECT_EQ(trace.count(line), 1u) << line;
  }
  const auto volumes = sample<tables::DCWNTDSDSV>();
  ASSERT_EQ(volumes.size(), 1u);
  EXPECT_EQ(volumes[0],
            short_head("1110102030405000") + columns_of({20, 21, 22, 23, 24}) + name_column("C:"));
  EXPECT_EQ(trace.count("*******Collection Started*******"), 2u);
  EXPECT_EQ(trace.count("*****CAlling GetData *****"), 1u);
}

TEST_F(Instances, HaveTheirNamesCutAt256Characters) {
  const std::string name(300, 'n');
  install(series_of(g_DFSVList, 1, name));
  allocateGlobals(nullptr);
  EXPECT_TRUE(trace.contains("Instance name cut to 256 characters: nnn"));
  const auto rows = sample<tables::DCWNTDSDSV>();
  ASSERT_EQ(rows.size(), 1u);
  EXPECT_EQ(rows[0],
            short_head("1110102030405000") + columns_of({0, 0, 0, 0, 0}) + std::string(256, 'n'));
}

TEST_F(Instances, AreNotFoundWhenTheListCannotBeRead) {
  install(series_of(g_DFSVList, 1, "C:"));
  platform::faults::fail("PdhEnumObjectItemsA", 2, std::int64_t{0xc0000bb8});
  testing::internal::CaptureStderr();
  EXPECT_EQ(
      ADPDH_instances(kDfsVolumeCollector, "DFS Replication Service Volumes").GetInstanceCount(),
      0);
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "PEOI failed c0000bb8\n");
  platform::faults::clear();
  platform::faults::fail("PdhEnumObjectItemsA", 1, std::int64_t{0xc0000bb8});
  EXPECT_EQ(
      ADPDH_instances(kDfsVolumeCollector, "DFS Replication Service Volumes").GetInstanceCount(),
      0);
}

TEST_F(Instances, ThatComeLaterHaveARowOnceTheCollectorsAreBuiltAnew) {
  std::vector<Series> later = series_of(g_DFSVList, 200, "D:");
  for (Series& one : later) one.cells.insert(one.cells.begin(), std::nullopt);
  install(series_of(g_DFSVList, 100, "C:") + later, {0, 20000});
  allocateGlobals(nullptr);
  Sleep(20000);
  EXPECT_EQ(sample<tables::DCWNTDSDSV>().size(), 1u);
  deleteGlobals();
  allocateGlobals(nullptr);
  const auto rows = sample<tables::DCWNTDSDSV>();
  ASSERT_EQ(rows.size(), 2u);
  EXPECT_EQ(rows[1].substr(80), columns_of({200, 201, 202, 203, 204}) + name_column("D:"));
}

TEST_F(Instances, ThatLoseACounterShowZeroForItAlone) {
  std::vector<Series> series = series_of(g_DFSVList, 100, "C:");
  series[2].cells = {102, std::nullopt, 302};
  install(series, {0, 20000, 40000});
  allocateGlobals(nullptr);
  const auto data = [this] { return sample<tables::DCWNTDSDSV>().at(0).substr(80); };
  EXPECT_EQ(data(), columns_of({100, 101, 102, 103, 104}) + name_column("C:"));
  Sleep(20000);
  EXPECT_EQ(data(), columns_of({100, 101, 0, 103, 104}) + name_column("C:"));
  EXPECT_TRUE(
      trace.contains("PGFCV failed for [ Table :DFSV, Counter#: USN Journal Unread "
                     "Percentage ] "));
  Sleep(20000);
  EXPECT_EQ(data(), columns_of({100, 101, 302, 103, 104}) + name_column("C:"));
}

// With none of its counters there a query has nothing to collect, and the values stay as they were.
TEST_F(Instances, ThatGoKeepTheirRowWithTheNumbersOfBeforeUntilTheyAreBack) {
  std::vector<Series> series = series_of(g_DFSVList, 100, "C:");
  for (Series& one : series) one.cells = {one.cells[0], std::nullopt, *one.cells[0] + 200};
  install(series + series_of(g_DFSVList, 500, "D:"), {0, 20000, 40000});
  allocateGlobals(nullptr);
  const auto data = [this] {
    std::vector<std::string> rows = sample<tables::DCWNTDSDSV>();
    for (std::string& row : rows) row.erase(0, 80);
    return rows;
  };
  const std::string other = columns_of({500, 501, 502, 503, 504}) + name_column("D:");
  const std::string first = columns_of({100, 101, 102, 103, 104}) + name_column("C:");
  EXPECT_THAT(data(), ElementsAre(first, other));
  EXPECT_EQ(trace.count("PCQD failed 800007d5"), 0u);
  Sleep(20000);
  EXPECT_THAT(data(), ElementsAre(first, other));
  EXPECT_EQ(trace.count("PCQD failed 800007d5"), 1u);
  Sleep(20000);
  EXPECT_THAT(data(),
              ElementsAre(columns_of({300, 301, 302, 303, 304}) + name_column("C:"), other));
}

class FirstInstance : public Instances {
 protected:
  static std::vector<Series> machine_with(const std::string& folder) {
    return series_of(g_DFSVList, 10, "C:") + series_of(g_DFRCList, 30, "peer") +
           series_of(g_DFRFList, 50, folder);
  }
  static std::vector<std::string> names() {
    return {g_DFSRList[0].szInstanceName, g_DFSRList[14].szInstanceName,
            g_DFSRList[41].szInstanceName};
  }
};

TEST_F(FirstInstance, IsFollowedByACollectorThatReadsAllThreeObjects) {
  install(machine_with("one") + series_of(g_DFRFList, 500, "two"));
  ADPDH collector(kDfsCollector);
  ASSERT_EQ(collector.IsPresent(), 1);
  EXPECT_EQ(collector.GetCounterCount(), 42);
  EXPECT_THAT(names(), ElementsAre("C:", "peer", "one"));
  // The names change one row later than the objects do.
  EXPECT_STREQ(g_DFSRList[5].szInstanceName, "C:");
  EXPECT_STREQ(g_DFSRList[6].szInstanceName, "peer");
  EXPECT_STREQ(g_DFSRList[15].szInstanceName, "peer");
  EXPECT_STREQ(g_DFSRList[16].szInstanceName, "one");
  EXPECT_EQ(collector.CollectData(), 1);
  EXPECT_EQ(collector.GetValues()[4], 14);
  EXPECT_EQ(collector.GetValues()[5], 0);
  EXPECT_EQ(collector.GetValues()[6], 31);
  EXPECT_EQ(collector.GetValues()[14], 39);
  EXPECT_EQ(collector.GetValues()[15], 0);
  EXPECT_EQ(collector.GetValues()[41], 76);
}

TEST_F(FirstInstance, ThatIsTheSameChangesNothing) {
  install(machine_with("one"));
  ADPDH collector(kDfsCollector);
  const auto before = live();
  EXPECT_EQ(collector.FetchDFSRInstances(), 1);
  EXPECT_EQ(live(), before);
}

TEST_F(FirstInstance, ThatChangesHasAllCountersAddedAgain) {
  install(machine_with("one"));
  ADPDH collector(kDfsCollector);
  const std::int64_t counters = live().at("pdh counter");
  install(machine_with("two"));
  EXPECT_EQ(collector.FetchDFSRInstances(), 1);
  EXPECT_THAT(names(), ElementsAre("C:", "peer", "two"));
  EXPECT_EQ(live().at("pdh counter"), 2 * counters);
}

TEST_F(FirstInstance, ThatCannotBeAskedForIsTheOneOfBeforeWithCountersAddedAtEveryTry) {
  install(machine_with("one"));
  ADPDH collector(kDfsCollector);
  const std::int64_t counters = live().at("pdh counter");
  for (int round = 2; round <= 4; ++round) {
    platform::faults::clear();
    platform::faults::fail("PdhEnumObjectItemsA", 2, std::int64_t{0xc0000bb8});
    EXPECT_EQ(collector.FetchDFSRInstances(), 1);
    EXPECT_EQ(live().at("pdh counter"), round * counters);
    EXPECT_THAT(names(), ElementsAre("C:", "peer", "one"));
  }
  EXPECT_EQ(trace.count("PEOI failed for object DFS Replication Connections , "
                        "Error Code: c0000bb8"),
            3u);
}

TEST_F(FirstInstance, LostToAFailedProbeClearsPresenceOnlyWithTheErrorLevelOn) {
  install(machine_with("one"));
  ADPDH collector(kDfsCollector);
  ASSERT_EQ(collector.IsPresent(), 1);
  install(machine_with("two"));
  trc::set_flags(0);
  platform::faults::fail("PdhValidatePathA", 1);
  collector.FetchDFSRInstances();
  EXPECT_EQ(collector.IsPresent(), 1);
  install(machine_with("three"));
  trc::set_flags(trace::kError);
  platform::faults::clear();
  platform::faults::fail("PdhValidatePathA", 1);
  collector.FetchDFSRInstances();
  EXPECT_EQ(collector.IsPresent(), 0);
}

TEST_F(FirstInstance, LeavesNoNameInTheListBehindItsCollector) {
  install(machine_with("one"));
  { ADPDH collector(kDfsCollector); }
  for (const counters::CounterRow& row : g_DFSRList) EXPECT_EQ(row.szInstanceName, nullptr);
}

TEST_F(FirstInstance, IsToldInTheTrace) {
  install(series_of(g_DFRFList, 50, "one"));
  ADPDH collector(kDfsCollector);
  EXPECT_EQ(trace.count(std::string("Instance for ") + kFolders + " : one"), 1u);
  EXPECT_TRUE(trace.contains("PEOI failed for object DFS Replication Connections , "));
}

}  // namespace
