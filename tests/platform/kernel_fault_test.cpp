// Faults by name and count, and accounts that balance.

#include <gtest/gtest.h>

#include <cerrno>

#include "kernel_support.h"
#include "platform/files.h"
#include "platform/system.h"

namespace {

using Counts = std::vector<std::pair<std::string, std::uint32_t>>;

class KernelFaults : public testing::Test {
 protected:
  ~KernelFaults() override { platform::faults::clear(); }
};

TEST_F(KernelFaults, TheNthCallFailsAndOnlyThat) {
  platform::faults::fail("CreateEventA", 2);
  const HANDLE first = CreateEventA(nullptr, TRUE, FALSE, nullptr);
  EXPECT_FALSE(platform::faults::struck());
  EXPECT_EQ(CreateEventA(nullptr, TRUE, FALSE, nullptr), nullptr);
  EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_NOT_ENOUGH_MEMORY));
  EXPECT_TRUE(platform::faults::struck());
  const HANDLE third = CreateEventA(nullptr, TRUE, FALSE, nullptr);
  EXPECT_NE(third, nullptr);
  CloseHandle(first);
  CloseHandle(third);
}

TEST_F(KernelFaults, EveryCallFailsWithTheCodeGivenUntilCleared) {
  const HANDLE event = CreateEventA(nullptr, TRUE, TRUE, nullptr);
  platform::faults::fail("WaitForSingleObject", 0, ERROR_ACCESS_DENIED);
  for (int turn = 0; turn < 3; ++turn) {
    SetLastError(0);
    EXPECT_EQ(WaitForSingleObject(event, 0), WAIT_FAILED);
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_ACCESS_DENIED));
  }
  platform::faults::clear();
  EXPECT_FALSE(platform::faults::struck());
  EXPECT_EQ(WaitForSingleObject(event, 0), WAIT_OBJECT_0);
  CloseHandle(event);
}

TEST_F(KernelFaults, AFailingThreadStartTellsItsErrno) {
  platform::faults::fail("_beginthreadex", 1);
  errno = 0;
  const auto start = [](void*) { return 0u; };
  EXPECT_EQ(_beginthreadex(nullptr, 0, start, nullptr, 0, nullptr), 0u);
  EXPECT_EQ(errno, 11);
  platform::faults::fail("_beginthreadex", 1, 22);
  EXPECT_EQ(_beginthreadex(nullptr, 0, start, nullptr, 0, nullptr), 0u);
  EXPECT_EQ(errno, 22);
}

TEST_F(KernelFaults, CallsAreCountedInTheOrderOfFirstReach) {
  platform::faults::reset_counts();
  const HANDLE event = CreateEventA(nullptr, TRUE, TRUE, nullptr);
  SetEvent(event);
  SetEvent(event);
  CloseHandle(event);
  EXPECT_EQ(platform::faults::reached(),
            (Counts{{"CreateEventA", 1}, {"SetEvent", 2}, {"CloseHandle", 1}}));
  platform::faults::reset_counts();
  EXPECT_TRUE(platform::faults::reached().empty());
}

TEST(KernelAccounting, ReturnsToWhereItWas) {
  const auto before = platform::accounting::live();
  const HANDLE event = CreateEventA(nullptr, TRUE, FALSE, nullptr);
  CRITICAL_SECTION section;
  InitializeCriticalSection(&section);
  const HLOCAL memory = LocalAlloc(LPTR, 16);
  FILE* pipe = _popen("true", "rt");
  ASSERT_NE(pipe, nullptr);
  {
    kernel_test::TestThread thread([&] { return WaitForSingleObject(event, INFINITE); });
    const auto during = platform::accounting::live();
    for (const char* kind :
         {"event", "critical section", "local memory", "pipe", "thread", "running thread"}) {
      const auto was = before.count(kind) != 0 ? before.at(kind) : 0;
      ASSERT_EQ(during.count(kind), 1u) << kind;
      EXPECT_EQ(during.at(kind), was + 1) << kind;
    }
    SetEvent(event);
  }
  EXPECT_EQ(_pclose(pipe), 0);
  EXPECT_EQ(LocalFree(memory), nullptr);
  DeleteCriticalSection(&section);
  CloseHandle(event);
  EXPECT_EQ(platform::accounting::live(), before);
}

}  // namespace
