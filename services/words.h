#pragma once
// The words for a service's state and start type, from the program's string resources, so that they
// can be translated with it.

#include <cstdint>

// Room for a word and its zero end.
inline constexpr int kServiceWordSize = 512;

// Each gives the buffer. The word for an unknown value, -1 among them, is that of resource 9015. A
// resource that is not there leaves the buffer as it was.
char* GetStateWord(std::uint32_t state, char (&buffer)[kServiceWordSize]);
char* GetStartTypeWord(std::uint32_t startType, char (&buffer)[kServiceWordSize]);
