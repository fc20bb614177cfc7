#pragma once
// Fields of a row as text for people and for other programs.

#include <string>
#include <string_view>

#include "framework/xaf/control.h"

namespace xaf {

// The field of a row, or nothing when the column lies outside the row.
std::string_view field_bytes(const ColumnView& column, const char* row, std::uint32_t row_size);

// Appends the text as valid UTF-8: what is not becomes U+FFFD, one for each byte that belongs to no
// character.
void append_utf8(std::string& out, std::string_view text);

// Appends the text as a JSON string with its quotes; always valid JSON and valid UTF-8.
void append_json(std::string& out, std::string_view text);

// The text of a column's field without its padding, as UTF-8 where it is text at all: single-byte
// columns are in the process code page, which on Windows is another one. room holds what had to be
// converted.
std::string_view field_text(const ColumnView& column, std::string_view field, std::string& room);

void append_integer(std::string& out, std::string_view field);

// One line of a readable text: valid UTF-8 without its padding, control characters shown as '?'.
std::string readable(const ColumnView& column, std::string_view field);

// Characters of a valid UTF-8 text.
std::size_t character_count(std::string_view text);

}  // namespace xaf
