// dirwatch caches against a whole agent in virtual time.

#include <memory>
#include <nlohmann/json.hpp>

#include "agent/session.h"
#include "cli/commands.h"
#include "cli/durations.h"
#include "include/platform/memory.h"
#include "include/platform/threads.h"
#include "include/settings.h"
#include "tables/status_board.h"
#include "tests/cli/default_recording.h"

namespace {

using cli_test::kHang_s;
using cli_test::kHangingStep;
using nlohmann::json;

struct Said {
  int status = -1;
  std::string output;
  std::string errors;
};

class CachesCommand : public cli_test::DefaultRecording {
 protected:
  ~CachesCommand() override {
    process_.reset();
    platform::faults::clear();
    time_.reset();
    xaf::reset();
  }

  void start_agent() {
    process_ = std::make_unique<platform::SimulatedProcess>([] { agent::run_on_console(); });
  }
  void let_pass(std::int64_t seconds) {
    ASSERT_FALSE(process_->wait_for_exit(static_cast<std::uint32_t>(seconds * 1000)));
  }
  static Said ask(const std::string& format = "json") {
    Said said;
    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
    said.status = cli::caches_command({.format = format});
    said.output = testing::internal::GetCapturedStdout();
    said.errors = testing::internal::GetCapturedStderr();
    return said;
  }
  static json job(const json& all, const std::string& name) {
    for (const json& one : all["jobs"]) {
      if (one["job"] == name) return one;
    }
    ADD_FAILURE() << "no job " << name;
    return {};
  }
  static std::uint64_t rows_delivered(const std::string& table) {
    for (const xaf::TableMeasure& measure : xaf::measures()) {
      if (measure.table == table) return measure.rows;
    }
    return 0;
  }

  std::unique_ptr<platform::VirtualTime> time_ = std::make_unique<platform::VirtualTime>();
  std::unique_ptr<platform::SimulatedProcess> process_;
};

TEST_F(CachesCommand, ShowsEachJobOfTheRunningAgent) {
  answer_from_the_embedded_one();
  setenv("DWA_CACHE_INTERVAL", "300", 1);
  start_agent();
  let_pass(200);
  const Said said = ask();
  EXPECT_EQ(said.status, 0) << said.errors;
  const json all = json::parse(said.output);
  EXPECT_EQ(all["started"], "2011-01-02T03:04:05Z");
  EXPECT_EQ(all["cache_interval_s"], 300);
  EXPECT_EQ(all["lock_holder"], nullptr);
  ASSERT_EQ(all["jobs"].size(), status::kJobCount);
  EXPECT_EQ(job(all, "counter collectors")["state"], "built");
  EXPECT_EQ(job(all, "object count")["state"], "resting");
  EXPECT_EQ(job(all, "object count")["last_transferred"], nullptr);
  const std::map<std::string, int> rows = {{"DCWNTDSDCA", 1}, {"DCWNTDSDAI", 1}, {"DCWNTDSDRA", 1},
                                           {"DCWNTDSDCP", 1}, {"DCWNTDSRLT", 1}, {"DCWNTDSRPL", 5},
                                           {"DCWNTDSTRS", 2}, {"DCWNTDSTTP", 4}};
  for (const auto& [table, count] : rows) {
    const json one = job(all, table);
    EXPECT_EQ(one["state"], "resting") << table;
    EXPECT_EQ(one["rows"], count) << table;
    EXPECT_EQ(one["collections"], 1) << table;
    EXPECT_EQ(one["last_transferred"], true) << table;
    EXPECT_EQ(one["holds_lock"], false) << table;
    EXPECT_LE(one["rows_age_s"].get<double>(), 200) << table;
    EXPECT_GT(one["rows_age_s"].get<double>(), 190) << table;
  }
  const json sysvol = job(all, "DCWSYSRPL");
  EXPECT_EQ(sysvol["state"], "collecting");
  EXPECT_EQ(sysvol["step"], "waits for the test file to replicate");
  EXPECT_EQ(sysvol["step_s"], 185);
  EXPECT_EQ(sysvol["rows"], nullptr);
}

TEST_F(CachesCommand, NamesTheHolderOfTheLockWhileACommandHangsAndSamplesGoOn) {
  answer_with_a_hanging_command();
  setenv("DWA_CACHE_INTERVAL", "300", 1);
  start_agent();
  let_pass(400);
  // Which of them had their turn before the one that hangs is chance.
  constexpr const char* kBehind[] = {"DCWNTDSDCA", "DCWNTDSDAI", "DCWNTDSDRA",
                                     "DCWNTDSDCP", "DCWNTDSRPL", "DCWNTDSTTP"};
  const std::uint64_t plain_before = rows_delivered("DCWNTDSRDS");
  std::map<std::string, std::uint64_t> before;
  for (const char* table : kBehind) before[table] = rows_delivered(table);
  let_pass(300);
  const json all = json::parse(ask().output);
  EXPECT_EQ(all["lock_holder"], "DCWNTDSTRS");
  const json holder = job(all, "DCWNTDSTRS");
  EXPECT_EQ(holder["state"], "collecting");
  EXPECT_EQ(holder["step"], kHangingStep);
  EXPECT_GT(holder["step_s"].get<double>(), 690);
  EXPECT_EQ(holder["rows"], nullptr);
  // The tables that need no lock go on, and so do the samples of what was collected before.
  EXPECT_EQ(rows_delivered("DCWNTDSRDS"), plain_before + 5);
  for (const char* table : kBehind) {
    const json waiting = job(all, table);
    EXPECT_EQ(waiting["state"], "waiting for the lock") << table;
    EXPECT_EQ(waiting["holds_lock"], false) << table;
    const bool has_rows = waiting["rows"].is_number();
    EXPECT_EQ(has_rows ? 1 : 0, waiting["collections"]) << table;
    if (has_rows) {
      EXPECT_GT(waiting["rows_age_s"].get<double>(), 690) << table;
    }
    const std::uint64_t rows = has_rows ? waiting["rows"].get<std::uint64_t>() : 0;
    EXPECT_EQ(rows_delivered(table), before[table] + 5 * rows) << table;
  }
  const std::string text = ask("text").output;
  EXPECT_NE(text.find("HOLDS THE LOCK"), text.npos) << text;
  EXPECT_NE(text.find(kHangingStep), text.npos) << text;
}

TEST_F(CachesCommand, ShowsThatAllGoOnWhenTheHangingCommandEnds) {
  answer_with_a_hanging_command();
  setenv("DWA_CACHE_INTERVAL", "300", 1);
  start_agent();
  let_pass(kHang_s + 100);
  const json all = json::parse(ask().output);
  EXPECT_EQ(all["lock_holder"], nullptr);
  EXPECT_EQ(job(all, "DCWNTDSTRS")["rows"], 2);
  EXPECT_GE(job(all, "DCWNTDSTRS")["last_took_s"].get<double>(), double{kHang_s});
  EXPECT_EQ(job(all, "DCWNTDSTTP")["rows"], 4);
  EXPECT_EQ(job(all, "DCWNTDSDCA")["collections"], 2);
  EXPECT_LT(job(all, "DCWNTDSDCA")["rows_age_s"].get<double>(), 110);
}

TEST_F(CachesCommand, TellsACollectionThatEndsWithoutRows) {
  answer_from_the_embedded_one();
  setenv("DWA_CACHE_INTERVAL", "300", 1);
  platform::faults::fail("getaddrinfo", 0);
  start_agent();
  let_pass(100);
  const json all = json::parse(ask().output);
  const json failed = job(all, "DCWNTDSDAI");
  EXPECT_EQ(failed["collections"], 1);
  EXPECT_EQ(failed["last_transferred"], false);
  EXPECT_EQ(failed["rows"], nullptr);
  const std::string text = ask("text").output;
  EXPECT_NE(text.find("without rows"), text.npos) << text;
}

TEST_F(CachesCommand, SaysWhatToDoWhenNoAgentRuns) {
  const Said said = ask();
  EXPECT_EQ(said.status, 1);
  EXPECT_TRUE(said.output.empty());
  EXPECT_NE(said.errors.find("start the service, DirWatcher TEST or dirwatch run"),
            said.errors.npos);
}

TEST_F(CachesCommand, SaysWhatToDoWhenTheAgentIsAnotherUsers) {
  platform::faults::fail("OpenFileMappingA", 0, ERROR_ACCESS_DENIED);
  const Said said = ask();
  EXPECT_EQ(said.status, 1);
  EXPECT_NE(said.errors.find("administrator"), said.errors.npos);
}

TEST_F(CachesCommand, SaysWhatToDoWhenCachingIsOff) {
  answer_from_the_embedded_one();
  start_agent();
  let_pass(100);
  const Said said = ask();
  EXPECT_EQ(said.status, 1);
  EXPECT_NE(said.errors.find("DWA_CACHE_INTERVAL"), said.errors.npos);
  const json all = json::parse(said.output);
  EXPECT_EQ(all["cache_interval_s"], 0);
  EXPECT_EQ(job(all, "DCWNTDSTRS")["state"], "off");
  EXPECT_EQ(job(all, "DCWSYSRPL")["state"], "collecting");
}

TEST_F(CachesCommand, FindsNothingOnceTheAgentHasEnded) {
  answer_from_the_embedded_one();
  setenv("DWA_CACHE_INTERVAL", "300", 1);
  start_agent();
  let_pass(10);
  EXPECT_EQ(ask().status, 0);
  process_->kill();
  process_.reset();
  EXPECT_EQ(ask().status, 1);
}

class RefusedMemory : public CachesCommand, public ::testing::WithParamInterface<const char*> {};
INSTANTIATE_TEST_SUITE_P(By, RefusedMemory,
                         ::testing::Values("CreateFileMappingA", "MapViewOfFile"),
                         [](const auto& one) { return std::string(one.param); });

TEST_P(RefusedMemory, LeavesTheAgentRunningAndUnseen) {
  answer_from_the_embedded_one();
  setenv("DWA_CACHE_INTERVAL", "300", 1);
  const trc::Capture trace;
  platform::faults::fail(GetParam(), 0);
  start_agent();
  let_pass(100);
  platform::faults::clear();
  EXPECT_TRUE(trace.contains("The state of the caches is not shown outside the agent: error"));
  EXPECT_EQ(ask().status, 1);
  EXPECT_GT(rows_delivered("DCWNTDSDCA"), 0u);
}

TEST_F(CachesCommand, FindsAnAgentThatHasNoNameForTheWholeMachine) {
  platform::faults::fail("CreateFileMappingA", 1, ERROR_INVALID_NAME);
  status::share_own_board();
  status::announce_own_board(false);
  bool is_refused = false;
  EXPECT_EQ(status::running_agents(is_refused).size(), 1u);
  const HANDLE local = OpenFileMappingA(FILE_MAP_READ, FALSE, "Local\\DirWatcherStatus1.0");
  EXPECT_NE(local, nullptr);
  CloseHandle(local);
}

TEST_F(CachesCommand, ShowsTheAgentThatStartedLastAndMentionsTheOthers) {
  for (int i = 0; i < 2; ++i) {
    g_cacheInterval = 1000 * (i + 1);
    status::share_own_board();
    status::announce_own_board(false);
    Sleep(5000);
  }
  const Said said = ask();
  EXPECT_EQ(said.status, 0);
  EXPECT_EQ(json::parse(said.output)["cache_interval_s"], 2);
  EXPECT_NE(said.errors.find("another agent"), said.errors.npos);
}

TEST(Durations, AreShortAndReadable) {
  EXPECT_EQ(cli::duration(0), "0.0 s");
  EXPECT_EQ(cli::duration(9999), "9.9 s");
  EXPECT_EQ(cli::duration(59999), "59 s");
  EXPECT_EQ(cli::duration(185000), "3 min 5 s");
  EXPECT_EQ(cli::duration(7800000), "2 h 10 min");
}

}  // namespace
