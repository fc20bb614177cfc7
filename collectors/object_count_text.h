#pragma once
// The number in the file of the object count. Pure.

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace collectors {

// What a reader takes of the file at most.
inline constexpr std::size_t kObjectCountSize = 16;

// The number at the front of the file's first 16 bytes; 0 when there is none.
std::int32_t object_count(std::string_view file);

}  // namespace collectors
