#pragma once
// Which names a caller may use for the machine that it stands on.

#include <string_view>

#include "platform/controller.h"

namespace platform {

// machine: with or without leading backslashes, short or full, letter case aside. An empty one is
// the local machine always; with no controller, only that.
bool is_local_machine(const Controller* controller, std::string_view machine);

}  // namespace platform
