#include "platform/kernel/accounting.h"

#include "platform/control.h"

namespace platform::accounting {

namespace {
// Every counter there is; counters register themselves before main and are never taken off.
constinit std::atomic<Counter*> first_counter{nullptr};
}  // namespace

std::atomic<bool> Counter::ledgers_in_use{false};

Counter::Counter(const char* kind) : kind_(kind), next_(first_counter.load()) {
  while (!first_counter.compare_exchange_weak(next_, this)) {
  }
}

std::map<std::string, std::int64_t> live() {
  std::map<std::string, std::int64_t> result;
  for (const Counter* counter = first_counter; counter != nullptr; counter = counter->next()) {
    if (const auto count = counter->live(); count != 0) result[counter->kind()] += count;
  }
  std::erase_if(result, [](const auto& one) { return one.second == 0; });
  return result;
}

}  // namespace platform::accounting
