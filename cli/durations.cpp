#include "cli/durations.h"

namespace cli {

std::string duration(std::uint64_t duration_ms) {
  const std::uint64_t seconds = duration_ms / 1000;
  if (seconds < 10) {
    return std::to_string(seconds) + "." + std::to_string(duration_ms % 1000 / 100) + " s";
  }
  const std::uint64_t minutes = seconds / 60;
  if (minutes == 0) return std::to_string(seconds) + " s";
  if (minutes < 60) {
    return std::to_string(minutes) + " min " + std::to_string(seconds % 60) + " s";
  }
  return std::to_string(minutes / 60) + " h " + std::to_string(minutes % 60) + " min";
}

}  // namespace cli
