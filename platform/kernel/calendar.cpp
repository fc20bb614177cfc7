#include "platform/kernel/calendar.h"

#include <chrono>
#include <cmath>

#include "platform/kernel/clock.h"
#include "platform/kernel/fault_point.h"

namespace platform::kernel {

std::int64_t days_from_date(std::int64_t year, unsigned month, unsigned day) {
  using namespace std::chrono;
  const year_month_day date{std::chrono::year(static_cast<int>(year)), std::chrono::month(month),
                            std::chrono::day(day)};
  return sys_days(date).time_since_epoch().count();
}

void date_from_days(std::int64_t days, SYSTEMTIME& time) {
  using namespace std::chrono;
  const sys_days point{std::chrono::days(days)};
  const year_month_day date(point);
  time.wYear = static_cast<WORD>(static_cast<int>(date.year()));
  time.wMonth = static_cast<WORD>(static_cast<unsigned>(date.month()));
  time.wDay = static_cast<WORD>(static_cast<unsigned>(date.day()));
  time.wDayOfWeek = static_cast<WORD>(weekday(point).c_encoding());
}

unsigned days_in_month(std::int64_t year, unsigned month) {
  using namespace std::chrono;
  const year_month_day_last last{std::chrono::year(static_cast<int>(year)),
                                 month_day_last(std::chrono::month(month))};
  return static_cast<unsigned>(last.day());
}

bool is_valid(const SYSTEMTIME& time) {
  return time.wYear >= 1601 && time.wYear <= 30827 && time.wMonth >= 1 && time.wMonth <= 12 &&
         time.wDay >= 1 && time.wDay <= days_in_month(time.wYear, time.wMonth) && time.wHour < 24 &&
         time.wMinute < 60 && time.wSecond < 60 && time.wMilliseconds < 1000;
}

std::int64_t ticks_from(const SYSTEMTIME& time) {
  const auto days = days_from_date(time.wYear, time.wMonth, time.wDay);
  const std::int64_t seconds = (time.wHour * 60 + time.wMinute) * std::int64_t{60} + time.wSecond;
  return days * kTicksInDay + seconds * kTicksInSecond + time.wMilliseconds * std::int64_t{10000};
}

SYSTEMTIME system_time_from(std::int64_t ticks) {
  std::int64_t days = ticks / kTicksInDay;
  if (ticks % kTicksInDay < 0) --days;
  const std::int64_t milliseconds = (ticks - days * kTicksInDay) / 10000;
  SYSTEMTIME time{};
  date_from_days(days, time);
  time.wHour = static_cast<WORD>(milliseconds / 3600000);
  time.wMinute = static_cast<WORD>(milliseconds / 60000 % 60);
  time.wSecond = static_cast<WORD>(milliseconds / 1000 % 60);
  time.wMilliseconds = static_cast<WORD>(milliseconds % 1000);
  return time;
}

namespace {

BOOL refuse() {
  SetLastError(ERROR_INVALID_PARAMETER);
  return FALSE;
}

constexpr std::int64_t kFileTimeShift = kDaysFrom1601To1970 * kTicksInDay;

FILETIME file_time_from(std::int64_t ticks) {
  const auto since_1601 = static_cast<std::uint64_t>(ticks + kFileTimeShift);
  return {static_cast<DWORD>(since_1601), static_cast<DWORD>(since_1601 >> 32)};
}

// OLE dates count from 30 December 1899. Before it the whole part counts backwards and the
// fraction still forwards: -1.25 is 6 o'clock in the morning of 29 December.
constexpr std::int64_t kOleEpochDays = -25569;
constexpr double kFirstOleDate = -657434.0;  // 1 January 100
constexpr double kOleDateEnd = 2958466.0;    // 1 January 10000

}  // namespace
}  // namespace platform::kernel

using platform::kernel::is_valid;
using platform::kernel::refuse;

void GetSystemTime(SYSTEMTIME* time) {
  *time = platform::kernel::system_time_from(platform::kernel::wall_clock_ticks());
}

void GetSystemTimeAsFileTime(FILETIME* time) {
  *time = platform::kernel::file_time_from(platform::kernel::wall_clock_ticks());
}

BOOL SystemTimeToFileTime(const SYSTEMTIME* time, FILETIME* file_time) {
  if (const auto fault = platform::fault_point("SystemTimeToFileTime")) {
    SetLastError(fault->win32());
    return FALSE;
  }
  if (!is_valid(*time)) return refuse();
  *file_time = platform::kernel::file_time_from(platform::kernel::ticks_from(*time));
  return TRUE;
}

BOOL FileTimeToSystemTime(const FILETIME* file_time, SYSTEMTIME* time) {
  if (const auto fault = platform::fault_point("FileTimeToSystemTime")) {
    SetLastError(fault->win32());
    return FALSE;
  }
  if ((file_time->dwHighDateTime & 0x80000000u) != 0) return refuse();
  const auto since_1601 = static_cast<std::int64_t>(
      (std::uint64_t{file_time->dwHighDateTime} << 32) | file_time->dwLowDateTime);
  *time = platform::kernel::system_time_from(since_1601 - platform::kernel::kFileTimeShift);
  return TRUE;
}

int VariantTimeToSystemTime(DATE time, SYSTEMTIME* system_time) {
  using namespace platform::kernel;
  if (platform::fault_point("VariantTimeToSystemTime")) return FALSE;
  // Written so that a value that is not a number is refused too.
  if (!(time > kFirstOleDate - 1.0 && time < kOleDateEnd)) return FALSE;
  const double whole = std::trunc(time);
  auto days = static_cast<std::int64_t>(whole);
  auto seconds = static_cast<std::int64_t>(std::floor(std::fabs(time - whole) * 86400.0 + 0.5));
  if (seconds == 86400) {
    seconds = 0;
    ++days;
  }
  *system_time = SYSTEMTIME{};
  date_from_days(days + kOleEpochDays, *system_time);
  system_time->wHour = static_cast<WORD>(seconds / 3600);
  system_time->wMinute = static_cast<WORD>(seconds / 60 % 60);
  system_time->wSecond = static_cast<WORD>(seconds % 60);
  return TRUE;
}

int SystemTimeToVariantTime(const SYSTEMTIME* system_time, DATE* time) {
  using namespace platform::kernel;
  if (platform::fault_point("SystemTimeToVariantTime")) return FALSE;
  SYSTEMTIME full = *system_time;
  if (full.wYear < 30) {
    full.wYear = static_cast<WORD>(full.wYear + 2000);
  } else if (full.wYear < 100) {
    full.wYear = static_cast<WORD>(full.wYear + 1900);
  }
  if (full.wYear > 9999 || full.wMonth < 1 || full.wMonth > 12 || full.wDay < 1 ||
      full.wDay > days_in_month(full.wYear, full.wMonth) || full.wHour > 23 || full.wMinute > 59 ||
      full.wSecond > 59) {
    return FALSE;
  }
  const auto days = days_from_date(full.wYear, full.wMonth, full.wDay) - kOleEpochDays;
  const double fraction = (full.wHour * 3600 + full.wMinute * 60 + full.wSecond) / 86400.0;
  *time = days >= 0 ? static_cast<double>(days) + fraction : static_cast<double>(days) - fraction;
  return TRUE;
}
