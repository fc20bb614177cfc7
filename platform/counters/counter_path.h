#pragma once
// Counter paths as text: \\MACHINE\Object(Parent/Instance#Index)\Counter, the form that PDH,
// typeperf and relog share.

#include <string>
#include <string_view>

#include "platform/controller.h"

namespace platform {

inline constexpr std::uint32_t kNoInstanceIndex = 0xFFFFFFFFu;

// Takes a path apart; false when it is none. Names may hold brackets, slashes, commas and hashes:
// an instance ends at the last bracket that a backslash follows. A parent stays in front of the
// instance, with its slash, since a slash may as well belong to the name.
bool parse_counter_path(std::string_view text, CounterPath& path);

std::string counter_path_text(const CounterPath& path);

// What stands in the brackets, such that equal instances have equal text, letter case aside: index
// 0 is the same as none.
std::string instance_text(const CounterPath& path);

}  // namespace platform
