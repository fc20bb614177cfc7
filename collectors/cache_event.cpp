#include "collectors/cache_event.h"

#include <string_view>

#include "include/platform/threads.h"

namespace collectors {

CacheRowsLock::CacheRowsLock(CacheEvent& cache) : cache_(cache) { SYS1_GetLock(&cache_.rows_); }

CacheRowsLock::~CacheRowsLock() { SYS1_ReleaseLock(&cache_.rows_); }

CacheHold::~CacheHold() {
  if (held_) unlock_and_signal();
}

void CacheHold::take_for_transfer(const char* event_name) {
  if (cache_.event_ == nullptr) {
    create(event_name);
    // The event was born not signalled: there is nothing to wait for.
    SYS1_GetLock(&cache_.rows_);
    held_ = true;
    return;
  }
  wait(INFINITE);
  reset_and_lock();
}

bool CacheHold::take_for_sample(DWORD timeout_ms) {
  if (!wait(timeout_ms)) return false;
  reset_and_lock();
  return true;
}

void CacheHold::create(const char* event_name) {
  if (texts_.creating != nullptr) trace_.always()("%s", texts_.creating);
  cache_.event_ = CreateEventA(nullptr, TRUE, FALSE, event_name);
  if (cache_.event_ == nullptr && texts_.creating == nullptr) {
    trace_.always()("Main: Create %s Event failed ", texts_.word);
  }
}

bool CacheHold::wait(DWORD timeout_ms) {
  // Nobody is working on the rows, whatever the event says.
  if (cache_.release_owed_.exchange(false)) return true;
  return WaitForSingleObject(cache_.event_, timeout_ms) != WAIT_TIMEOUT;
}

void CacheHold::reset_and_lock() {
  if (!ResetEvent(cache_.event_) && texts_.tells_failed_lock) tell("Lock cache lock failed: ");
  SYS1_GetLock(&cache_.rows_);
  held_ = true;
}

void CacheHold::release(const char* failed) {
  if (!unlock_and_signal()) tell(failed);
}

bool CacheHold::unlock_and_signal() {
  held_ = false;
  // In this order: a side that passes the event finds the rows free, or soon so.
  SYS1_ReleaseLock(&cache_.rows_);
  if (SetEvent(cache_.event_)) return true;
  cache_.release_owed_ = cache_.event_ != nullptr;
  return false;
}

void CacheHold::tell(const char* text) const {
  // A text that ends in a blank has room for the number.
  if (texts_.tells_error_numbers && std::string_view(text).ends_with(' ')) {
    trace_.always()("%s%ld", text, static_cast<long>(GetLastError()));
  } else {
    trace_.always()("%s", text);
  }
}

}  // namespace collectors
