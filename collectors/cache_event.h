#pragma once
// The lock over one table's cache, as both sides of the cache cycle use it: the collector while it
// replaces the rows, the sample while it hands them over.
//
// It is a named manual-reset event: signalled means that the rows are complete and free, not
// signalled that there never were any, or that one side is working on them. The event does not
// exist before the first collection that got all its data; until then a sample has nothing to wait
// for. The event tells the state and bounds the waits. What keeps two sides apart that pass it
// together, between the end of the wait and the reset, is the lock beneath it.

#include <atomic>

#include "include/platform/base.h"
#include "include/trace.h"
#include "include/trc.h"

namespace collectors {

// What the two sides of one table say when a call fails. Where numbers are told, the system's error
// follows the text.
struct CacheTexts {
  const char* word;                // in "Main: Create DCA Event failed "
  const char* creating = nullptr;  // said before the event is made; then a failure is not told
  bool tells_failed_lock = true;
  bool tells_error_numbers = false;
  const char* collector_release_failed = "Release cache lock failed: ";
  const char* sample_release_failed = "Release cache lock failed: ";
};

// One a table, static. Never destroyed: cache threads outlive everything.
class CacheEvent {
 public:
  // Null before the first finished collection.
  HANDLE handle() const { return event_; }

 private:
  friend class CacheHold;
  friend class CacheRowsLock;

  std::atomic<HANDLE> event_{nullptr};
  SYS1_Lock rows_;  // held by the side that works on the rows, inside the event
  // The rows were given up, but the event could not be signalled: the next side does not wait.
  std::atomic<bool> release_owed_{false};
};

// The lock alone, for a collector that empties its rows without taking the cache.
class CacheRowsLock {
 public:
  explicit CacheRowsLock(CacheEvent& cache);
  ~CacheRowsLock();
  CacheRowsLock(const CacheRowsLock&) = delete;
  CacheRowsLock& operator=(const CacheRowsLock&) = delete;

 private:
  CacheEvent& cache_;
};

// Holds one cache's rows, from a successful take to release() or its own end.
class CacheHold {
 public:
  CacheHold(const trace::Scope& trace, CacheEvent& cache, const CacheTexts& texts)
      : trace_(trace), cache_(cache), texts_(texts) {}
  // Gives the cache up on a way out that did not come to release(), untold.
  ~CacheHold();
  CacheHold(const CacheHold&) = delete;
  CacheHold& operator=(const CacheHold&) = delete;

  // The collector's side: makes the event if there is none, else waits as long as it takes. Always
  // holds the cache afterwards; without an event when it could not be made, which the next
  // collection tries again.
  void take_for_transfer(const char* event_name);
  // The sample's side: false when the cache stayed busy for that long. Any other end of the wait, a
  // failed one included, counts as having the cache.
  bool take_for_sample(DWORD timeout_ms);
  // Gives the cache up and signals it; a failure is told with the text.
  void release(const char* failed);

 private:
  void create(const char* event_name);
  // False on a time-out.
  bool wait(DWORD timeout_ms);
  void reset_and_lock();
  bool unlock_and_signal();
  void tell(const char* text) const;

  const trace::Scope& trace_;
  CacheEvent& cache_;
  const CacheTexts& texts_;
  bool held_ = false;
};

}  // namespace collectors
