#include "platform/adsi/directory_time.h"

#include <cmath>
#include <cstdint>
#include <cstdio>

namespace platform {
namespace {

constexpr std::int64_t kSecondsPerDay = 86400;
constexpr std::int64_t kDaysFrom1899To1970 = 25569;

// Days since 1970 of a day of the Gregorian calendar.
std::int64_t days_from_civil(std::int64_t year, int month, int day) {
  year -= month <= 2 ? 1 : 0;
  const std::int64_t era = (year >= 0 ? year : year - 399) / 400;
  const std::int64_t year_of_era = year - era * 400;
  const std::int64_t day_of_year = (153 * (month > 2 ? month - 3 : month + 9) + 2) / 5 + day - 1;
  const std::int64_t day_of_era =
      year_of_era * 365 + year_of_era / 4 - year_of_era / 100 + day_of_year;
  return era * 146097 + day_of_era - 719468;
}

// Takes count digits from the front of text.
std::optional<int> take_number(std::string_view& text, std::size_t count) {
  if (text.size() < count) return std::nullopt;
  int number = 0;
  for (std::size_t i = 0; i < count; ++i) {
    if (text[i] < '0' || text[i] > '9') return std::nullopt;
    number = number * 10 + (text[i] - '0');
  }
  text.remove_prefix(count);
  return number;
}

// What stands behind the seconds: a fraction, which is dropped, and Z or an offset in minutes.
std::optional<int> take_zone(std::string_view text) {
  if (text.starts_with('.') || text.starts_with(',')) {
    std::size_t end = 1;
    while (end < text.size() && text[end] >= '0' && text[end] <= '9') ++end;
    if (end == 1) return std::nullopt;
    text.remove_prefix(end);
  }
  if (text == "Z") return 0;
  if (text.empty() || (text[0] != '+' && text[0] != '-')) return std::nullopt;
  const int sign = text[0] == '+' ? 1 : -1;
  text.remove_prefix(1);
  const std::optional<int> hours = take_number(text, 2);
  const std::optional<int> minutes = take_number(text, 2);
  if (!hours || !minutes || !text.empty()) return std::nullopt;
  return sign * (*hours * 60 + *minutes);
}

}  // namespace

std::optional<double> date_from_directory_time(std::string_view text) {
  std::size_t digits = 0;
  while (digits < text.size() && text[digits] >= '0' && text[digits] <= '9') ++digits;
  if (digits != 14 && digits != 12) return std::nullopt;
  int year = *take_number(text, digits - 10);
  if (digits == 12) year += year < 50 ? 2000 : 1900;
  const int month = *take_number(text, 2);
  const int day = *take_number(text, 2);
  const int hour = *take_number(text, 2);
  const int minute = *take_number(text, 2);
  const int second = *take_number(text, 2);
  const std::optional<int> zone = take_zone(text);
  if (!zone || month < 1 || month > 12 || day < 1 || day > 31) return std::nullopt;
  if (hour > 23 || minute > 59 || second > 60) return std::nullopt;
  const std::int64_t seconds =
      (days_from_civil(year, month, day) + kDaysFrom1899To1970) * kSecondsPerDay + hour * 3600 +
      minute * 60 + second - std::int64_t{*zone} * 60;
  const auto day_number =
      static_cast<double>(seconds >= 0 ? seconds / kSecondsPerDay
                                       : -((-seconds + kSecondsPerDay - 1) / kSecondsPerDay));
  const double fraction =
      static_cast<double>(seconds - static_cast<std::int64_t>(day_number) * kSecondsPerDay) /
      static_cast<double>(kSecondsPerDay);
  // Before 1900 the day counts down while the time of day still counts up.
  return day_number >= 0 ? day_number + fraction : day_number - fraction;
}

std::string directory_time_from_date(double date) {
  const double day_number = date >= 0 ? std::floor(date) : std::ceil(date);
  const auto second_of_day = static_cast<std::int64_t>(
      std::llround(std::fabs(date - day_number) * static_cast<double>(kSecondsPerDay)));
  std::int64_t days =
      static_cast<std::int64_t>(day_number) - kDaysFrom1899To1970 + second_of_day / kSecondsPerDay;
  const std::int64_t rest = second_of_day % kSecondsPerDay;
  days += 719468;
  const std::int64_t era = (days >= 0 ? days : days - 146096) / 146097;
  const std::int64_t day_of_era = days - era * 146097;
  const std::int64_t year_of_era =
      (day_of_era - day_of_era / 1460 + day_of_era / 36524 - day_of_era / 146096) / 365;
  const std::int64_t day_of_year =
      day_of_era - (365 * year_of_era + year_of_era / 4 - year_of_era / 100);
  const std::int64_t shifted_month = (5 * day_of_year + 2) / 153;
  const auto day = static_cast<int>(day_of_year - (153 * shifted_month + 2) / 5 + 1);
  const auto month = static_cast<int>(shifted_month < 10 ? shifted_month + 3 : shifted_month - 9);
  const auto year = static_cast<int>(year_of_era + era * 400 + (month <= 2 ? 1 : 0));
  char text[64];
  std::snprintf(text, sizeof text, "%04d%02d%02d%02d%02d%02d.0Z", year, month, day,
                static_cast<int>(rest / 3600), static_cast<int>(rest / 60 % 60),
                static_cast<int>(rest % 60));
  return text;
}

}  // namespace platform
