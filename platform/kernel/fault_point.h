#pragma once
// The line at the head of every platform call that lets it fail on purpose:
//
//   if (const auto fault = platform::fault_point("CreateEventA")) {
//     SetLastError(fault->win32());
//     return nullptr;
//   }
//
// With no fault set and no counting asked for, it costs one relaxed load.

#include <atomic>
#include <cstdint>
#include <optional>

namespace platform {

struct Fault {
  std::int64_t code;  // never 0
  std::uint32_t win32() const { return static_cast<std::uint32_t>(code); }
  std::int32_t hresult() const { return static_cast<std::int32_t>(code); }
};

namespace faults::detail {
extern std::atomic<bool> armed;
std::optional<Fault> reach(const char* call, std::int64_t usual_code);
}  // namespace faults::detail

// usual_code 0 asks the table in fault_point.cpp; a call that is not there fails as
// ERROR_GEN_FAILURE. Pass a code of your own for calls of your own room.
inline std::optional<Fault> fault_point(const char* call, std::int64_t usual_code = 0) {
  if (!faults::detail::armed.load(std::memory_order_relaxed)) return std::nullopt;
  return faults::detail::reach(call, usual_code);
}

}  // namespace platform
