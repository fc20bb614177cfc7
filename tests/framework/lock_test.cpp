// The lock of the base services when the calls beneath it fail: nobody gets in beside the one who
// has it, and nobody waits for ever.

#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

#include "include/platform/threads.h"
#include "include/trc.h"
#include "platform/control.h"

namespace {

class LockFaults : public ::testing::Test {
 protected:
  ~LockFaults() override { platform::faults::clear(); }

  // That many threads, each of which takes the lock, keeps it for a second and gives it up.
  void contend(int threads) {
    std::vector<HANDLE> started;
    for (int i = 0; i < threads; ++i) {
      started.push_back(reinterpret_cast<HANDLE>(_beginthreadex(
          nullptr, 0,
          [](void* self) -> unsigned {
            static_cast<LockFaults*>(self)->take_turn();
            return 0;
          },
          this, 0, nullptr)));
    }
    Sleep(1);  // the waits that fail are theirs
    for (const HANDLE thread : started) {
      EXPECT_EQ(WAIT_OBJECT_0, WaitForSingleObject(thread, INFINITE));
      CloseHandle(thread);
    }
    EXPECT_EQ(threads, turns_);
    EXPECT_EQ(1, most_inside_);
    EXPECT_EQ(nullptr, lock_.implementation.load());
  }
  void take_turn() {
    SYS1_GetLock(&lock_);
    most_inside_ = std::max(most_inside_, ++inside_);
    ++turns_;
    Sleep(1000);
    --inside_;
    SYS1_ReleaseLock(&lock_);
  }

  platform::VirtualTime time_;
  SYS1_Lock lock_;
  int turns_ = 0;
  int inside_ = 0;
  int most_inside_ = 0;
};

TEST_F(LockFaults, WithoutFailuresPassesFromThreadToThreadAtOnce) {
  contend(5);
  EXPECT_EQ(5000, time_.elapsed_ms());
}

TEST_F(LockFaults, WhoseHandOverFailsOnceIsHandedOverAllTheSame) {
  for (std::uint32_t nth = 1; nth <= 4; ++nth) {
    SCOPED_TRACE(nth);
    turns_ = 0;
    platform::faults::fail("SetEvent", nth);
    contend(5);
    EXPECT_TRUE(platform::faults::struck());
    platform::faults::clear();
  }
}

TEST_F(LockFaults, LetsNobodyInWhoCouldNotWait) {
  platform::faults::fail("WaitForSingleObject", 1);
  platform::faults::fail("WaitForSingleObject", 3);
  contend(5);
  EXPECT_TRUE(platform::faults::struck());
}

TEST_F(LockFaults, LetsNobodyInWhoHasNothingToWaitFor) {
  platform::faults::fail("CreateEventA", 0);
  contend(5);
  EXPECT_TRUE(platform::faults::struck());
}

}  // namespace
