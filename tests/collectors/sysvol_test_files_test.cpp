// The files of the sysvol test: their content, their deletion, and the stop that leaves none
// behind.

#include "collectors/sysvol_test_files.h"

#include <gtest/gtest.h>

#include "agent/agent_thread.h"
#include "tests/collectors/sysvol_machine.h"
#include "tests/support/slow_controller.h"

namespace {

using namespace sysvol_test;

// The stop in each phase of a test: the thread ends, and no file is left anywhere.
class SysvolStop : public Sysvol, public ::testing::WithParamInterface<int> {};

TEST_P(SysvolStop, LeavesNoFileBehind) {
  start();
  at(1);
  write(path_on("DC2", kStamp), kStamp);
  write(path_on("DC3", kStamp), kStamp);
  at(GetParam());
  StopService();
  EXPECT_EQ(GetParam(), time_->elapsed_ms());
  EXPECT_EQ(WAIT_OBJECT_0, WaitForSingleObject(g_sysvolThreadHandle, 1000));
  expect_no_file_of(kStamp);
  EXPECT_FALSE(trace_.contains("Terminate Thread failed"));
  // Nothing more happens.
  at(1000000);
  EXPECT_FALSE(exists(path_on("DC1", "2011_01_02_03_14_20_000")));
}
INSTANTIATE_TEST_SUITE_P(Phases, SysvolStop,
                         ::testing::Values(2,        // in the gap, just begun
                                           14999,    // and at its end
                                           15001,    // between forcing and verification
                                           134999,   // and at its end
                                           135001,   // in the pause
                                           614999),  // and at its end
                         [](const auto& moment) { return "At" + std::to_string(moment.param); });

TEST_F(Sysvol, StopOfALaterTestLeavesNoFileBehind) {
  start();
  at(620000);
  ASSERT_TRUE(exists(path_on("DC1", "2011_01_02_03_14_20_000")));
  StopService();
  expect_no_file_of("2011_01_02_03_14_20_000");
}

TEST_F(Sysvol, StopWhileATestWaitsToForceLeavesNoFileBehind) {
  start();
  at(10000);
  ASSERT_TRUE(ResetEvent(g_sysvolClearEvent));
  const UniqueHandle holder{_beginthreadex(
      nullptr, 0,
      [](void*) -> unsigned {
        Sleep(6500);
        SetEvent(g_sysvolClearEvent);
        return 0;
      },
      nullptr, 0, nullptr)};
  at(15500);
  StopService();
  EXPECT_EQ(WAIT_OBJECT_0, WaitForSingleObject(g_sysvolThreadHandle, 60000));
  expect_no_file_of(kStamp);
  EXPECT_EQ(WAIT_OBJECT_0, WaitForSingleObject(holder.get(), INFINITE));
}

class SlowForcing : public Sysvol {
 protected:
  // Each forcing command takes that long.
  explicit SlowForcing(std::uint32_t duration_ms) {
    slowness_.command = "ntfrsutl";
    slowness_.command_ms = duration_ms;
    platform::install(
        std::make_shared<testing_support::SlowController>(platform::controller(), slowness_));
  }
  testing_support::Slowness slowness_;
};
class ForcingOfThreeSeconds : public SlowForcing {
 protected:
  ForcingOfThreeSeconds() : SlowForcing(3000) {}
};
class ForcingOfHours : public SlowForcing {
 protected:
  ForcingOfHours() : SlowForcing(3 * 3600000) {}
};

// The command holds the files: the stop waits for its end, not for the next partner's.
TEST_F(ForcingOfThreeSeconds, StopDuringTheCommandWaitsForItsEndAndLeavesNoFileBehind) {
  start();
  at(16000);
  ASSERT_EQ(1u, moments_of("ntfrsutl Command: " + forcing_of("DC2")).size());
  write(path_on("DC2", kStamp), kStamp);
  StopService();
  EXPECT_EQ(18000, time_->elapsed_ms());
  EXPECT_EQ(WAIT_OBJECT_0, WaitForSingleObject(g_sysvolThreadHandle, 60000));
  expect_no_file_of(kStamp);
}

TEST_F(ForcingOfThreeSeconds, IsWaitedForPartnerByPartnerBeforeTheVerification) {
  start();
  at(300000);
  EXPECT_EQ((std::vector<std::int64_t>{15000}),
            moments_of("ntfrsutl Command: " + forcing_of("DC2")));
  EXPECT_EQ((std::vector<std::int64_t>{18000}),
            moments_of("ntfrsutl Command: " + forcing_of("DC3")));
  EXPECT_EQ((std::vector<std::int64_t>{141000}),
            moments_of("RPL Transfer to global buffer complete"));
}

// Five seconds for the thread and five for the files; then the stop goes on without, and says so.
TEST_F(ForcingOfHours, StopDuringTheCommandGivesUpAfterTenSecondsAndSaysSo) {
  start();
  at(16000);
  StopService();
  EXPECT_EQ(26000, time_->elapsed_ms());
  EXPECT_EQ(2u, trace_.count("ClearData Timeout..No file has been created."));
  EXPECT_TRUE(exists(path_on("DC1", kStamp)));
}

TEST_F(Sysvol, StopBeforeAnyTestHasNothingToDelete) {
  ClearData();
  EXPECT_EQ(1u, trace_.count("Event is not initilized"));
}

TEST_F(Sysvol, DeletionGivesUpWhileTheFilesAreBusy) {
  start();
  at(1);
  ASSERT_TRUE(ResetEvent(g_sysvolClearEvent));
  ClearData();
  EXPECT_EQ(5001, time_->elapsed_ms());
  EXPECT_EQ(1u, trace_.count("ClearData Timeout..No file has been created."));
  EXPECT_TRUE(exists(path_on("DC1", kStamp)));
  ASSERT_TRUE(SetEvent(g_sysvolClearEvent));
}

TEST_F(Sysvol, DeletionGivesUpWhenTheLockCannotBeTaken) {
  start();
  at(1);
  platform::faults::fail("ResetEvent", 1);
  ClearData();
  EXPECT_TRUE(trace_.contains("Lock clear lock failed: "));
  EXPECT_TRUE(exists(path_on("DC1", kStamp)));
}

TEST_F(Sysvol, DeletionGoesOnBehindAFileThatCannotBeDeleted) {
  start();
  at(1);
  write(path_on("DC3", kStamp), kStamp);
  ClearData();
  EXPECT_EQ(1u, trace_.count("DeleteFile failed: 2, \nFile Name: " + path_on("DC2", kStamp)));
  expect_no_file_of(kStamp);
}

TEST_F(Sysvol, DeletionTellsALockThatCannotBeGivenUp) {
  start();
  at(1);
  platform::faults::fail("SetEvent", 1);
  ClearData();
  EXPECT_TRUE(trace_.contains("Release cache lock failed: "));
  ASSERT_TRUE(SetEvent(g_sysvolClearEvent));
}

// One call that fails must not end the tests for good.
TEST_F(Sysvol, ALockThatCouldNotBeGivenUpAfterForcingKeepsNobodyWaiting) {
  start();
  at(10000);
  platform::faults::fail("SetEvent", 1);
  at(20000);
  EXPECT_TRUE(platform::faults::struck());
  platform::faults::clear();
  EXPECT_TRUE(trace_.contains("Set Event failed: "));
  // The second partner is forced at once all the same.
  EXPECT_EQ((std::vector<std::int64_t>{15000}),
            moments_of("ntfrsutl Command: " + forcing_of("DC3")));
  at(700000);
  expect_no_file_of(kStamp);
  EXPECT_EQ((std::vector<std::int64_t>{135000}),
            moments_of("RPL Transfer to global buffer complete"));
  EXPECT_EQ(2u, moments_of("ntfrsutl Command: " + forcing_of("DC2")).size());
}

TEST_F(Sysvol, ALockThatCouldNotBeGivenUpAfterDeletingKeepsNoTestWaiting) {
  start();
  at(100000);
  // The rows' release at the verification, then that of the files.
  platform::faults::fail("SetEvent", 2);
  at(140000);
  EXPECT_TRUE(platform::faults::struck());
  platform::faults::clear();
  expect_no_file_of(kStamp);
  at(1300000);
  EXPECT_EQ((std::vector<std::int64_t>{135000, 750000}),
            moments_of("RPL Transfer to global buffer complete"));
}

TEST_F(Sysvol, ALockThatCouldNotBeGivenUpAfterNamingTheFilesLetsTheStopDeleteThem) {
  platform::faults::fail("SetEvent", 1);
  start();
  at(1);
  EXPECT_TRUE(platform::faults::struck());
  platform::faults::clear();
  EXPECT_EQ(1u, trace_.count("Release cache lock failed: ld"));
  ASSERT_TRUE(exists(path_on("DC1", kStamp)));
  ClearData();
  EXPECT_EQ(1, time_->elapsed_ms());
  expect_no_file_of(kStamp);
}

TEST_F(Sysvol, FileContentIsReadOverSeveralBlocks) {
  const std::string text(2500, 'x');
  write(path_on("DC2", "long"), text);
  std::string content = "before ";
  EXPECT_EQ(0u, GetFileContent(path_on("DC2", "long"), content));
  EXPECT_EQ("before " + text, content);
}

TEST_F(Sysvol, FileContentOfABlockEndsAtAZero) {
  std::string text(1500, 'x');
  text[10] = '\0';
  write(path_on("DC2", "zero"), text);
  std::string content;
  EXPECT_EQ(0u, GetFileContent(path_on("DC2", "zero"), content));
  EXPECT_EQ(std::string(10 + 476, 'x'), content);
}

TEST_F(Sysvol, FileContentThatCannotBeReadIsTheError) {
  write(path_on("DC2", "there"), "text");
  std::string content;
  EXPECT_EQ(2u, GetFileContent(path_on("DC2", "missing"), content));
  platform::faults::fail("ReadFile", 1, 21);
  EXPECT_EQ(21u, GetFileContent(path_on("DC2", "there"), content));
  EXPECT_EQ("", content);
  EXPECT_EQ(1u, trace_.count("ReadFile failed: 21"));
}

TEST_F(Sysvol, StampIsCutAtItsBuffer) {
  char stamp[8] = "xxxxxxx";
  DWAGetCurrentTime(stamp);
  EXPECT_STREQ("2011_01", stamp);
}

}  // namespace
