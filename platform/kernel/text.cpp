// Text conversions. Wide characters hold whole code points here; pairs of surrogates, which data
// made for 16-bit characters may carry, are taken as the one code point they stand for.

#include "platform/text.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <cwctype>
#include <string>
#include <string_view>

#include "platform/kernel/fault_point.h"

namespace {

constexpr char32_t kReplacement = 0xFFFD;
constexpr char32_t kInvalid = 0xFFFFFFFF;

bool is_surrogate(char32_t point) { return point >= 0xD800 && point <= 0xDFFF; }

// Takes one code point off the front; kInvalid takes one byte, or the part of a sequence that was
// good.
char32_t take_utf8(std::string_view& text) {
  const auto lead = static_cast<unsigned char>(text[0]);
  text.remove_prefix(1);
  if (lead < 0x80) return lead;
  const int extra = lead >= 0xF0 ? 3 : lead >= 0xE0 ? 2 : 1;
  if (lead < 0xC2 || lead > 0xF4) return kInvalid;
  char32_t point = lead & (0x3Fu >> extra);
  for (int index = 0; index < extra; ++index) {
    if (text.empty()) return kInvalid;
    const auto next = static_cast<unsigned char>(text[0]);
    unsigned char lowest = 0x80;
    unsigned char highest = 0xBF;
    if (index == 0 && lead == 0xE0) lowest = 0xA0;   // overlong
    if (index == 0 && lead == 0xED) highest = 0x9F;  // surrogates
    if (index == 0 && lead == 0xF0) lowest = 0x90;   // overlong
    if (index == 0 && lead == 0xF4) highest = 0x8F;  // beyond the last code point
    if (next < lowest || next > highest) return kInvalid;
    point = point << 6 | (next & 0x3Fu);
    text.remove_prefix(1);
  }
  return point;
}

void put_utf8(std::string& target, char32_t point) {
  if (point < 0x80) {
    target += static_cast<char>(point);
  } else if (point < 0x800) {
    target += static_cast<char>(0xC0 | point >> 6);
    target += static_cast<char>(0x80 | (point & 0x3F));
  } else if (point < 0x10000) {
    target += static_cast<char>(0xE0 | point >> 12);
    target += static_cast<char>(0x80 | (point >> 6 & 0x3F));
    target += static_cast<char>(0x80 | (point & 0x3F));
  } else {
    target += static_cast<char>(0xF0 | point >> 18);
    target += static_cast<char>(0x80 | (point >> 12 & 0x3F));
    target += static_cast<char>(0x80 | (point >> 6 & 0x3F));
    target += static_cast<char>(0x80 | (point & 0x3F));
  }
}

char32_t take_wide(std::wstring_view& text) {
  const auto first = static_cast<char32_t>(text[0]);
  text.remove_prefix(1);
  if (first > 0x10FFFF) return kInvalid;
  if (!is_surrogate(first)) return first;
  const auto second = text.empty() ? 0 : static_cast<char32_t>(text[0]);
  if (first > 0xDBFF || second < 0xDC00 || second > 0xDFFF) return kInvalid;
  text.remove_prefix(1);
  return 0x10000 + ((first - 0xD800) << 10) + (second - 0xDC00);
}

int fail(DWORD error) {
  SetLastError(error);
  return 0;
}

template <typename Text, typename Character>
int deliver(const Text& text, Character* target, int target_size) {
  const auto length = static_cast<int>(text.size());
  if (target_size == 0) return length;
  const auto fitting = static_cast<std::size_t>(std::min(length, target_size));
  std::copy_n(text.data(), fitting, target);
  return length <= target_size ? length : fail(ERROR_INSUFFICIENT_BUFFER);
}

template <typename Character>
bool arguments_hold(UINT code_page, const Character* source, int source_length, const void* target,
                    int target_size) {
  const bool known = code_page == CP_ACP || code_page == CP_UTF8;
  return known && source != nullptr && source_length != 0 && source_length >= -1 &&
         target_size >= 0 && (target_size == 0 || target != nullptr) && target != source;
}

unsigned char fold(char one) {
  const auto byte = static_cast<unsigned char>(one);
  return byte >= 'A' && byte <= 'Z' ? static_cast<unsigned char>(byte + 32) : byte;
}

char* digits(char* text, std::uint64_t value, int radix, bool negative) {
  static constexpr char kDigits[] = "0123456789abcdefghijklmnopqrstuvwxyz";
  if (radix < 2 || radix > 36) {
    text[0] = '\0';
    return text;
  }
  char reversed[65];
  int count = 0;
  do {
    reversed[count++] = kDigits[value % static_cast<unsigned>(radix)];
    value /= static_cast<unsigned>(radix);
  } while (value != 0);
  char* end = text;
  if (negative) *end++ = '-';
  while (count > 0) *end++ = reversed[--count];
  *end = '\0';
  return text;
}

// Letter case aside, code point by code point.
int compare_folded(std::string_view left, std::string_view right, bool ignore_case) {
  while (!left.empty() && !right.empty()) {
    char32_t one = take_utf8(left);
    char32_t other = take_utf8(right);
    if (ignore_case && one != kInvalid) one = std::towlower(static_cast<std::wint_t>(one));
    if (ignore_case && other != kInvalid) other = std::towlower(static_cast<std::wint_t>(other));
    if (one != other) return one < other ? -1 : 1;
  }
  return left.empty() ? (right.empty() ? 0 : -1) : 1;
}

}  // namespace

int MultiByteToWideChar(UINT code_page, DWORD flags, const char* source, int source_length,
                        wchar_t* target, int target_size) {
  if (const auto fault = platform::fault_point("MultiByteToWideChar")) return fail(fault->win32());
  if (!arguments_hold(code_page, source, source_length, target, target_size)) {
    return fail(ERROR_INVALID_PARAMETER);
  }
  std::string_view rest(source, source_length < 0 ? std::strlen(source) + 1
                                                  : static_cast<std::size_t>(source_length));
  std::wstring wide;
  wide.reserve(rest.size());
  while (!rest.empty()) {
    char32_t point = take_utf8(rest);
    if (point == kInvalid && (flags & MB_ERR_INVALID_CHARS) != 0) {
      return fail(ERROR_NO_UNICODE_TRANSLATION);
    }
    wide += static_cast<wchar_t>(point == kInvalid ? kReplacement : point);
  }
  return deliver(wide, target, target_size);
}

int WideCharToMultiByte(UINT code_page, DWORD flags, const wchar_t* source, int source_length,
                        char* target, int target_size, const char* replacement, BOOL* replaced) {
  if (const auto fault = platform::fault_point("WideCharToMultiByte")) return fail(fault->win32());
  const bool extras = replacement != nullptr || replaced != nullptr;
  if (!arguments_hold(code_page, source, source_length, target, target_size) ||
      (code_page == CP_UTF8 && extras)) {
    return fail(ERROR_INVALID_PARAMETER);
  }
  std::wstring_view rest(source, source_length < 0 ? std::wcslen(source) + 1
                                                   : static_cast<std::size_t>(source_length));
  if (replaced != nullptr) *replaced = FALSE;
  std::string narrow;
  narrow.reserve(rest.size());
  while (!rest.empty()) {
    const char32_t point = take_wide(rest);
    if (point != kInvalid) {
      put_utf8(narrow, point);
      continue;
    }
    if ((flags & WC_ERR_INVALID_CHARS) != 0) return fail(ERROR_NO_UNICODE_TRANSLATION);
    if (replaced != nullptr) *replaced = TRUE;
    if (replacement != nullptr) {
      narrow += replacement;
    } else {
      put_utf8(narrow, kReplacement);
    }
  }
  return deliver(narrow, target, target_size);
}

// Null counts as empty text.
int lstrcmpiA(const char* left, const char* right) {
  return compare_folded(left == nullptr ? "" : left, right == nullptr ? "" : right, true);
}
int lstrcmpA(const char* left, const char* right) {
  return compare_folded(left == nullptr ? "" : left, right == nullptr ? "" : right, false);
}

int _strnicmp(const char* left, const char* right, std::size_t length) {
  for (std::size_t index = 0; index < length; ++index) {
    const int difference = fold(left[index]) - fold(right[index]);
    if (difference != 0 || left[index] == '\0') return difference;
  }
  return 0;
}

int _stricmp(const char* left, const char* right) {
  return _strnicmp(left, right, static_cast<std::size_t>(-1));
}

char* _itoa(int value, char* text, int radix) {
  // Only decimal has a sign; other radixes show the bits.
  const bool negative = radix == 10 && value < 0;
  const auto bits = static_cast<std::uint32_t>(value);
  return digits(text, negative ? 0u - bits : bits, radix, negative);
}

char* _ltoa(long value, char* text, int radix) {
  return _itoa(static_cast<int>(value), text, radix);  // a long has 32 bits on Windows
}

char* _ultoa(unsigned long value, char* text, int radix) {
  return digits(text, static_cast<std::uint32_t>(value), radix, false);
}
