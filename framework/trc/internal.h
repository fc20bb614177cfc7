#pragma once
// What the sources of the trace library share: the settings of flags and the one writer of lines.

#include <cstdarg>
#include <cstdint>
#include <string>
#include <string_view>

#include "framework/trc/control.h"

namespace trc {

// "/a/b/adpdh.cpp" -> "adpdh.cpp"; both kinds of slash, since sources are built on either system.
std::string_view base_name(std::string_view path);

std::string format_text(const char* format, va_list arguments);

// Whether anybody would see a line, so that an unwanted one is never formatted.
bool anyone_listens();

// Hands one record to the captures, the file and the console. Any thread, also from within itself.
void write(const TRC1_UnitRecord* unit, Kind kind, std::uint32_t source_line, std::string text);

// The record as it stands in a file, with its newlines.
std::string render(const Line& line);

// Takes the flag word of TRC_TRC1 when nobody has set one through set_flags.
void read_flags_from_environment();
// No setting counts but the environment's.
void forget_flags();

}  // namespace trc
