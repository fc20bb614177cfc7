#pragma once
// The libraries that LoadLibraryA finds here: those of the system, each a list of functions, and
// the program's own.

#include <span>
#include <string>
#include <vector>

#include "platform/libraries.h"

namespace platform::kernel {

struct Export {
  const char* name;
  FARPROC function;
};
struct SystemLibrary {
  const char* name;  // without folder and extension
  std::span<const Export> exports;
};

template <typename Function>
FARPROC as_export(Function* function) {
  return reinterpret_cast<FARPROC>(reinterpret_cast<void*>(function));
}

// ws2_32, in addresses.cpp.
const SystemLibrary& sockets_library();

// True for a handle of that library, however it was loaded.
bool is_library(const void* handle, const char* name);

// Folders of the program's own parts of that kind ("libraries", "commands"): beside the program and
// one up, where a build has them.
std::vector<std::string> program_folders(const char* kind);

}  // namespace platform::kernel
