#pragma once
// The words of Windows' own instrumentation for the numbers of the service manager, as
// services.json holds them.

#include <cstdint>
#include <string_view>

namespace platform {

struct ServiceWord {
  std::string_view word;
  std::uint32_t number;
};
inline constexpr ServiceWord kServiceStates[] = {
    {"Unknown", 0}, {"Stopped", 1},          {"Start Pending", 2}, {"Stop Pending", 3},
    {"Running", 4}, {"Continue Pending", 5}, {"Pause Pending", 6}, {"Paused", 7}};
inline constexpr ServiceWord kStartModes[] = {
    {"Boot", 0}, {"System", 1}, {"Auto", 2}, {"Manual", 3}, {"Disabled", 4}};
// The tool knows no word for the services of a user's session; those have a process of their own.
inline constexpr ServiceWord kServiceTypes[] = {
    {"Kernel Driver", 1},           {"File System Driver", 2}, {"Adapter", 4},
    {"Recognizer Driver", 8},       {"Own Process", 0x10},     {"Share Process", 0x20},
    {"Interactive Process", 0x110}, {"Unknown", 0xD0}};
inline constexpr ServiceWord kErrorControls[] = {
    {"Ignore", 0}, {"Normal", 1}, {"Severe", 2}, {"Critical", 3}, {"Unknown", 1}};
inline constexpr std::uint32_t kAcceptStop = 1;
inline constexpr std::uint32_t kAcceptPause = 2;

}  // namespace platform
