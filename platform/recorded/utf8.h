#pragma once
// What the directory's readers need to know of UTF-8: whether bytes are it, and letters case aside.

#include <string>
#include <string_view>

namespace platform {

bool is_utf8(std::string_view text);

// Small letters for the letters of ASCII, Latin, Greek and Cyrillic, which is where the directory's
// names live; other characters and bytes that are not UTF-8 stay as they are.
std::string fold_case(std::string_view text);

bool equal_without_case(std::string_view left, std::string_view right);

// Takes the character at position and moves position behind it. A byte that begins no character
// gives U+FFFD and is passed alone.
char32_t next_code_point(std::string_view text, std::size_t& position);
void append_utf8(std::string& text, char32_t code_point);

}  // namespace platform
