// The tables that show file replication: the older service's with its percentages, and the newer
// one's that follows the first instance of each of three objects.

#include <gmock/gmock.h>

#include <algorithm>

#include "counter_tables.h"
#include "include/platform/threads.h"

namespace {

// Counter n of the list is 10240 (n + 1) and a bit: 10 (n + 1) kilobytes.
std::vector<Series> tens_of_kilobytes(counters::CounterRows list,
                                      const std::string& instance = "") {
  std::vector<Series> series = series_of(list, 0, instance);
  for (std::size_t n = 0; n < series.size(); ++n) {
    series[n].cells = {10240.0 * static_cast<double>(n + 1) + 0.9};
  }
  return series;
}
Series& find(std::vector<Series>& series, const std::string& counter) {
  const auto found = std::find_if(series.begin(), series.end(), [&](const Series& one) {
    return one.path.ends_with("\\" + counter);
  });
  EXPECT_NE(found, series.end()) << counter;
  return *found;
}

class FileReplication : public CounterTables {
 protected:
  // The integer columns of the table's one row.
  template <const auto& kTable>
  std::vector<std::int32_t> numbers() {
    const auto rows = sampler<kTable>()->sample();
    EXPECT_EQ(rows.size(), 1u);
    if (rows.size() != 1) return {};
    std::vector<std::int32_t> numbers((rows[0].size() - 216) / 4);
    std::memcpy(numbers.data(), rows[0].data() + 216, numbers.size() * 4);
    return numbers;
  }
};

// In the table's column order.
const std::vector<std::int32_t> kOlderRow = {
    10240,  30720,  300,    133120, 143360, 108,    102400, 92160,  111,    51200,  500,
    40960,  400,    174080, 81920,  71680,  114,    112640, 122880, 109,    153600, 20480,
    200,    163840, 61440,  184320, 194560, 204800, 215040, 225280, 230,    240,    250,
    266240, 276480, 286720, 296960, 307200, 317440, 327680, 337920, 348160, 358400, 368640,
    378880, 389120, 399360, 409600, 419840, 420,    440320, 440,    460800, 471040, 481280,
    491520, 501760, 512000, 522240, 532480, 542720, 552960, 563200, 573440, 583680, 593920,
    604160, 614400, 624640, 634880, 645120, 655360, 665600};

TEST_F(FileReplication, GivesOneRowByteForByteOnEveryVersion) {
  install(tens_of_kilobytes(g_FRSList));
  for (const auto& [major, minor] : {std::pair{5, 2}, {6, 0}, {6, 1}, {10, 0}}) {
    build_for(major, minor);
    expect_row<tables::DCWNTDSFRS>(kOlderRow);
  }
}

TEST_F(FileReplication, HasNoPercentageOfNothing) {
  std::vector<Series> series = tens_of_kilobytes(g_FRSList);
  find(series, "Change Orders Received").cells = {0.9};
  install(series);
  build_for(10, 0);
  const std::vector<std::int32_t> row = numbers<tables::DCWNTDSFRS>();
  ASSERT_EQ(row.size(), 73u);
  EXPECT_EQ(row[0], 0);
  // Evaporated, retired, morphed and aborted; the others have totals of their own.
  for (const std::size_t column : {2u, 10u, 12u, 22u}) EXPECT_EQ(row[column], 0) << column;
  EXPECT_EQ(row[5], 108);
}

TEST_F(FileReplication, ComputesPercentagesFromTheColumnsAsTheyAreShown) {
  std::vector<Series> series = tens_of_kilobytes(g_FRSList);
  // 2.9 and 3.9 would be 74 of a hundred; the row says 2 and 3.
  find(series, "Packets Sent in Error").cells = {2.9};
  find(series, "Packets Sent").cells = {3.9};
  install(series);
  build_for(10, 0);
  const std::vector<std::int32_t> row = numbers<tables::DCWNTDSFRS>();
  ASSERT_EQ(row.size(), 73u);
  EXPECT_EQ(row[3], 3);
  EXPECT_EQ(row[4], 2);
  EXPECT_EQ(row[5], 67);
}

TEST_F(FileReplication, HasNoRowWithoutItsObjectsAndTheTraceNamesTheMissingCounter) {
  install(series_of(g_ABList, 1));
  build_for(10, 0);
  EXPECT_EQ(trace.count("PdhValidatePath failed for [\\FileReplicaSet(_Total)\\Change Orders "
                        "Received] c0000bb8"),
            1u);
  EXPECT_TRUE(sampler<tables::DCWNTDSFRS>()->sample().empty());
  EXPECT_TRUE(sampler<tables::DCWNTDSDFS>()->sample().empty());
  EXPECT_TRUE(trace.contains("PEOI failed for object DFS Replicated Folders , "));
  EXPECT_EQ(time.elapsed_ms(), 0);
}

std::vector<Series> three_objects(const std::string& volume, const std::string& connection,
                                  const std::string& folder) {
  std::vector<Series> series = tens_of_kilobytes(g_DFSRList);
  for (std::size_t n = 0; n < series.size(); ++n) {
    const counters::CounterRow& row = g_DFSRList[n];
    series[n].path = path_of(row.szObjectName,
                             n < 5    ? volume
                             : n < 15 ? connection
                                      : folder,
                             row.szCounterName);
  }
  return series;
}

const std::vector<std::int32_t> kNewerRow = {
    10240,  20480,  30720,  40960,  51200,  61440,  70,     81920,  92160,  102400, 112640,
    122880, 133120, 143360, 150,    163840, 170,    184320, 194560, 204800, 215040, 225280,
    235520, 245760, 256000, 266240, 276480, 286720, 296960, 307200, 317440, 327680, 337920,
    348160, 358400, 368640, 378880, 389120, 399360, 409600, 419840, 430080};

TEST_F(FileReplication, ShowsThreeObjectsWhoseInstancesShareAName) {
  install(three_objects("one", "one", "one"));
  for (const auto& [major, minor] : {std::pair{5, 2}, {6, 0}, {6, 1}, {10, 0}}) {
    build_for(major, minor);
    expect_row<tables::DCWNTDSDFS>(kNewerRow);
  }
}

// The names change one row later than the objects do.
TEST_F(FileReplication, ShowsNothingForTheFirstCounterOfTheConnectionAndOfTheFolder) {
  install(three_objects("C:", "peer", "one"));
  build_for(10, 0);
  std::vector<std::int32_t> expected = kNewerRow;
  expected[5] = expected[15] = 0;
  expect_row<tables::DCWNTDSDFS>(expected);
}

TEST_F(FileReplication, FollowsTheFirstInstanceFromSampleToSample) {
  // The folder "one" goes after half a minute, and "two" is then the first.
  std::vector<Series> series = three_objects("C:", "peer", "one");
  const auto absent = [](double value) {
    return std::vector<std::optional<double>>{value, std::nullopt};
  };
  for (std::size_t n = 15; n < 42; ++n) {
    series[n].cells = absent(*series[n].cells[0]);
    const double other = 7000.0 + static_cast<double>(n);
    series.push_back(
        {path_of("DFS Replicated Folders", "two", g_DFSRList[n].szCounterName), {other}});
  }
  install(series, {0, 30000});
  build_for(10, 0);
  std::vector<std::int32_t> row = numbers<tables::DCWNTDSDFS>();
  ASSERT_EQ(row.size(), 42u);
  EXPECT_EQ(row[41], 430080);
  Sleep(30000);
  row = numbers<tables::DCWNTDSDFS>();
  ASSERT_EQ(row.size(), 42u);
  EXPECT_EQ(row[0], 10240);
  EXPECT_EQ(row[16], 6);  // 7016 bytes
  EXPECT_EQ(row[41], 7041);
  EXPECT_EQ(trace.count("Instance for DFS Replicated Folders : two"), 1u);
}

TEST_F(FileReplication, HasRowsFromTheMomentThatTheRoleIsThere) {
  install(series_of(g_ABList, 1));
  build_for(10, 0);
  const auto newer = sampler<tables::DCWNTDSDFS>();
  EXPECT_TRUE(newer->sample().empty());
  install(three_objects("C:", "peer", "one"));
  const auto rows = newer->sample();
  ASSERT_EQ(rows.size(), 1u);
  // Samples count from the start.
  EXPECT_EQ(rows[0].substr(64, 4), std::string("\2\0\0\0", 4));
}

}  // namespace
