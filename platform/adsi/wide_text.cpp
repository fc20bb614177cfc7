#include "platform/adsi/wide_text.h"

#include "platform/recorded/utf8.h"

namespace platform {
namespace {

constexpr bool kIsUtf16 = sizeof(wchar_t) == 2;
constexpr char32_t kReplacement = 0xFFFD;

bool is_high_surrogate(char32_t c) { return c >= 0xD800 && c <= 0xDBFF; }
bool is_low_surrogate(char32_t c) { return c >= 0xDC00 && c <= 0xDFFF; }

}  // namespace

std::wstring wide_text(std::string_view utf8) {
  std::wstring wide;
  wide.reserve(utf8.size());
  for (std::size_t i = 0; i < utf8.size();) {
    const char32_t c = next_code_point(utf8, i);
    if (kIsUtf16 && c >= 0x10000) {
      wide.push_back(static_cast<wchar_t>(0xD800 + ((c - 0x10000) >> 10)));
      wide.push_back(static_cast<wchar_t>(0xDC00 + ((c - 0x10000) & 0x3FF)));
    } else {
      wide.push_back(static_cast<wchar_t>(c));
    }
  }
  return wide;
}

std::string narrow_text(std::wstring_view wide) {
  std::string utf8;
  utf8.reserve(wide.size());
  for (std::size_t i = 0; i < wide.size(); ++i) {
    auto c = static_cast<char32_t>(wide[i]);
    const char32_t next = i + 1 < wide.size() ? static_cast<char32_t>(wide[i + 1]) : 0;
    if (is_high_surrogate(c) && is_low_surrogate(next)) {
      c = 0x10000 + ((c - 0xD800) << 10) + (next - 0xDC00);
      ++i;
    }
    const bool is_character = c <= 0x10FFFF && !is_high_surrogate(c) && !is_low_surrogate(c);
    append_utf8(utf8, is_character ? c : kReplacement);
  }
  return utf8;
}

}  // namespace platform
