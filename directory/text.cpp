#include "directory/text.h"

#include <algorithm>

#include "tables/ckutil.h"

namespace directory {

void copy_out(const trace::Scope& trace, std::span<char> target, std::string_view text) {
  if (target.empty()) return;
  const std::size_t length = std::min(text.size(), target.size() - 1);
  if (length < text.size()) {
    trace.error()("Text of %zu characters cut to %zu", text.size(), length);
  }
  std::copy_n(text.data(), length, target.data());
  std::fill(target.begin() + static_cast<std::ptrdiff_t>(length), target.end(), '\0');
}

void upper_case(std::string& text) {
  CKUtil::upper(text.data(), static_cast<std::int32_t>(text.size()));
}

void format_path(const trace::Scope& trace, std::span<wchar_t> target, std::wstring_view form,
                 std::initializer_list<std::string_view> arguments) {
  std::wstring path;
  const auto* argument = arguments.begin();
  for (std::size_t at = form.find(L"%S"); at != form.npos; at = form.find(L"%S")) {
    path.append(form.substr(0, at));
    if (argument != arguments.end()) path.append(widened(*argument++));
    form.remove_prefix(at + 2);
  }
  path.append(form);
  const std::size_t length = std::min(path.size(), target.size() - 1);
  if (length < path.size()) {
    trace.error()("Path of %zu characters cut to %zu", path.size(), length);
  }
  std::copy_n(path.data(), length, target.data());
  std::fill(target.begin() + static_cast<std::ptrdiff_t>(length), target.end(), L'\0');
}

}  // namespace directory
