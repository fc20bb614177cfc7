#pragma once
// The owner of a handle that the service manager gave out: the manager's own, or a service's.

#include <utility>

#include "include/platform/service_manager.h"

class UniqueServiceHandle {
 public:
  UniqueServiceHandle() = default;
  explicit UniqueServiceHandle(SC_HANDLE handle) : handle_(handle) {}
  ~UniqueServiceHandle() { reset(); }
  UniqueServiceHandle(UniqueServiceHandle&& other) noexcept
      : handle_(std::exchange(other.handle_, nullptr)) {}
  UniqueServiceHandle& operator=(UniqueServiceHandle&& other) noexcept {
    if (this != &other) {
      reset();
      handle_ = std::exchange(other.handle_, nullptr);
    }
    return *this;
  }

  SC_HANDLE get() const { return handle_; }
  explicit operator bool() const { return handle_ != nullptr; }
  // Closes; the caller's last error stays what it was.
  void reset() {
    if (handle_ == nullptr) return;
    const DWORD error = GetLastError();
    CloseServiceHandle(std::exchange(handle_, nullptr));
    SetLastError(error);
  }

 private:
  SC_HANDLE handle_ = nullptr;
};
