#pragma once
// A library loaded for as long as this lives.

#include "include/platform/libraries.h"

namespace directory {

class SideLibrary {
 public:
  explicit SideLibrary(HMODULE handle) : handle_(handle) {}
  ~SideLibrary() {
    if (handle_ != nullptr) FreeLibrary(handle_);
  }
  SideLibrary(const SideLibrary&) = delete;
  SideLibrary& operator=(const SideLibrary&) = delete;

  HMODULE get() const { return handle_; }
  explicit operator bool() const { return handle_ != nullptr; }

  // Null when the library has no such function.
  template <typename Function>
  Function find(const char* name) const {
    return reinterpret_cast<Function>(reinterpret_cast<void*>(GetProcAddress(handle_, name)));
  }

 private:
  const HMODULE handle_;
};

}  // namespace directory
