#pragma once
// Commands answered from a recording's commands.json and the files of its folder commands/;
// docs/recordings.md describes both.

#include <map>
#include <memory>
#include <string>
#include <string_view>

#include "platform/commands/command_source.h"

namespace platform {

// True when the text is the pattern, in which each star stands for any run of characters.
bool matches_pattern(std::string_view pattern, std::string_view text);

// text: of commands.json, or null where there is none and no command is there. files: what stands
// in the folder, by the names within it. Throws ControllerError.
std::unique_ptr<CommandSource> read_commands(const std::string* text,
                                             const std::map<std::string, std::string>& files);

}  // namespace platform
