// Weeks of the whole agent in virtual time: the eight caches, the object count, the sysvol test and
// every table's samples beside each other, while platform calls fail. What fails when follows from
// a seed. Not from the seed alone: which of two threads that become free in the same moment runs
// first, and so whose call the nth one is.

#include "tests/agent/week.h"

#include <cerrno>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <iterator>

#include "agent/agent_thread.h"
#include "agent/service.h"
#include "include/platform/files.h"
#include "include/platform/threads.h"
#include "tests/agent/agent_run.h"

namespace {

namespace fs = std::filesystem;

using testing_support::AgentRun;
using testing_support::Random;
using testing_support::Seed;
using week::History;
using week::kDay_ms;
using week::kHour_ms;
using week::kMinute_ms;
using week::Outage;
using week::Sample;

constexpr std::int64_t kStart_ms = 1293937445000;  // of virtual time
constexpr std::int64_t kFirstFault_ms = kDay_ms;
constexpr std::int64_t kLastFault_ms = 6 * kDay_ms;
constexpr std::int64_t kEnd_ms = 7 * kDay_ms;
constexpr std::int64_t kSettled_ms = kDay_ms / 2;  // what every table needs at most to be right

const std::vector<std::string> kCached = {"DCWNTDSDCA", "DCWNTDSDAI", "DCWNTDSDRA",
                                          "DCWNTDSDCP", "DCWNTDSRLT", "DCWNTDSRPL",
                                          "DCWNTDSTRS", "DCWNTDSTTP", "DCWSYSRPL"};

// What the machine is called. The trust topology takes its host from the part before the colon.
constexpr const char* kNode = "DC1:NT";

// Local time as a row shows it.
std::string stamp_of(std::int64_t time_ms) {
  const std::time_t seconds = time_ms / 1000;
  std::tm fields{};
  gmtime_r(&seconds, &fields);
  char text[80];
  std::snprintf(text, sizeof text, "%03d%02d%02d%02d%02d%02d000", fields.tm_year, fields.tm_mon + 1,
                fields.tm_mday, fields.tm_hour, fields.tm_min, fields.tm_sec);
  return text;
}

bool is_cached(const std::string& table) {
  return std::find(kCached.begin(), kCached.end(), table) != kCached.end();
}

class Week : public AgentRun {
 protected:
  Week() : random_(seed_.stream(0)), home_(fs::path(recording_.folder()) / "home") {
    platform::install(platform::open_embedded_recording(&platform::clock_now_ms));
    setenv("TZ", "UTC0", 1);
    tzset();
    fs::create_directories(object_count().parent_path());
    setenv("MARLOW_HOME", home_.c_str(), 1);
    setenv("ACTIVATE_REPL_LATENCY", "ENABLED", 1);
    set_in_registry("DWA_CACHE_INTERVAL", seconds(6 * kHour_ms, 8 * kHour_ms));
    set_in_registry("DWA_NUMBEROFOBJECTS_TIMEOUT", seconds(8 * kHour_ms, 16 * kHour_ms));
    set_in_registry("DWA_SYSVOL_REPLICATION_TEST_INTERVAL", "420");
    set_in_registry("DWA_SYSVOL_REPLICATION_TEST_VERIFICATION_INTERVAL", "10");
    xaf::Configuration configuration;
    configuration.node_name = kNode;
    configuration.sink = "none";
    configuration.trace_flags = 0;
    configuration.trace_units = {{"sysvol_replication.cpp", 1}};
    configuration.defaults.interval_ms = drawn(20 * kHour_ms, 23 * kHour_ms);
    for (const std::string& table : kCached) {
      configuration.tables[table].interval_ms = drawn(2 * kHour_ms, 3 * kHour_ms);
    }
    configure(configuration);
    xaf::add_sink(recorder_);
  }

  std::uint32_t drawn(std::int64_t least_ms, std::int64_t most_ms) {
    return static_cast<std::uint32_t>(
        random_.between(static_cast<std::uint64_t>(least_ms), static_cast<std::uint64_t>(most_ms)));
  }
  std::string seconds(std::int64_t least_ms, std::int64_t most_ms) {
    return std::to_string(drawn(least_ms, most_ms) / 1000);
  }
  fs::path object_count() const { return home_ / "WATCHD6_x64" / "logs" / "NumberOfObjects.txt"; }

  // One quiet day, five with faults or without, one quiet day, and the stop.
  void live(bool with_faults) {
    const week::QuietOutput quiet;
    platform::faults::reset_counts();
    start_agent();
    at(kFirstFault_ms);
    alive_before_ = alive_at_rest();
    if (with_faults) {
      outages_ = week::draw_outages(random_, reached_calls(), kFirstFault_ms, kLastFault_ms);
      for (const Outage& outage : outages_) break_down(outage);
    }
    at(kEnd_ms);
    alive_after_ = alive_at_rest();
    // The caches' threads look for the end after their pause.
    has_stopped_ = process_->wait_for_exit(24 * kHour_ms);
  }
  // Stopped as the service is: from outside, and with what its main function does then.
  void start_agent() {
    stop_at_ms_ = drawn(kEnd_ms + kMinute_ms * 10, kEnd_ms + 4 * kHour_ms);
    start_entry([this] {
      _beginthreadex(
          nullptr, 0,
          [](void* moment) -> unsigned {
            Sleep(*static_cast<DWORD*>(moment));
            LaunchServiceTerminationThread();
            WaitForSingleObject(hTerminateEvent, INFINITE);
            terminate(0);
            return 0;
          },
          &stop_at_ms_, 0, nullptr);
      char program[] = "DirWatcher";
      char mode[] = "TEST";
      char* arguments[] = {program, mode, nullptr};
      Main(2, arguments);
    });
  }
  // To that moment, with the agent running all the while.
  void at(std::int64_t moment_ms) {
    const auto left_ms = static_cast<std::uint32_t>(moment_ms - time_->elapsed_ms());
    if (process_->wait_for_exit(left_ms) && ended_early_ms_ < 0) {
      ended_early_ms_ = time_->elapsed_ms();
    }
  }
  void break_down(const Outage& outage) {
    at(outage.begin_ms);
    for (const week::Fault& fault : outage.faults) platform::faults::fail(fault.call, fault.nth);
    at(outage.end_ms);
    if (platform::faults::struck()) ++outages_that_struck_;
    platform::faults::clear();
  }
  // The calls that a day without faults reaches, by name.
  static std::vector<std::string> reached_calls() {
    std::vector<std::string> calls;
    for (const auto& [call, times] : platform::faults::reached()) {
      if (week::may_fail(call)) calls.push_back(call);
    }
    std::sort(calls.begin(), calls.end());
    return calls;
  }
  // What is alive when no thread is at work: the same some time later.
  std::map<std::string, std::int64_t> alive_at_rest() {
    auto alive = platform::accounting::live();
    for (int tries = 0; tries < 10; ++tries) {
      at(time_->elapsed_ms() + 10000);
      if (std::exchange(alive, platform::accounting::live()) == alive) break;
    }
    return alive;
  }

  void expect_orderly_end() {
    EXPECT_EQ(-1, ended_early_ms_) << "the agent has ended by itself";
    EXPECT_TRUE(has_stopped_) << "some thread has not ended";
    // Deliberate growth: when an instance changes, its counters are added again, and those of
    // before stay in the query.
    alive_before_.erase("pdh counter");
    alive_after_.erase("pdh counter");
    EXPECT_EQ(alive_before_, alive_after_);
    // What the end of the process gives back: the locks and the library of the framework and of the
    // process, the caches' and the start's events, the handles that Main keeps, and the memory in
    // which others see the caches' state.
    const std::map<std::string, std::int64_t> left = {{"critical section", 34}, {"event", 11},
                                                      {"file mapping", 1},      {"library", 1},
                                                      {"thread", 11},           {"view", 1}};
    EXPECT_EQ(left, process_->left_alive());
    std::string text;
    std::ifstream(object_count()) >> text;
    EXPECT_EQ(kObjects, text);
  }
  // From that moment on: what failed before may have left a file, and that was told.
  void expect_no_test_files_since(std::int64_t moment_ms) {
    constexpr std::string_view kBegins = "Temp. File Name: ";
    int files = 0;
    for (const trc::Line& line : trace_.lines()) {
      if (!line.text.starts_with(kBegins) || line.time_ms < kStart_ms + moment_ms) continue;
      ++files;
      const std::string own = line.text.substr(kBegins.size());
      EXPECT_NE(0, _access(own.c_str(), 0)) << own;
      const std::string copy = testing_support::replaced(own, "DC1.", "DC2.");
      EXPECT_NE(0, _access(copy.c_str(), 0)) << copy;
    }
    EXPECT_GT(files, 0);
  }

  static constexpr const char* kObjects = "91";

  const Seed seed_;
  Random random_;
  const fs::path home_;
  const std::shared_ptr<week::Recorder> recorder_ = std::make_shared<week::Recorder>();
  DWORD stop_at_ms_ = 0;
  std::vector<Outage> outages_;
  int outages_that_struck_ = 0;
  std::int64_t ended_early_ms_ = -1;
  bool has_stopped_ = false;
  std::map<std::string, std::int64_t> alive_before_;
  std::map<std::string, std::int64_t> alive_after_;
};

// ---- whole rows ---------------------------------------------------------------------------------

// Every table: whose rows they are, and that neither number nor time goes back.
void expect_order(const History& history) {
  std::string node = kNode;
  node.resize(64, ' ');
  std::string last_stamp;
  std::int32_t last_number = 0;
  for (const Sample& sample : history.samples) {
    const std::string now = stamp_of(sample.time_ms);
    SCOPED_TRACE("sample of " + now);
    for (const std::string& row : sample.rows) {
      EXPECT_EQ(node, history.field(row, "originnode"));
      const std::string stamp = history.field(row, "timestamp");
      EXPECT_LE(last_stamp, stamp);
      EXPECT_LE(stamp, now);
      last_stamp = stamp;
      EXPECT_LE(last_number, history.integer(row, "sampleno"));
      last_number = history.integer(row, "sampleno");
    }
  }
}

// How a cached table shows which transfer a sample's rows are of, and what is the sample's own.
struct Transfer {
  std::set<std::string> identity = {"sampleno", "timestamp"};
  std::set<std::string> own_of_sample = {};
};
Transfer transfer_of(const std::string& table) {
  if (table == "DCWNTDSDCA") {
    return {.own_of_sample = {"dcaprid", "dcapdn", "dcapinf", "dcapsch", "dcappdc"}};
  }
  if (table == "DCWNTDSRLT") return {.own_of_sample = {"rltccd"}};
  if (table == "DCWNTDSTRS") return {.own_of_sample = {"rowno", "trsadd"}};
  if (table == "DCWSYSRPL") return {{"sysrtvt"}, {"timestamp"}};
  return {};
}
// The rows but for the trusts that have gone, which are the sample's own.
std::vector<std::string> collected_rows(const History& history, const Sample& sample) {
  std::vector<std::string> rows;
  for (const std::string& row : sample.rows) {
    if (!history.field(row, "trsdrp").starts_with("TRUE")) rows.push_back(row);
  }
  return rows;
}

// A cached table's sample is what one collection transferred: all its rows are of that transfer,
// and a later sample of the same transfer has the same rows.
void expect_one_transfer(const History& history) {
  const Transfer transfer = transfer_of(history.table);
  std::string identity_before;
  std::vector<std::string> rows_before;
  for (const Sample& sample : history.samples) {
    SCOPED_TRACE("sample of " + stamp_of(sample.time_ms));
    const auto identity = [&](const std::string& row) {
      std::string bytes;
      for (const std::string& name : transfer.identity) bytes += history.field(row, name) + ' ';
      return bytes;
    };
    for (const std::string& row : sample.rows) EXPECT_EQ(identity(sample.rows[0]), identity(row));
    const auto rows = collected_rows(history, sample);
    if (identity(sample.rows[0]) == identity_before) {
      EXPECT_EQ("", history.difference(rows_before, rows, transfer.own_of_sample));
    }
    identity_before = identity(sample.rows[0]);
    rows_before = rows;
  }
}

// Row numbers that grow by one within a sample, and beyond what was shown before with new rows.
void expect_numbered_rows(const History& history, bool without_gap) {
  std::int32_t last = 0;
  std::string last_stamp;
  for (const Sample& sample : history.samples) {
    SCOPED_TRACE("sample of " + stamp_of(sample.time_ms));
    const std::int32_t first = history.integer(sample.rows[0], "rowno");
    const std::string stamp = history.field(sample.rows[0], "timestamp");
    if (without_gap) {
      EXPECT_EQ(last + 1, first);
    } else if (stamp != last_stamp) {
      EXPECT_LT(last, first);
    }
    last = first - 1;
    for (const std::string& row : sample.rows) EXPECT_EQ(++last, history.integer(row, "rowno"));
    last_stamp = stamp;
  }
}

void expect_whole_rows(const std::map<std::string, History>& tables) {
  for (const auto& [table, history] : tables) {
    SCOPED_TRACE(table);
    expect_order(history);
  }
  for (const std::string& table : kCached) {
    SCOPED_TRACE(table);
    ASSERT_TRUE(tables.contains(table));
    expect_one_transfer(tables.at(table));
  }
  for (const char* table : {"DCWNTDSRPL", "DCWNTDSRLT"}) {
    SCOPED_TRACE(table);
    expect_numbered_rows(tables.at(table), false);
  }
  SCOPED_TRACE("DCWNTDSTRS");
  expect_numbered_rows(tables.at("DCWNTDSTRS"), true);
}

// ---- the same as before -------------------------------------------------------------------------

// What may differ between two right samples: numbers, times, and whatever differed on the first
// day.
std::set<std::string> moving_columns(const History& history, const std::vector<Sample>& right) {
  std::set<std::string> moving = {"sampleno", "rowno",  "timestamp", "sysrtst",
                                  "sysrtvt",  "rltlat", "rltccd"};
  // Counters move, and the few samples of the tables that are not cached do not show whether theirs
  // do.
  const bool shows_counters =
      history.table == "DCWNTDSDRA" || history.table == "DCWNTDSDCP" ||
      std::find(kCached.begin(), kCached.end(), history.table) == kCached.end();
  for (const xaf::ColumnView& column : history.columns) {
    if (shows_counters && column.type == 3) moving.insert(column.name);
    for (const Sample& sample : right) {
      for (std::size_t i = 0; i < std::min(sample.rows.size(), right[0].rows.size()); ++i) {
        if (history.field(sample.rows[i], column.name) !=
            history.field(right[0].rows[i], column.name)) {
          moving.insert(column.name);
        }
      }
    }
  }
  return moving;
}

void expect_mended(const std::map<std::string, History>& tables) {
  for (const auto& [table, history] : tables) {
    SCOPED_TRACE(table);
    // What is not cached is right at once.
    const std::int64_t settled_ms = kStart_ms + (is_cached(table) ? kSettled_ms : 0);
    const auto right = history.between(settled_ms, kStart_ms + kFirstFault_ms);
    const auto mended = history.between(settled_ms + kLastFault_ms, kStart_ms + kEnd_ms);
    // A table may have had rows only while something was wrong.
    ASSERT_EQ(right.empty(), mended.empty()) << mended.size() << " samples with rows";
    if (right.empty()) continue;
    const std::set<std::string> moving = moving_columns(history, right);
    for (const Sample& sample : mended) {
      EXPECT_EQ("", history.difference(right[0].rows, sample.rows, moving))
          << stamp_of(sample.time_ms);
    }
  }
}

// ---- the weeks ----------------------------------------------------------------------------------

TEST_F(Week, WithoutFaultsKeepsEveryTableAtItsWork) {
  live(false);
  expect_orderly_end();
  expect_no_test_files_since(0);
  expect_whole_rows(recorder_->tables);
  expect_mended(recorder_->tables);
  for (const xaf::TableMeasure& measure : xaf::measures()) {
    EXPECT_EQ(0u, measure.failures) << measure.table;
    EXPECT_EQ(0u, measure.missed_ticks) << measure.table;
  }
  EXPECT_EQ(33u, recorder_->tables.size());
}

// Each of them with a seed of its own, or all with the one that is asked for.
class WeekOfFaults : public Week, public ::testing::WithParamInterface<int> {
 protected:
  std::string replay() const {
    const auto* test = ::testing::UnitTest::GetInstance()->current_test_info();
    return "DIRWATCH_SEED=" + std::to_string(seed_.value()) + " " + program_invocation_name +
           " --gtest_filter=" + test->test_suite_name() + "." + test->name();
  }
};

TEST_P(WeekOfFaults, LosesNothingButWhatFailedAndMends) {
  live(true);
  SCOPED_TRACE(replay());
  SCOPED_TRACE(week::words_for(outages_));
  EXPECT_GT(outages_that_struck_, 0);
  expect_orderly_end();
  expect_no_test_files_since(kLastFault_ms);
  expect_whole_rows(recorder_->tables);
  expect_mended(recorder_->tables);
}
INSTANTIATE_TEST_SUITE_P(Seeds, WeekOfFaults, ::testing::Range(0, 100));

}  // namespace
