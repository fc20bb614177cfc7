#pragma once
// Counter names in the system's own language. The lists hold English names, and the counter library
// knows each counter by the name that the system shows.

#include <cstdint>
#include <optional>
#include <string>

// False where the lists need translating. No other language counts as English: another English has
// the same names, found the long way.
bool has_default_english();

// Rewrites object and counter names of all lists in place, once a process, before any collector is
// built and therefore without a lock. A name without translation stays English. Failures are traced
// only; the names not reached then stay English too.
void convertToLocalizedLanguage();

// The name behind an index of the system's name table; nothing when the library has none, or one
// of more than 127 characters.
std::optional<std::string> GetNameByIndex(std::int32_t index);
