// Between narrow and wide text. Apart from the rest of text.h, so that a side library can have
// these without the program's helpers.

#include <algorithm>

#include "directory/text.h"
#include "include/platform/text.h"

namespace directory {

std::wstring widened(std::string_view narrow) {
  if (narrow.empty()) return {};
  const int length = static_cast<int>(narrow.size());
  const int size = MultiByteToWideChar(CP_ACP, 0, narrow.data(), length, nullptr, 0);
  std::wstring wide(static_cast<std::size_t>(std::max(size, 0)), L'\0');
  if (size > 0) MultiByteToWideChar(CP_ACP, 0, narrow.data(), length, wide.data(), size);
  return wide;
}

std::string narrowed(std::wstring_view wide) {
  if (wide.empty()) return {};
  const int length = static_cast<int>(wide.size());
  const int size =
      WideCharToMultiByte(CP_ACP, 0, wide.data(), length, nullptr, 0, nullptr, nullptr);
  std::string narrow(static_cast<std::size_t>(std::max(size, 0)), '\0');
  if (size > 0) {
    WideCharToMultiByte(CP_ACP, 0, wide.data(), length, narrow.data(), size, nullptr, nullptr);
  }
  return narrow;
}

std::string text_of(const Variant& value) {
  if (value.type() != VT_BSTR || value.get().bstrVal == nullptr) return {};
  return narrowed(value.get().bstrVal);
}

}  // namespace directory
