#pragma once
// Which names a caller may use for the machine that it stands on, and the full name of a machine.

#include <string>
#include <string_view>

#include "platform/controller.h"

namespace platform {

// machine: with or without leading backslashes, short or full, letter case aside. An empty one is
// the local machine always; with no controller, only that.
bool is_local_machine(const Controller* controller, std::string_view machine);

// The full name of a host: this machine's own, also for an empty name, or the one that the name
// server has for it behind its aliases; empty when it knows none. A short name is one of the
// machine's own domain.
std::string full_name(Controller& controller, std::string_view host);

}  // namespace platform
