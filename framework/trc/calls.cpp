// The trace calls of traced functions.

#include <cstdio>

#include "framework/trc/internal.h"

namespace trc {

std::string format_text(const char* format, va_list arguments) {
  va_list again;
  va_copy(again, arguments);
  char small[512];
  const int length = std::vsnprintf(small, sizeof small, format, arguments);
  std::string text;
  if (length < 0) {
    text = format;
  } else if (static_cast<std::size_t>(length) < sizeof small) {
    text.assign(small, static_cast<std::size_t>(length));
  } else {
    text.resize(static_cast<std::size_t>(length));
    std::vsnprintf(text.data(), text.size() + 1, format, again);
  }
  va_end(again);
  return text;
}

namespace {

// Sixteen bytes a line: offset, bytes in hexadecimal, the same as characters.
std::string dump_text(const unsigned char* bytes, std::uint32_t length) {
  constexpr std::uint32_t kPerLine = 16;
  std::string text;
  for (std::uint32_t offset = 0; offset < length; offset += kPerLine) {
    char part[16];
    std::snprintf(part, sizeof part, "\n%08x ", static_cast<unsigned>(offset));
    text += part;
    std::string characters;
    for (std::uint32_t at = offset; at < offset + kPerLine; ++at) {
      if (at >= length) {
        text += "   ";
        continue;
      }
      std::snprintf(part, sizeof part, " %02x", static_cast<unsigned>(bytes[at]));
      text += part;
      characters += bytes[at] >= 0x20 && bytes[at] < 0x7f ? static_cast<char>(bytes[at]) : '.';
    }
    text += "  " + characters;
  }
  return text;
}

}  // namespace
}  // namespace trc

void TRC1_Event(TRC1_UnitRecord* unit, std::uint32_t line, std::uint32_t kind, ...) {
  if (!trc::anyone_listens()) return;
  if (kind == TRC1_Entry) {
    trc::write(unit, trc::Kind::kEntry, line, "Entry");
  } else if (kind == TRC1_ExitWithResult) {
    va_list arguments;
    va_start(arguments, kind);
    const int result = va_arg(arguments, int);
    va_end(arguments);
    trc::write(unit, trc::Kind::kExit, line, "Exit " + std::to_string(result));
  } else {
    trc::write(unit, trc::Kind::kExit, line, "Exit");
  }
}

void TRC1_Printf(TRC1_UnitRecord* unit, std::uint32_t line, const char* format, ...) {
  if (!trc::anyone_listens()) return;
  va_list arguments;
  va_start(arguments, format);
  std::string text = trc::format_text(format, arguments);
  va_end(arguments);
  trc::write(unit, trc::Kind::kText, line, std::move(text));
}

void TRC1_Dump(TRC1_UnitRecord* unit, std::uint32_t line, const void* address, std::uint32_t length,
               const char* format, ...) {
  if (!trc::anyone_listens()) return;
  va_list arguments;
  va_start(arguments, format);
  std::string text = trc::format_text(format, arguments);
  va_end(arguments);
  if (!text.empty() && text.back() == '\n') text.pop_back();
  if (address != nullptr)
    text += trc::dump_text(static_cast<const unsigned char*>(address), length);
  trc::write(unit, trc::Kind::kDump, line, std::move(text));
}
