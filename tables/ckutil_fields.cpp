#include <algorithm>
#include <cctype>
#include <cstring>
#include <string>
#include <string_view>

#include "include/lng.h"
#include "include/trace.h"
#include "tables/ckutil.h"

namespace {

constexpr std::size_t kHostNameSize = 64;

// The options word that the character-set library is always called with.
constexpr std::uint32_t kTranslateOptions = 256;

std::size_t size_of(std::int32_t size) { return size > 0 ? static_cast<std::size_t>(size) : 0; }

void translate(std::uint32_t target_set, char* target, std::int32_t size, const Utf16* source) {
  std::memset(target, ' ', size_of(size));
  if (source == nullptr) return;
  const auto length = std::char_traits<Utf16>::length(source);
  std::uint32_t target_length = 0;
  std::uint32_t source_consumed = 0;
  // A failure leaves the field blank, and that is all that it does.
  LNG2_TranslateString(target_set, target, static_cast<std::uint32_t>(size_of(size)),
                       LNG2_Utf16Source, source, static_cast<std::uint32_t>(2 * length),
                       &target_length, kTranslateOptions, &source_consumed);
}

}  // namespace

void CKUtil::mwmemcpy(char* target, const char* source, std::int32_t size) {
  DCW_TRACE("mwmemcpy");
  if (target == nullptr || source == nullptr) return;
  std::memcpy(target, source, size_of(size));
  char* const end = target + size_of(size);
  std::fill(std::find(target, end, '\0'), end, ' ');
}

void CKUtil::mwstrncpy(char* target, const char* source, std::int32_t size) {
  DCW_TRACE("mwstrncpy");
  if (target == nullptr || source == nullptr) return;
  const std::size_t length = std::min(std::strlen(source), size_of(size));
  std::memset(target, ' ', size_of(size));
  std::memcpy(target, source, length);
}

void CKUtil::mwUTF16toUTF8cpy(char* target, const Utf16* source, std::int32_t size) {
  DCW_TRACE("mwUTF16toUTF8cpy");
  if (target == nullptr) return;
  translate(LNG2_Utf8, target, size, source);
}

void CKUtil::mwUTF16toASCIIcpy(char* target, const Utf16* source, std::int32_t size,
                               std::int32_t zeros_at_end) {
  DCW_TRACE("mwUTF16toASCIIcpy");
  if (target == nullptr) return;
  translate(LNG2_Ascii, target, size, source);
  if (zeros_at_end == 0) return;
  for (std::size_t i = size_of(size); i > 0 && target[i - 1] == ' '; --i) target[i - 1] = '0';
}

void CKUtil::blanksTrails(std::int32_t length, std::int32_t size, char* field) {
  DCW_TRACE("blanksTrails");
  if (field == nullptr) return;
  if (length > size && trace.on(trace::kError)) {
    TRC1_Dump(trace.unit(), __LINE__, field, static_cast<std::uint32_t>(size_of(size)),
              "blanksTrails len=%d size=%d", length, size);
  }
  if (length < 0) trace.error()("blanksTrails len=%d is taken for 0", length);
  const std::size_t from = length > size ? 0 : size_of(length);
  std::memset(field + from, ' ', size_of(size) - from);
}

bool CKUtil::trimHostname(const char* source, char* target) {
  DCW_TRACE("trimHostname");
  if (source == nullptr || target == nullptr) return trace.returns(true);
  const char* const backslash = std::strrchr(source, '\\');
  const std::string_view name = backslash != nullptr ? backslash + 1 : source;
  // The target's size is known only by convention, so that a longer name is cut at it.
  const std::size_t length = std::min(name.size(), kHostNameSize - 1);
  if (length < name.size()) trace.error()("Host name cut at %d characters: %s", 63, name.data());
  std::memset(target, 0, kHostNameSize);
  std::memcpy(target, name.data(), length);
  return trace.returns(true);
}

bool CKUtil::trimSitename(const char* source, char* target) {
  DCW_TRACE("trimSitename");
  if (source == nullptr || target == nullptr) return trace.returns(true);
  const std::size_t length = std::strlen(source);
  std::memcpy(target, source, length + 1);
  trace.detail()("sitename: %s\n", target);
  const std::size_t backslash = std::strcspn(target, "\\");
  trace.detail()("charIndex: %u\n", static_cast<unsigned>(backslash));
  std::memset(target + backslash, 0, length - backslash);
  trace.detail()("sitename: %s\n", target);
  return trace.returns(true);
}

char* CKUtil::lower(char* text, std::int32_t length) {
  DCW_TRACE("lower");
  if (text == nullptr) return text;
  std::transform(text, text + size_of(length), text,
                 [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
  return text;
}

char* CKUtil::upper(char* text, std::int32_t length) {
  DCW_TRACE("upper");
  if (text == nullptr) return text;
  std::transform(text, text + size_of(length), text,
                 [](unsigned char c) { return static_cast<char>(std::toupper(c)); });
  return text;
}
