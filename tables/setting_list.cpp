#include "include/setting_list.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <limits>

#include "include/platform/text.h"

namespace settings {
namespace {

std::int32_t within_32_bits(long long value) {
  using Limits = std::numeric_limits<std::int32_t>;
  return static_cast<std::int32_t>(std::clamp<long long>(value, Limits::min(), Limits::max()));
}

bool counts(const Setting& setting, std::int32_t number) {
  switch (setting.rule) {
    case Rule::kNotNegative:
      return number >= 0;
    case Rule::kAboveDefault:
      return number > setting.preset;
    default:
      return number > 0;
  }
}

}  // namespace

bool is_number(Rule rule) {
  return rule == Rule::kNotNegative || rule == Rule::kAboveDefault || rule == Rule::kPositive;
}

std::int32_t to_number(const char* text) { return within_32_bits(std::strtoll(text, nullptr, 10)); }

std::int32_t in_ms(const Setting& setting, std::int32_t value) {
  return within_32_bits(static_cast<long long>(value) * setting.unit_ms);
}

Reading read(const Setting& setting, const char* text) {
  if (text == nullptr) return {setting.preset, false};
  switch (setting.rule) {
    case Rule::kUnlessWord:
      return {_stricmp(text, setting.word) == 0 ? 0 : 1, true};
    case Rule::kUnlessSameWord:
      return {std::strcmp(text, setting.word) == 0 ? 0 : 1, true};
    case Rule::kWhenSet:
      return {1, true};
    case Rule::kText:
      return {0, true};
    default:
      const std::int32_t number = to_number(text);
      return counts(setting, number) ? Reading{number, true} : Reading{setting.preset, false};
  }
}

}  // namespace settings
