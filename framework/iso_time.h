#pragma once
// Universal time as text, for trace records and for rows: "2011-01-02T03:04:05.000Z". In a header,
// because two libraries need it and neither should export it.

#include <cstdint>
#include <cstdio>
#include <string>

namespace iso_time_detail {

struct Calendar {
  std::int64_t year;
  unsigned month, day;
};

// Days since 1970 to the calendar, by counting in years that begin in March.
inline Calendar calendar_of(std::int64_t days) {
  days += 719468;
  const std::int64_t era = (days >= 0 ? days : days - 146096) / 146097;
  const unsigned day_of_era = static_cast<unsigned>(days - era * 146097);
  const unsigned year_of_era =
      (day_of_era - day_of_era / 1460 + day_of_era / 36524 - day_of_era / 146096) / 365;
  const unsigned day_of_year =
      day_of_era - (365 * year_of_era + year_of_era / 4 - year_of_era / 100);
  const unsigned shifted_month = (5 * day_of_year + 2) / 153;
  const unsigned month = shifted_month < 10 ? shifted_month + 3 : shifted_month - 9;
  return {static_cast<std::int64_t>(year_of_era) + era * 400 + (month <= 2 ? 1 : 0), month,
          day_of_year - (153 * shifted_month + 2) / 5 + 1};
}

}  // namespace iso_time_detail

// time_ms: milliseconds since 1970.
inline std::string iso_time(std::int64_t time_ms) {
  constexpr std::int64_t kDayMs = 86400000;
  std::int64_t days = time_ms / kDayMs;
  std::int64_t rest = time_ms % kDayMs;
  if (rest < 0) {
    rest += kDayMs;
    --days;
  }
  const iso_time_detail::Calendar date = iso_time_detail::calendar_of(days);
  char text[64];
  std::snprintf(text, sizeof text, "%04lld-%02u-%02uT%02d:%02d:%02d.%03dZ",
                static_cast<long long>(date.year), date.month, date.day,
                static_cast<int>(rest / 3600000), static_cast<int>(rest / 60000 % 60),
                static_cast<int>(rest / 1000 % 60), static_cast<int>(rest % 1000));
  return text;
}
