#pragma once
// Text between wide and narrow, comparisons that ignore letter case, and numbers as text. Narrow
// text of the process code page is UTF-8 away from Windows.

#include <cstddef>
#include <string>

#include "platform/base.h"
#ifdef _WIN32
#include <stdlib.h>
#include <string.h>
#else

#define CP_ACP 0u
#define CP_UTF8 65001u
#define MB_PRECOMPOSED 1u
#define MB_ERR_INVALID_CHARS 8u
#define WC_ERR_INVALID_CHARS 0x80u

// Source length -1: up to and with the zero end. Target size 0: gives the size needed. 0 is a
// failure, with ERROR_INSUFFICIENT_BUFFER, ERROR_INVALID_PARAMETER or ERROR_NO_UNICODE_TRANSLATION.
int MultiByteToWideChar(UINT code_page, DWORD flags, const char* source, int source_length,
                        wchar_t* target, int target_size);
int WideCharToMultiByte(UINT code_page, DWORD flags, const wchar_t* source, int source_length,
                        char* target, int target_size, const char* replacement, BOOL* replaced);

int lstrcmpiA(const char* left, const char* right);
int lstrcmpA(const char* left, const char* right);
int _stricmp(const char* left, const char* right);
int _strnicmp(const char* left, const char* right, std::size_t length);

// The buffer is the caller's and must hold 33 characters for radix 2.
char* _itoa(int value, char* text, int radix);
char* _ltoa(long value, char* text, int radix);
char* _ultoa(unsigned long value, char* text, int radix);

#endif

// One 16-bit unit of UTF-16 text. Wide text of the platform is that on Windows, and whole
// characters of 32 bits elsewhere.
#ifdef _WIN32
using Utf16 = wchar_t;
#else
using Utf16 = char16_t;
#endif
static_assert(sizeof(Utf16) == 2);

// Wide text as UTF-16, for what takes nothing else; null gives an empty text.
inline std::basic_string<Utf16> utf16_of(const wchar_t* text) {
  std::basic_string<Utf16> result;
  for (; text != nullptr && *text != 0; ++text) {
    const auto code = static_cast<unsigned long>(*text);
    if (code < 0x10000) {
      result += static_cast<Utf16>(code);
    } else {
      result += static_cast<Utf16>(0xD800 + ((code - 0x10000) >> 10));
      result += static_cast<Utf16>(0xDC00 + ((code - 0x10000) & 0x3FF));
    }
  }
  return result;
}
