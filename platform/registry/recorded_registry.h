#pragma once
// A registry from a recording: a file as the registry editor exports it.

#include <memory>
#include <string>

#include "platform/controller.h"

namespace platform {

// text: the file's bytes, of version 5.00 ("Windows Registry Editor Version 5.00", UTF-16 or UTF-8)
// or of version 4 ("REGEDIT4"). Texts become UTF-8 with a zero end; other data stays as it is. What
// takes something away ([-key], "name"=-) is refused: a recording says what is there. Throws
// ControllerError, "file:line: what".
//
// Sub-keys are given in alphabetical order, as the system gives them, values in that of the file.
std::unique_ptr<RegistryHive> read_registry(const std::string& text, const std::string& file_name);

}  // namespace platform
