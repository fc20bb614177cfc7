#include "include/collection_status.h"

#include <algorithm>

#include "include/platform/time.h"
#include "tables/status_board.h"

namespace status {
namespace {

thread_local Collection* current = nullptr;

// Over what the text held before, to its end. Gives where the next text goes.
std::size_t append(std::array<char, Report::kStepSize>& target, std::size_t at,
                   std::string_view text) {
  const std::size_t length = std::min(text.size(), target.size() - 1 - at);
  std::copy_n(text.data(), length, target.data() + at);
  return at + length;
}

}  // namespace

Collection::Collection(Job job) : job_(job), outer_(current) {
  // What the job's collections before left there; a fresh one when that cannot be read.
  if (!own_board().of(job).read(report_)) report_ = {};
  report_.step.fill('\0');
  report_.holds_lock = 0;
  enter(State::kWaiting);
  current = this;
}

Collection::~Collection() { ends(); }

void Collection::enter(State state) {
  report_.state = state;
  report_.since_ms = GetTickCount64();
  write();
}

void Collection::begins(Lock lock) {
  report_.holds_lock = lock == Lock::kHeld ? 1 : 0;
  enter(State::kCollecting);
}

void Collection::ends() {
  if (report_.state == State::kResting) return;
  current = outer_;
  if (report_.state == State::kCollecting) {
    report_.last_took_ms = GetTickCount64() - report_.since_ms;
    report_.transferred = has_transferred_ ? 1 : 0;
    ++report_.collections;
  }
  report_.holds_lock = 0;
  enter(State::kResting);
}

void Collection::write() const { own_board().jobs[static_cast<std::size_t>(job_)].write(report_); }

bool is_collecting() { return current != nullptr; }

void step(std::string_view does, std::string_view what) {
  if (current == nullptr) return;
  Report& report = current->report_;
  std::size_t end = append(report.step, 0, does);
  if (!what.empty()) end = append(report.step, append(report.step, end, " "), what);
  std::fill(report.step.begin() + static_cast<std::ptrdiff_t>(end), report.step.end(), '\0');
  report.step_since_ms = GetTickCount64();
  current->write();
}

void transferred(std::size_t rows) {
  if (current == nullptr) return;
  current->has_transferred_ = true;
  Report& report = current->report_;
  report.has_rows = 1;
  report.rows = static_cast<std::uint32_t>(rows);
  report.rows_since_ms = GetTickCount64();
  current->write();
}

}  // namespace status
