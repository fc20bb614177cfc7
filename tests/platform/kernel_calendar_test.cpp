// Time conversions against known values.

#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <limits>
#include <string>
#include <tuple>

#include "kernel_support.h"
#include "platform/environment.h"
#include "platform/time.h"

namespace {

std::string text_of(const SYSTEMTIME& time) {
  char text[64];
  std::snprintf(text, sizeof text, "%04d-%02d-%02d %02d:%02d:%02d.%03d/%d", time.wYear, time.wMonth,
                time.wDay, time.wHour, time.wMinute, time.wSecond, time.wMilliseconds,
                time.wDayOfWeek);
  return text;
}

TEST(KernelCalendar, FileTimesAreCountedFrom1601) {
  const std::tuple<std::uint64_t, const char*> known[] = {
      {0, "1601-01-01 00:00:00.000/1"},
      {116444736000000000, "1970-01-01 00:00:00.000/4"},
      {129384110450000000, "2011-01-02 03:04:05.000/0"},
      {125963423999990000, "2000-02-29 23:59:59.999/2"},
      {0x7FFF35F4F06C7FF0, "30827-12-31 23:59:59.999/5"},
  };
  for (const auto& [ticks, expected] : known) {
    const FILETIME file_time{static_cast<DWORD>(ticks), static_cast<DWORD>(ticks >> 32)};
    SYSTEMTIME time{};
    ASSERT_TRUE(FileTimeToSystemTime(&file_time, &time)) << ticks;
    EXPECT_EQ(text_of(time), expected);
    FILETIME back{};
    ASSERT_TRUE(SystemTimeToFileTime(&time, &back));
    const auto ticks_back = (std::uint64_t{back.dwHighDateTime} << 32) | back.dwLowDateTime;
    EXPECT_EQ(ticks_back / 10000, ticks / 10000);
  }
}

TEST(KernelCalendar, ImpossibleTimesAreRefused) {
  const FILETIME beyond{0, 0x80000000};
  SYSTEMTIME time{};
  EXPECT_FALSE(FileTimeToSystemTime(&beyond, &time));
  EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_INVALID_PARAMETER));
  const SYSTEMTIME no_leap_year{2011, 2, 0, 29, 0, 0, 0, 0};
  FILETIME file_time{};
  EXPECT_FALSE(SystemTimeToFileTime(&no_leap_year, &file_time));
}

TEST(KernelCalendar, OleDatesCountFrom1899AndBackwardsBeforeIt) {
  const std::tuple<double, const char*> known[] = {
      {0.0, "1899-12-30 00:00:00.000/6"},
      {2.0, "1900-01-01 00:00:00.000/1"},
      {60.0, "1900-02-28 00:00:00.000/3"},
      {61.0, "1900-03-01 00:00:00.000/4"},
      {25569.0, "1970-01-01 00:00:00.000/4"},
      {36585.5, "2000-02-29 12:00:00.000/2"},
      {40545.12783564815, "2011-01-02 03:04:05.000/0"},
      {-1.25, "1899-12-29 06:00:00.000/5"},
      {-0.25, "1899-12-30 06:00:00.000/6"},
      {-657434.0, "0100-01-01 00:00:00.000/5"},
      {2958465.0, "9999-12-31 00:00:00.000/5"},
      {1.0 + 86399.6 / 86400.0, "1900-01-01 00:00:00.000/1"},
      {1.0 + 59.4 / 86400.0, "1899-12-31 00:00:59.000/0"},
  };
  for (const auto& [date, expected] : known) {
    SYSTEMTIME time{};
    ASSERT_TRUE(VariantTimeToSystemTime(date, &time)) << date;
    EXPECT_EQ(text_of(time), expected) << date;
  }
}

TEST(KernelCalendar, OleDatesGoThereAndBack) {
  for (const double date : {0.0, 2.0, 40545.5, -1.25, -2.75, 73050.25}) {
    SYSTEMTIME time{};
    ASSERT_TRUE(VariantTimeToSystemTime(date, &time));
    double back = 0;
    ASSERT_TRUE(SystemTimeToVariantTime(&time, &back));
    EXPECT_DOUBLE_EQ(back, date);
  }
}

TEST(KernelCalendar, OleDatesBeyondTheirYearsAreRefused) {
  SYSTEMTIME time{};
  EXPECT_FALSE(VariantTimeToSystemTime(2958466.0, &time));
  EXPECT_FALSE(VariantTimeToSystemTime(-657436.0, &time));
  EXPECT_FALSE(VariantTimeToSystemTime(std::numeric_limits<double>::quiet_NaN(), &time));
  EXPECT_FALSE(VariantTimeToSystemTime(std::numeric_limits<double>::infinity(), &time));
}

TEST(KernelCalendar, TheMachinesZoneIsHonoured) {
  ASSERT_EQ(_putenv("TZ=Europe/Berlin"), 0);
  platform::VirtualTime time;  // 2 January 2011, 03:04:05 universal
  SYSTEMTIME local{};
  GetLocalTime(&local);
  EXPECT_EQ(text_of(local), "2011-01-02 04:04:05.000/0");
  const SYSTEMTIME summer{2011, 7, 0, 1, 12, 0, 0, 5};
  SYSTEMTIME there{};
  ASSERT_TRUE(SystemTimeToTzSpecificLocalTime(nullptr, &summer, &there));
  EXPECT_EQ(text_of(there), "2011-07-01 14:00:00.005/5");
  SYSTEMTIME back{};
  ASSERT_TRUE(TzSpecificLocalTimeToSystemTime(nullptr, &there, &back));
  EXPECT_EQ(text_of(back), "2011-07-01 12:00:00.005/5");
  TIME_ZONE_INFORMATION zone{};
  EXPECT_EQ(GetTimeZoneInformation(&zone), static_cast<DWORD>(TIME_ZONE_ID_STANDARD));
  EXPECT_EQ(zone.Bias, -60);
  EXPECT_EQ(zone.DaylightBias, -60);
  EXPECT_EQ(text_of(zone.DaylightDate), "0000-03-05 02:00:00.000/0") << "the last Sunday of March";
  EXPECT_EQ(text_of(zone.StandardDate), "0000-10-05 03:00:00.000/0");
  ASSERT_TRUE(SystemTimeToTzSpecificLocalTime(&zone, &summer, &there));
  EXPECT_EQ(text_of(there), "2011-07-01 14:00:00.005/5") << "by the zone's own rules";
  const SYSTEMTIME late_summer{2011, 10, 0, 30, 2, 30, 0, 0};
  ASSERT_TRUE(TzSpecificLocalTimeToSystemTime(&zone, &late_summer, &back));
  EXPECT_EQ(text_of(back), "2011-10-30 00:30:00.000/0") << "the first of the two half past twos";
  const SYSTEMTIME winter{2011, 12, 0, 1, 12, 0, 0, 0};
  ASSERT_TRUE(TzSpecificLocalTimeToSystemTime(&zone, &winter, &back));
  EXPECT_EQ(text_of(back), "2011-12-01 11:00:00.000/4");
  const std::tuple<SYSTEMTIME, const char*> changes[] = {
      {{2011, 3, 0, 27, 0, 59, 59, 0}, "2011-03-27 01:59:59.000/0"},
      {{2011, 3, 0, 27, 1, 0, 0, 0}, "2011-03-27 03:00:00.000/0"},
      {{2011, 10, 0, 30, 0, 59, 59, 0}, "2011-10-30 02:59:59.000/0"},
      {{2011, 10, 0, 30, 1, 0, 0, 0}, "2011-10-30 02:00:00.000/0"},
  };
  for (const auto& [universal, expected] : changes) {
    ASSERT_TRUE(SystemTimeToTzSpecificLocalTime(&zone, &universal, &there));
    EXPECT_EQ(text_of(there), expected);
    ASSERT_TRUE(SystemTimeToTzSpecificLocalTime(nullptr, &universal, &there));
    EXPECT_EQ(text_of(there), expected);
  }
}

TEST(KernelCalendar, CalendarCallsCheckTheirArguments) {
  ASSERT_EQ(_putenv("TZ=UTC"), 0);
  std::tm local{};
  const std::time_t when = 1293937445;
  EXPECT_EQ(localtime_s(&local, &when), 0);
  EXPECT_EQ(local.tm_year, 111);
  EXPECT_EQ(local.tm_hour, 3);
  char text[26];
  EXPECT_EQ(asctime_s(text, sizeof text, &local), 0);
  EXPECT_STREQ(text, "Sun Jan 02 03:04:05 2011\n");
  EXPECT_EQ(asctime_s(text, 25, &local), EINVAL);
  EXPECT_STREQ(text, "");
  const std::time_t before_1970 = -1;
  EXPECT_EQ(localtime_s(&local, &before_1970), EINVAL);
  EXPECT_EQ(local.tm_year, -1);
  EXPECT_EQ(localtime_s(nullptr, &when), EINVAL);
  EXPECT_EQ(localtime_s(&local, nullptr), EINVAL);
  std::tm broken{};
  EXPECT_EQ(asctime_s(text, sizeof text, &broken), EINVAL) << "the day is 0";
}

}  // namespace
