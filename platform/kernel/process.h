#pragma once
// A simulated process: the threads, handles and counts that belong together and end together.

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <set>
#include <string>
#include <vector>

#include "platform/kernel/accounting.h"
#include "platform/kernel/scheduler.h"

namespace platform::kernel {

// What a process has taken and not given back, by counter.
class Ledger {
 public:
  void add(accounting::Counter* counter, std::int64_t count);
  std::map<std::string, std::int64_t> balance() const;
  // Takes what is still open off the counters.
  void write_off();

 private:
  mutable std::mutex lock_;
  std::map<accounting::Counter*, std::int64_t> entries_;
};

// Guarded by the scheduler's lock, except the ledger, which guards itself.
struct Process : Object {
  Process() : Object(Kind::kProcess) {}
  DWORD id = 0;
  bool exiting = false;
  DWORD exit_code = STILL_ACTIVE;
  std::size_t live_threads = 0;                   // that the program still sees
  std::vector<std::shared_ptr<Thread>> standing;  // whose frames still stand
  std::set<std::string> window_classes;
  std::map<std::string, std::int64_t> left_alive;  // written once, when it ends
  Ledger ledger;
};

// Of the calling thread; null in the hosting program. Valid while the thread runs.
Process* current_process();
void set_current_process(Process* process);

// Counts for that process, whichever thread calls; null is the hosting program.
void account(accounting::Counter& counter, Process* owner, std::int64_t count);

// A thread begins: it gets its identifier and counts as running.
void enlist_thread(const std::shared_ptr<Thread>& thread, Lock& lock);
// Lets the thread unwind: at once when it is blocked, else at its next wait.
void doom(Thread& thread, DWORD exit_code, Lock& lock);
// Dooms all threads of the process, the caller included.
void begin_exit(Process& process, DWORD exit_code, Lock& lock);
// The thread has ended as far as anyone can see: its object is signalled, its process may end.
void end_thread(Thread& thread, DWORD exit_code, Lock& lock);
// The thread's frames are gone; the last one closes the process.
void leave_process(Thread& thread, Lock& lock);
// Blocks for ever, as a thread that has ended without unwinding.
[[noreturn]] void park_for_ever(Thread& thread, Lock& lock);

// What the hosting program's ExitProcess(0) ends with from now on: to whoever started the program,
// its code is the service's.
void set_service_exit_code(DWORD code);

// Starts a thread of the platform's own; null with an errno value in error.
std::shared_ptr<Thread> start_thread(std::shared_ptr<Process> process, std::size_t stack_size,
                                     std::function<DWORD()> body, int& error);

// The process ends: names of memory that no other process has are taken away with it.
void give_up_shared_memory();

}  // namespace platform::kernel
