#include "platform/counters/recorded_text.h"

#include <cstddef>

#include "platform/recorded/utf8.h"

namespace platform {
namespace {

constexpr char32_t kReplacement = 0xFFFD;

// Code page 1252 differs from Latin-1 in these; 0 where it has no character.
constexpr char16_t kCodePage1252[32] = {
    0x20AC, 0,      0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021, 0x02C6, 0x2030, 0x0160,
    0x2039, 0x0152, 0,      0x017D, 0,      0,      0x2018, 0x2019, 0x201C, 0x201D, 0x2022,
    0x2013, 0x2014, 0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0,      0x017E, 0x0178};

std::string utf16_text(std::string_view bytes, std::size_t low) {
  const auto unit = [&](std::size_t position) {
    const auto byte = [&](std::size_t i) {
      return static_cast<char32_t>(static_cast<unsigned char>(bytes[i]));
    };
    return byte(position + low) | (byte(position + 1 - low) << 8);
  };
  std::string text;
  text.reserve(bytes.size() / 2);
  for (std::size_t i = 0; i + 1 < bytes.size(); i += 2) {
    char32_t c = unit(i);
    if (c >= 0xD800 && c <= 0xDBFF && i + 3 < bytes.size()) {
      const char32_t next = unit(i + 2);
      if (next >= 0xDC00 && next <= 0xDFFF) {
        c = 0x10000 + ((c - 0xD800) << 10) + (next - 0xDC00);
        i += 2;
      }
    }
    append_utf8(text, c >= 0xD800 && c <= 0xDFFF ? kReplacement : c);
  }
  return text;
}

std::string code_page_text(std::string_view bytes) {
  std::string text;
  text.reserve(bytes.size() + bytes.size() / 8);
  for (const char byte : bytes) {
    const char32_t c = static_cast<unsigned char>(byte);
    if (c < 0x80 || c > 0x9F) {
      append_utf8(text, c);
    } else {
      const char32_t mapped = kCodePage1252[c - 0x80];
      append_utf8(text, mapped == 0 ? kReplacement : mapped);
    }
  }
  return text;
}

}  // namespace

std::string utf16_as_utf8(std::string_view bytes) { return utf16_text(bytes, 0); }

std::string text_as_utf8(std::string_view bytes) {
  if (bytes.starts_with("\xFF\xFE")) return utf16_text(bytes.substr(2), 0);
  if (bytes.starts_with("\xFE\xFF")) return utf16_text(bytes.substr(2), 1);
  if (bytes.starts_with("\xEF\xBB\xBF")) bytes.remove_prefix(3);
  // A file cut in the middle of a character is still UTF-8 up to there.
  for (std::size_t cut = 0; cut <= 3 && cut <= bytes.size(); ++cut) {
    const std::string_view whole = bytes.substr(0, bytes.size() - cut);
    if (is_utf8(whole)) return std::string(whole);
  }
  return code_page_text(bytes);
}

}  // namespace platform
