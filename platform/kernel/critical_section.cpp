// Critical sections. The word LockCount is 0 when free, 1 when taken, 2 when taken and wanted; the
// way in and out of an unwanted section is one atomic exchange. A wanted section is handed to the
// thread that came first, under the scheduler's lock.

#include "platform/kernel/critical_section.h"

#include <algorithm>
#include <atomic>

#include "include/platform/threads.h"
#include "platform/kernel/process.h"
#include "platform/kernel/scheduler.h"

namespace platform::kernel {

namespace {

accounting::Counter sections{"critical section"};

std::atomic_ref<LONG> word(CRITICAL_SECTION* section) {
  return std::atomic_ref<LONG>(section->LockCount);
}
std::atomic_ref<HANDLE> owner(CRITICAL_SECTION* section) {
  return std::atomic_ref<HANDLE>(section->OwningThread);
}
HANDLE as_owner(DWORD thread_id) {
  return reinterpret_cast<HANDLE>(static_cast<std::uintptr_t>(thread_id));
}

void own(CRITICAL_SECTION* section, DWORD thread_id) {
  owner(section).store(as_owner(thread_id), std::memory_order_relaxed);
  section->RecursionCount = 1;
}

bool is_wanted(const CRITICAL_SECTION* section) {
  const auto& waiters = scheduler().waiters;
  return std::any_of(waiters.begin(), waiters.end(),
                     [&](const Waiter* one) { return one->section == section; });
}

// To the first who waits, or to nobody.
void hand_over(CRITICAL_SECTION* section, Lock& lock) {
  auto& waiters = scheduler().waiters;
  const auto first = std::find_if(waiters.begin(), waiters.end(),
                                  [&](const Waiter* one) { return one->section == section; });
  if (first == waiters.end()) {
    owner(section).store(nullptr, std::memory_order_relaxed);
    word(section).store(0, std::memory_order_release);
    return;
  }
  Waiter& next = **first;
  own(section, next.thread->id);
  complete(next, WAIT_OBJECT_0, lock);
  word(section).store(is_wanted(section) ? 2 : 1, std::memory_order_release);
}

bool is_alive(HANDLE thread_id) {
  const auto& threads = scheduler().threads;
  return std::any_of(threads.begin(), threads.end(), [&](const auto& one) {
    return as_owner(one->id) == thread_id && !one->signalled;
  });
}

void enter_taken(CRITICAL_SECTION* section) {
  Lock lock = lock_scheduler();
  Thread& thread = current_thread(lock);
  if (word(section).exchange(2, std::memory_order_acquire) == 0) {
    word(section).store(1, std::memory_order_relaxed);
    own(section, thread.id);
    return;
  }
  const bool ending = thread.process != nullptr && thread.process->exiting;
  if (ending && !is_alive(owner(section).load(std::memory_order_relaxed))) {
    own(section, thread.id);  // nobody is left who could give it up
    return;
  }
  Waiter waiter;
  waiter.call = "EnterCriticalSection";
  waiter.section = section;
  waiter.may_be_cut_short = false;
  block(waiter, lock);
}

}  // namespace

void give_up_sections_of(const Thread& thread, Lock& lock) {
  const auto& waiters = scheduler().waiters;
  for (;;) {
    const auto orphan = std::find_if(waiters.begin(), waiters.end(), [&](const Waiter* one) {
      return one->section != nullptr && one->thread->process == thread.process &&
             owner(one->section).load(std::memory_order_relaxed) == as_owner(thread.id);
    });
    if (orphan == waiters.end()) return;
    hand_over((*orphan)->section, lock);
  }
}

}  // namespace platform::kernel

using platform::kernel::owner;
using platform::kernel::word;

void InitializeCriticalSection(CRITICAL_SECTION* section) {
  *section = CRITICAL_SECTION{};
  platform::kernel::sections.add();
}

void DeleteCriticalSection(CRITICAL_SECTION* section) {
  *section = CRITICAL_SECTION{};
  platform::kernel::sections.remove();
}

BOOL TryEnterCriticalSection(CRITICAL_SECTION* section) {
  const DWORD self = GetCurrentThreadId();
  if (owner(section).load(std::memory_order_relaxed) == platform::kernel::as_owner(self)) {
    ++section->RecursionCount;
    return TRUE;
  }
  LONG is_free = 0;
  if (!word(section).compare_exchange_strong(is_free, 1, std::memory_order_acquire)) return FALSE;
  platform::kernel::own(section, self);
  return TRUE;
}

void EnterCriticalSection(CRITICAL_SECTION* section) {
  if (!TryEnterCriticalSection(section)) platform::kernel::enter_taken(section);
}

void LeaveCriticalSection(CRITICAL_SECTION* section) {
  if (--section->RecursionCount > 0) return;
  owner(section).store(nullptr, std::memory_order_relaxed);
  LONG unwanted = 1;
  if (word(section).compare_exchange_strong(unwanted, 0, std::memory_order_release)) return;
  platform::kernel::Lock lock = platform::kernel::lock_scheduler();
  platform::kernel::hand_over(section, lock);
}
