#pragma once
// The calendar under the time calls: days and ticks against SYSTEMTIME.

#include <cstdint>

#include "platform/time.h"

namespace platform::kernel {

inline constexpr std::int64_t kTicksInSecond = 10000000;
inline constexpr std::int64_t kTicksInDay = 86400 * kTicksInSecond;
inline constexpr std::int64_t kDaysFrom1601To1970 = 134774;

// Days since 1970 of a date of the Gregorian calendar, and back.
std::int64_t days_from_date(std::int64_t year, unsigned month, unsigned day);
void date_from_days(std::int64_t days, SYSTEMTIME& time);
unsigned days_in_month(std::int64_t year, unsigned month);

bool is_valid(const SYSTEMTIME& time);
// 100 ns since 1970.
std::int64_t ticks_from(const SYSTEMTIME& time);
SYSTEMTIME system_time_from(std::int64_t ticks);

}  // namespace platform::kernel
