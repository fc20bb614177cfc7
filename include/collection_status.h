#pragma once
// What the background collections are doing now, said where they do it: each job's state, its
// present step, and how the last collection went. It is for people who wonder why rows are old;
// nothing in the agent reads it. A report is a few stores to memory: it never waits, never fails
// and asks the system for nothing but the time.

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

namespace status {

// The users of g_collectLock, and the sysvol test, which needs none.
enum class Job : std::uint32_t {
  kCollectors,
  kObjectCount,
  kDCA,
  kDNSAd,
  kDRA,
  kDCP,
  kRLT,
  kRPL,
  kTRS,
  kTTP,
  kSysvol,
};
inline constexpr std::size_t kJobCount = 11;

enum class State : std::uint32_t { kNever, kWaiting, kCollecting, kResting };

// What is known of one job. Moments are tick counts (GetTickCount64) of the machine.
struct Report {
  static constexpr std::size_t kStepSize = 96;

  State state = State::kNever;
  std::uint32_t holds_lock = 0;   // 1 while it has g_collectLock
  std::uint32_t collections = 0;  // that have ended
  std::uint32_t transferred = 0;  // 1 when the last of them replaced the rows
  std::uint32_t rows = 0;         // of the last transfer
  std::uint32_t has_rows = 0;     // 1 when there ever was one
  std::uint64_t since_ms = 0;     // when it came into its state
  std::uint64_t rows_since_ms = 0;
  std::uint64_t last_took_ms = 0;  // the last collection, without its wait for the lock
  std::uint64_t step_since_ms = 0;
  // What it does now, or did last: "asks dc2.corp.example"; with a zero end, cut where it is
  // longer.
  std::array<char, kStepSize> step = {};
};
static_assert(sizeof(Report) % sizeof(std::uint64_t) == 0);

// One collection of a job, on the thread that does it. Until begins() the job waits for its turn.
// At most one of a job at a time; one thread may have another job's within it.
class Collection {
 public:
  explicit Collection(Job job);
  ~Collection();
  Collection(const Collection&) = delete;
  Collection& operator=(const Collection&) = delete;

  enum class Lock { kNone, kHeld };
  // Call it with g_collectLock taken, where the job takes it.
  void begins(Lock lock);
  // Call it before the lock is given up; else the destructor does it.
  void ends();

 private:
  friend void step(std::string_view does, std::string_view what);
  friend void transferred(std::size_t rows);

  void enter(State state);
  void write() const;

  const Job job_;
  Collection* const outer_;
  Report report_;
  bool has_transferred_ = false;
};

// True where the calling thread is collecting: for callers that would have to work for their step.
bool is_collecting();

// The calling thread's collection begins something that may take long: "asks", "dc2.corp.example".
// It stands until the next one. Outside a collection it does nothing.
void step(std::string_view does, std::string_view what = {});

// The calling thread's collection has replaced its table's rows.
void transferred(std::size_t rows);

}  // namespace status
