#pragma once
// The other side of the platform layer: what tests, benchmarks and the command line program use to
// choose what stands behind the platform calls. The agent never includes this.

#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "platform/controller.h"

namespace platform {

// What answers from now on. With none installed, the first call that needs one opens what the
// environment variable DIRWATCH_CONTROLLER names, or the embedded recording.
void install(std::shared_ptr<Controller> controller);
std::shared_ptr<Controller> controller();

// Milliseconds since 1970, universal time, of the platform's clock, real or virtual.
std::int64_t clock_now_ms();

// While one of these lives, time stands still as long as any thread known to the platform runs, and
// jumps to the earliest deadline when all of them are blocked in platform waits. Waiters whose time
// has come are let go one at a time, in the order of deadline and then of arrival, each only when
// the one before has blocked again, so that a run repeats itself. The constructing thread becomes
// known to the platform. At most one lives at a time.
class VirtualTime {
 public:
  // start_ms: milliseconds since 1970, universal time; the default is 2 January 2011, 03:04:05.
  explicit VirtualTime(std::int64_t start_ms = 1293937445000);
  ~VirtualTime();
  VirtualTime(const VirtualTime&) = delete;
  VirtualTime& operator=(const VirtualTime&) = delete;

  std::int64_t now_ms() const;
  std::int64_t elapsed_ms() const;

 private:
  std::int64_t start_ms_;
};

// Under virtual time, when every thread is blocked and none has a deadline, nothing can ever happen
// again. After this much real time (30 seconds unless told) the platform prints who waits for what
// and aborts.
void set_deadlock_patience(std::uint32_t real_ms);

// The string resources that LoadStringA answers from, for the whole program.
void register_string_table(std::map<std::uint32_t, std::string> strings);

// Platform calls that fail on purpose. Call names are the SDK's: "PdhAddCounterA", "IADs::Get".
namespace faults {
// Lets the nth call (from 1) from now on of that name fail, with the failure that is usual for it,
// or with the code given (0 means the usual one). nth 0: every call.
void fail(const std::string& call, std::uint32_t nth, std::int64_t code = 0);
void clear();
// How often each call was reached since the last reset, in the order of first reach. Counting
// begins with the first reset_counts().
std::vector<std::pair<std::string, std::uint32_t>> reached();
void reset_counts();
// True when a fault set by fail() has struck since the last clear().
bool struck();
// Runs the action once, on the thread that makes the call, just before the nth call (from 1) of
// that name from now on, or of any name when it is empty; one action at a time. clear() forgets it.
void at_call(const std::string& call, std::uint64_t nth, std::function<void()> action);
}  // namespace faults

// What is alive now, by kind: "event", "thread", "critical section", "interface", "bstr",
// "safe array", "enumerator", "pdh query", "pdh counter", "file", "pipe", "registry key",
// "local memory" ... A scenario leaves these as it found them.
namespace accounting {
// Kinds of which nothing is alive are left out.
std::map<std::string, std::int64_t> live();
}  // namespace accounting

// Runs a program's entry as if it were a process of its own: on a platform thread, until it calls
// ExitProcess or exit_process, or all its threads have ended. Then every other thread of it that
// still lives is unwound out of its next platform wait, and named objects are forgotten.
class SimulatedProcess {
 public:
  explicit SimulatedProcess(std::function<void()> entry);
  ~SimulatedProcess();  // ends it
  SimulatedProcess(const SimulatedProcess&) = delete;
  SimulatedProcess& operator=(const SimulatedProcess&) = delete;

  // Waits, in platform time, until the process has exited, at most timeout_ms; true when it has.
  bool wait_for_exit(std::uint32_t timeout_ms);
  bool exited() const;
  std::uint32_t exit_code() const;
  // Ends it now, as TerminateProcess would.
  void kill(std::uint32_t exit_code = 1);
  // What it had not given back when it exited, by kind as accounting::live() has it.
  std::map<std::string, std::int64_t> left_alive() const;

 private:
  struct State;
  std::unique_ptr<State> state_;
};

}  // namespace platform
