#include "counters/counter_table.h"

#include <limits>

#include "include/platform/threads.h"

namespace counters {

std::int32_t truncated(double value) {
  constexpr double kBelow = -2147483649.0;
  constexpr double kAbove = 2147483648.0;
  // Written so that what is no number fails it too.
  if (!(value > kBelow && value < kAbove)) return std::numeric_limits<std::int32_t>::min();
  return static_cast<std::int32_t>(value);
}

namespace {

bool is_shown(Shown shown) {
  switch (shown) {
    case Shown::kAlways:
      return true;
    case Shown::kOnMajorSix:
      return g_osMajorVersion == 6;
    case Shown::kSinceMajorSix:
      return g_osMajorVersion >= 6;
    case Shown::kBeforeFiveTwo:
      return g_osMajorVersion < 6 && g_osMinorVersion < 2;
    case Shown::kNever:
      return false;
  }
  return false;
}

}  // namespace

void project(std::span<const Placed> columns, const double* values, std::int32_t count, char* row) {
  const std::size_t available = values == nullptr ? 0 : static_cast<std::size_t>(count);
  for (const Placed& column : columns) {
    std::int32_t shown = kNotOnThisVersion;
    if (is_shown(column.shown)) {
      shown = column.index < available ? truncated(values[column.index] / column.divisor) : 0;
    }
    std::memcpy(row + column.offset, &shown, sizeof shown);
  }
}

void set_all(std::span<const Placed> columns, std::int32_t value, char* row) {
  for (const Placed& column : columns) std::memcpy(row + column.offset, &value, sizeof value);
}

std::int32_t difference(std::int32_t a, std::int32_t b) {
  return static_cast<std::int32_t>(static_cast<std::uint32_t>(a) - static_cast<std::uint32_t>(b));
}

std::int32_t sum(std::int32_t a, std::int32_t b) {
  return static_cast<std::int32_t>(static_cast<std::uint32_t>(a) + static_cast<std::uint32_t>(b));
}

void wait_for_collectors() { WaitForSingleObject(g_allocateGlobalsEvent.load(), INFINITE); }

}  // namespace counters
