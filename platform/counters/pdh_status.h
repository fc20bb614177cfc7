#pragma once
// The PDH status codes that a counter source gives, where the platform's own header is not at hand:
// sources are plain portable code.

#include <cstdint>

namespace platform {

inline constexpr std::uint32_t kPdhNoMachine = 0x800007D0;
inline constexpr std::uint32_t kPdhNoInstance = 0x800007D1;
inline constexpr std::uint32_t kPdhNoObject = 0xC0000BB8;
inline constexpr std::uint32_t kPdhNoCounter = 0xC0000BB9;

}  // namespace platform
