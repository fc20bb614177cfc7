// Calendar texts that our own platform layer copies elsewhere: this is how the C library writes
// them.

#include <gtest/gtest.h>

#include "platform/time.h"

namespace {

TEST(Calendar, AsctimeWritesADayOfOneDigitAsTheOtherPlatformsDo) {
  std::tm time{};
  time.tm_year = 111;
  time.tm_mon = 0;
  time.tm_mday = 2;
  time.tm_wday = 0;
  time.tm_hour = 3;
  time.tm_min = 4;
  time.tm_sec = 5;
  char text[26];
  ASSERT_EQ(asctime_s(text, sizeof text, &time), 0);
  EXPECT_STREQ(text, "Sun Jan 02 03:04:05 2011\n");
}

}  // namespace
