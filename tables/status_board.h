#pragma once
// Where the reports of include/collection_status.h are written, and how another process reads them.
// A running agent has its board in memory of a known name, so that `dirwatch caches` can look at it
// without disturbing it; without such memory, or in another program, the board is the process's
// own.

#include <array>
#include <atomic>
#include <cstdint>
#include <string>
#include <vector>

#include "include/collection_status.h"
#include "include/trace.h"
#include "include/unique_handle.h"

namespace status {

// A report that one thread writes and any process reads, never half of it: the number before it is
// odd while it is being written, and has moved on when it was written meanwhile.
class Slot {
 public:
  void write(const Report& report);
  // False when no whole report could be read: its writer stopped in the middle, or never stops.
  bool read(Report& report) const;

 private:
  static constexpr std::size_t kWords = sizeof(Report) / sizeof(std::uint64_t);

  std::atomic<std::uint64_t> number_{0};
  std::array<std::atomic<std::uint64_t>, kWords> words_{};
};
static_assert(std::atomic<std::uint64_t>::is_always_lock_free);

// Laid out alike in every program of one version; another version has another number in its names.
struct Board {
  std::atomic<std::uint32_t> is_announced{0};
  std::atomic<std::uint32_t> process{0};
  std::atomic<std::int64_t> started_ms{0};  // since 1970, universal time
  std::atomic<std::int32_t> cache_interval_ms{0};
  std::atomic<std::int32_t> sysvol_interval_ms{0};  // 0: the sysvol test is off
  std::array<Slot, kJobCount> jobs;

  const Slot& of(Job job) const { return jobs[static_cast<std::size_t>(job)]; }
};

// This process's own. Never goes away.
Board& own_board();

// The table of a cache, "counter collectors" or "object count".
const char* name_of(Job job);

// Moves this process's board into memory that other processes find. Before any job begins. Where
// the system refuses, the agent runs on as well, and the trace says so.
void share_own_board();
// Lets others find it, with the settings as they are now. sysvol_is_tested: that thread runs.
void announce_own_board(bool sysvol_is_tested);

// An agent's board, open for reading.
class SharedBoard {
 public:
  SharedBoard(UniqueHandle memory, const Board* board)
      : memory_(std::move(memory)), board_(board) {}
  ~SharedBoard();
  SharedBoard(SharedBoard&& other) noexcept
      : memory_(std::move(other.memory_)), board_(std::exchange(other.board_, nullptr)) {}
  SharedBoard& operator=(SharedBoard&& other) noexcept {
    std::swap(memory_, other.memory_);
    std::swap(board_, other.board_);
    return *this;
  }
  const Board* operator->() const { return board_; }
  const Board& operator*() const { return *board_; }

 private:
  UniqueHandle memory_;
  const Board* board_;
};

// The boards of the agents that run on this machine now, the one that started last first.
// is_refused: there is one that this user may not read.
std::vector<SharedBoard> running_agents(bool& is_refused);

}  // namespace status
