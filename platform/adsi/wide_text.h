#pragma once
// Between UTF-8, which directories speak, and wide text, which COM does. Wide characters are UTF-16
// or UTF-32, as wide as the platform has them.

#include <string>
#include <string_view>

namespace platform {

// What is not UTF-8 becomes U+FFFD, byte by byte.
std::wstring wide_text(std::string_view utf8);
std::string narrow_text(std::wstring_view wide);

}  // namespace platform
