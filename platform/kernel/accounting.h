#pragma once
// Counts of what the platform has handed out and not got back. One static counter a kind:
//
//   inline platform::accounting::Counter interfaces{"interface"};
//   interfaces.add();      // and remove() when the last reference is gone
//
// Counters of the same kind add up. What a simulated process had not given back when it ended is
// taken off again.

#include <atomic>
#include <cstdint>

namespace platform::accounting {

class Counter {
 public:
  // kind must live for ever (a literal).
  explicit Counter(const char* kind);
  Counter(const Counter&) = delete;
  Counter& operator=(const Counter&) = delete;

  void add(std::int64_t count = 1) {
    live_.fetch_add(count, std::memory_order_relaxed);
    if (ledgers_in_use.load(std::memory_order_relaxed)) note(count);
  }
  void remove(std::int64_t count = 1) { add(-count); }

  // Takes off what an ended process had not given back.
  void forget(std::int64_t count) { live_.fetch_sub(count, std::memory_order_relaxed); }

  const char* kind() const { return kind_; }
  std::int64_t live() const { return live_.load(std::memory_order_relaxed); }
  const Counter* next() const { return next_; }

  static std::atomic<bool> ledgers_in_use;  // set once a simulated process exists

 private:
  void note(std::int64_t count);

  const char* const kind_;
  std::atomic<std::int64_t> live_{0};
  Counter* next_;
};

}  // namespace platform::accounting
