// Events, waits and critical sections: every result a wait can give.

#include <gtest/gtest.h>

#include <atomic>
#include <string>
#include <vector>

#include "kernel_support.h"

namespace {

using kernel_test::TestThread;

TEST(KernelEvents, AnEventWithoutANameStartsAsToldAndLastErrorIsCleared) {
  SetLastError(77);
  const HANDLE set = CreateEventA(nullptr, TRUE, TRUE, nullptr);
  EXPECT_EQ(GetLastError(), 0u);
  const HANDLE unset = CreateEventA(nullptr, TRUE, FALSE, nullptr);
  EXPECT_EQ(WaitForSingleObject(set, 0), WAIT_OBJECT_0);
  EXPECT_EQ(WaitForSingleObject(unset, 0), static_cast<DWORD>(WAIT_TIMEOUT));
  EXPECT_TRUE(CloseHandle(set));
  EXPECT_TRUE(CloseHandle(unset));
}

TEST(KernelEvents, AManualEventStaysSetUntilItIsReset) {
  const HANDLE event = CreateEventA(nullptr, TRUE, FALSE, nullptr);
  EXPECT_TRUE(SetEvent(event));
  EXPECT_EQ(WaitForSingleObject(event, 0), WAIT_OBJECT_0);
  EXPECT_EQ(WaitForSingleObject(event, 0), WAIT_OBJECT_0);
  EXPECT_TRUE(ResetEvent(event));
  EXPECT_EQ(WaitForSingleObject(event, 0), static_cast<DWORD>(WAIT_TIMEOUT));
  CloseHandle(event);
}

TEST(KernelEvents, AnAutomaticEventLetsOneThrough) {
  const HANDLE event = CreateEventA(nullptr, FALSE, TRUE, nullptr);
  EXPECT_EQ(WaitForSingleObject(event, 0), WAIT_OBJECT_0);
  EXPECT_EQ(WaitForSingleObject(event, 0), static_cast<DWORD>(WAIT_TIMEOUT));
  CloseHandle(event);
}

TEST(KernelEvents, AutomaticEventWakesExactlyOneOfThree) {
  platform::VirtualTime time;
  const HANDLE event = CreateEventA(nullptr, FALSE, FALSE, nullptr);
  std::atomic<int> through{0};
  std::atomic<int> timed_out{0};
  {
    auto body = [&] {
      (WaitForSingleObject(event, 1000) == WAIT_OBJECT_0 ? through : timed_out)++;
      return 0u;
    };
    TestThread first(body);
    TestThread second(body);
    TestThread third(body);
    Sleep(10);
    SetEvent(event);
  }
  EXPECT_EQ(through, 1);
  EXPECT_EQ(timed_out, 2);
  CloseHandle(event);
}

TEST(KernelEvents, ANameLeadsToTheSameEventAndSaysSo) {
  const HANDLE first = CreateEventA(nullptr, TRUE, FALSE, "DCWSHUTDOWN");
  EXPECT_EQ(GetLastError(), 0u);
  const HANDLE second = CreateEventA(nullptr, FALSE, TRUE, "DCWSHUTDOWN");
  EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_ALREADY_EXISTS));
  EXPECT_NE(first, second);
  EXPECT_EQ(WaitForSingleObject(second, 0), static_cast<DWORD>(WAIT_TIMEOUT))
      << "the arguments of the second call are ignored";
  SetEvent(second);
  EXPECT_EQ(WaitForSingleObject(first, 0), WAIT_OBJECT_0);
  CloseHandle(first);
  EXPECT_EQ(WaitForSingleObject(second, 0), WAIT_OBJECT_0) << "one open handle keeps it";
  CloseHandle(second);
}

TEST(KernelEvents, ANameIsForgottenWithItsLastHandleAndLetterCaseCounts) {
  const HANDLE event = CreateEventA(nullptr, TRUE, TRUE, "once");
  const HANDLE other = CreateEventA(nullptr, TRUE, FALSE, "ONCE");
  EXPECT_EQ(GetLastError(), 0u);
  CloseHandle(event);
  const HANDLE again = CreateEventA(nullptr, TRUE, FALSE, "once");
  EXPECT_EQ(GetLastError(), 0u);
  EXPECT_EQ(WaitForSingleObject(again, 0), static_cast<DWORD>(WAIT_TIMEOUT));
  CloseHandle(other);
  CloseHandle(again);
}

TEST(KernelEvents, AnImpossibleNameIsRefused) {
  EXPECT_EQ(CreateEventA(nullptr, TRUE, FALSE, "a\\b"), nullptr);
  EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_PATH_NOT_FOUND));
  const std::string longest(261, 'n');
  EXPECT_EQ(CreateEventA(nullptr, TRUE, FALSE, longest.c_str()), nullptr);
  EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_FILENAME_EXCED_RANGE));
}

TEST(KernelHandles, WhatIsNoHandleIsRefusedEverywhere) {
  const HANDLE closed = CreateEventA(nullptr, TRUE, TRUE, nullptr);
  ASSERT_TRUE(CloseHandle(closed));
  for (const HANDLE bad : {HANDLE{nullptr}, closed, INVALID_HANDLE_VALUE}) {
    SetLastError(0);
    EXPECT_FALSE(CloseHandle(bad));
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_INVALID_HANDLE));
    SetLastError(0);
    EXPECT_EQ(WaitForSingleObject(bad, 0), WAIT_FAILED);
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_INVALID_HANDLE));
    SetLastError(0);
    EXPECT_FALSE(SetEvent(bad));
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_INVALID_HANDLE));
    EXPECT_FALSE(ResetEvent(bad));
    EXPECT_EQ(MsgWaitForMultipleObjects(1, &bad, FALSE, 0, 255), WAIT_FAILED);
    EXPECT_FALSE(TerminateThread(bad, 0));
  }
}

TEST(KernelHandles, TheLastErrorBelongsToItsThread) {
  SetLastError(5);
  TestThread other([] {
    EXPECT_EQ(GetLastError(), 0u);
    SetLastError(9);
    return 0u;
  });
  WaitForSingleObject(other.handle(), INFINITE);
  EXPECT_EQ(GetLastError(), 5u);
}

TEST(KernelWaits, AnyGivesTheLowestIndexAllWaitsForEvery) {
  HANDLE events[3];
  for (auto& event : events) event = CreateEventA(nullptr, FALSE, FALSE, nullptr);
  EXPECT_EQ(WaitForMultipleObjects(3, events, FALSE, 0), static_cast<DWORD>(WAIT_TIMEOUT));
  SetEvent(events[2]);
  SetEvent(events[1]);
  EXPECT_EQ(WaitForMultipleObjects(3, events, TRUE, 0), static_cast<DWORD>(WAIT_TIMEOUT));
  EXPECT_EQ(WaitForMultipleObjects(3, events, FALSE, 0), WAIT_OBJECT_0 + 1);
  EXPECT_EQ(WaitForMultipleObjects(3, events, FALSE, 0), WAIT_OBJECT_0 + 2);
  for (const auto event : events) SetEvent(event);
  EXPECT_EQ(WaitForMultipleObjects(3, events, TRUE, 0), WAIT_OBJECT_0);
  EXPECT_EQ(WaitForSingleObject(events[0], 0), static_cast<DWORD>(WAIT_TIMEOUT));
  for (const auto event : events) CloseHandle(event);
}

TEST(KernelWaits, AWaitForAllTakesNothingUntilAllAreThere) {
  platform::VirtualTime time;
  HANDLE events[2];
  for (auto& event : events) event = CreateEventA(nullptr, FALSE, FALSE, nullptr);
  {
    TestThread waiter([&] { return WaitForMultipleObjects(2, events, TRUE, INFINITE); });
    Sleep(1);
    SetEvent(events[0]);
    Sleep(1);
    EXPECT_EQ(WaitForSingleObject(events[0], 0), WAIT_OBJECT_0) << "still free for others";
    SetEvent(events[0]);
    SetEvent(events[1]);
    EXPECT_EQ(WaitForSingleObject(waiter.handle(), 1000), WAIT_OBJECT_0);
    EXPECT_EQ(waiter.exit_code(), WAIT_OBJECT_0);
  }
  for (const auto event : events) CloseHandle(event);
}

TEST(KernelWaits, ImpossibleCountsAndTwinsAreRefused) {
  const HANDLE event = CreateEventA(nullptr, TRUE, TRUE, nullptr);
  const std::vector<HANDLE> many(65, event);
  const HANDLE twins[2] = {event, event};
  SetLastError(0);
  EXPECT_EQ(WaitForMultipleObjects(0, many.data(), FALSE, 0), WAIT_FAILED);
  EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_INVALID_PARAMETER));
  EXPECT_EQ(WaitForMultipleObjects(65, many.data(), FALSE, 0), WAIT_FAILED);
  EXPECT_EQ(WaitForMultipleObjects(2, twins, TRUE, 0), WAIT_FAILED);
  EXPECT_EQ(WaitForMultipleObjects(2, twins, FALSE, 0), WAIT_OBJECT_0);
  EXPECT_EQ(MsgWaitForMultipleObjects(64, many.data(), FALSE, 0, 255), WAIT_FAILED);
  CloseHandle(event);
}

TEST(KernelWaits, ClosingAHandleDoesNotEndTheWaitOnIt) {
  platform::VirtualTime time;
  const HANDLE event = CreateEventA(nullptr, TRUE, FALSE, "kept");
  const HANDLE second = CreateEventA(nullptr, TRUE, FALSE, "kept");
  TestThread waiter([&] { return WaitForSingleObject(event, 100); });
  Sleep(1);
  CloseHandle(event);
  SetEvent(second);
  EXPECT_EQ(WaitForSingleObject(waiter.handle(), INFINITE), WAIT_OBJECT_0);
  EXPECT_EQ(waiter.exit_code(), WAIT_OBJECT_0);
  CloseHandle(second);
}

TEST(KernelCriticalSections, TheOwnerMayEnterAgainAndOthersWait) {
  platform::VirtualTime time;
  CRITICAL_SECTION section;
  InitializeCriticalSection(&section);
  EnterCriticalSection(&section);
  EnterCriticalSection(&section);
  std::int64_t entered_at = -1;
  {
    TestThread other([&] {
      EXPECT_FALSE(TryEnterCriticalSection(&section));
      EnterCriticalSection(&section);
      entered_at = time.elapsed_ms();
      LeaveCriticalSection(&section);
      return 0u;
    });
    Sleep(1000);  // only passes because the other's blocking counts as a wait
    LeaveCriticalSection(&section);
    Sleep(500);
    EXPECT_EQ(entered_at, -1) << "left once, entered twice";
    LeaveCriticalSection(&section);
  }
  EXPECT_EQ(entered_at, 1500);
  EXPECT_TRUE(TryEnterCriticalSection(&section));
  LeaveCriticalSection(&section);
  DeleteCriticalSection(&section);
}

TEST(KernelCriticalSections, WaitersEnterInTheOrderInWhichTheyCame) {
  platform::VirtualTime time;
  CRITICAL_SECTION section;
  InitializeCriticalSection(&section);
  std::vector<int> order;
  EnterCriticalSection(&section);
  {
    std::vector<std::unique_ptr<TestThread>> threads;
    for (int index = 0; index < 5; ++index) {
      threads.push_back(std::make_unique<TestThread>([&, index] {
        Sleep(static_cast<DWORD>(10 * (5 - index)));
        EnterCriticalSection(&section);
        order.push_back(index);
        LeaveCriticalSection(&section);
        return 0u;
      }));
    }
    Sleep(100);
    LeaveCriticalSection(&section);
  }
  EXPECT_EQ(order, (std::vector<int>{4, 3, 2, 1, 0}));
  DeleteCriticalSection(&section);
}

TEST(KernelCriticalSections, KeepACountWholeUnderContentionInRealTime) {
  CRITICAL_SECTION section;
  InitializeCriticalSection(&section);
  int count = 0;
  {
    std::vector<std::unique_ptr<TestThread>> threads;
    for (int index = 0; index < 4; ++index) {
      threads.push_back(std::make_unique<TestThread>([&] {
        for (int turn = 0; turn < 2000; ++turn) {
          EnterCriticalSection(&section);
          ++count;
          LeaveCriticalSection(&section);
        }
        return 0u;
      }));
    }
  }
  EXPECT_EQ(count, 8000);
  DeleteCriticalSection(&section);
}

}  // namespace
