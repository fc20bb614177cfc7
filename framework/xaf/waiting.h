#pragma once
// The platform's locks, events, threads and clocks as objects that clean up after themselves. All
// waiting of the framework goes through these, so that it takes part in virtual time.

#include <cstdint>
#include <functional>
#include <memory>

#include "platform/threads.h"
#include "platform/time.h"

namespace xaf {

// Recursive; for std::lock_guard.
class CriticalSection {
 public:
  CriticalSection() { InitializeCriticalSection(&section_); }
  ~CriticalSection() { DeleteCriticalSection(&section_); }
  CriticalSection(const CriticalSection&) = delete;
  CriticalSection& operator=(const CriticalSection&) = delete;
  void lock() { EnterCriticalSection(&section_); }
  void unlock() { LeaveCriticalSection(&section_); }

 private:
  CRITICAL_SECTION section_;
};

// Manual-reset: once set it stays so.
class Event {
 public:
  Event() : handle_(CreateEventA(nullptr, 1, 0, nullptr)) {}
  ~Event() {
    if (handle_ != nullptr) CloseHandle(handle_);
  }
  Event(const Event&) = delete;
  Event& operator=(const Event&) = delete;
  HANDLE handle() const { return handle_; }
  void set() { SetEvent(handle_); }
  bool wait(DWORD timeout_ms) { return WaitForSingleObject(handle_, timeout_ms) == WAIT_OBJECT_0; }

 private:
  HANDLE handle_;
};

// A thread of the platform that runs the function once. Destruction does not wait for it; what the
// function uses must be shared with it.
class Thread {
 public:
  explicit Thread(std::function<void()> body);
  ~Thread() {
    if (handle_ != nullptr) CloseHandle(handle_);
  }
  Thread(const Thread&) = delete;
  Thread& operator=(const Thread&) = delete;
  bool started() const { return handle_ != nullptr; }
  // True when the thread has ended within the time.
  bool join(DWORD timeout_ms) { return WaitForSingleObject(handle_, timeout_ms) == WAIT_OBJECT_0; }

 private:
  HANDLE handle_ = nullptr;
};

// For durations and schedules; never goes back.
std::int64_t steady_us();
// Milliseconds since 1970, universal time.
std::int64_t clock_ms();
// A wait of at least that long, as the wait calls take it; never INFINITE.
DWORD wait_ms(std::int64_t duration_us);

}  // namespace xaf
