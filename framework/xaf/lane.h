#pragma once
// One table's worker: a thread of its own that samples one object on a fixed schedule, so that
// samples of a table never overlap and a slow table delays no other.

#include <atomic>
#include <cstdint>
#include <limits>
#include <memory>
#include <string>

#include "framework/xaf/manager.h"
#include "framework/xaf/waiting.h"
#include "xaf.h"

namespace xaf {

// What all lanes of one xafmain share with it.
struct Run {
  Event shutdown;
  Event lanes_ended;  // set by the last lane to end
  std::atomic<std::uint32_t> lanes_running{0};
  bool once = false;
  std::int64_t start_us = 0;
  // No sample begins at or after this; those under way are not cut short.
  std::int64_t stop_us = std::numeric_limits<std::int64_t>::max();
};

// Runs TakeSample under the manager's lock, delivers what came of it, measures it. An exception out
// of TakeSample is counted and traced; rows handed over before it are delivered. Calling thread.
void take_sample(xaftable* object, ManagerCore& manager);

class Lane {
 public:
  // Owns the object, which was got through XaftableAccess::create.
  Lane(std::shared_ptr<Run> run, std::shared_ptr<ManagerCore> manager, xaftable* object,
       std::uint32_t interval_ms);
  ~Lane();  // releases the object
  Lane(const Lane&) = delete;
  Lane& operator=(const Lane&) = delete;

  // The body of the lane's thread: until shutdown, or after one sample when asked once.
  void work();
  const std::string& table() const { return manager_->table; }

 private:
  // False when the run ends before the time comes.
  bool wait_until(std::int64_t due_us);

  const std::shared_ptr<Run> run_;
  const std::shared_ptr<ManagerCore> manager_;
  xaftable* const object_;
  const std::int64_t interval_us_;
};

}  // namespace xaf
