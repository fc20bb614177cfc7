#pragma once
// Which paths name a file on another machine.

#include <optional>
#include <string_view>

#include "platform/controller.h"

namespace platform {

// Nothing for a path of this machine. Slashes and backslashes are the same; several in a row count
// as one, save the two in front. A path without a share's name has an empty one.
std::optional<SharePath> parse_share_path(std::string_view path);

}  // namespace platform
