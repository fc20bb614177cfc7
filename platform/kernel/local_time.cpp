// Local time. The machine's zone is the C library's, so that TZ and /etc/localtime are honoured.

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cwchar>
#include <mutex>

#include "platform/kernel/calendar.h"
#include "platform/kernel/clock.h"
#include "platform/kernel/fault_point.h"
#include "platform/time.h"

namespace {

using platform::kernel::kTicksInSecond;
using platform::kernel::wall_clock_ticks;

constexpr std::int64_t kLastLocalTime =
    0x793582AFF;  // the end of the year 3000, with a zone's reach

std::tm local_calendar(std::int64_t seconds) {
  // localtime_r need not look at TZ again after the first time; Windows' run-time does at start.
  static std::once_flag zone_read;
  std::call_once(zone_read, tzset);
  const auto when = static_cast<std::time_t>(seconds);
  std::tm local{};
  localtime_r(&when, &local);
  return local;
}

SYSTEMTIME shifted(const SYSTEMTIME& time, std::int64_t seconds) {
  return platform::kernel::system_time_from(platform::kernel::ticks_from(time) +
                                            seconds * kTicksInSecond);
}

// Where the zone's offset changes between two moments at whose ends it differs.
std::int64_t find_change(std::int64_t before, std::int64_t after) {
  const long offset = local_calendar(before).tm_gmtoff;
  while (after - before > 1) {
    const auto middle = before + (after - before) / 2;
    (local_calendar(middle).tm_gmtoff == offset ? before : after) = middle;
  }
  return after;
}

// A yearly rule as the SDK writes it: year 0, the day as the nth (5: the last) weekday of a month.
SYSTEMTIME yearly_rule(std::int64_t change) {
  const std::tm old_clock = local_calendar(change - 1);
  SYSTEMTIME rule{};
  rule.wMonth = static_cast<WORD>(old_clock.tm_mon + 1);
  rule.wDayOfWeek = static_cast<WORD>(old_clock.tm_wday);
  const unsigned last = platform::kernel::days_in_month(old_clock.tm_year + 1900, rule.wMonth);
  const auto day = static_cast<unsigned>(old_clock.tm_mday);
  rule.wDay = static_cast<WORD>(day + 7 > last ? 5 : (day + 6) / 7);
  const int seconds = old_clock.tm_hour * 3600 + old_clock.tm_min * 60 + old_clock.tm_sec + 1;
  rule.wHour = static_cast<WORD>(seconds / 3600 % 24);
  rule.wMinute = static_cast<WORD>(seconds / 60 % 60);
  return rule;
}

// The moment that a rule means in a year, in ticks of the local clock that it ends.
std::int64_t rule_ticks(const SYSTEMTIME& rule, WORD year) {
  SYSTEMTIME moment = rule;
  moment.wYear = year;
  if (rule.wYear == 0) {
    SYSTEMTIME first{};
    platform::kernel::date_from_days(platform::kernel::days_from_date(year, rule.wMonth, 1), first);
    unsigned day = 1u + (7u + rule.wDayOfWeek - first.wDayOfWeek) % 7u + 7u * (rule.wDay - 1u);
    while (day > platform::kernel::days_in_month(year, rule.wMonth)) day -= 7;
    moment.wDay = static_cast<WORD>(day);
  }
  return platform::kernel::ticks_from(moment);
}

bool has_daylight(const TIME_ZONE_INFORMATION& zone) {
  return zone.DaylightDate.wMonth != 0 && zone.StandardDate.wMonth != 0;
}

// Minutes to take from universal time for local time, at a moment given in the zone's local
// standard clock.
LONG bias_at(const TIME_ZONE_INFORMATION& zone, std::int64_t standard_ticks, WORD year) {
  if (!has_daylight(zone)) return zone.Bias + zone.StandardBias;
  const std::int64_t minute = 60 * kTicksInSecond;
  const auto start = rule_ticks(zone.DaylightDate, year);
  const auto end =
      rule_ticks(zone.StandardDate, year) + (zone.DaylightBias - zone.StandardBias) * minute;
  const bool summer_inside = start < end;
  const bool daylight = summer_inside ? standard_ticks >= start && standard_ticks < end
                                      : standard_ticks >= start || standard_ticks < end;
  return zone.Bias + (daylight ? zone.DaylightBias : zone.StandardBias);
}

void copy_name(const char* name, WCHAR (&target)[32]) {
  std::fill(std::begin(target), std::end(target), L'\0');
  for (std::size_t index = 0; index < 31 && name != nullptr && name[index] != '\0'; ++index) {
    target[index] = static_cast<unsigned char>(name[index]);
  }
}

errno_t refuse_calendar(std::tm* target) {
  if (target != nullptr) {
    *target = std::tm{};
    target->tm_sec = target->tm_min = target->tm_hour = target->tm_mday = target->tm_mon = -1;
    target->tm_year = target->tm_wday = target->tm_yday = target->tm_isdst = -1;
  }
  errno = EINVAL;
  return EINVAL;
}

BOOL refuse() {
  SetLastError(ERROR_INVALID_PARAMETER);
  return FALSE;
}

bool is_calendar(const std::tm& time) {
  return time.tm_year >= 0 && time.tm_year <= 8099 && time.tm_mon >= 0 && time.tm_mon <= 11 &&
         time.tm_hour >= 0 && time.tm_hour <= 23 && time.tm_min >= 0 && time.tm_min <= 59 &&
         time.tm_sec >= 0 && time.tm_sec <= 60 && time.tm_wday >= 0 && time.tm_wday <= 6 &&
         time.tm_mday >= 1 &&
         static_cast<unsigned>(time.tm_mday) <=
             platform::kernel::days_in_month(time.tm_year + 1900,
                                             static_cast<unsigned>(time.tm_mon + 1));
}

}  // namespace

__time64_t _time64(__time64_t* seconds) {
  const __time64_t now = wall_clock_ticks() / kTicksInSecond;
  if (seconds != nullptr) *seconds = now;
  return now;
}

void _ftime64(__timeb64* now) {
  const auto ticks = wall_clock_ticks();
  now->time = ticks / kTicksInSecond;
  now->millitm = static_cast<unsigned short>(ticks % kTicksInSecond / 10000);
  const std::tm local = local_calendar(now->time);
  const long standard = local.tm_gmtoff - (local.tm_isdst > 0 ? 3600 : 0);
  now->timezone = static_cast<short>(-standard / 60);
  now->dstflag = local.tm_isdst > 0 ? 1 : 0;
}

void GetLocalTime(SYSTEMTIME* time) {
  const auto ticks = wall_clock_ticks();
  const long offset = local_calendar(ticks / kTicksInSecond).tm_gmtoff;
  *time = platform::kernel::system_time_from(ticks + offset * kTicksInSecond);
}

errno_t _localtime64_s(std::tm* local, const __time64_t* seconds) {
  if (local == nullptr || seconds == nullptr || *seconds < 0 || *seconds > kLastLocalTime) {
    return refuse_calendar(local);
  }
  *local = local_calendar(*seconds);
  return 0;
}

errno_t localtime_s(std::tm* local, const std::time_t* seconds) {
  if (seconds == nullptr) return refuse_calendar(local);
  const __time64_t wide = *seconds;
  return _localtime64_s(local, &wide);
}

errno_t gmtime_s(std::tm* universal, const std::time_t* seconds) {
  if (universal == nullptr || seconds == nullptr || *seconds < 0 || *seconds > kLastLocalTime) {
    return refuse_calendar(universal);
  }
  gmtime_r(seconds, universal);
  return 0;
}

errno_t asctime_s(char* text, std::size_t size, const std::tm* time) {
  static constexpr const char* kDays[] = {"Sun", "Mon", "Tue", "Wed", "Thu", "Fri", "Sat"};
  static constexpr const char* kMonths[] = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                            "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};
  if (text != nullptr && size > 0) text[0] = '\0';
  if (text == nullptr || size < 26 || time == nullptr || !is_calendar(*time)) {
    errno = EINVAL;
    return EINVAL;
  }
  // The day has two digits, as the run-time that our Windows build uses writes it.
  std::snprintf(text, size, "%s %s %02d %02d:%02d:%02d %04d\n", kDays[time->tm_wday],
                kMonths[time->tm_mon], time->tm_mday, time->tm_hour, time->tm_min, time->tm_sec,
                time->tm_year + 1900);
  return 0;
}

BOOL FileTimeToLocalFileTime(const FILETIME* universal, FILETIME* local) {
  const auto ticks = static_cast<std::int64_t>((std::uint64_t{universal->dwHighDateTime} << 32) |
                                               universal->dwLowDateTime);
  const long offset = local_calendar(wall_clock_ticks() / kTicksInSecond).tm_gmtoff;
  const auto moved = static_cast<std::uint64_t>(ticks + offset * kTicksInSecond);
  *local = {static_cast<DWORD>(moved), static_cast<DWORD>(moved >> 32)};
  return TRUE;
}

DWORD GetTimeZoneInformation(TIME_ZONE_INFORMATION* zone) {
  *zone = TIME_ZONE_INFORMATION{};
  const auto now = wall_clock_ticks() / kTicksInSecond;
  const std::tm today = local_calendar(now);
  const auto first =
      platform::kernel::days_from_date(today.tm_year + 1900, 1, 1) * 86400 - today.tm_gmtoff;
  long standard = today.tm_gmtoff;
  long daylight = standard;
  bool changes = false;
  for (int day = 1; day <= 365; ++day) {
    const auto before = first + (day - 1) * std::int64_t{86400};
    const auto after = before + 86400;
    if (local_calendar(before).tm_gmtoff == local_calendar(after).tm_gmtoff) continue;
    const auto change = find_change(before, after);
    const std::tm then = local_calendar(change);
    changes = true;
    (then.tm_isdst > 0 ? zone->DaylightDate : zone->StandardDate) = yearly_rule(change);
    (then.tm_isdst > 0 ? daylight : standard) = then.tm_gmtoff;
    copy_name(then.tm_zone, then.tm_isdst > 0 ? zone->DaylightName : zone->StandardName);
  }
  zone->Bias = static_cast<LONG>(-standard / 60);
  if (!changes || !has_daylight(*zone)) {
    copy_name(today.tm_zone, zone->StandardName);
    zone->StandardDate = zone->DaylightDate = SYSTEMTIME{};
    return TIME_ZONE_ID_UNKNOWN;
  }
  zone->DaylightBias = static_cast<LONG>((standard - daylight) / 60);
  return today.tm_isdst > 0 ? TIME_ZONE_ID_DAYLIGHT : TIME_ZONE_ID_STANDARD;
}

BOOL SystemTimeToTzSpecificLocalTime(const TIME_ZONE_INFORMATION* zone, const SYSTEMTIME* universal,
                                     SYSTEMTIME* local) {
  if (const auto fault = platform::fault_point("SystemTimeToTzSpecificLocalTime")) {
    SetLastError(fault->win32());
    return FALSE;
  }
  if (universal == nullptr || local == nullptr || !platform::kernel::is_valid(*universal)) {
    return refuse();
  }
  const auto ticks = platform::kernel::ticks_from(*universal);
  if (zone == nullptr) {
    const auto seconds = (ticks - (ticks % kTicksInSecond)) / kTicksInSecond;
    *local = shifted(*universal, local_calendar(seconds).tm_gmtoff);
    return TRUE;
  }
  const SYSTEMTIME standard = shifted(*universal, -60 * (zone->Bias + zone->StandardBias));
  const LONG bias = bias_at(*zone, platform::kernel::ticks_from(standard), standard.wYear);
  *local = shifted(*universal, -60 * std::int64_t{bias});
  return TRUE;
}

BOOL TzSpecificLocalTimeToSystemTime(const TIME_ZONE_INFORMATION* zone, const SYSTEMTIME* local,
                                     SYSTEMTIME* universal) {
  if (local == nullptr || universal == nullptr || !platform::kernel::is_valid(*local)) {
    return refuse();
  }
  if (zone == nullptr) {
    std::tm calendar{};
    calendar.tm_year = local->wYear - 1900;
    calendar.tm_mon = local->wMonth - 1;
    calendar.tm_mday = local->wDay;
    calendar.tm_hour = local->wHour;
    calendar.tm_min = local->wMinute;
    calendar.tm_sec = local->wSecond;
    calendar.tm_isdst = -1;
    const std::int64_t seconds = std::mktime(&calendar);
    *universal = platform::kernel::system_time_from(seconds * kTicksInSecond +
                                                    local->wMilliseconds * std::int64_t{10000});
    return TRUE;
  }
  // The clock on the wall may be the summer's: take that when it is consistent.
  const LONG winter = zone->Bias + zone->StandardBias;
  const LONG summer = zone->Bias + zone->DaylightBias;
  const SYSTEMTIME if_summer = shifted(*local, 60 * (summer - winter));
  const bool is_summer =
      has_daylight(*zone) &&
      bias_at(*zone, platform::kernel::ticks_from(if_summer), if_summer.wYear) == summer;
  *universal = shifted(*local, 60 * std::int64_t{is_summer ? summer : winter});
  return TRUE;
}
