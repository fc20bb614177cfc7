#pragma once
// The border between the program's narrow text (process code page) and the directory's wide text,
// and the callers' fixed buffers. Nothing here writes behind a buffer: what does not fit is cut and
// the cut is traced.

#include <array>
#include <cstddef>
#include <initializer_list>
#include <span>
#include <string>
#include <string_view>

#include "directory/com.h"
#include "include/trace.h"

namespace directory {

std::wstring widened(std::string_view narrow);
// Characters outside the code page are lost.
std::string narrowed(std::wstring_view wide);

// The text of a string value; empty for a value of any other type.
std::string text_of(const Variant& value);

// Puts text and its zero end into a caller's buffer and zeros behind it.
void copy_out(const trace::Scope& trace, std::span<char> target, std::string_view text);

// Formats a path: each %S of the form takes the next argument. At most size - 1 characters and the
// zero end are written, zeros behind them.
void format_path(const trace::Scope& trace, std::span<wchar_t> target, std::wstring_view form,
                 std::initializer_list<std::string_view> arguments);

// A wide path of fixed size, cut at it.
template <std::size_t kSize>
class AdsPath {
 public:
  AdsPath(const trace::Scope& trace, std::wstring_view form,
          std::initializer_list<std::string_view> arguments = {}) {
    format_path(trace, text_, form, arguments);
  }
  const wchar_t* wide() const { return text_.data(); }
  std::string narrow() const { return narrowed(text_.data()); }

 private:
  std::array<wchar_t, kSize> text_{};
};

// Upper-cases up to the text's end, in place.
void upper_case(std::string& text);

// Null text reads as empty.
inline std::string_view view(const char* text) { return text == nullptr ? "" : text; }

}  // namespace directory
