#include "platform/recorded/utf8.h"

namespace platform {
namespace {

constexpr char32_t kReplacement = 0xFFFD;

// Length of the sequence that a lead byte announces, 0 for none.
std::size_t sequence_length(unsigned char lead) {
  if (lead < 0x80) return 1;
  if (lead >= 0xC2 && lead <= 0xDF) return 2;
  if (lead >= 0xE0 && lead <= 0xEF) return 3;
  if (lead >= 0xF0 && lead <= 0xF4) return 4;
  return 0;
}

// The character at position when it is a whole and shortest one.
bool decode(std::string_view text, std::size_t position, char32_t& code_point,
            std::size_t& length) {
  const auto lead = static_cast<unsigned char>(text[position]);
  length = sequence_length(lead);
  if (length == 0 || length > text.size() - position) return false;
  if (length == 1) {
    code_point = lead;
    return true;
  }
  code_point = lead & (0x7Fu >> length);
  for (std::size_t i = 1; i < length; ++i) {
    const auto byte = static_cast<unsigned char>(text[position + i]);
    if ((byte & 0xC0u) != 0x80u) return false;
    code_point = (code_point << 6) | (byte & 0x3Fu);
  }
  constexpr char32_t kShortest[] = {0, 0, 0x80, 0x800, 0x10000};
  return code_point >= kShortest[length] && code_point <= 0x10FFFF &&
         !(code_point >= 0xD800 && code_point <= 0xDFFF);
}

char32_t small_letter(char32_t c) {
  if (c >= U'A' && c <= U'Z') return c + 32;
  if (c < 0xC0) return c;
  if (c <= 0xDE) return c == 0xD7 ? c : c + 32;
  if (c >= 0x100 && c <= 0x137) return c == 0x130 || c == 0x131 ? c : c | 1;
  if (c >= 0x139 && c <= 0x148) return c % 2 == 1 ? c + 1 : c;
  if (c >= 0x14A && c <= 0x177) return c | 1;
  if (c == 0x178) return 0xFF;
  if (c >= 0x179 && c <= 0x17E) return c % 2 == 1 ? c + 1 : c;
  if (c >= 0x391 && c <= 0x3AB && c != 0x3A2) return c + 32;
  if (c >= 0x410 && c <= 0x42F) return c + 32;
  if (c >= 0x400 && c <= 0x40F) return c + 80;
  return c;
}

}  // namespace

bool is_utf8(std::string_view text) {
  char32_t code_point = 0;
  std::size_t length = 0;
  for (std::size_t i = 0; i < text.size(); i += length) {
    if (!decode(text, i, code_point, length)) return false;
  }
  return true;
}

char32_t next_code_point(std::string_view text, std::size_t& position) {
  char32_t code_point = 0;
  std::size_t length = 0;
  if (!decode(text, position, code_point, length)) {
    ++position;
    return kReplacement;
  }
  position += length;
  return code_point;
}

void append_utf8(std::string& text, char32_t code_point) {
  const auto put = [&text](char32_t byte) { text.push_back(static_cast<char>(byte)); };
  if (code_point < 0x80) {
    put(code_point);
  } else if (code_point < 0x800) {
    put(0xC0 | (code_point >> 6));
    put(0x80 | (code_point & 0x3F));
  } else if (code_point < 0x10000) {
    put(0xE0 | (code_point >> 12));
    put(0x80 | ((code_point >> 6) & 0x3F));
    put(0x80 | (code_point & 0x3F));
  } else {
    put(0xF0 | (code_point >> 18));
    put(0x80 | ((code_point >> 12) & 0x3F));
    put(0x80 | ((code_point >> 6) & 0x3F));
    put(0x80 | (code_point & 0x3F));
  }
}

std::string fold_case(std::string_view text) {
  std::string folded;
  folded.reserve(text.size());
  for (std::size_t i = 0; i < text.size();) {
    char32_t code_point = 0;
    std::size_t length = 0;
    if (!decode(text, i, code_point, length)) {
      folded.push_back(text[i++]);
      continue;
    }
    append_utf8(folded, small_letter(code_point));
    i += length;
  }
  return folded;
}

bool equal_without_case(std::string_view left, std::string_view right) {
  const auto is_ascii = [](char c) { return static_cast<unsigned char>(c) < 0x80; };
  const auto small = [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c; };
  // Nearly all names are ASCII, and most differ in their length or first letters.
  for (std::size_t i = 0;; ++i) {
    if (i == left.size() || i == right.size()) return left.size() == right.size();
    if (!is_ascii(left[i]) || !is_ascii(right[i])) break;
    if (small(left[i]) != small(right[i])) return false;
  }
  return fold_case(left) == fold_case(right);
}

}  // namespace platform
