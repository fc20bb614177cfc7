#pragma once
// The platform's clock, real or virtual.

#include <cstdint>

namespace platform::kernel {

// 100 ns since 1970, universal time.
std::int64_t wall_clock_ticks();
// Monotonic, 100 ns, from an arbitrary start.
std::int64_t monotonic_ticks();

}  // namespace platform::kernel
