#include <gtest/gtest.h>

#include <cstdlib>
#include <ctime>
#include <string>

#include "framework/trc/control.h"
#include "include/platform/environment.h"
#include "include/trace.h"
#include "platform/control.h"
#include "tables/ckutil.h"
#include "tables/timing.h"

namespace {

class Times : public testing::Test {
 protected:
  void SetUp() override {
    setenv("TZ", "UTC0", 1);
    tzset();
    trc::set_flags(trace::kError);
  }
  void TearDown() override {
    unsetenv("AGENT_TIMING");
    trc::set_flags(trace::kError);
  }
};

TEST_F(Times, TheTimeStampOf2January2011At030405) {
  const platform::VirtualTime time;
  char stamp[17] = "################";
  EXPECT_EQ(CKUtil::getMWTimeStamp(stamp), 0);
  EXPECT_STREQ(stamp, "1110102030405000");
}

TEST_F(Times, ATimeStampShowsLocalTimeAndNoMilliseconds) {
  setenv("TZ", "EST5", 1);
  tzset();
  const platform::VirtualTime time(1293937445678);
  char stamp[17] = {};
  CKUtil::getMWTimeStamp(stamp);
  EXPECT_STREQ(stamp, "1110101220405000");
}

TEST_F(Times, ATimeStampIs16CharactersWithoutAnEnd) {
  const platform::VirtualTime time;
  std::string field(20, '#');
  CKUtil::getMWTimeStamp(field.data());
  EXPECT_EQ(field, "1110102030405000####");
}

TEST_F(Times, ATimeStampForNobodyIsNoFailure) {
  const platform::VirtualTime time;
  EXPECT_EQ(CKUtil::getMWTimeStamp(nullptr), 0);
}

SYSTEMTIME system_time() {
  SYSTEMTIME time = {};
  time.wYear = 1999;
  time.wMonth = 12;
  time.wDay = 31;
  time.wHour = 23;
  time.wMinute = 59;
  time.wSecond = 58;
  time.wMilliseconds = 7;
  return time;
}

TEST_F(Times, ASystemTimeKeepsItsMilliseconds) {
  trc::set_flags(trace::kDetail);
  const trc::Capture capture;
  std::string field(18, '#');
  EXPECT_EQ(CKUtil::systimeToMWString(field.data(), system_time(), 16), 0);
  EXPECT_EQ(field, "0991231235958007##");
  EXPECT_EQ(capture.count("Resulting timestamp = 0991231235958007"), 1u);
}

TEST_F(Times, ASystemTimeWithTooSmallATargetIsRefused) {
  const trc::Capture capture;
  std::string field(18, '#');
  EXPECT_EQ(CKUtil::systimeToMWString(field.data(), system_time(), 15), 4);
  EXPECT_EQ(field, std::string(18, '#'));
  EXPECT_EQ(capture.count("Input buffer too small.  iTargetSize = 15"), 1u);
  EXPECT_EQ(CKUtil::systimeToMWString(nullptr, system_time(), 16), 0);
}

TEST_F(Times, MinutesAsHoursAndMinutes) {
  trc::set_flags(trace::kDetail);
  const trc::Capture capture;
  std::string field(8, '#');
  EXPECT_EQ(CKUtil::minutesToString(field.data(), 125, 6), 0);
  EXPECT_EQ(field, std::string("02:05\0##", 8));
  EXPECT_EQ(capture.count("Resulting time = 02:05"), 1u);
}

TEST_F(Times, SixThousandMinutesAreAHundredHours) {
  std::string field(10, '#');
  EXPECT_EQ(CKUtil::minutesToString(field.data(), 6000, 10), 0);
  EXPECT_STREQ(field.c_str(), "100:00");
}

TEST_F(Times, AHundredHoursInSixBytesAreCutAndNotWrittenBeyond) {
  const trc::Capture capture;
  std::string field(8, '#');
  EXPECT_EQ(CKUtil::minutesToString(field.data(), 6000, 6), 0);
  EXPECT_EQ(field, std::string("100:0\0##", 8));
  EXPECT_TRUE(capture.contains("100:00"));
}

TEST_F(Times, MinutesWithTooSmallATargetAreRefused) {
  const trc::Capture capture;
  std::string field(6, '#');
  EXPECT_EQ(CKUtil::minutesToString(field.data(), 125, 5), 4);
  EXPECT_EQ(field, "######");
  EXPECT_EQ(capture.count("Input buffer too small.  iTargetSize = 5"), 1u);
}

TimerRecord run_between(std::int64_t start_ms, std::int64_t end_ms) {
  TimerRecord timer;
  {
    const platform::VirtualTime time(start_ms);
    startTimer(&timer);
  }
  const platform::VirtualTime time(end_ms);
  stopTimer(&timer);
  return timer;
}

TEST_F(Times, ARunAcrossASecondBoundary) {
  setenv("AGENT_TIMING", "", 1);  // only its presence counts
  const trc::Capture capture;
  const TimerRecord timer = run_between(1293937450900, 1293937451100);
  printTimerResults(&timer, 1, "AddressBook", "TakeSample");
  EXPECT_EQ(capture.count("TIMER: 1 : AddressBook : TakeSample : Time to Complete:     0.20"), 1u);
}

TEST_F(Times, ARunWithinASecondAndALongOne) {
  setenv("AGENT_TIMING", "1", 1);
  const trc::Capture capture;
  TimerRecord timer = run_between(1293937450100, 1293937450900);
  printTimerResults(&timer, 9, "DNS", "TakeSample");
  timer = run_between(1293937450500, 1293941050250);
  printTimerResults(&timer, 9, "DNS", "TakeSample");
  EXPECT_EQ(capture.count("TIMER: 9 : DNS : TakeSample : Time to Complete:     0.80"), 1u);
  EXPECT_EQ(capture.count("TIMER: 9 : DNS : TakeSample : Time to Complete:  3599.75"), 1u);
}

TEST_F(Times, BothTextsOfTheFirstTimerLineAreTheStart) {
  setenv("AGENT_TIMING", "1", 1);
  const trc::Capture capture;
  const TimerRecord timer = run_between(1293937445000, 1293937455000);
  printTimerResults(&timer, 21, "ReplicationPartner", "TakeSample");
  const std::string start = "Sun Jan 02 03:04:05 2011\n";
  ASSERT_EQ(capture.texts().size(), 2u);
  const std::string expected = "Timer: 21 ReplicationPartner TakeSample " + start + " : " + start;
  EXPECT_EQ(capture.texts()[0], expected.substr(0, expected.size() - 1));
}

TEST_F(Times, TimerLinesBelongToTheErrorLevel) {
  setenv("AGENT_TIMING", "1", 1);
  trc::set_flags(trace::kDetail);
  const trc::Capture capture;
  const TimerRecord timer = run_between(1293937445000, 1293937455000);
  printTimerResults(&timer, 1, "AddressBook", "TakeSample");
  EXPECT_TRUE(capture.texts().empty());
}

TEST_F(Times, WithoutTheVariableTheTimerDoesNothing) {
  const trc::Capture capture;
  const TimerRecord timer = run_between(1293937445000, 1293937455000);
  EXPECT_EQ(timer.start.time, 0);
  EXPECT_EQ(timer.end.time, 0);
  EXPECT_EQ(timer.start_tm.tm_year, 0);
  printTimerResults(&timer, 1, "AddressBook", "TakeSample");
  EXPECT_TRUE(capture.texts().empty());
}

TEST_F(Times, WithoutTheVariablePrintingLeavesWithoutAnExitEvent) {
  const TimerRecord timer;
  trc::set_unit_flags("printTimerResults", trace::kFlow);
  const trc::Capture capture;
  printTimerResults(&timer, 1, "AddressBook", "TakeSample");
  ASSERT_EQ(capture.lines().size(), 1u);
  EXPECT_EQ(capture.lines()[0].kind, trc::Kind::kEntry);
  setenv("AGENT_TIMING", "1", 1);
  printTimerResults(&timer, 1, "AddressBook", "TakeSample");
  trc::clear_unit_flags();
  ASSERT_EQ(capture.lines().size(), 3u);
  EXPECT_EQ(capture.lines()[2].kind, trc::Kind::kExit);
}

TEST_F(Times, TheVariableIsLookedAtAtEveryCall) {
  TimerRecord timer;
  const platform::VirtualTime time;
  startTimer(&timer);
  setenv("AGENT_TIMING", "1", 1);
  stopTimer(&timer);
  EXPECT_EQ(timer.start.time, 0);
  EXPECT_EQ(timer.end.time, 1293937445);
}

}  // namespace
