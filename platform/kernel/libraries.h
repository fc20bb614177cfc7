#pragma once
// The libraries of the system that LoadLibraryA finds here, each a list of functions.

#include <span>

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

}  // namespace platform::kernel
