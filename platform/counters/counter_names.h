#pragma once
// The tables of counter names and their indexes, in English and in the machine's own language. They
// live in the registry, below Perflib; a machine whose registry lacks them has those that the
// counters themselves tell.

#include <cstdint>
#include <memory>
#include <string>

#include "platform/controller.h"

namespace platform {

// The data of the registry value "Counter 009", or "Counter" and another language's three
// hexadecimal digits: index and name in turn, each zero-ended, then an empty name. Empty when there
// is no such table. A table in the registry is handed out as it is, broken or not.
std::string counter_name_table(Controller& controller, std::uint32_t primary_language);

// The local name of an index, or an empty text.
std::string local_counter_name(const std::shared_ptr<Controller>& controller, std::uint32_t index);

}  // namespace platform
