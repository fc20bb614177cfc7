// The lock of the base services: blocking, not recursive, handed over in the order of arrival, and
// releasable by any thread. It waits through the platform, so that it takes part in virtual time,
// and owns nothing while nobody waits for it.
//
// The lock's word is null when free, kHeld when taken with nobody waiting, and else the first of a
// chain of waiters, each on its own thread's stack.

#include <exception>
#include <mutex>

#include "framework/trc/internal.h"
#include "platform/threads.h"

namespace {

constexpr int kHandOverTries = 3;
constexpr DWORD kAgain_ms = 100;

struct Waiter {
  HANDLE turn = nullptr;  // signalled when the lock has been handed to this waiter
  bool owns = false;
  Waiter* next = nullptr;
};

char held_mark;
void* const kHeld = &held_mark;

// Guards the chains of all locks; held for a few instructions, never across a wait.
std::mutex& chains() {
  static std::mutex* const instance = new std::mutex;
  return *instance;
}

// The caller holds chains().
void append(SYS1_Lock* lock, Waiter* waiter) {
  void* const first = lock->implementation.load();
  if (first == kHeld) {
    lock->implementation.store(waiter);
    return;
  }
  Waiter* last = static_cast<Waiter*>(first);
  while (last->next != nullptr) last = last->next;
  last->next = waiter;
}

// The caller holds chains().
void remove(SYS1_Lock* lock, Waiter* waiter) {
  Waiter* at = static_cast<Waiter*>(lock->implementation.load());
  if (at == waiter) {
    lock->implementation.store(waiter->next != nullptr ? static_cast<void*>(waiter->next) : kHeld);
    return;
  }
  while (at->next != waiter) at = at->next;
  at->next = waiter->next;
}

// Takes the waiter out again when its thread is unwound from the wait: a thread that is ended while
// it waits must neither stay in the chain nor keep a lock that was just handed to it.
class Queued {
 public:
  Queued(SYS1_Lock* lock, Waiter* waiter) : lock_(lock), waiter_(waiter) {}
  ~Queued() {
    bool pass_on = false;
    {
      const std::lock_guard hold(chains());
      if (!waiter_->owns) remove(lock_, waiter_);
      pass_on = waiter_->owns && !arrived_;
    }
    CloseHandle(waiter_->turn);
    if (pass_on) SYS1_ReleaseLock(lock_);
  }
  Queued(const Queued&) = delete;
  Queued& operator=(const Queued&) = delete;
  void arrived() { arrived_ = true; }

 private:
  SYS1_Lock* lock_;
  Waiter* waiter_;
  bool arrived_ = false;
};

// A wait that fails is no turn, and neither is having no event to wait for: asks again until the
// lock has been handed over. A thread that is being ended cannot wait any more and goes on.
void wait_for_turn(const Waiter& waiter) {
  while (WaitForSingleObject(waiter.turn, INFINITE) != WAIT_OBJECT_0) {
    {
      const std::lock_guard hold(chains());
      if (waiter.owns) return;
    }
    if (std::uncaught_exceptions() > 0) return;
    Sleep(kAgain_ms);
  }
}

}  // namespace

void SYS1_GetLock(SYS1_Lock* lock) {
  void* expected = nullptr;
  if (lock->implementation.compare_exchange_strong(expected, kHeld)) return;

  Waiter waiter;
  waiter.turn = CreateEventA(nullptr, 1, 0, nullptr);
  bool was_free = false;
  {
    const std::lock_guard hold(chains());
    expected = nullptr;
    was_free = lock->implementation.compare_exchange_strong(expected, kHeld);
    // From here on the waiter is the releasing thread's too: its fields are read under the lock.
    if (!was_free) append(lock, &waiter);
  }
  if (was_free) {
    CloseHandle(waiter.turn);
    return;
  }
  Queued queued(lock, &waiter);
  wait_for_turn(waiter);
  queued.arrived();
}

void SYS1_ReleaseLock(SYS1_Lock* lock) {
  const std::lock_guard hold(chains());
  void* const first = lock->implementation.load();
  if (first == nullptr) return;  // not taken: nothing to release
  if (first == kHeld) {
    lock->implementation.store(nullptr);
    return;
  }
  Waiter* const waiter = static_cast<Waiter*>(first);
  lock->implementation.store(waiter->next != nullptr ? static_cast<void*>(waiter->next) : kHeld);
  waiter->owns = true;
  // A call that fails once must not leave the lock with a thread that sleeps on.
  for (int tries = 0; tries < kHandOverTries && !SetEvent(waiter->turn); ++tries) continue;
}
