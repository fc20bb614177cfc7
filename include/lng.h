#pragma once
// The character-set library (LNG2.dll) as the agent sees it: one conversion between two coded
// character sets.

#include <cstdint>

#if defined(_WIN32) && defined(LNG_BUILD)
#define LNG_API __declspec(dllexport)
#elif defined(_WIN32)
#define LNG_API __declspec(dllimport)
#else
#define LNG_API
#endif

inline constexpr std::uint32_t LNG2_Utf8 = 1208;
inline constexpr std::uint32_t LNG2_Ascii = 367;
inline constexpr std::uint32_t LNG2_Utf16Source = 57359;

extern "C" {
// Converts source_size bytes at source into at most target_size bytes at target, with no zero end.
// A target that is too small is filled up to the last character that fits whole; what the target
// character set lacks becomes '?'. *target_length receives the bytes written, *source_consumed the
// bytes read. options is always 256. 0 on success, 1 when the target was too small, 2 for a
// character set that is not one of the three above (nothing is written).
LNG_API int LNG2_TranslateString(std::uint32_t target_set, char* target, std::uint32_t target_size,
                                 std::uint32_t source_set, const void* source,
                                 std::uint32_t source_size, std::uint32_t* target_length,
                                 std::uint32_t options, std::uint32_t* source_consumed);
}
