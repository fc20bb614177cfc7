// What one slow thing costs the others: a collection or a sample that takes hours, a command and a
// server that hang. The whole agent in virtual time.

#include "tests/agent/agent_run.h"
#include "tests/agent/week.h"
#include "tests/support/slow_controller.h"

namespace {

using testing_support::AgentRun;
using week::History;
using week::kHour_ms;
using week::kMinute_ms;
using week::Sample;

constexpr std::int64_t kStart_ms = 1293937445000;  // of virtual time
constexpr std::int64_t kHang_ms = 3 * kHour_ms;

const std::vector<std::string> kTables = {"DCWNTDSDCA", "DCWNTDSRLT", "DCWNTDSRPL", "DCWNTDSTRS",
                                          "DCWSYSRPL",  "DCWNTDSAB",  "DCWNTDSRDS", "DCWNTDSSVC"};
// Those whose collections wait for each other.
const std::vector<std::string> kLocked = {"DCWNTDSDCA", "DCWNTDSRLT", "DCWNTDSRPL", "DCWNTDSTRS"};

// Every table is sampled once a minute; the caches collect every ten.
class Isolation : public AgentRun {
 protected:
  Isolation() {
    platform::install(std::make_shared<testing_support::SlowController>(
        platform::open_embedded_recording(&platform::clock_now_ms), slowness_));
    setenv("TZ", "UTC0", 1);
    tzset();
    setenv("ACTIVATE_REPL_LATENCY", "ENABLED", 1);
    set_in_registry("DWA_CACHE_INTERVAL", "600");
    set_in_registry("DWA_SYSVOL_REPLICATION_TEST_INTERVAL", "10");
    set_in_registry("DWA_SYSVOL_REPLICATION_TEST_VERIFICATION_INTERVAL", "2");
    xaf::Configuration configuration;
    configuration.node_name = "DC1:NT";
    configuration.sink = "none";
    configuration.trace_flags = 0;
    configuration.only_tables = kTables;
    configuration.defaults.interval_ms = kMinute_ms;
    configure(configuration);
    xaf::add_sink(recorder_);
  }
  void TearDown() override { process_.reset(); }

  // An hour as usual, then what is slow from there on.
  void run_until_all_is_usual() {
    const week::QuietOutput quiet;
    start({"TEST"});
    process_->wait_for_exit(kHour_ms);
  }
  void run_for(std::int64_t duration_ms) {
    const week::QuietOutput quiet;
    process_->wait_for_exit(static_cast<std::uint32_t>(duration_ms));
  }
  const History& history(const std::string& table) const { return recorder_->tables.at(table); }
  std::vector<Sample> samples(const std::string& table, std::int64_t begin_ms,
                              std::int64_t end_ms) const {
    return history(table).between(kStart_ms + begin_ms, kStart_ms + end_ms);
  }
  // One sample with rows for each minute.
  void expect_every_minute(const std::string& table, std::int64_t begin_ms,
                           std::int64_t end_ms) const {
    SCOPED_TRACE(table);
    const auto found = samples(table, begin_ms, end_ms);
    ASSERT_EQ(static_cast<std::size_t>((end_ms - begin_ms) / kMinute_ms), found.size());
    for (std::size_t i = 1; i < found.size(); ++i) {
      EXPECT_EQ(kMinute_ms, found[i].time_ms - found[i - 1].time_ms);
    }
  }
  // How many transfers the samples of that time show.
  std::size_t transfers_seen(const std::string& table, std::int64_t begin_ms,
                             std::int64_t end_ms) const {
    const char* when = table == "DCWSYSRPL" ? "sysrtvt" : "timestamp";
    std::set<std::string> stamps;
    for (const Sample& sample : samples(table, begin_ms, end_ms)) {
      stamps.insert(history(table).field(sample.rows[0], when));
    }
    return stamps.size();
  }
  // The samples go on, the collections stand still, and afterwards they go on, too. emptied: a
  // table whose rows go when its collection begins.
  void expect_only_collections_wait(const std::string& emptied = "") {
    const std::int64_t begin_ms = kHour_ms + 20 * kMinute_ms;  // by now the slow one is at it
    const std::int64_t end_ms = kHour_ms + kHang_ms;
    for (const std::string& table : kTables) {
      if (table != emptied) expect_every_minute(table, begin_ms, end_ms);
    }
    for (const std::string& table : kLocked) {
      EXPECT_EQ(table == emptied ? 0u : 1u, transfers_seen(table, begin_ms, end_ms)) << table;
      EXPECT_LE(2u, transfers_seen(table, end_ms, end_ms + kHour_ms)) << table;
    }
    // About one in eleven minutes.
    EXPECT_LE(14u, transfers_seen("DCWSYSRPL", begin_ms, end_ms));
    for (const xaf::TableMeasure& measure : xaf::measures()) {
      EXPECT_EQ(0u, measure.missed_ticks) << measure.table;
      EXPECT_EQ(0u, measure.failures) << measure.table;
    }
  }

  testing_support::Slowness slowness_;
  const std::shared_ptr<week::Recorder> recorder_ = std::make_shared<week::Recorder>();
};

TEST_F(Isolation, ACollectionThatTakesHoursStopsNoTablesSamples) {
  slowness_.command = "ping";
  run_until_all_is_usual();
  slowness_.command_ms = kHang_ms;
  run_for(20 * kMinute_ms);
  // The pings behind the first one are quick again.
  slowness_.command_ms = 0;
  run_for(kHang_ms + kHour_ms);
  expect_only_collections_wait();
}

TEST_F(Isolation, ACommandThatHangsDelaysTheCollectionsBehindTheLockAndNothingElse) {
  slowness_.command = "netdom";
  run_until_all_is_usual();
  slowness_.command_ms = kHang_ms;
  run_for(20 * kMinute_ms);
  slowness_.command_ms = 0;
  run_for(kHang_ms + kHour_ms);
  expect_only_collections_wait();
}

TEST_F(Isolation, AServerThatHangsDelaysTheCollectionsBehindTheLockAndNothingElse) {
  slowness_.server = "DC2";
  run_until_all_is_usual();
  slowness_.root_ms = kHang_ms;
  run_for(20 * kMinute_ms);
  slowness_.root_ms = 0;
  run_for(kHang_ms + kHour_ms);
  // The table that asks the server has no rows meanwhile: those of before went when it began.
  expect_only_collections_wait("DCWNTDSRLT");
}

TEST_F(Isolation, ASampleThatTakesHoursStopsNoOtherTablesSamplesAndNoCollection) {
  run_until_all_is_usual();
  slowness_.service_list_ms = kHang_ms;
  run_for(20 * kMinute_ms);
  slowness_.service_list_ms = 0;
  run_for(kHang_ms + kHour_ms);
  const std::int64_t begin_ms = kHour_ms + 20 * kMinute_ms;
  const std::int64_t end_ms = kHour_ms + kHang_ms;
  EXPECT_TRUE(samples("DCWNTDSSVC", begin_ms, end_ms).empty());
  EXPECT_FALSE(samples("DCWNTDSSVC", end_ms, end_ms + kHour_ms).empty());
  for (const std::string& table : kTables) {
    if (table == "DCWNTDSSVC") continue;
    expect_every_minute(table, begin_ms, end_ms);
  }
  for (const std::string& table : kLocked) {
    EXPECT_LE(15u, transfers_seen(table, begin_ms, end_ms)) << table;
  }
  for (const xaf::TableMeasure& measure : xaf::measures()) {
    EXPECT_EQ(measure.table == "DCWNTDSSVC" ? 179u : 0u, measure.missed_ticks) << measure.table;
  }
}

}  // namespace
