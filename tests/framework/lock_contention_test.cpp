// Many threads at one lock, in real time: what the sanitizers look at.

#include <gtest/gtest.h>

#include <array>

#include "include/platform/threads.h"
#include "include/trc.h"

namespace {

constexpr int kThreads = 4;
constexpr int kRounds = 5000;

SYS1_Lock g_lock;
int g_guarded = 0;  // by g_lock

unsigned __stdcall add_one_each_round(void*) {
  for (int round = 0; round < kRounds; ++round) {
    SYS1_GetLock(&g_lock);
    ++g_guarded;
    SYS1_ReleaseLock(&g_lock);
  }
  return 0;
}

TEST(LockContention, LosesNoTurnAndLeavesTheLockFree) {
  std::array<HANDLE, kThreads> threads{};
  for (HANDLE& thread : threads) {
    thread = reinterpret_cast<HANDLE>(
        _beginthreadex(nullptr, 0, add_one_each_round, nullptr, 0, nullptr));
    ASSERT_NE(thread, nullptr);
  }
  EXPECT_EQ(WaitForMultipleObjects(kThreads, threads.data(), 1, INFINITE), WAIT_OBJECT_0);
  for (HANDLE thread : threads) CloseHandle(thread);
  EXPECT_EQ(g_guarded, kThreads * kRounds);
  EXPECT_EQ(g_lock.implementation.load(), nullptr);
}

}  // namespace
