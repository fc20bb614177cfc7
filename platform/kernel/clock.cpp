#include "platform/kernel/clock.h"

#include <atomic>
#include <chrono>
#include <stdexcept>

#include "include/platform/time.h"
#include "platform/control.h"
#include "platform/kernel/scheduler.h"

namespace platform::kernel {

namespace {

constexpr std::int64_t kTicksInMillisecond = 10000;
constexpr std::int64_t kNanosecondsInTick = 100;
// Virtual time begins an hour after the machine did, so that differences from boot are positive.
constexpr std::int64_t kVirtualUptimeTicks = 3600 * 1000 * kTicksInMillisecond;

// So that real clocks are read without the scheduler's lock.
std::atomic<bool> virtual_time_on{false};

struct VirtualNow {
  std::int64_t start_ms;
  std::int64_t ticks;
};
VirtualNow virtual_now() {
  Lock lock = lock_scheduler();
  current_thread(lock);  // who reads the clock takes part
  const auto& state = scheduler();
  return {state.virtual_start_ms, state.virtual_now_ns / kNanosecondsInTick};
}

// Deadlines keep their distance from now when the clock is changed.
void move_deadlines(std::int64_t from_now_ns, std::int64_t to_now_ns) {
  for (Waiter* waiter : scheduler().waiters) {
    if (waiter->deadline_ns != kNever) waiter->deadline_ns += to_now_ns - from_now_ns;
    waiter->thread->wake.notify_one();
  }
}

void forget_idle_strangers(const Thread& self, Lock& lock) {
  for (const auto& thread : scheduler().threads) {
    if (!thread->foreign || thread.get() == &self || thread->blocked) continue;
    count_running(*thread, false, lock);
    thread->known = false;
  }
}

}  // namespace

std::int64_t wall_clock_ticks() {
  if (virtual_time_on.load(std::memory_order_acquire)) {
    const auto now = virtual_now();
    return now.start_ms * kTicksInMillisecond + now.ticks;
  }
  return std::chrono::duration_cast<std::chrono::nanoseconds>(
             std::chrono::system_clock::now().time_since_epoch())
             .count() /
         kNanosecondsInTick;
}

std::int64_t monotonic_ticks() {
  if (virtual_time_on.load(std::memory_order_acquire))
    return kVirtualUptimeTicks + virtual_now().ticks;
  return std::chrono::duration_cast<std::chrono::nanoseconds>(
             std::chrono::steady_clock::now().time_since_epoch())
             .count() /
         kNanosecondsInTick;
}

}  // namespace platform::kernel

namespace platform {

using kernel::Lock;

std::int64_t clock_now_ms() { return kernel::wall_clock_ticks() / kernel::kTicksInMillisecond; }

VirtualTime::VirtualTime(std::int64_t start_ms) : start_ms_(start_ms) {
  Lock lock = kernel::lock_scheduler();
  auto& state = kernel::scheduler();
  if (state.virtual_time) throw std::logic_error("virtual time is on already");
  const auto& self = kernel::current_thread(lock);
  kernel::forget_idle_strangers(self, lock);
  const auto real_now = state.now_ns();
  state.virtual_time = true;
  state.virtual_now_ns = 0;
  state.virtual_start_ms = start_ms;
  kernel::virtual_time_on.store(true, std::memory_order_release);
  kernel::move_deadlines(real_now, 0);
}

VirtualTime::~VirtualTime() {
  Lock lock = kernel::lock_scheduler();
  auto& state = kernel::scheduler();
  const auto before = state.virtual_now_ns;
  state.virtual_time = false;
  kernel::virtual_time_on.store(false, std::memory_order_release);
  kernel::move_deadlines(before, state.now_ns());
}

std::int64_t VirtualTime::elapsed_ms() const {
  const Lock lock = kernel::lock_scheduler();
  return kernel::scheduler().virtual_now_ns / kernel::kNanosecondsInMillisecond;
}

std::int64_t VirtualTime::now_ms() const { return start_ms_ + elapsed_ms(); }

void set_deadlock_patience(std::uint32_t real_ms) {
  const Lock lock = kernel::lock_scheduler();
  kernel::scheduler().patience = std::chrono::milliseconds(real_ms);
}

}  // namespace platform

ULONGLONG GetTickCount64() {
  return static_cast<ULONGLONG>(platform::kernel::monotonic_ticks() /
                                platform::kernel::kTicksInMillisecond);
}

BOOL QueryPerformanceCounter(LARGE_INTEGER* count) {
  count->QuadPart = platform::kernel::monotonic_ticks();
  return TRUE;
}

BOOL QueryPerformanceFrequency(LARGE_INTEGER* frequency) {
  frequency->QuadPart = platform::kernel::kTicksInMillisecond * 1000;
  return TRUE;
}
