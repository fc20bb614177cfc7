#include "platform/kernel/scheduler.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <exception>

#include "platform/control.h"
#include "platform/kernel/process.h"

namespace platform::kernel {

namespace {

thread_local std::shared_ptr<Thread> own_thread;

// Tells virtual time that a thread which the platform did not start is gone.
struct ForeignThreadEnd {
  bool armed = false;
  ~ForeignThreadEnd() {
    if (!armed || own_thread == nullptr) return;
    Lock lock = lock_scheduler();
    auto& threads = scheduler().threads;
    std::erase(threads, own_thread);
    if (own_thread->known && !own_thread->blocked) {
      count_running(*own_thread, false, lock);
      settle(lock);
    }
  }
};
thread_local ForeignThreadEnd foreign_thread_end;

bool stuck() {
  const auto& state = scheduler();
  return state.running == 0 &&
         std::none_of(state.waiters.begin(), state.waiters.end(),
                      [](const Waiter* one) { return one->deadline_ns != kNever; });
}

[[noreturn]] void report_deadlock() {
  const auto& state = scheduler();
  std::fprintf(stderr,
               "platform: deadlock under virtual time: every thread is blocked, none with a "
               "deadline, for %lld ms of real time\n",
               static_cast<long long>(state.patience.count()));
  for (const Waiter* waiter : state.waiters) {
    std::fprintf(stderr, "  thread %u: %s", waiter->thread->id, waiter->call);
    for (const auto& object : waiter->objects) {
      const char* kind = object->kind == Kind::kEvent    ? "event"
                         : object->kind == Kind::kThread ? "thread"
                                                         : "process";
      std::string name;
      if (object->kind == Kind::kEvent) name = static_cast<const Event&>(*object).name;
      if (object->kind == Kind::kThread) {
        name = std::to_string(static_cast<const Thread&>(*object).id);
      }
      std::fprintf(stderr, " %s '%s'", kind, name.c_str());
    }
    if (waiter->section != nullptr) {
      std::fprintf(
          stderr, " owned by thread %u",
          static_cast<unsigned>(reinterpret_cast<std::uintptr_t>(waiter->section->OwningThread)));
    }
    std::fprintf(stderr, "\n");
  }
  std::fflush(stderr);
  std::abort();
}

// One turn of waiting; spurious wake-ups are the caller's.
void wait_once(Waiter& waiter, Lock& lock) {
  auto& state = scheduler();
  auto& wake = waiter.thread->wake;
  if (state.virtual_time) {
    if (!stuck()) {
      wake.wait(lock);
    } else if (wake.wait_for(lock, state.patience) == std::cv_status::timeout && !waiter.done &&
               state.virtual_time && stuck()) {
      report_deadlock();
    }
  } else if (waiter.deadline_ns == kNever) {
    wake.wait(lock);
  } else if (state.now_ns() >= waiter.deadline_ns) {
    complete(waiter, WAIT_TIMEOUT, lock);
  } else {
    wake.wait_until(
        lock, std::chrono::steady_clock::time_point(std::chrono::nanoseconds(waiter.deadline_ns)));
  }
}

}  // namespace

Scheduler& scheduler() {
  static auto& state = *new Scheduler;  // threads may outlive main
  return state;
}

std::int64_t Scheduler::now_ns() const {
  if (virtual_time) return virtual_now_ns;
  return std::chrono::duration_cast<std::chrono::nanoseconds>(
             std::chrono::steady_clock::now().time_since_epoch())
      .count();
}

std::int64_t Scheduler::deadline(DWORD milliseconds) const {
  if (milliseconds == INFINITE) return kNever;
  return now_ns() + std::int64_t{milliseconds} * kNanosecondsInMillisecond;
}

DWORD next_id(Lock&) { return scheduler().next_id += 4; }

void count_running(Thread& thread, bool runs, Lock&) {
  if (!thread.known) return;
  if (runs) {
    ++scheduler().running;
  } else {
    --scheduler().running;
  }
}

void adopt_thread(const std::shared_ptr<Thread>& thread) { own_thread = thread; }

Thread& current_thread(Lock& lock) {
  if (own_thread == nullptr) {
    own_thread = std::make_shared<Thread>();
    own_thread->foreign = true;
    own_thread->id = next_id(lock);
    scheduler().threads.push_back(own_thread);
    foreign_thread_end.armed = true;
  }
  if (!own_thread->known) {
    own_thread->known = true;
    count_running(*own_thread, true, lock);
  }
  return *own_thread;
}

bool satisfy(Waiter& waiter) {
  const auto count = static_cast<DWORD>(waiter.objects.size());
  const bool message = waiter.messages && waiter.thread->new_message;
  if (waiter.section != nullptr) return false;  // handed over by the owner alone
  if (waiter.all) {
    if (waiter.messages && !message) return false;
    for (const auto& object : waiter.objects) {
      if (!object->signalled) return false;
    }
    for (const auto& object : waiter.objects) {
      if (object->auto_reset) object->signalled = false;
    }
    waiter.result = WAIT_OBJECT_0;
    return true;
  }
  for (DWORD index = 0; index < count; ++index) {
    Object& object = *waiter.objects[index];
    if (!object.signalled) continue;
    if (object.auto_reset) object.signalled = false;
    waiter.result = WAIT_OBJECT_0 + index;
    return true;
  }
  if (!message) return false;
  waiter.result = WAIT_OBJECT_0 + count;
  return true;
}

void complete(Waiter& waiter, DWORD result, Lock& lock) {
  std::erase(scheduler().waiters, &waiter);
  waiter.done = true;
  waiter.result = result;
  waiter.thread->waiter = nullptr;
  waiter.thread->blocked = false;
  count_running(*waiter.thread, true, lock);
  waiter.thread->wake.notify_one();
}

void let_go(Lock& lock) {
  auto& waiters = scheduler().waiters;
  for (std::size_t index = 0; index < waiters.size();) {
    Waiter& waiter = *waiters[index];
    if (satisfy(waiter)) {
      complete(waiter, waiter.result, lock);  // takes it off the list
    } else {
      ++index;
    }
  }
}

void settle(Lock& lock) {
  auto& state = scheduler();
  if (!state.virtual_time || state.running > 0 || state.waiters.empty()) return;
  // The first of equals is the one that came first: the list is in order of arrival.
  Waiter* next = *std::min_element(state.waiters.begin(), state.waiters.end(),
                                   [](const Waiter* left, const Waiter* right) {
                                     return left->deadline_ns < right->deadline_ns;
                                   });
  if (next->deadline_ns == kNever) {
    state.waiters.front()->thread->wake.notify_one();  // to watch for a deadlock
    return;
  }
  state.virtual_now_ns = std::max(state.virtual_now_ns, next->deadline_ns);
  complete(*next, WAIT_TIMEOUT, lock);
}

bool may_wait(Thread& thread) {
  if (!thread.doomed) return true;
  if (std::uncaught_exceptions() > 0) return false;
  throw ThreadUnwind{thread.doom_code};
}

DWORD block(Waiter& waiter, Lock& lock) {
  auto& state = scheduler();
  Thread& thread = current_thread(lock);
  if (waiter.may_be_cut_short && !may_wait(thread)) return WAIT_FAILED;
  waiter.thread = &thread;
  waiter.arrival = state.next_arrival++;
  thread.waiter = &waiter;
  thread.blocked = true;
  state.waiters.push_back(&waiter);
  count_running(thread, false, lock);
  settle(lock);
  while (!waiter.done) wait_once(waiter, lock);
  if (waiter.may_be_cut_short && !may_wait(thread)) return WAIT_FAILED;
  return waiter.result;
}

}  // namespace platform::kernel
