// What jobs report of themselves, and that a reader never sees half a report.

#include "include/collection_status.h"

#include <gtest/gtest.h>

#include <atomic>
#include <string>
#include <thread>

#include "include/platform/threads.h"
#include "platform/control.h"
#include "tables/status_board.h"

namespace {

using status::Collection;
using status::Job;
using status::Report;
using status::State;

Report report_of(Job job) {
  Report report;
  EXPECT_TRUE(status::own_board().of(job).read(report));
  return report;
}

class CollectionStatus : public ::testing::Test {
 protected:
  // Tick counts begin with virtual time.
  platform::VirtualTime time_;
};

TEST_F(CollectionStatus, FollowsACollectionFromItsWaitToItsRest) {
  EXPECT_EQ(report_of(Job::kTRS).state, State::kNever);
  Collection collection(Job::kTRS);
  const std::uint64_t began = report_of(Job::kTRS).since_ms;
  EXPECT_EQ(report_of(Job::kTRS).state, State::kWaiting);
  Sleep(3000);
  collection.begins(Collection::Lock::kHeld);
  Report report = report_of(Job::kTRS);
  EXPECT_EQ(report.state, State::kCollecting);
  EXPECT_EQ(report.holds_lock, 1u);
  EXPECT_EQ(report.since_ms, began + 3000);
  Sleep(2000);
  status::step("runs", "netdom");
  Sleep(1000);
  status::transferred(4);
  collection.ends();
  report = report_of(Job::kTRS);
  EXPECT_EQ(report.state, State::kResting);
  EXPECT_EQ(report.holds_lock, 0u);
  EXPECT_EQ(report.last_took_ms, 3000u);
  EXPECT_EQ(report.collections, 1u);
  EXPECT_EQ(report.transferred, 1u);
  EXPECT_EQ(report.rows, 4u);
  EXPECT_EQ(report.rows_since_ms, began + 6000);
  EXPECT_EQ(report.step_since_ms, began + 5000);
  EXPECT_STREQ(report.step.data(), "runs netdom");
}

TEST_F(CollectionStatus, OfACollectionWithoutATransferKeepsTheRowsOfTheOneBefore) {
  {
    Collection collection(Job::kRPL);
    collection.begins(Collection::Lock::kHeld);
    status::transferred(2);
  }
  {
    Collection collection(Job::kRPL);
    collection.begins(Collection::Lock::kHeld);
  }
  const Report report = report_of(Job::kRPL);
  EXPECT_EQ(report.collections, 2u);
  EXPECT_EQ(report.transferred, 0u);
  EXPECT_EQ(report.has_rows, 1u);
  EXPECT_EQ(report.rows, 2u);
}

TEST_F(CollectionStatus, CutsAStepThatIsTooLong) {
  Collection collection(Job::kDCA);
  collection.begins(Collection::Lock::kNone);
  status::step("asks", std::string(500, 'x'));
  EXPECT_EQ(std::string(report_of(Job::kDCA).step.data()), "asks " + std::string(90, 'x'));
  status::step("rests");
  EXPECT_STREQ(report_of(Job::kDCA).step.data(), "rests");
}

TEST_F(CollectionStatus, OfOneWithinAnotherLeavesTheOuterOneItsSteps) {
  Collection outer(Job::kDRA);
  outer.begins(Collection::Lock::kNone);
  {
    Collection inner(Job::kDCP);
    inner.begins(Collection::Lock::kNone);
    status::step("inner");
  }
  status::step("outer");
  EXPECT_STREQ(report_of(Job::kDCP).step.data(), "inner");
  EXPECT_STREQ(report_of(Job::kDRA).step.data(), "outer");
}

TEST_F(CollectionStatus, OutsideACollectionIsUntouched) {
  EXPECT_FALSE(status::is_collecting());
  status::step("asks", "nobody");
  status::transferred(7);
  for (std::size_t i = 0; i < status::kJobCount; ++i) {
    EXPECT_EQ(report_of(static_cast<Job>(i)).state, State::kNever) << i;
  }
}

TEST(StatusSlot, IsNeverReadInHalf) {
  status::Slot slot;
  std::atomic<bool> is_going{true};
  std::thread writer([&] {
    for (std::uint32_t i = 1; is_going; ++i) {
      Report report;
      report.collections = report.rows = i;
      report.since_ms = report.step_since_ms = i;
      report.step.fill(static_cast<char>('a' + i % 26));
      report.step.back() = '\0';
      slot.write(report);
    }
  });
  Report report;
  std::uint32_t reads = 0;
  while (reads < 20000) {
    if (!slot.read(report)) continue;
    ++reads;
    if (report.collections == 0) continue;
    ASSERT_EQ(report.collections, report.rows);
    ASSERT_EQ(report.since_ms, report.collections);
    ASSERT_EQ(report.step_since_ms, report.collections);
    ASSERT_EQ(std::string(report.step.data()),
              std::string(Report::kStepSize - 1, static_cast<char>('a' + report.collections % 26)));
  }
  is_going = false;
  writer.join();
}

}  // namespace
