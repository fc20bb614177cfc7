#pragma once
// Durations as people read them.

#include <cstdint>
#include <string>

namespace cli {

// "0.4 s", "12 s", "3 min 5 s", "2 h 10 min".
std::string duration(std::uint64_t duration_ms);

}  // namespace cli
