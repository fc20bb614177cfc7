// Virtual time: nothing waits in reality, everything is exact, and a run repeats itself.

#include <gtest/gtest.h>

#include <chrono>
#include <string>
#include <vector>

#include "kernel_support.h"
#include "platform/time.h"

namespace {

using kernel_test::TestThread;

TEST(KernelVirtualTime, SixHoursPassInMicroseconds) {
  platform::VirtualTime time;
  const auto before = std::chrono::steady_clock::now();
  Sleep(6 * 3600 * 1000);
  const auto real = std::chrono::steady_clock::now() - before;
  EXPECT_EQ(time.elapsed_ms(), 6 * 3600 * 1000);
  EXPECT_LT(real, std::chrono::milliseconds(500));
}

TEST(KernelVirtualTime, AFiveSecondTimeOutIsExactToTheMillisecond) {
  platform::VirtualTime time;
  const HANDLE event = CreateEventA(nullptr, TRUE, FALSE, nullptr);
  EXPECT_EQ(WaitForSingleObject(event, 5000), static_cast<DWORD>(WAIT_TIMEOUT));
  EXPECT_EQ(time.elapsed_ms(), 5000);
  TestThread setter([&] {
    Sleep(4999);
    SetEvent(event);
    return 0u;
  });
  EXPECT_EQ(WaitForSingleObject(event, 5000), WAIT_OBJECT_0);
  EXPECT_EQ(time.elapsed_ms(), 9999);
  CloseHandle(event);
}

TEST(KernelVirtualTime, AllClocksStandStillWhileAThreadRuns) {
  platform::VirtualTime time;
  LARGE_INTEGER count_before;
  QueryPerformanceCounter(&count_before);
  const auto ticks_before = GetTickCount64();
  EXPECT_EQ(_time64(nullptr), 1293937445);
  EXPECT_EQ(platform::clock_now_ms(), 1293937445000);
  Sleep(1234);
  LARGE_INTEGER count;
  LARGE_INTEGER frequency;
  QueryPerformanceCounter(&count);
  QueryPerformanceFrequency(&frequency);
  EXPECT_EQ(GetTickCount64() - ticks_before, 1234u);
  EXPECT_EQ((count.QuadPart - count_before.QuadPart) * 1000 / frequency.QuadPart, 1234);
  __timeb64 now{};
  _ftime64(&now);
  EXPECT_EQ(now.time, 1293937446);
  EXPECT_EQ(now.millitm, 234);
  SYSTEMTIME universal{};
  GetSystemTime(&universal);
  EXPECT_EQ(universal.wYear, 2011);
  EXPECT_EQ(universal.wSecond, 6);
  EXPECT_EQ(universal.wMilliseconds, 234);
}

// What three threads with equal periods do in a minute, as text.
std::string run_three_threads() {
  platform::VirtualTime time;
  std::string log;  // safe: one thread is let go at a time
  {
    std::vector<std::unique_ptr<TestThread>> threads;
    for (const char name : {'a', 'b', 'c'}) {
      threads.push_back(std::make_unique<TestThread>([&log, &time, name] {
        Sleep(static_cast<DWORD>(name - 'a' + 1));  // fixes the order of arrival
        for (int turn = 0; turn < 6; ++turn) {
          Sleep(10000 - static_cast<DWORD>(time.elapsed_ms() % 10000));
          log += name;
        }
        return 0u;
      }));
    }
  }
  return log;
}

TEST(KernelVirtualTime, EqualDeadlinesAreLetGoInTheOrderOfArrivalEveryTime) {
  EXPECT_EQ(run_three_threads(), "abcabcabcabcabcabc");
  EXPECT_EQ(run_three_threads(), "abcabcabcabcabcabc");
}

TEST(KernelVirtualTime, ASleepOfNoTimeLetsOthersGoFirst) {
  platform::VirtualTime time;
  std::string log;
  const HANDLE go = CreateEventA(nullptr, TRUE, FALSE, nullptr);
  TestThread other([&] {
    WaitForSingleObject(go, INFINITE);
    log += 'o';
    return 0u;
  });
  Sleep(1);
  SetEvent(go);
  Sleep(0);
  log += 'm';
  EXPECT_EQ(log, "om");
  EXPECT_EQ(time.elapsed_ms(), 1);
  CloseHandle(go);
}

TEST(KernelVirtualTime, AWaitBegunInRealTimeGoesOnInVirtualTime) {
  const HANDLE never = CreateEventA(nullptr, TRUE, FALSE, nullptr);
  TestThread waiter([&] { return WaitForSingleObject(never, 3600 * 1000); });
  platform::VirtualTime time;
  EXPECT_EQ(WaitForSingleObject(waiter.handle(), INFINITE), WAIT_OBJECT_0);
  EXPECT_EQ(waiter.exit_code(), static_cast<DWORD>(WAIT_TIMEOUT));
  EXPECT_GT(time.elapsed_ms(), 3500 * 1000);
  CloseHandle(never);
}

TEST(KernelVirtualTime, AMonthOfTicksTakesSeconds) {
  platform::VirtualTime time;
  int ticks = 0;
  TestThread ticker([&] {
    for (; ticks < 30 * 24 * 60; ++ticks) Sleep(60 * 1000);
    return 0u;
  });
  EXPECT_EQ(WaitForSingleObject(ticker.handle(), INFINITE), WAIT_OBJECT_0);
  EXPECT_EQ(ticks, 43200);
  EXPECT_EQ(time.elapsed_ms(), std::int64_t{30} * 24 * 3600 * 1000);
}

TEST(KernelVirtualTimeDeathTest, ADeadlockIsReportedWithItsThreads) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_DEATH(
      {
        platform::VirtualTime time;
        platform::set_deadlock_patience(50);
        const HANDLE event = CreateEventA(nullptr, TRUE, FALSE, "SYSCLRRPL");
        TestThread other([&] { return WaitForSingleObject(event, INFINITE); });
        WaitForSingleObject(other.handle(), INFINITE);
      },
      "deadlock under virtual time.*WaitForSingleObject event 'SYSCLRRPL'");
}

TEST(KernelRealTime, AWaitTimesOutAndTheClockIsTheSystems) {
  const HANDLE event = CreateEventA(nullptr, TRUE, FALSE, nullptr);
  const auto before = std::chrono::steady_clock::now();
  EXPECT_EQ(WaitForSingleObject(event, 20), static_cast<DWORD>(WAIT_TIMEOUT));
  EXPECT_GE(std::chrono::steady_clock::now() - before, std::chrono::milliseconds(20));
  const auto system_ms = std::chrono::duration_cast<std::chrono::milliseconds>(
                             std::chrono::system_clock::now().time_since_epoch())
                             .count();
  EXPECT_NEAR(static_cast<double>(platform::clock_now_ms()), static_cast<double>(system_ms), 2000);
  CloseHandle(event);
}

}  // namespace
