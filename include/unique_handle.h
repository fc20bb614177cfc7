#pragma once
// The owner of a handle that CloseHandle closes: threads, events, files.

#include <cstdint>
#include <utility>

#include "include/platform/base.h"

class UniqueHandle {
 public:
  UniqueHandle() = default;
  explicit UniqueHandle(HANDLE handle) : handle_(handle) {}
  // As _beginthreadex gives it: 0 is none.
  explicit UniqueHandle(std::uintptr_t thread) : handle_(reinterpret_cast<HANDLE>(thread)) {}
  ~UniqueHandle() { reset(); }
  UniqueHandle(UniqueHandle&& other) noexcept : handle_(other.release()) {}
  UniqueHandle& operator=(UniqueHandle&& other) noexcept {
    if (this != &other) {
      reset();
      handle_ = other.release();
    }
    return *this;
  }

  HANDLE get() const { return handle_; }
  explicit operator bool() const { return handle_ != nullptr; }
  HANDLE release() { return std::exchange(handle_, nullptr); }
  // Closes; the caller's last error stays what it was.
  void reset() {
    if (handle_ == nullptr) return;
    const DWORD error = GetLastError();
    CloseHandle(release());
    SetLastError(error);
  }

 private:
  HANDLE handle_ = nullptr;
};

// For a handle that nobody keeps; null is left alone.
inline void close_now(HANDLE handle) { const UniqueHandle owner{handle}; }
