// The trace library: which flags apply, and what stands in the file.

#include "trace.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>

#include "framework/trc/control.h"
#include "platform/control.h"
#include "platform/environment.h"
#include "platform/threads.h"

namespace {

using testing::ElementsAre;

int count_up(int value) {
  DCW_TRACE("count_up");
  trace.always()("value %d\n", value);
  trace.detail()("detail %d", value);
  trace.error()("error %d", value);
  return trace.returns(value + 1);
}

void no_result() { DCW_TRACE("no_result"); }

std::string read(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  std::ostringstream text;
  text << file.rdbuf();
  return text.str();
}

std::string thread_text() {
  char text[16];
  std::snprintf(text, sizeof text, "%08x", static_cast<unsigned>(GetCurrentThreadId()));
  return text;
}

class Trace : public testing::Test {
 protected:
  Trace() {
    trc::reset();
    folder_ = testing::TempDir() + "/dirwatch_trace_" + std::to_string(GetCurrentThreadId()) +
              testing::UnitTest::GetInstance()->current_test_info()->name();
    std::filesystem::remove_all(folder_);
    std::filesystem::create_directories(folder_);
    path_ = folder_ + "/trace.log";
  }
  ~Trace() override {
    SYS1_PutEnv("TRC_TRC1=");
    trc::reset();
    std::filesystem::remove_all(folder_);
  }
  void open(std::uint64_t rotate_bytes = 10u << 20, std::uint32_t keep = 5) {
    trc::forget_early_lines();
    std::string error;
    ASSERT_TRUE(trc::open_file({path_, rotate_bytes, keep}, error)) << error;
  }

  std::string folder_;
  std::string path_;
};

TEST_F(Trace, WithoutASettingErrorsAreTracedAndDetailIsNot) {
  const trc::Capture capture;
  count_up(1);
  EXPECT_THAT(capture.texts(), ElementsAre("value 1", "error 1"));
}

TEST_F(Trace, FlagsTakeEffectAtTheNextEntry) {
  const trc::Capture capture;
  trc::set_flags(0);
  count_up(1);
  trc::set_flags(1);
  count_up(2);
  trc::set_flags(1 | 128);
  count_up(3);
  EXPECT_THAT(capture.texts(),
              ElementsAre("value 1", "value 2", "detail 2", "value 3", "detail 3", "error 3"));
}

TEST_F(Trace, AChangeWithinACallWaitsForTheNext) {
  const trc::Capture capture;
  trc::set_flags(0);
  DCW_TRACE("AChangeWithinACall");
  trc::set_flags(1);
  trace.detail()("not yet");
  EXPECT_TRUE(capture.texts().empty());
}

TEST_F(Trace, AUnitsOwnFlagsGoBeforeTheFlagsOfAll) {
  trc::set_flags(0);
  {
    const trc::Capture capture;
    trc::set_unit_flags("count_up", 1);
    count_up(1);
    EXPECT_THAT(capture.texts(), ElementsAre("value 1", "detail 1"));
  }
  {
    // A function goes before its file.
    const trc::Capture capture;
    trc::set_unit_flags("trace_test.cpp", 128);
    count_up(2);
    EXPECT_THAT(capture.texts(), ElementsAre("value 2", "detail 2"));
  }
  {
    const trc::Capture capture;
    trc::clear_unit_flags();
    trc::set_unit_flags("trace_test.cpp", 128);
    count_up(3);
    EXPECT_THAT(capture.texts(), ElementsAre("value 3", "error 3"));
  }
  const trc::Capture capture;
  trc::clear_unit_flags();
  count_up(4);
  EXPECT_THAT(capture.texts(), ElementsAre("value 4"));
}

TEST_F(Trace, SyncGivesTheFlagsAndFillsTheRecord) {
  TRC1_FileRecord file = {"/src/agent/main.cpp", 19, "", 0, "", 0, "", 0};
  TRC1_UnitRecord unit = {&file, "Main", 4, 10, &TRC1_Generation, TRC1_UnitOptions, 0, 0};
  trc::set_flags(64);
  trc::set_unit_flags("main.cpp", 17);
  const std::uint32_t generation = TRC1_Generation;
  EXPECT_EQ(TRC1_Sync(&unit), 17u);
  EXPECT_EQ(unit.cached_flags, 17u);
  EXPECT_EQ(unit.cached_generation, generation);
  trc::set_flags(65);
  EXPECT_NE(TRC1_Generation, generation);
}

TEST_F(Trace, FlowEventsStandAtEntryAndExitWithTheResult) {
  const trc::Capture capture;
  trc::set_flags(64);
  count_up(41);
  no_result();
  const auto lines = capture.lines();
  ASSERT_EQ(lines.size(), 5u);
  EXPECT_EQ(lines[0].kind, trc::Kind::kEntry);
  EXPECT_EQ(lines[0].function, "count_up");
  EXPECT_EQ(lines[0].file, "trace_test.cpp");
  EXPECT_EQ(lines[1].kind, trc::Kind::kText);
  EXPECT_EQ(lines[2].kind, trc::Kind::kExit);
  EXPECT_EQ(lines[2].text, "Exit 42");
  EXPECT_EQ(lines[2].source_line, lines[0].source_line + 4);
  EXPECT_EQ(lines[4].text, "Exit");
}

TEST_F(Trace, TheEnvironmentMayHoldTheFirstFlags) {
  struct Case {
    const char* assignment;
    std::uint32_t flags;
  };
  // What is no flag word counts as if it were not there.
  const Case cases[] = {{"TRC_TRC1=1", 1},     {"TRC_TRC1=0x41", 0x41},
                        {"TRC_TRC1=193", 193}, {"TRC_TRC1=ERROR", 128},
                        {"TRC_TRC1=12x", 128}, {"TRC_TRC1=-1", 128},
                        {"TRC_TRC1=", 128},    {"TRC_TRC1=0xFFFFFFFFF", 128}};
  for (const Case& one : cases) {
    ASSERT_EQ(SYS1_PutEnv(one.assignment), 0);
    TRC1_UnitRecord unit = {nullptr, "f", 1, 1, &TRC1_Generation, TRC1_UnitOptions, 0, 0};
    EXPECT_EQ(TRC1_Sync(&unit), one.flags) << one.assignment;
  }
  trc::set_flags(5);
  ASSERT_EQ(SYS1_PutEnv("TRC_TRC1=7"), 0);
  TRC1_UnitRecord unit = {nullptr, "f", 1, 1, &TRC1_Generation, TRC1_UnitOptions, 0, 0};
  EXPECT_EQ(TRC1_Sync(&unit), 5u);  // said by somebody: the environment no longer counts
}

TEST_F(Trace, ALineOnDiskCarriesTimeThreadPlaceAndText) {
  const platform::VirtualTime time;  // 2 January 2011, 03:04:05
  open();
  TRC1_FileRecord file = {"/src/counters/adpdh.cpp", 23, "", 0, "", 0, "", 0};
  TRC1_UnitRecord unit = {&file, "CollectData", 11, 100, &TRC1_Generation, TRC1_UnitOptions, 0, 0};
  TRC1_Printf(&unit, 123, "status %x of %s\n", 0xc0000bb9u, "counter");
  Sleep(1234);
  TRC1_Event(&unit, 130, TRC1_ExitWithResult, -1);
  EXPECT_EQ(read(path_), "2011-01-02T03:04:05.000Z " + thread_text() +
                             " adpdh.cpp:123 CollectData status c0000bb9 of counter\n"
                             "2011-01-02T03:04:06.234Z " +
                             thread_text() + " adpdh.cpp:130 CollectData Exit -1\n");
}

TEST_F(Trace, TextFromOutsideCannotPassForALineOfItsOwn) {
  const platform::VirtualTime time;
  open();
  TRC1_UnitRecord unit = {nullptr, "f", 1, 1, &TRC1_Generation, TRC1_UnitOptions, 0, 0};
  TRC1_Printf(&unit, 7, "one\r\n2011-01-02T03:04:05.000Z two\x1b[0m\n");
  EXPECT_EQ(read(path_), "2011-01-02T03:04:05.000Z " + thread_text() +
                             " :7 f one\n\t| 2011-01-02T03:04:05.000Z two?[0m\n");
}

TEST_F(Trace, ADumpShowsOffsetsBytesAndCharacters) {
  const trc::Capture capture;
  TRC1_UnitRecord unit = {nullptr, "f", 1, 1, &TRC1_Generation, TRC1_UnitOptions, 0, 0};
  TRC1_Dump(&unit, 7, "0123456789abcdefAB\xff", 19, "blanksTrails len=%d size=%d", 19, 4);
  ASSERT_EQ(capture.lines().size(), 1u);
  EXPECT_EQ(capture.lines()[0].kind, trc::Kind::kDump);
  EXPECT_EQ(capture.lines()[0].text,
            "blanksTrails len=19 size=4\n"
            "00000000  30 31 32 33 34 35 36 37 38 39 61 62 63 64 65 66  0123456789abcdef\n"
            "00000010  41 42 ff                                         AB.");
}

TEST_F(Trace, ALongTextIsWhole) {
  const trc::Capture capture;
  const std::string text(5000, 'x');
  TRC1_UnitRecord unit = {nullptr, "f", 1, 1, &TRC1_Generation, TRC1_UnitOptions, 0, 0};
  TRC1_Printf(&unit, 7, "%s", text.c_str());
  EXPECT_EQ(capture.count(text), 1u);
  EXPECT_TRUE(capture.contains("xxx"));
  EXPECT_FALSE(capture.contains("xyx"));
}

TEST_F(Trace, FilesRotateBySizeAndOnlySoManyAreKept) {
  const platform::VirtualTime time;
  TRC1_UnitRecord unit = {nullptr, "f", 1, 1, &TRC1_Generation, TRC1_UnitOptions, 0, 0};
  const std::size_t line_size =
      std::string("2011-01-02T03:04:05.000Z 00000000 :1 f line 0\n").size();
  open(2 * line_size, 2);
  for (int line = 0; line < 7; ++line) TRC1_Printf(&unit, 1, "line %d", line);
  const std::string head = "2011-01-02T03:04:05.000Z " + thread_text() + " :1 f line ";
  EXPECT_EQ(read(path_), head + "6\n");
  EXPECT_EQ(read(path_ + ".1"), head + "4\n" + head + "5\n");
  EXPECT_EQ(read(path_ + ".2"), head + "2\n" + head + "3\n");
  EXPECT_FALSE(std::filesystem::exists(path_ + ".3"));
}

TEST_F(Trace, AFileThatIsThereIsAppendedToAndCountsForRotation) {
  TRC1_UnitRecord unit = {nullptr, "f", 1, 1, &TRC1_Generation, TRC1_UnitOptions, 0, 0};
  std::ofstream(path_) << std::string(100, '.') << '\n';
  open(120, 1);
  TRC1_Printf(&unit, 1, "fresh");
  EXPECT_EQ(read(path_ + ".1"), std::string(100, '.') + '\n');
  EXPECT_THAT(read(path_), testing::EndsWith(" :1 f fresh\n"));
}

TEST_F(Trace, AFileThatCannotBeRotatedGoesOnGrowingAndSaysSoOnce) {
  TRC1_UnitRecord unit = {nullptr, "f", 1, 1, &TRC1_Generation, TRC1_UnitOptions, 0, 0};
  // A folder with something in it stands where the rotated file should go.
  std::filesystem::create_directories(path_ + ".1/full");
  open(200, 1);
  const trc::Capture capture;
  for (int line = 0; line < 30; ++line) TRC1_Printf(&unit, 1, "line %d", line);
  const std::string text = read(path_);
  for (int line = 0; line < 30; ++line) {
    EXPECT_THAT(text, testing::HasSubstr(" :1 f line " + std::to_string(line) + "\n"));
  }
  EXPECT_TRUE(capture.contains("trace file: " + path_ + ": not rotated: "));
}

TEST_F(Trace, LinesFromBeforeTheFileWasNamedStandAtItsHead) {
  TRC1_UnitRecord unit = {nullptr, "Main", 4, 1, &TRC1_Generation, TRC1_UnitOptions, 0, 0};
  TRC1_Printf(&unit, 1, "early");
  std::string error;
  ASSERT_TRUE(trc::open_file({path_, 1000, 1}, error)) << error;
  TRC1_Printf(&unit, 2, "late");
  const std::string text = read(path_);
  EXPECT_THAT(text, testing::HasSubstr(" :1 Main early\n"));
  EXPECT_THAT(text, testing::EndsWith(" :2 Main late\n"));
}

TEST_F(Trace, AFileThatCannotBeOpenedGivesItsReason) {
  std::string error;
  EXPECT_FALSE(trc::open_file({folder_ + "/missing/trace.log", 1000, 1}, error));
  EXPECT_EQ(error, folder_ + "/missing/trace.log: No such file or directory");
}

TEST_F(Trace, NoLineIsLostWhenTheProcessEndsAtOnce) {
  const std::string path = testing::TempDir() + "/dirwatch_trace_exit.log";
  const auto trace_and_end = [&path] {
    std::remove(path.c_str());
    trc::FileSettings settings;
    settings.path = path;
    std::string error;
    trc::open_file(settings, error);
    TRC1_UnitRecord unit = {nullptr, "f", 1, 1, &TRC1_Generation, TRC1_UnitOptions, 0, 0};
    for (int line = 0; line < 1000; ++line) TRC1_Printf(&unit, 1, "line %d", line);
    std::_Exit(7);
  };
  testing::FLAGS_gtest_death_test_style = "threadsafe";
  EXPECT_EXIT(trace_and_end(), testing::ExitedWithCode(7), "");
  EXPECT_THAT(read(path), testing::EndsWith(" :1 f line 999\n"));
  std::remove(path.c_str());
}

TEST_F(Trace, TheConsoleIsStandardError) {
  const platform::VirtualTime time;
  TRC1_UnitRecord unit = {nullptr, "f", 1, 1, &TRC1_Generation, TRC1_UnitOptions, 0, 0};
  testing::internal::CaptureStderr();
  trc::set_console(true);
  TRC1_Printf(&unit, 1, "seen");
  trc::set_console(false);
  TRC1_Printf(&unit, 1, "unseen");
  EXPECT_EQ(testing::internal::GetCapturedStderr(),
            "2011-01-02T03:04:05.000Z " + thread_text() + " :1 f seen\n");
}

unsigned __stdcall trace_much(void*) {
  for (int line = 0; line < 500; ++line) count_up(line);
  return 0;
}

TEST_F(Trace, ManyThreadsTraceWhileSettingsChange) {
  open(4096, 2);
  const trc::Capture capture;
  HANDLE threads[4];
  for (HANDLE& thread : threads) {
    thread = reinterpret_cast<HANDLE>(_beginthreadex(nullptr, 0, trace_much, nullptr, 0, nullptr));
    ASSERT_NE(thread, nullptr);
  }
  for (std::uint32_t round = 0; round < 200; ++round) {
    trc::set_flags(round);
    trc::set_unit_flags("count_up", round % 2);
  }
  for (HANDLE thread : threads) {
    EXPECT_EQ(WaitForSingleObject(thread, INFINITE), WAIT_OBJECT_0);
    CloseHandle(thread);
  }
  EXPECT_EQ(capture.count("value 499"), 4u);
}

TEST(EnvironmentAccess, WhatIsSetIsSeenByGetenv) {
  EXPECT_EQ(SYS1_PutEnv("DCW_FRAMEWORK_TEST=one"), 0);
  EXPECT_STREQ(std::getenv("DCW_FRAMEWORK_TEST"), "one");
  EXPECT_STREQ(SYS1_GetEnv("DCW_FRAMEWORK_TEST", 0), "one");
  EXPECT_EQ(SYS1_PutEnv("DCW_FRAMEWORK_TEST=two=2"), 0);
  EXPECT_STREQ(SYS1_GetEnv("DCW_FRAMEWORK_TEST", 0), "two=2");
  EXPECT_EQ(SYS1_GetEnv("DCW_FRAMEWORK_NOT_SET", 0), nullptr);
}

TEST(EnvironmentAccess, SettingAnEqualValueLeavesTheTextWhereItIs) {
  ASSERT_EQ(SYS1_PutEnv("DCW_FRAMEWORK_TEST=same"), 0);
  const char* const before = std::getenv("DCW_FRAMEWORK_TEST");
  EXPECT_EQ(SYS1_PutEnv("DCW_FRAMEWORK_TEST=same"), 0);
  EXPECT_EQ(std::getenv("DCW_FRAMEWORK_TEST"), before);
}

TEST(EnvironmentAccess, WhatIsNoAssignmentIsRefused) {
  EXPECT_NE(SYS1_PutEnv("NOEQUALSSIGN"), 0);
  EXPECT_NE(SYS1_PutEnv("=value"), 0);
  EXPECT_NE(SYS1_PutEnv(nullptr), 0);
  EXPECT_EQ(SYS1_GetEnv(nullptr, 0), nullptr);
}

// What the threads of the lock tests share.
struct Contest {
  SYS1_Lock lock;
  std::atomic<int> inside{0};
  std::atomic<int> overlaps{0};
  std::atomic<int> order_next{0};
  int order[3] = {};
};

struct Contender {
  Contest* contest;
  int number;
};

unsigned __stdcall contend(void* argument) {
  const auto* const me = static_cast<Contender*>(argument);
  Sleep(static_cast<DWORD>(me->number));  // arrive in the order of the numbers
  SYS1_GetLock(&me->contest->lock);
  if (me->contest->inside.fetch_add(1) != 0) me->contest->overlaps.fetch_add(1);
  me->contest->order[me->contest->order_next.fetch_add(1)] = me->number;
  Sleep(100);
  me->contest->inside.fetch_sub(1);
  SYS1_ReleaseLock(&me->contest->lock);
  return 0;
}

TEST(Lock, LetsOneInAtATimeInTheOrderOfArrivalAndTakesPartInVirtualTime) {
  const platform::VirtualTime time;
  const auto before = platform::accounting::live();
  Contest contest;
  Contender contenders[3] = {{&contest, 1}, {&contest, 2}, {&contest, 3}};
  HANDLE threads[3];
  for (int index = 0; index < 3; ++index) {
    threads[index] = reinterpret_cast<HANDLE>(
        _beginthreadex(nullptr, 0, contend, &contenders[index], 0, nullptr));
  }
  for (HANDLE thread : threads) {
    EXPECT_EQ(WaitForSingleObject(thread, INFINITE), WAIT_OBJECT_0);
    CloseHandle(thread);
  }
  EXPECT_EQ(contest.overlaps, 0);
  EXPECT_THAT(contest.order, ElementsAre(1, 2, 3));
  EXPECT_EQ(time.elapsed_ms(), 301);
  EXPECT_EQ(contest.lock.implementation.load(), nullptr);
  EXPECT_EQ(platform::accounting::live(), before);
}

unsigned __stdcall release_later(void* lock) {
  Sleep(5000);
  SYS1_ReleaseLock(static_cast<SYS1_Lock*>(lock));
  return 0;
}

TEST(Lock, MayBeReleasedByAnotherThread) {
  const platform::VirtualTime time;
  SYS1_Lock lock;
  SYS1_GetLock(&lock);
  const HANDLE thread =
      reinterpret_cast<HANDLE>(_beginthreadex(nullptr, 0, release_later, &lock, 0, nullptr));
  SYS1_GetLock(&lock);  // not recursive: waits until it was released
  EXPECT_EQ(time.elapsed_ms(), 5000);
  SYS1_ReleaseLock(&lock);
  WaitForSingleObject(thread, INFINITE);
  CloseHandle(thread);
}

unsigned __stdcall take_and_keep(void* lock) {
  SYS1_GetLock(static_cast<SYS1_Lock*>(lock));
  SYS1_ReleaseLock(static_cast<SYS1_Lock*>(lock));
  return 0;
}

TEST(Lock, AThreadThatIsEndedWhileItWaitsLeavesTheQueue) {
  const platform::VirtualTime time;
  SYS1_Lock lock;
  SYS1_GetLock(&lock);
  HANDLE threads[2];
  for (HANDLE& thread : threads) {
    thread = reinterpret_cast<HANDLE>(_beginthreadex(nullptr, 0, take_and_keep, &lock, 0, nullptr));
    Sleep(1);
  }
  EXPECT_TRUE(TerminateThread(threads[0], 0));
  EXPECT_EQ(WaitForSingleObject(threads[0], INFINITE), WAIT_OBJECT_0);
  SYS1_ReleaseLock(&lock);
  EXPECT_EQ(WaitForSingleObject(threads[1], 1000), WAIT_OBJECT_0);
  EXPECT_EQ(lock.implementation.load(), nullptr);
  for (HANDLE thread : threads) CloseHandle(thread);
}

}  // namespace
