#include "framework/xaf/handles.h"

#include <mutex>
#include <unordered_map>

namespace xaf::handles {
namespace {

struct Entry {
  xaftable* object = nullptr;
  std::uint32_t holds = 0;
  bool given_up = false;
};

struct Handles {
  std::mutex mutex;
  // Guarded by mutex.
  std::unordered_map<std::uint32_t, Entry> entries;
  std::uint32_t last = 0;
};

Handles& state() {
  static Handles* const instance = new Handles;
  return *instance;
}

}  // namespace

std::uint32_t add(xaftable* object) {
  Handles& all = state();
  const std::lock_guard hold_mutex(all.mutex);
  do {
    ++all.last;
  } while (all.last == 0 || all.entries.contains(all.last));
  all.entries[all.last].object = object;
  return all.last;
}

xaftable* hold(std::uint32_t handle) {
  Handles& all = state();
  const std::lock_guard hold_mutex(all.mutex);
  const auto found = all.entries.find(handle);
  if (found == all.entries.end() || found->second.given_up) return nullptr;
  ++found->second.holds;
  return found->second.object;
}

bool drop(std::uint32_t handle) {
  Handles& all = state();
  const std::lock_guard hold_mutex(all.mutex);
  const auto found = all.entries.find(handle);
  if (found == all.entries.end() || found->second.holds == 0) return false;
  --found->second.holds;
  return found->second.given_up && found->second.holds == 0;
}

bool give_up(std::uint32_t handle) {
  Handles& all = state();
  const std::lock_guard hold_mutex(all.mutex);
  const auto found = all.entries.find(handle);
  if (found == all.entries.end() || found->second.given_up) return false;
  found->second.given_up = true;
  return found->second.holds == 0;
}

void forget(std::uint32_t handle) {
  Handles& all = state();
  const std::lock_guard hold_mutex(all.mutex);
  all.entries.erase(handle);
}

}  // namespace xaf::handles
