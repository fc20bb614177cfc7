#include "platform/kernel/process.h"

#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <system_error>

#include "include/platform/threads.h"
#include "platform/control.h"
#include "platform/kernel/critical_section.h"

namespace platform::kernel {

namespace {
thread_local Process* own_process = nullptr;
accounting::Counter running_threads{"running thread"};
}  // namespace

Process* current_process() { return own_process; }
void set_current_process(Process* process) { own_process = process; }

void account(accounting::Counter& counter, Process* owner, std::int64_t count) {
  counter.forget(-count);
  if (owner != nullptr) owner->ledger.add(&counter, count);
}

void enlist_thread(const std::shared_ptr<Thread>& thread, Lock& lock) {
  auto& state = scheduler();
  thread->id = next_id(lock);
  thread->known = true;
  count_running(*thread, true, lock);
  account(running_threads, thread->process.get(), 1);
  state.threads.push_back(thread);
  if (thread->process == nullptr) {
    ++state.host_threads;
  } else {
    ++thread->process->live_threads;
    thread->process->standing.push_back(thread);
    // Started by a thread that has not noticed the process's end yet.
    if (thread->process->exiting) {
      thread->doomed = true;
      thread->doom_code = thread->process->exit_code;
    }
  }
}

void Ledger::add(accounting::Counter* counter, std::int64_t count) {
  const std::lock_guard guard(lock_);
  entries_[counter] += count;
}

std::map<std::string, std::int64_t> Ledger::balance() const {
  const std::lock_guard guard(lock_);
  std::map<std::string, std::int64_t> result;
  for (const auto& [counter, count] : entries_) {
    if (count != 0) result[counter->kind()] += count;
  }
  return result;
}

void Ledger::write_off() {
  const std::lock_guard guard(lock_);
  for (const auto& [counter, count] : entries_) counter->forget(count);
  entries_.clear();
}

void doom(Thread& thread, DWORD exit_code, Lock& lock) {
  if (!thread.doomed) thread.doom_code = exit_code;
  thread.doomed = true;
  if (Waiter* waiter = thread.waiter; waiter != nullptr && waiter->may_be_cut_short) {
    complete(*waiter, WAIT_FAILED, lock);
  }
  if (!thread.parked) return;
  thread.known = true;  // time stands still until its frames are gone
  count_running(thread, true, lock);
  thread.wake.notify_one();
}

void begin_exit(Process& process, DWORD exit_code, Lock& lock) {
  if (process.exiting) return;
  process.exiting = true;
  process.exit_code = exit_code;
  for (const auto& thread : process.standing) doom(*thread, exit_code, lock);
}

void end_thread(Thread& thread, DWORD exit_code, Lock& lock) {
  auto& state = scheduler();
  thread.exit_code = exit_code;
  thread.signalled = true;
  thread.messages.clear();
  std::erase_if(state.threads, [&](const auto& one) { return one.get() == &thread; });
  count_running(thread, false, lock);
  thread.known = false;
  account(running_threads, thread.process.get(), -1);
  if (Process* process = thread.process.get(); process != nullptr) {
    if (process->exiting) give_up_sections_of(thread, lock);
    if (--process->live_threads == 0) begin_exit(*process, exit_code, lock);
  } else {
    state.last_host_exit_code = exit_code;
  }
  let_go(lock);
}

namespace {

void close_process(Process& process, Lock& lock) {
  process.left_alive = process.ledger.balance();
  close_handles_of(process, lock);
  process.ledger.write_off();
  process.signalled = true;
  let_go(lock);
}

}  // namespace

void leave_process(Thread& thread, Lock& lock) {
  auto& state = scheduler();
  count_running(thread, false, lock);
  thread.known = false;
  if (Process* process = thread.process.get(); process != nullptr) {
    std::erase_if(process->standing, [&](const auto& one) { return one.get() == &thread; });
    if (process->standing.empty()) close_process(*process, lock);
  } else {
    --state.host_threads;
  }
  settle(lock);
}

namespace {

// Ends the simulated process of the calling thread without unwinding it.
[[noreturn]] void exit_parked(Thread& self, DWORD exit_code, Lock& lock) {
  begin_exit(*self.process, exit_code, lock);
  self.parked = true;
  end_thread(self, exit_code, lock);
  leave_process(self, lock);
  park_for_ever(self, lock);
}

std::atomic<DWORD> service_exit_code{0};

// The system passes on eight bits. What is not 0 must not become it there.
int exit_code_for_system(DWORD code) {
  constexpr DWORD kPassedOn = 0xFF;
  if (code == 0) code = service_exit_code;
  return static_cast<int>(code != 0 && (code & kPassedOn) == 0 ? kPassedOn : code & kPassedOn);
}

// Only these two streams: another thread may be reading from a pipe, and holds that stream's lock
// for as long as the command at its other end runs.
void flush_standard_streams() {
  std::fflush(stdout);
  std::fflush(stderr);
}

}  // namespace

void set_service_exit_code(DWORD code) { service_exit_code = code; }

}  // namespace platform::kernel

using platform::kernel::Lock;
using platform::kernel::Thread;

DWORD GetCurrentProcessId() {
  const auto* process = platform::kernel::current_process();
  return process != nullptr ? process->id : static_cast<DWORD>(getpid());
}

void ExitProcess(UINT exit_code) {
  if (platform::kernel::current_process() == nullptr) {
    platform::kernel::flush_standard_streams();
    platform::kernel::give_up_shared_memory();
    _exit(platform::kernel::exit_code_for_system(exit_code));
  }
  Lock lock = platform::kernel::lock_scheduler();
  Thread& self = platform::kernel::current_thread(lock);
  if (std::uncaught_exceptions() > 0) platform::kernel::exit_parked(self, exit_code, lock);
  platform::kernel::begin_exit(*self.process, exit_code, lock);
  throw platform::kernel::ThreadUnwind{exit_code};
}

// The linker sends every call of the C library's exit here, so that the agent's own call needs no
// name of ours in its source. A simulated process ends without unwinding the caller: exit promises
// the compiler that nothing is thrown through it. With threads still running, the program ends as
// Windows ends it, all threads at once: static destructors beside running threads would crash.
extern "C" {
[[noreturn]] void __real_exit(int exit_code);
[[noreturn]] void __wrap_exit(int exit_code);

void __wrap_exit(int exit_code) {
  const auto code = static_cast<DWORD>(exit_code);
  Lock lock = platform::kernel::lock_scheduler();
  if (platform::kernel::current_process() != nullptr) {
    platform::kernel::exit_parked(platform::kernel::current_thread(lock), code, lock);
  }
  const bool alone = platform::kernel::scheduler().host_threads == 0;
  lock.unlock();
  if (!alone) ExitProcess(code);
  __real_exit(exit_code);
}
}

namespace platform {

struct SimulatedProcess::State {
  std::shared_ptr<kernel::Process> process = std::make_shared<kernel::Process>();
};

SimulatedProcess::SimulatedProcess(std::function<void()> entry)
    : state_(std::make_unique<State>()) {
  accounting::Counter::ledgers_in_use = true;
  {
    Lock lock = kernel::lock_scheduler();
    kernel::current_thread(lock);
    state_->process->id = kernel::next_id(lock);
  }
  int error = 0;
  const auto body = [entry = std::move(entry)]() -> DWORD {
    {
      Lock lock = kernel::lock_scheduler();
      kernel::current_thread(lock).first_of_process = true;
    }
    entry();
    return 0;
  };
  if (kernel::start_thread(state_->process, 8u << 20, body, error) == nullptr) {
    throw std::system_error(error, std::generic_category(), "simulated process");
  }
}

SimulatedProcess::~SimulatedProcess() {
  kill();
  Lock lock = kernel::lock_scheduler();
  while (!state_->process->signalled) {
    kernel::Waiter waiter;
    waiter.call = "the end of a SimulatedProcess";
    waiter.objects.push_back(state_->process);
    waiter.may_be_cut_short = false;
    kernel::block(waiter, lock);
  }
}

bool SimulatedProcess::wait_for_exit(std::uint32_t timeout_ms) {
  Lock lock = kernel::lock_scheduler();
  if (state_->process->signalled) return true;
  if (timeout_ms == 0) return false;
  kernel::Waiter waiter;
  waiter.call = "SimulatedProcess::wait_for_exit";
  waiter.objects.push_back(state_->process);
  waiter.deadline_ns = kernel::scheduler().deadline(timeout_ms);
  return kernel::block(waiter, lock) == WAIT_OBJECT_0;
}

bool SimulatedProcess::exited() const {
  const Lock lock = kernel::lock_scheduler();
  return state_->process->signalled;
}

std::uint32_t SimulatedProcess::exit_code() const {
  const Lock lock = kernel::lock_scheduler();
  return state_->process->exit_code;
}

std::map<std::string, std::int64_t> SimulatedProcess::left_alive() const {
  const Lock lock = kernel::lock_scheduler();
  return state_->process->left_alive;
}

void SimulatedProcess::kill(std::uint32_t exit_code) {
  Lock lock = kernel::lock_scheduler();
  kernel::begin_exit(*state_->process, exit_code, lock);
}

}  // namespace platform

void platform::accounting::Counter::note(std::int64_t count) {
  if (auto* process = kernel::current_process()) process->ledger.add(this, count);
}
