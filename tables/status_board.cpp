#include "tables/status_board.h"

#include <algorithm>
#include <bit>
#include <new>

#include "include/platform/memory.h"
#include "include/platform/threads.h"
#include "include/platform/time.h"
#include "include/settings.h"

namespace status {
namespace {

constexpr std::uint32_t kAnnounced = 1;
// More agents on one machine are not shown.
constexpr int kMostAgents = 8;
// A number of the layout stands in the name: programs of different versions do not meet.
constexpr const char* kName = "DirWatcherStatus1.";
// The whole machine's names, which on Windows need a right that plain users lack; else the user's.
constexpr const char* kScopes[] = {"Global\\", "Local\\"};

std::string name_of(const char* scope, int agent) {
  return scope + (kName + std::to_string(agent));
}

Board& local_board() {
  static Board board;
  return board;
}
std::atomic<Board*> shared_board{nullptr};

std::int64_t now_ms() {
  struct _timeb now = {};
  _ftime64(&now);
  return static_cast<std::int64_t>(now.time) * 1000 + now.millitm;
}

// Memory of its own for this agent; null, with the last error, when there is none.
UniqueHandle create_memory() {
  DWORD error = ERROR_ALREADY_EXISTS;
  for (const char* scope : kScopes) {
    for (int agent = 0; agent < kMostAgents; ++agent) {
      UniqueHandle memory{CreateFileMappingA(INVALID_HANDLE_VALUE, nullptr, PAGE_READWRITE, 0,
                                             sizeof(Board), name_of(scope, agent).c_str())};
      if (memory && GetLastError() != ERROR_ALREADY_EXISTS) return memory;
      // Another agent's. One that may not even be opened is another user's.
      if (!memory) error = GetLastError();
      if (!memory && error != ERROR_ACCESS_DENIED) break;
    }
  }
  SetLastError(error);
  return {};
}

}  // namespace

void Slot::write(const Report& report) {
  const auto words = std::bit_cast<std::array<std::uint64_t, kWords>>(report);
  number_.fetch_add(1, std::memory_order_acq_rel);
  for (std::size_t i = 0; i < kWords; ++i) words_[i].store(words[i], std::memory_order_release);
  number_.fetch_add(1, std::memory_order_release);
}

bool Slot::read(Report& report) const {
  constexpr int kTries = 10000;
  std::array<std::uint64_t, kWords> words;
  for (int i = 0; i < kTries; ++i) {
    const std::uint64_t before = number_.load(std::memory_order_acquire);
    if (before % 2 != 0) continue;
    for (std::size_t word = 0; word < kWords; ++word) {
      words[word] = words_[word].load(std::memory_order_acquire);
    }
    if (number_.load(std::memory_order_relaxed) != before) continue;
    report = std::bit_cast<Report>(words);
    // It may come from another program.
    report.step.back() = '\0';
    return true;
  }
  return false;
}

Board& own_board() {
  Board* const shared = shared_board.load(std::memory_order_acquire);
  return shared == nullptr ? local_board() : *shared;
}

const char* name_of(Job job) {
  constexpr const char* kNames[] = {
      "counter collectors", "object count", "DCWNTDSDCA", "DCWNTDSDAI", "DCWNTDSDRA", "DCWNTDSDCP",
      "DCWNTDSRLT",         "DCWNTDSRPL",   "DCWNTDSTRS", "DCWNTDSTTP", "DCWSYSRPL"};
  static_assert(std::size(kNames) == kJobCount);
  return kNames[static_cast<std::size_t>(job)];
}

void share_own_board() {
  DCW_TRACE("share_own_board");
  UniqueHandle memory = create_memory();
  void* const view =
      memory ? MapViewOfFile(memory.get(), FILE_MAP_READ | FILE_MAP_WRITE, 0, 0, sizeof(Board))
             : nullptr;
  if (view == nullptr) {
    trace.always()("The state of the caches is not shown outside the agent: error %ld",
                   static_cast<long>(GetLastError()));
    return;
  }
  // Kept to the end of the process, which takes the name away: threads report that nobody waits
  // for.
  static_cast<void>(memory.release());
  auto* const board = new (view) Board;
  board->process = GetCurrentProcessId();
  board->started_ms = now_ms();
  shared_board.store(board, std::memory_order_release);
}

void announce_own_board(bool sysvol_is_tested) {
  Board& board = own_board();
  board.cache_interval_ms = g_cacheInterval.load();
  board.sysvol_interval_ms = sysvol_is_tested ? g_sysvolTestInterval.load() : 0;
  board.is_announced.store(kAnnounced, std::memory_order_release);
}

SharedBoard::~SharedBoard() {
  if (board_ != nullptr) UnmapViewOfFile(board_);
}

std::vector<SharedBoard> running_agents(bool& is_refused) {
  is_refused = false;
  std::vector<SharedBoard> found;
  found.reserve(kMostAgents);
  for (const char* scope : kScopes) {
    for (int agent = 0; agent < kMostAgents; ++agent) {
      UniqueHandle memory{OpenFileMappingA(FILE_MAP_READ, FALSE, name_of(scope, agent).c_str())};
      if (!memory) {
        is_refused = is_refused || GetLastError() == ERROR_ACCESS_DENIED;
        continue;
      }
      const void* view = MapViewOfFile(memory.get(), FILE_MAP_READ, 0, 0, sizeof(Board));
      if (view == nullptr) continue;
      SharedBoard board(std::move(memory), static_cast<const Board*>(view));
      if (board->is_announced.load(std::memory_order_acquire) != kAnnounced) continue;
      found.push_back(std::move(board));
    }
  }
  std::sort(found.begin(), found.end(), [](const SharedBoard& left, const SharedBoard& right) {
    return left->started_ms > right->started_ms;
  });
  return found;
}

}  // namespace status
