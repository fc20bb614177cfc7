#pragma once
// Windows paths in the file system of this machine.

#include <string>

#include "platform/base.h"

namespace platform::kernel {

// Backslashes become slashes.
std::string native_path(const char* path);
// The last error that Windows has for an errno value of a file call.
DWORD error_from_errno(int error);

}  // namespace platform::kernel
