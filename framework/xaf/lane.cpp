#include "framework/xaf/lane.h"

#include <algorithm>
#include <exception>
#include <mutex>

#include "framework/xaf/access.h"
#include "framework/xaf/hub.h"
#include "trace.h"

namespace xaf {

void take_sample(xaftable* object, ManagerCore& manager) {
  DCW_TRACE("take_sample");
  const std::lock_guard hold(manager.lock);
  const std::int64_t started_us = steady_us();
  bool failed = false;
  try {
    object->TakeSample();
  } catch (const std::exception& failure) {
    failed = true;
    trace.always()("%s: the sample failed: %s", manager.table.c_str(), failure.what());
  } catch (...) {
    // This also stops a thread that the platform is unwinding; its next wait, which is near,
    // unwinds it again.
    failed = true;
    trace.always()("%s: the sample failed", manager.table.c_str());
  }
  note_sample(manager.table, steady_us() - started_us);
  if (failed) note_failure(manager.table);
  object->Dispatch();
  object->ClearCount();
}

Lane::Lane(std::shared_ptr<Run> run, std::shared_ptr<ManagerCore> manager, xaftable* object,
           std::uint32_t interval_ms)
    : run_(std::move(run)),
      manager_(std::move(manager)),
      object_(object),
      interval_us_(std::int64_t{interval_ms} * 1000) {}

Lane::~Lane() { XaftableAccess::release(object_); }

bool Lane::wait_until(std::int64_t due_us) {
  // A sample that would begin with the end of the run belongs to the time after it.
  if (due_us >= run_->stop_us) {
    run_->shutdown.wait(INFINITE);
    return false;
  }
  while (true) {
    const std::int64_t left_us = due_us - steady_us();
    if (run_->shutdown.wait(wait_ms(std::max<std::int64_t>(left_us, 0)))) return false;
    if (left_us <= 0 || steady_us() >= due_us) return true;
  }
}

void Lane::work() {
  std::int64_t due_us = run_->start_us;
  while (wait_until(due_us)) {
    take_sample(object_, *manager_);
    if (run_->once) return;
    due_us += interval_us_;
    const std::int64_t late_us = steady_us() - due_us;
    if (late_us > 0) {
      // The schedule stays where it is: ticks that have passed are skipped, not made up for.
      const std::int64_t missed = (late_us + interval_us_ - 1) / interval_us_;
      due_us += missed * interval_us_;
      note_missed(manager_->table, static_cast<std::uint64_t>(missed));
    }
  }
}

}  // namespace xaf
