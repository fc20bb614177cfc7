#pragma once
// Files that Windows tools write come as UTF-16, as UTF-8 or in an 8-bit code page. The readers
// work on UTF-8 alone; this is where the others become it.

#include <string>
#include <string_view>

namespace platform {

// The text of a file's bytes, without byte-order mark, as UTF-8. Bytes that are neither UTF-16 with
// a byte-order mark nor UTF-8 are taken as code page 1252. Never fails: what is not a character
// becomes U+FFFD, and half a UTF-16 unit at the end is dropped.
std::string text_as_utf8(std::string_view bytes);

// UTF-16, low byte first, as UTF-8; half a unit at the end is dropped.
std::string utf16_as_utf8(std::string_view bytes);

}  // namespace platform
