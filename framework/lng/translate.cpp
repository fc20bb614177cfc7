// Conversion between UTF-16, UTF-8 and ASCII, one character at a time, so that a target that is too
// small always ends with a whole character.

#include <cstddef>
#include <cstring>

#include "lng.h"

namespace {

constexpr std::uint32_t kReplacement = 0xFFFD;

struct Character {
  std::uint32_t code;
  std::uint32_t bytes;  // read from the source; 0 at its end
};

struct Source {
  const unsigned char* bytes;
  std::uint32_t size;
};

std::uint32_t unit_at(const unsigned char* bytes) {
  std::uint16_t unit;  // the source need not be aligned
  std::memcpy(&unit, bytes, sizeof unit);
  return unit;
}

Character read_utf16(Source source) {
  if (source.size < 2) return {0, 0};  // a lone last byte is no character
  const std::uint32_t first = unit_at(source.bytes);
  if (first < 0xD800 || first > 0xDFFF) return {first, 2};
  if (first > 0xDBFF || source.size < 4) return {kReplacement, 2};
  const std::uint32_t second = unit_at(source.bytes + 2);
  if (second < 0xDC00 || second > 0xDFFF) return {kReplacement, 2};
  return {0x10000 + ((first - 0xD800) << 10) + (second - 0xDC00), 4};
}

Character read_utf8(Source source) {
  if (source.size == 0) return {0, 0};
  const unsigned char lead = source.bytes[0];
  if (lead < 0x80) return {lead, 1};
  const std::uint32_t length = lead >= 0xF0 ? 4 : lead >= 0xE0 ? 3 : 2;
  if (lead < 0xC2 || lead > 0xF4 || source.size < length) return {kReplacement, 1};
  std::uint32_t code = lead & (0xFFu >> (length + 1));
  for (std::uint32_t at = 1; at < length; ++at) {
    if ((source.bytes[at] & 0xC0) != 0x80) return {kReplacement, 1};
    code = code << 6 | (source.bytes[at] & 0x3Fu);
  }
  constexpr std::uint32_t kLeast[] = {0, 0, 0x80, 0x800, 0x10000};
  const bool surrogate = code >= 0xD800 && code <= 0xDFFF;
  if (code < kLeast[length] || code > 0x10FFFF || surrogate) return {kReplacement, 1};
  return {code, length};
}

Character read_ascii(Source source) {
  if (source.size == 0) return {0, 0};
  return {source.bytes[0] < 0x80 ? source.bytes[0] : kReplacement, 1};
}

std::uint32_t write_utf8(std::uint32_t code, char* out) {
  if (code < 0x80) {
    out[0] = static_cast<char>(code);
    return 1;
  }
  const std::uint32_t length = code < 0x800 ? 2 : code < 0x10000 ? 3 : 4;
  for (std::uint32_t at = length - 1; at > 0; --at) {
    out[at] = static_cast<char>(0x80 | (code & 0x3F));
    code >>= 6;
  }
  out[0] = static_cast<char>((0xF00u >> length & 0xFFu) | code);
  return length;
}

std::uint32_t write_utf16(std::uint32_t code, char* out) {
  std::uint16_t units[2] = {static_cast<std::uint16_t>(code), 0};
  std::uint32_t count = 1;
  if (code >= 0x10000) {
    units[0] = static_cast<std::uint16_t>(0xD800 + ((code - 0x10000) >> 10));
    units[1] = static_cast<std::uint16_t>(0xDC00 + ((code - 0x10000) & 0x3FF));
    count = 2;
  }
  std::memcpy(out, units, count * 2);
  return count * 2;
}

std::uint32_t write_ascii(std::uint32_t code, char* out) {
  out[0] = code < 0x80 ? static_cast<char>(code) : '?';
  return 1;
}

using Reader = Character (*)(Source);
using Writer = std::uint32_t (*)(std::uint32_t, char*);

Reader reader_of(std::uint32_t set) {
  switch (set) {
    case LNG2_Utf16Source:
      return read_utf16;
    case LNG2_Utf8:
      return read_utf8;
    case LNG2_Ascii:
      return read_ascii;
    default:
      return nullptr;
  }
}

Writer writer_of(std::uint32_t set) {
  switch (set) {
    case LNG2_Utf16Source:
      return write_utf16;
    case LNG2_Utf8:
      return write_utf8;
    case LNG2_Ascii:
      return write_ascii;
    default:
      return nullptr;
  }
}

void report(std::uint32_t* where, std::uint32_t value) {
  if (where != nullptr) *where = value;
}

}  // namespace

int LNG2_TranslateString(std::uint32_t target_set, char* target, std::uint32_t target_size,
                         std::uint32_t source_set, const void* source, std::uint32_t source_size,
                         std::uint32_t* target_length, std::uint32_t /*options*/,
                         std::uint32_t* source_consumed) {
  const Reader read = reader_of(source_set);
  const Writer write = writer_of(target_set);
  report(target_length, 0);
  report(source_consumed, 0);
  if (read == nullptr || write == nullptr) return 2;
  if (target == nullptr) target_size = 0;
  if (source == nullptr) source_size = 0;

  std::uint32_t written = 0;
  std::uint32_t consumed = 0;
  int result = 0;
  while (true) {
    const Character character =
        read({static_cast<const unsigned char*>(source) + consumed, source_size - consumed});
    if (character.bytes == 0) break;
    char encoded[4];
    const std::uint32_t length = write(character.code, encoded);
    if (length > target_size - written) {
      result = 1;
      break;
    }
    std::memcpy(target + written, encoded, length);
    written += length;
    consumed += character.bytes;
  }
  report(target_length, written);
  report(source_consumed, consumed);
  return result;
}
