#pragma once
// Decimal numbers as the C library reads them: blanks and a sign may lead, what follows the digits
// is left alone, and no digits are 0. A number that 32 bits cannot hold comes out as the nearest
// that they can, on every system.

#include <cstdint>
#include <limits>
#include <string_view>

inline std::int32_t decimal_number(std::string_view text) {
  std::size_t at = 0;
  const auto is_blank = [](char c) { return c == ' ' || (c >= '\t' && c <= '\r'); };
  while (at < text.size() && is_blank(text[at])) ++at;
  const bool negative = at < text.size() && text[at] == '-';
  if (at < text.size() && (text[at] == '-' || text[at] == '+')) ++at;
  using Limits = std::numeric_limits<std::int32_t>;
  const std::int64_t largest = negative ? -std::int64_t{Limits::min()} : Limits::max();
  std::int64_t number = 0;
  for (; at < text.size() && text[at] >= '0' && text[at] <= '9'; ++at) {
    number = number * 10 + (text[at] - '0');
    if (number > largest) number = largest;
  }
  return static_cast<std::int32_t>(negative ? -number : number);
}
