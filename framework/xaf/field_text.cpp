#include "framework/xaf/field_text.h"

#include <algorithm>
#include <charconv>
#include <cstring>

#include "framework/xaf/comparison.h"
#include "platform/text.h"

namespace xaf {
namespace {

constexpr std::uint16_t kSingleByteText = 9;
constexpr std::string_view kReplacement = "\xEF\xBF\xBD";

bool continues(std::string_view text, std::size_t at) {
  return at < text.size() && (static_cast<unsigned char>(text[at]) & 0xC0) == 0x80;
}

// The length of the valid character at the start of the text, which is no ASCII; 0 for none.
std::size_t character_length(std::string_view text) {
  const unsigned char lead = static_cast<unsigned char>(text[0]);
  if (lead < 0xC2 || lead > 0xF4) return 0;
  const std::size_t length = lead >= 0xF0 ? 4 : lead >= 0xE0 ? 3 : 2;
  for (std::size_t at = 1; at < length; ++at) {
    if (!continues(text, at)) return 0;
  }
  const unsigned char second = static_cast<unsigned char>(text[1]);
  const bool overlong = (lead == 0xE0 && second < 0xA0) || (lead == 0xF0 && second < 0x90);
  const bool surrogate = lead == 0xED && second > 0x9F;
  const bool too_high = lead == 0xF4 && second > 0x8F;
  return overlong || surrogate || too_high ? 0 : length;
}

// Appends the character at the start of the text, or a replacement for its first byte; the rest.
std::string_view append_character(std::string& out, std::string_view text) {
  const std::size_t length = character_length(text);
  if (length == 0) {
    out += kReplacement;
    return text.substr(1);
  }
  out += text.substr(0, length);
  return text.substr(length);
}

// How far plain characters go that need no second look in JSON.
std::size_t plain_run(std::string_view text) {
  std::size_t at = 0;
  while (at < text.size()) {
    const unsigned char c = static_cast<unsigned char>(text[at]);
    if (c < 0x20 || c >= 0x7F || c == '"' || c == '\\') break;
    ++at;
  }
  return at;
}

void append_json_escape(std::string& out, unsigned char c) {
  constexpr char kDigits[] = "0123456789abcdef";
  switch (c) {
    case '"':
      out += "\\\"";
      return;
    case '\\':
      out += "\\\\";
      return;
    case '\n':
      out += "\\n";
      return;
    case '\r':
      out += "\\r";
      return;
    case '\t':
      out += "\\t";
      return;
    default:
      out += "\\u00";
      out += kDigits[c >> 4];
      out += kDigits[c & 15];
  }
}

bool is_ascii(std::string_view text) {
  return std::all_of(text.begin(), text.end(),
                     [](char c) { return static_cast<unsigned char>(c) < 0x80; });
}

// Empty when the system cannot convert it.
std::string utf8_of_process_text(std::string_view text) {
  const int length = static_cast<int>(text.size());
  // No character takes fewer bytes than wide units.
  std::wstring wide(text.size(), L'\0');
  const int units = MultiByteToWideChar(CP_ACP, 0, text.data(), length, wide.data(), length);
  // A unit of 16 bits takes three bytes at most, one of 32 bits four.
  std::string utf8(static_cast<std::size_t>(std::max(units, 0)) * 4, '\0');
  const int size = units <= 0
                       ? 0
                       : WideCharToMultiByte(CP_UTF8, 0, wide.data(), units, utf8.data(),
                                             static_cast<int>(utf8.size()), nullptr, nullptr);
  utf8.resize(static_cast<std::size_t>(std::max(size, 0)));
  return utf8;
}

}  // namespace

std::string_view field_bytes(const ColumnView& column, const char* row, std::uint32_t row_size) {
  if (std::uint32_t{column.offset} + column.width > row_size) return {};
  return {row + column.offset, column.width};
}

void append_utf8(std::string& out, std::string_view text) {
  while (!text.empty()) {
    std::size_t ascii = 0;
    while (ascii < text.size() && static_cast<unsigned char>(text[ascii]) < 0x80) ++ascii;
    out += text.substr(0, ascii);
    text.remove_prefix(ascii);
    if (!text.empty()) text = append_character(out, text);
  }
}

void append_json(std::string& out, std::string_view text) {
  out += '"';
  while (true) {
    const std::size_t plain = plain_run(text);
    out += text.substr(0, plain);
    text.remove_prefix(plain);
    if (text.empty()) break;
    if (static_cast<unsigned char>(text[0]) < 0x80) {
      append_json_escape(out, static_cast<unsigned char>(text[0]));
      text.remove_prefix(1);
    } else {
      text = append_character(out, text);
    }
  }
  out += '"';
}

std::string_view field_text(const ColumnView& column, std::string_view field, std::string& room) {
  const std::string_view text = without_padding(field);
  if (column.type != kSingleByteText || is_ascii(text)) return text;
  room = utf8_of_process_text(text);
  return room.empty() ? text : std::string_view(room);
}

void append_integer(std::string& out, std::string_view field) {
  std::int32_t value = 0;
  std::memcpy(&value, field.data(), std::min(field.size(), sizeof value));
  char digits[16];
  const auto [end, failed] = std::to_chars(digits, digits + sizeof digits, value);
  out.append(digits, end);
}

std::string readable(const ColumnView& column, std::string_view field) {
  std::string text;
  if (column.type == 3) {
    append_integer(text, field);
    return text;
  }
  std::string room;
  append_utf8(text, field_text(column, field, room));
  for (char& c : text) {
    if (static_cast<unsigned char>(c) < 0x20 || c == 0x7F) c = '?';
  }
  return text;
}

std::size_t character_count(std::string_view text) {
  return static_cast<std::size_t>(std::count_if(text.begin(), text.end(), [](char c) {
    return (static_cast<unsigned char>(c) & 0xC0) != 0x80;
  }));
}

}  // namespace xaf
