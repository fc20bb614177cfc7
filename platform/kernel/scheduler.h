#pragma once
// The heart of the platform: objects, threads, the handle table, waiters and the clock, all guarded
// by one lock. Everything that blocks goes through block(), so that virtual time knows when every
// thread stands still. Functions that take a Lock must be called with it held.

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <deque>
#include <limits>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <unordered_map>
#include <vector>

#include "include/platform/base.h"
#include "include/platform/messages.h"
#include "include/platform/threads.h"

namespace platform::kernel {

struct Process;
struct Thread;
using Lock = std::unique_lock<std::mutex>;

inline constexpr std::int64_t kNever = std::numeric_limits<std::int64_t>::max();
inline constexpr std::int64_t kNanosecondsInMillisecond = 1000000;

// Thrown to unwind a thread that is being ended; caught by the thread's own first frame. Not a
// std::exception, so that no handler of the program takes it for an error.
struct ThreadUnwind {
  DWORD exit_code;
};

enum class Kind { kEvent, kThread, kProcess, kFile, kMapping };

struct Object {
  explicit Object(Kind its_kind) : kind(its_kind) {}
  virtual ~Object() = default;
  Object(const Object&) = delete;
  Object& operator=(const Object&) = delete;

  const Kind kind;
  bool signalled = false;
  bool auto_reset = false;
};

struct Event : Object {
  Event() : Object(Kind::kEvent) {}
  std::string name;
};

// What one thread waits for. Lives on the waiting thread's stack.
struct Waiter {
  const char* call = "";                         // for the report of a deadlock
  std::vector<std::shared_ptr<Object>> objects;  // may be empty: a sleep
  bool all = false;
  bool messages = false;                // also, or only, a message for the thread
  CRITICAL_SECTION* section = nullptr;  // or a critical section
  std::int64_t deadline_ns = kNever;
  bool may_be_cut_short = true;  // by the end of the thread

  // Written by the scheduler.
  Thread* thread = nullptr;
  std::uint64_t arrival = 0;
  bool done = false;
  DWORD result = WAIT_TIMEOUT;
};

struct Thread : Object {
  Thread() : Object(Kind::kThread) {}
  DWORD id = 0;
  std::shared_ptr<Process> process;  // null: the hosting program
  bool foreign = false;              // not started by the platform
  bool known = false;                // virtual time waits for it
  bool blocked = false;
  bool first_of_process = false;
  bool doomed = false;  // unwinds at its next wait
  bool parked = false;  // has ended for everyone else, but its frames still stand
  DWORD doom_code = 0;
  DWORD exit_code = STILL_ACTIVE;
  Waiter* waiter = nullptr;
  std::condition_variable wake;

  std::deque<MSG> messages;
  bool has_queue = false;
  bool new_message = false;  // since the thread last looked
};

struct HandleEntry {
  std::shared_ptr<Object> object;
  Process* owner;
};

// All of it guarded by mutex, except the thread records' condition variables.
struct Scheduler {
  std::mutex mutex;
  std::unordered_map<std::uintptr_t, HandleEntry> handles;
  std::uintptr_t next_handle = 4;
  DWORD next_id = 1000;
  std::map<std::string, std::weak_ptr<Event>> named_events;
  std::vector<std::shared_ptr<Thread>> threads;
  std::size_t host_threads = 0;  // started by the platform for the hosting program, still alive
  DWORD last_host_exit_code = 0;

  std::vector<Waiter*> waiters;  // in order of arrival
  std::uint64_t next_arrival = 0;
  std::size_t running = 0;  // known threads that are not blocked

  bool virtual_time = false;
  std::int64_t virtual_now_ns = 0;
  std::int64_t virtual_start_ms = 0;  // of the wall clock
  std::chrono::milliseconds patience{30000};

  // Monotonic, in the clock that holds now.
  std::int64_t now_ns() const;
  std::int64_t deadline(DWORD milliseconds) const;
};

Scheduler& scheduler();
inline Lock lock_scheduler() { return Lock(scheduler().mutex); }

// The calling thread's record; a thread that the platform did not start gets one here, and becomes
// known to virtual time.
Thread& current_thread(Lock& lock);
// The record that a thread of the platform's own begins with.
void adopt_thread(const std::shared_ptr<Thread>& thread);
DWORD next_id(Lock& lock);

// Blocks until the waiter is satisfied or its time has come, and gives its result. Throws
// ThreadUnwind when the thread is to end; while an exception is already on its way, and so in a
// destructor, it gives WAIT_FAILED instead.
DWORD block(Waiter& waiter, Lock& lock);
// The same choice for a call that has not blocked: throws, or gives false when it must give up.
bool may_wait(Thread& thread);

// Whether the waiter's objects let it go now; takes what it waited for.
bool satisfy(Waiter& waiter);
// After an object became signalled or a message came: lets go whom that satisfies.
void let_go(Lock& lock);
void complete(Waiter& waiter, DWORD result, Lock& lock);
// Under virtual time, when nobody runs: moves the clock and lets the next one go.
void settle(Lock& lock);

// A thread's coming and going, as virtual time sees it.
void count_running(Thread& thread, bool runs, Lock& lock);

HANDLE open_handle(std::shared_ptr<Object> object, Lock& lock);
std::shared_ptr<Object> find_object(HANDLE handle, Lock& lock);
template <typename Type>
std::shared_ptr<Type> find_object(HANDLE handle, Kind kind, Lock& lock) {
  auto object = find_object(handle, lock);
  if (object == nullptr || object->kind != kind) return nullptr;
  return std::static_pointer_cast<Type>(std::move(object));
}
// Closes what that process left open.
void close_handles_of(const Process& process, Lock& lock);

}  // namespace platform::kernel
