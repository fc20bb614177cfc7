#include "include/platform/threads.h"

#include <pthread.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <functional>
#include <memory>
#include <utility>
#include <vector>

#include "platform/kernel/fault_point.h"
#include "platform/kernel/process.h"
#include "platform/kernel/scheduler.h"

namespace platform::kernel {

namespace {

// As much address space as Windows gives a thread; only what is touched takes memory. Sanitizers
// make frames several times larger.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr std::size_t kDefaultStack = 8u << 20;
#else
constexpr std::size_t kDefaultStack = 1u << 20;
#endif
constexpr std::size_t kSmallestStack = 128u << 10;

struct Start {
  std::shared_ptr<Thread> thread;
  std::function<DWORD()> body;
};

void name_thread(DWORD id) {
  char name[16];
  std::snprintf(name, sizeof name, "dw-%u", id);
  pthread_setname_np(pthread_self(), name);
}

DWORD run_body(const Start& start) {
  try {
    bool doomed = false;
    {
      const Lock lock = lock_scheduler();
      doomed = start.thread->doomed;
    }
    return doomed ? start.thread->doom_code : start.body();
  } catch (const ThreadUnwind& unwind) {
    return unwind.exit_code;
  }
}

void* run_thread(void* argument) {
  std::unique_ptr<Start> start(static_cast<Start*>(argument));
  const auto thread = start->thread;
  adopt_thread(thread);
  set_current_process(thread->process.get());
  name_thread(thread->id);
  const DWORD code = run_body(*start);
  start.reset();  // what the body held goes while the thread still counts
  Lock lock = lock_scheduler();
  if (!thread->parked) end_thread(*thread, code, lock);
  leave_process(*thread, lock);
  return nullptr;
}

int create_native_thread(Start* start, std::size_t stack_size) {
  pthread_attr_t attributes;
  if (const int error = pthread_attr_init(&attributes); error != 0) return error;
  pthread_attr_setdetachstate(&attributes, PTHREAD_CREATE_DETACHED);
  int error = pthread_attr_setstacksize(&attributes, stack_size);
  pthread_t native;
  if (error == 0) error = pthread_create(&native, &attributes, run_thread, start);
  pthread_attr_destroy(&attributes);
  return error;
}

}  // namespace

std::shared_ptr<Thread> start_thread(std::shared_ptr<Process> process, std::size_t stack_size,
                                     std::function<DWORD()> body, int& error) {
  auto thread = std::make_shared<Thread>();
  thread->process = std::move(process);
  {
    Lock lock = lock_scheduler();
    enlist_thread(thread, lock);
  }
  auto start = std::make_unique<Start>(Start{thread, std::move(body)});
  if (stack_size == 0) stack_size = kDefaultStack;
  error = create_native_thread(start.get(), std::max(stack_size, kSmallestStack));
  if (error == 0) {
    (void)start.release();
    return thread;
  }
  Lock lock = lock_scheduler();
  end_thread(*thread, 0, lock);
  leave_process(*thread, lock);
  return nullptr;
}

void park_for_ever(Thread& thread, Lock& lock) {
  thread.parked = true;
  for (;;) thread.wake.wait(lock);
}

namespace {

// What a thread was started with. Where the thread is ended before it runs, nobody can free that,
// as on Windows; it is kept in sight, so that checks for lost memory do not take it for a loss of
// ours.
class HandedOver {
 public:
  explicit HandedOver(void* argument) : argument_(argument) {}
  ~HandedOver() {
    if (argument_ == nullptr) return;
    const Lock lock = lock_scheduler();
    static std::vector<void*>& forsaken = *new std::vector<void*>;
    forsaken.push_back(argument_);
  }
  HandedOver(const HandedOver&) = delete;
  HandedOver& operator=(const HandedOver&) = delete;
  void* take() { return std::exchange(argument_, nullptr); }

 private:
  void* argument_;
};

std::uintptr_t refuse_thread(int error, DWORD system_error) {
  errno = error;
  _doserrno = system_error;
  SetLastError(system_error);
  return 0;
}

// The thread that the hosting program began with: it is gone for everyone, and the program lives on
// until the last thread of the platform has ended, whose exit code is then the program's.
[[noreturn]] void end_first_thread(Thread& thread, Lock& lock) {
  auto& state = scheduler();
  if (thread.known) {
    count_running(thread, false, lock);
    thread.known = false;
  }
  thread.parked = true;
  thread.blocked = true;
  std::erase_if(state.threads, [&](const auto& one) { return one.get() == &thread; });
  settle(lock);
  while (state.host_threads > 0) thread.wake.wait_for(lock, std::chrono::milliseconds(200));
  const DWORD code = state.last_host_exit_code;
  lock.unlock();
  ExitProcess(code);
}

// The first thread of a simulated process keeps its frames until the process ends: the program ends
// it in the middle of its main function, and Windows would run none of its destructors then.
[[noreturn]] void end_first_thread_of_process(Thread& thread, DWORD exit_code, Lock& lock) {
  thread.parked = true;
  end_thread(thread, exit_code, lock);
  settle(lock);
  while (!thread.doomed) thread.wake.wait(lock);
  throw ThreadUnwind{exit_code};
}

}  // namespace
}  // namespace platform::kernel

using platform::kernel::Kind;
using platform::kernel::Lock;
using platform::kernel::Thread;

unsigned long* __doserrno() {
  thread_local unsigned long value = 0;
  return &value;
}

std::uintptr_t _beginthreadex(void*, unsigned stack_size, _beginthreadex_proc_type start,
                              void* argument, unsigned flags, unsigned* thread_id) {
  if (const auto fault = platform::fault_point("_beginthreadex")) {
    return platform::kernel::refuse_thread(static_cast<int>(fault->code), ERROR_NOT_ENOUGH_MEMORY);
  }
  if (start == nullptr || flags != 0) {
    return platform::kernel::refuse_thread(EINVAL, ERROR_INVALID_PARAMETER);
  }
  std::shared_ptr<platform::kernel::Process> process;
  {
    Lock lock = platform::kernel::lock_scheduler();
    Thread& self = platform::kernel::current_thread(lock);
    process = self.process;
  }
  int error = 0;
  const auto handed = std::make_shared<platform::kernel::HandedOver>(argument);
  const auto thread = platform::kernel::start_thread(
      std::move(process), stack_size, [start, handed] { return DWORD{start(handed->take())}; },
      error);
  if (thread == nullptr) {
    handed->take();
    return platform::kernel::refuse_thread(error == EINVAL ? EINVAL : EAGAIN,
                                           ERROR_NOT_ENOUGH_MEMORY);
  }
  if (thread_id != nullptr) *thread_id = thread->id;
  Lock lock = platform::kernel::lock_scheduler();
  return reinterpret_cast<std::uintptr_t>(platform::kernel::open_handle(thread, lock));
}

void _endthreadex(unsigned exit_code) {
  Lock lock = platform::kernel::lock_scheduler();
  Thread& self = platform::kernel::current_thread(lock);
  if (self.foreign) platform::kernel::end_first_thread(self, lock);
  if (self.first_of_process) {
    platform::kernel::end_first_thread_of_process(self, exit_code, lock);
  }
  if (std::uncaught_exceptions() == 0) throw platform::kernel::ThreadUnwind{exit_code};
  platform::kernel::end_thread(self, exit_code, lock);
  platform::kernel::park_for_ever(self, lock);
}

BOOL TerminateThread(HANDLE handle, DWORD exit_code) {
  if (const auto fault = platform::fault_point("TerminateThread")) {
    SetLastError(fault->win32());
    return FALSE;
  }
  Lock lock = platform::kernel::lock_scheduler();
  const Thread& self = platform::kernel::current_thread(lock);
  const auto thread = platform::kernel::find_object<Thread>(handle, Kind::kThread, lock);
  if (thread == nullptr) {
    SetLastError(ERROR_INVALID_HANDLE);
    return FALSE;
  }
  if (thread->signalled) return TRUE;
  platform::kernel::doom(*thread, exit_code, lock);
  if (thread.get() == &self) platform::kernel::may_wait(*thread);
  return TRUE;
}

BOOL GetExitCodeThread(HANDLE handle, DWORD* exit_code) {
  Lock lock = platform::kernel::lock_scheduler();
  const auto thread = platform::kernel::find_object<Thread>(handle, Kind::kThread, lock);
  if (thread == nullptr) {
    SetLastError(ERROR_INVALID_HANDLE);
    return FALSE;
  }
  *exit_code = thread->exit_code;
  return TRUE;
}

DWORD GetCurrentThreadId() {
  thread_local DWORD id = 0;
  if (id == 0) {
    Lock lock = platform::kernel::lock_scheduler();
    id = platform::kernel::current_thread(lock).id;
  }
  return id;
}
