// Threads and their ends, and programs run as processes of their own.

#include <gtest/gtest.h>

#include <atomic>
#include <cerrno>
#include <cstdlib>
#include <vector>

#include "kernel_support.h"
#include "platform/messages.h"
#include "platform/system.h"

namespace {

using kernel_test::TestThread;

HLOCAL kept_memory = nullptr;  // what a process leaves behind

TEST(KernelThreads, AThreadHasAnIdentifierAndItsHandleIsSetAtItsEnd) {
  DWORD inside = 0;
  TestThread thread([&] {
    inside = GetCurrentThreadId();
    return 42u;
  });
  EXPECT_EQ(WaitForSingleObject(thread.handle(), INFINITE), WAIT_OBJECT_0);
  EXPECT_NE(inside, 0u);
  EXPECT_EQ(inside, thread.id());
  EXPECT_NE(inside, GetCurrentThreadId());
  EXPECT_EQ(thread.exit_code(), 42u);
}

TEST(KernelThreads, AThreadWithoutAFunctionIsRefused) {
  errno = 0;
  EXPECT_EQ(_beginthreadex(nullptr, 0, nullptr, nullptr, 0, nullptr), 0u);
  EXPECT_EQ(errno, 22);
  EXPECT_EQ(_doserrno, 87u);
}

TEST(KernelThreads, EndthreadexEndsTheCallerWithItsCode) {
  bool after = false;
  TestThread thread([&]() -> unsigned {
    _endthreadex(7);
    after = true;
    return 1;
  });
  EXPECT_EQ(WaitForSingleObject(thread.handle(), INFINITE), WAIT_OBJECT_0);
  EXPECT_EQ(thread.exit_code(), 7u);
  EXPECT_FALSE(after);
}

TEST(KernelThreads, TerminateThreadUnwindsASleeperAtOnce) {
  platform::VirtualTime time;
  bool destroyed = false;
  bool after = false;
  struct Mark {
    bool* flag;
    ~Mark() { *flag = true; }
  };
  TestThread sleeper([&] {
    const Mark mark{&destroyed};
    Sleep(3600 * 1000);
    after = true;
    return 0u;
  });
  Sleep(10);
  EXPECT_EQ(sleeper.exit_code(), static_cast<DWORD>(STILL_ACTIVE));
  EXPECT_TRUE(TerminateThread(sleeper.handle(), 5));
  EXPECT_EQ(WaitForSingleObject(sleeper.handle(), INFINITE), WAIT_OBJECT_0);
  EXPECT_EQ(time.elapsed_ms(), 10);
  EXPECT_EQ(sleeper.exit_code(), 5u);
  EXPECT_TRUE(destroyed);
  EXPECT_FALSE(after);
  EXPECT_TRUE(TerminateThread(sleeper.handle(), 6)) << "it has ended already";
  EXPECT_EQ(sleeper.exit_code(), 5u);
}

TEST(KernelThreads, TerminateThreadNeverThrowsThroughADestructor) {
  platform::VirtualTime time;
  DWORD inside = 0;
  struct Waits {
    DWORD* result;
    HANDLE event;
    ~Waits() { *result = WaitForSingleObject(event, INFINITE); }
  };
  const HANDLE never = CreateEventA(nullptr, TRUE, FALSE, nullptr);
  TestThread thread([&] {
    const Waits waits{&inside, never};
    Sleep(INFINITE);
    return 0u;
  });
  Sleep(1);
  TerminateThread(thread.handle(), 3);
  EXPECT_EQ(WaitForSingleObject(thread.handle(), INFINITE), WAIT_OBJECT_0);
  EXPECT_EQ(inside, WAIT_FAILED);
  CloseHandle(never);
}

TEST(KernelMessages, AWaitSeesAMessageOnceUntilTheThreadLooks) {
  platform::VirtualTime time;
  const HANDLE event = CreateEventA(nullptr, TRUE, FALSE, nullptr);
  std::vector<DWORD> results;
  std::vector<UINT> messages;
  TestThread thread([&] {
    for (int turn = 0; turn < 2; ++turn) {
      results.push_back(MsgWaitForMultipleObjects(1, &event, FALSE, 10000, 255));
      if (results.back() != WAIT_OBJECT_0 + 1) continue;
      MSG message{};
      EXPECT_EQ(GetMessageA(&message, nullptr, 0, 0), 1);
      messages.push_back(message.message);
      EXPECT_FALSE(TranslateMessage(&message));
      EXPECT_EQ(DispatchMessageA(&message), 0);
    }
    return 0u;
  });
  Sleep(1);
  EXPECT_TRUE(PostThreadMessageA(thread.id(), WM_USER + 1, 1, 2));
  EXPECT_TRUE(WaitForSingleObject(thread.handle(), INFINITE) == WAIT_OBJECT_0);
  EXPECT_EQ(results, (std::vector<DWORD>{WAIT_OBJECT_0 + 1, WAIT_TIMEOUT}));
  EXPECT_EQ(messages, (std::vector<UINT>{WM_USER + 1}));
  EXPECT_FALSE(PostThreadMessageA(thread.id(), WM_USER, 0, 0));
  EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_INVALID_THREAD_ID));
  CloseHandle(event);
}

TEST(KernelMessages, QuitEndsTheLoop) {
  platform::VirtualTime time;
  TestThread thread([] {
    MSG message{};
    unsigned handled = 0;
    PeekMessageA(&message, nullptr, 0, 0, PM_NOREMOVE);
    while (GetMessageA(&message, nullptr, 0, 0) == 1) ++handled;
    return handled;
  });
  Sleep(1);
  PostThreadMessageA(thread.id(), WM_USER, 0, 0);
  PostThreadMessageA(thread.id(), WM_USER, 0, 0);
  PostThreadMessageA(thread.id(), WM_QUIT, 0, 0);
  WaitForSingleObject(thread.handle(), INFINITE);
  EXPECT_EQ(thread.exit_code(), 2u);
}

TEST(KernelMessages, AClassWithoutANameIsRefusedATwinToo) {
  WNDCLASSA window_class{};
  window_class.lpfnWndProc = DefWindowProcA;
  EXPECT_EQ(RegisterClassA(&window_class), 0);
  EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_INVALID_PARAMETER));
  window_class.lpszClassName = "Named";
  EXPECT_NE(RegisterClassA(&window_class), 0);
  window_class.lpszClassName = "NAMED";
  EXPECT_EQ(RegisterClassA(&window_class), 0);
  EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_CLASS_ALREADY_EXISTS));
}

TEST(KernelProcess, ExitProcessRecordsTheCodeAndEndsEveryThread) {
  platform::VirtualTime time;
  std::atomic<int> ended{0};
  platform::SimulatedProcess process([&] {
    struct Mark {
      std::atomic<int>* count;
      ~Mark() { ++*count; }
    };
    static std::atomic<int>* count;
    count = &ended;
    EXPECT_NE(_beginthreadex(
                  nullptr, 0,
                  [](void*) -> unsigned {
                    const Mark mark{count};
                    Sleep(INFINITE);
                    return 0;
                  },
                  nullptr, 0, nullptr),
              0u);
    const Mark mark{&ended};
    Sleep(10);
    ExitProcess(9);
  });
  EXPECT_TRUE(process.wait_for_exit(1000));
  EXPECT_TRUE(process.exited());
  EXPECT_EQ(process.exit_code(), 9u);
  EXPECT_EQ(ended, 2);
  EXPECT_EQ(time.elapsed_ms(), 10);
}

TEST(KernelProcess, TheRunTimesExitEndsOnlyTheSimulatedProcess) {
  platform::VirtualTime time;
  bool after = false;
  platform::SimulatedProcess process([&] {
    exit(1);
    after = true;
  });
  EXPECT_TRUE(process.wait_for_exit(1000));
  EXPECT_EQ(process.exit_code(), 1u);
  EXPECT_FALSE(after);
}

TEST(KernelProcess, EndthreadexOnItsMainThreadLeavesTheOthersRunning) {
  platform::VirtualTime time;
  std::atomic<bool> worked{false};
  platform::SimulatedProcess process([&] {
    static std::atomic<bool>* flag;
    flag = &worked;
    _beginthreadex(
        nullptr, 0,
        [](void*) -> unsigned {
          Sleep(60000);
          *flag = true;
          return 4;
        },
        nullptr, 0, nullptr);
    _endthreadex(77);
  });
  EXPECT_FALSE(process.wait_for_exit(59999));
  EXPECT_FALSE(worked);
  EXPECT_TRUE(process.wait_for_exit(10));
  EXPECT_TRUE(worked);
  EXPECT_EQ(time.elapsed_ms(), 60000);
  EXPECT_EQ(process.exit_code(), 4u) << "the last thread's code is the process's";
}

TEST(KernelProcess, NamedEventsAndLiveObjectsGoWithIt) {
  platform::VirtualTime time;
  const auto before = platform::accounting::live();
  {
    platform::SimulatedProcess process([] {
      CreateEventA(nullptr, TRUE, TRUE, "DCWSHUTDOWN");
      static CRITICAL_SECTION section;
      InitializeCriticalSection(&section);
      kept_memory = LocalAlloc(LMEM_FIXED, 10);
      ExitProcess(0);
    });
    EXPECT_TRUE(process.wait_for_exit(1000));
    EXPECT_NE(kept_memory, nullptr);
    const auto left = process.left_alive();
    EXPECT_EQ(left.at("event"), 1);
    EXPECT_EQ(left.at("critical section"), 1);
    EXPECT_EQ(left.at("local memory"), 1);
    EXPECT_EQ(left.count("running thread"), 0u);
  }
  EXPECT_EQ(platform::accounting::live(), before);
  const HANDLE event = CreateEventA(nullptr, TRUE, FALSE, "DCWSHUTDOWN");
  EXPECT_EQ(GetLastError(), 0u);
  EXPECT_EQ(WaitForSingleObject(event, 0), static_cast<DWORD>(WAIT_TIMEOUT));
  CloseHandle(event);
}

TEST(KernelProcess, KillEndsAThreadThatHoldsALockOthersWantWhileTheyUnwind) {
  platform::VirtualTime time;
  static CRITICAL_SECTION section;
  InitializeCriticalSection(&section);
  struct Locks {
    ~Locks() {
      EnterCriticalSection(&section);
      LeaveCriticalSection(&section);
    }
  };
  {
    platform::SimulatedProcess process([] {
      static auto holder = [](void*) -> unsigned {
        EnterCriticalSection(&section);
        Sleep(INFINITE);
        return 0;
      };
      static auto wanter = [](void*) -> unsigned {
        const Locks locks;
        Sleep(INFINITE);
        return 0;
      };
      _beginthreadex(nullptr, 0, holder, nullptr, 0, nullptr);
      _beginthreadex(nullptr, 0, wanter, nullptr, 0, nullptr);
      Sleep(INFINITE);
    });
    Sleep(100);
    process.kill(3);
    EXPECT_TRUE(process.wait_for_exit(1000));
    EXPECT_EQ(process.exit_code(), 3u);
  }
  DeleteCriticalSection(&section);
}

TEST(KernelProcess, ItsIdentifierIsItsOwn) {
  platform::VirtualTime time;
  DWORD inside = 0;
  platform::SimulatedProcess process([&] {
    inside = GetCurrentProcessId();
    ExitProcess(0);
  });
  EXPECT_TRUE(process.wait_for_exit(1000));
  EXPECT_NE(inside, 0u);
  EXPECT_NE(inside, GetCurrentProcessId());
}

TEST(KernelProcessDeathTest, ExitProcessEndsARealProcessWithThreadsRunning) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_EXIT(
      {
        TestThread sleeper([] {
          Sleep(INFINITE);
          return 0u;
        });
        ExitProcess(23);
      },
      testing::ExitedWithCode(23), "");
}

TEST(KernelProcessDeathTest, EndthreadexOnARealMainThreadWaitsForTheLastThread) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_EXIT(
      {
        _beginthreadex(
            nullptr, 0,
            [](void*) -> unsigned {
              Sleep(50);
              return 31;
            },
            nullptr, 0, nullptr);
        _endthreadex(1);
      },
      testing::ExitedWithCode(31), "");
}

}  // namespace
