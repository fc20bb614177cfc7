// What a sample waits for before it samples: the caches that it needs, and what it says meanwhile.

#include <functional>
#include <optional>
#include <vector>

#include "agent/session.h"
#include "cli/sample_progress.h"
#include "collectors/cached_tables.h"
#include "include/platform/files.h"
#include "include/platform/threads.h"
#include "include/settings.h"
#include "include/unique_handle.h"
#include "tables/catalogue_view.h"
#include "tables/status_board.h"
#include "tests/cli/default_recording.h"

namespace {

using cli_test::kHang_s;
using Names = std::vector<std::string>;

// Sets the event after that long.
class Stopper {
 public:
  explicit Stopper(DWORD after_ms) : after_ms_(after_ms) {
    thread_ = UniqueHandle{_beginthreadex(nullptr, 0, &run, this, 0, nullptr)};
  }
  ~Stopper() { WaitForSingleObject(thread_.get(), INFINITE); }
  HANDLE event() const { return event_.get(); }

 private:
  static unsigned run(void* self) {
    auto* const stopper = static_cast<Stopper*>(self);
    Sleep(stopper->after_ms_);
    SetEvent(stopper->event_.get());
    return 0;
  }
  const DWORD after_ms_;
  const UniqueHandle event_{CreateEventA(nullptr, TRUE, FALSE, nullptr)};
  UniqueHandle thread_;
};

class Filling : public cli_test::DefaultRecording {
 protected:
  ~Filling() override {
    // What still collects ends in virtual time.
    session_.reset();
    time_.reset();
    xaf::reset();
  }
  // A session that has started; the rest of a sample is the test's.
  void start() { ASSERT_TRUE(session().start(error_)) << error_; }
  agent::Session& session() {
    if (!session_) session_.emplace();
    return *session_;
  }
  static std::int32_t sample(const Names& tables) {
    xaf::Configuration configuration;
    configuration.sink = "none";
    configuration.once = true;
    configuration.only_tables = tables;
    configuration.trace_flags = 0;
    xaf::configure(configuration);
    char program[] = "dirwatch";
    char* arguments[] = {program, nullptr};
    return xafmain(1, arguments);
  }
  static status::Report report_of(status::Job job) {
    status::Report report;
    EXPECT_TRUE(status::own_board().of(job).read(report));
    return report;
  }
  static bool has_test_file() {
    return GetFileAttributesA(R"(\\DC1.corp.example\SYSVOL\corp.example\)"
                              "2011_01_02_03_04_05_000_DC1.txt") != INVALID_FILE_ATTRIBUTES;
  }

  std::optional<platform::VirtualTime> time_{std::in_place};
  std::string error_;
  Names unfilled_;

 private:
  std::optional<agent::Session> session_;
};

TEST_F(Filling, WithCachingOnCollectsOnceBeforeTheSample) {
  answer_from_the_embedded_one();
  setenv("DWA_CACHE_INTERVAL", "300", 1);
  start();
  EXPECT_TRUE(
      session().fill_caches({"DCWNTDSTRS", "DCWNTDSDCP", "DCWNTDSCNT"}, nullptr, unfilled_));
  EXPECT_EQ(unfilled_, Names{});
  EXPECT_EQ(report_of(status::Job::kTRS).rows, 2u);
  EXPECT_EQ(report_of(status::Job::kDCA).state, status::State::kNever) << "was not asked for";
  EXPECT_EQ(sample({"DCWNTDSTRS", "DCWNTDSDCP", "DCWNTDSCNT"}), 0);
  EXPECT_EQ(xaf::latest_rows("DCWNTDSTRS").size(), 2u);
  EXPECT_EQ(xaf::latest_rows("DCWNTDSDCP").size(), 1u);
  EXPECT_EQ(xaf::latest_rows("DCWNTDSCNT").size(), 21u);
  EXPECT_EQ(report_of(status::Job::kTRS).collections, 1u);
  EXPECT_EQ(report_of(status::Job::kDCP).collections, 1u);
}

TEST_F(Filling, WithCachingOffLeavesTheCollectionToTheSample) {
  answer_from_the_embedded_one();
  start();
  EXPECT_TRUE(session().fill_caches({"DCWNTDSTRS"}, nullptr, unfilled_));
  EXPECT_EQ(report_of(status::Job::kTRS).state, status::State::kNever);
  EXPECT_EQ(sample({"DCWNTDSTRS"}), 0);
  EXPECT_EQ(xaf::latest_rows("DCWNTDSTRS").size(), 2u);
  EXPECT_EQ(report_of(status::Job::kTRS).collections, 1u);
}

TEST_F(Filling, TellsACollectionThatEndedWithoutRowsAndFillsTheOthers) {
  answer_from_the_embedded_one();
  setenv("DWA_CACHE_INTERVAL", "300", 1);
  start();
  platform::faults::fail("getaddrinfo", 1);
  EXPECT_TRUE(session().fill_caches({"DCWNTDSDAI", "DCWNTDSTTP"}, nullptr, unfilled_));
  ASSERT_EQ(unfilled_.size(), 1u);
  EXPECT_EQ(sample({"DCWNTDSDAI", "DCWNTDSTTP"}), 0);
  EXPECT_EQ(xaf::latest_rows("DCWNTDSDAI").size() + xaf::latest_rows("DCWNTDSTTP").size(),
            unfilled_[0] == "DCWNTDSDAI" ? 4u : 1u);
}

TEST_F(Filling, TellsATableWhoseThreadDoesNotStart) {
  answer_from_the_embedded_one();
  setenv("DWA_CACHE_INTERVAL", "300", 1);
  start();
  platform::faults::fail("_beginthreadex", 1);
  EXPECT_TRUE(session().fill_caches({"DCWNTDSTTP"}, nullptr, unfilled_));
  EXPECT_EQ(unfilled_, Names{"DCWNTDSTTP"});
}

TEST_F(Filling, WaitsForTheSysvolTestAndLeavesNoFile) {
  answer_from_the_embedded_one();
  start();
  const std::int64_t began = time_->elapsed_ms();
  EXPECT_TRUE(session().fill_caches({"DCWSYSRPL"}, nullptr, unfilled_));
  EXPECT_EQ(time_->elapsed_ms() - began, 615000) << "the gap and the wait for replication";
  EXPECT_EQ(unfilled_, Names{});
  EXPECT_EQ(sample({"DCWSYSRPL"}), 0);
  EXPECT_EQ(xaf::latest_rows("DCWSYSRPL").size(), 1u);
  EXPECT_FALSE(has_test_file());
}

TEST_F(Filling, IsLeftWhenItIsToStopAndTheSysvolFilesAreTakenBack) {
  answer_from_the_embedded_one();
  start();
  const Stopper stopper(60000);
  EXPECT_FALSE(session().fill_caches({"DCWSYSRPL"}, stopper.event(), unfilled_));
  EXPECT_EQ(time_->elapsed_ms(), 60000);
  EXPECT_TRUE(has_test_file());
  agent::Session::abandon();
  EXPECT_FALSE(has_test_file());
}

TEST_F(Filling, IsLeftWhenItIsToStopWhileACommandHangs) {
  answer_with_a_hanging_command();
  setenv("DWA_CACHE_INTERVAL", "300", 1);
  start();
  const Stopper stopper(5000);
  EXPECT_FALSE(session().fill_caches({"DCWNTDSTRS"}, stopper.event(), unfilled_));
  EXPECT_EQ(time_->elapsed_ms(), 5000);
}

TEST_F(Filling, TellsTheTableItsStepAndForHowLong) {
  answer_with_a_hanging_command();
  setenv("DWA_CACHE_INTERVAL", "300", 1);
  start();
  testing::internal::CaptureStderr();
  {
    const cli::Progress progress({"DCWNTDSTRS", "DCWNTDSCNT"});
    EXPECT_TRUE(session().fill_caches({"DCWNTDSTRS", "DCWNTDSCNT"}, nullptr, unfilled_));
  }
  const std::string said = testing::internal::GetCapturedStderr();
  EXPECT_EQ(said.find("dirwatch: 1 s, waiting for DCWNTDSTRS (runs netdom verify DC1 "
                      "/DOMAIN:PARTNER, 1.0 s), DCWNTDSCNT\n"),
            0u)
      << said.substr(0, 500);
  EXPECT_NE(said.find("dirwatch: 999 s, waiting for DCWNTDSTRS"), said.npos);
}

TEST_F(Filling, WithCachingOffTellsTheStepOfTheSamplesOwnCollection) {
  answer_with_a_hanging_command();
  start();
  testing::internal::CaptureStderr();
  {
    const cli::Progress progress({"DCWNTDSTRS"});
    EXPECT_TRUE(session().fill_caches({"DCWNTDSTRS"}, nullptr, unfilled_));
    EXPECT_EQ(sample({"DCWNTDSTRS"}), 0);
  }
  const std::string said = testing::internal::GetCapturedStderr();
  EXPECT_EQ(said.find("dirwatch: 1 s, waiting for DCWNTDSTRS (runs netdom verify DC1 "
                      "/DOMAIN:PARTNER, 1.0 s)\n"),
            0u)
      << said.substr(0, 500);
}

TEST_F(Filling, OfEveryTableGivesRowsOfEachOfThem) {
  answer_from_the_embedded_one();
  Names all;
  for (const tables::TableView& table : tables::catalogue()) all.emplace_back(table.name);
  ASSERT_EQ(all.size(), 33u);
  start();
  EXPECT_TRUE(session().fill_caches(all, nullptr, unfilled_));
  EXPECT_EQ(unfilled_, Names{});
  EXPECT_EQ(sample(all), 0);
  for (const std::string& table : all) EXPECT_FALSE(xaf::latest_rows(table).empty()) << table;
  // The one server that DNS names and the directory does not; the file that never reached DC2.
  const std::string difference = xaf::latest_rows("DCWNTDSDAD")[0];
  EXPECT_EQ(difference.compare(80, 18, "rodc1.corp.example"), 0) << difference;
  const std::string copy = xaf::latest_rows("DCWSYSRPL")[0];
  EXPECT_EQ(copy.substr(80, 4), "DC2 ");
  EXPECT_EQ(copy.substr(144, 4), std::string(4, '\0'));
}

TEST(CachedTables, HaveTheNamesUnderWhichTheirJobsAreShown) {
  ASSERT_EQ(collectors::cached_tables().size(), 9u);
  for (const collectors::CachedTable& table : collectors::cached_tables()) {
    EXPECT_EQ(table.name, status::name_of(table.job));
  }
}

}  // namespace
