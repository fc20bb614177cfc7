#include "cli/sample_progress.h"

#include <algorithm>
#include <cstdio>

#include "cli/durations.h"
#include "include/platform/time.h"
#include "tables/status_board.h"

namespace cli {

void CountingSink::deliver(const xaf::Delivery& delivery) {
  rows_[delivery.table] += delivery.count;
  target_->deliver(delivery);
}

void CountingSink::close() { target_->close(); }

std::size_t CountingSink::rows(const std::string& table) const {
  const auto found = rows_.find(table);
  return found == rows_.end() ? 0 : found->second;
}

Progress::Progress(std::vector<std::string> tables)
    : tables_(std::move(tables)),
      stop_(CreateEventA(nullptr, 1, 0, nullptr)),
      thread_(reinterpret_cast<HANDLE>(_beginthreadex(nullptr, 0, run, this, 0, nullptr))) {}

Progress::~Progress() {
  if (thread_ != nullptr) {
    SetEvent(stop_);
    WaitForSingleObject(thread_, INFINITE);
    CloseHandle(thread_);
  }
  if (stop_ != nullptr) CloseHandle(stop_);
}

unsigned __stdcall Progress::run(void* self) {
  const auto* progress = static_cast<const Progress*>(self);
  // Ordinary samples are over within the first second and stay silent.
  unsigned seconds = 0;
  for (unsigned pause_s = 1;; pause_s = 2) {
    if (WaitForSingleObject(progress->stop_, pause_s * 1000) != WAIT_TIMEOUT) return 0;
    seconds += pause_s;
    progress->report(seconds);
  }
}

namespace {

// "DCWNTDSTRS (runs netdom verify DC1 /DOMAIN:LEGACY, 4.0 s)"; the name alone for a table that has
// no collection of its own.
std::string with_step(const std::string& table) {
  for (std::size_t i = 0; i < status::kJobCount; ++i) {
    const auto job = static_cast<status::Job>(i);
    status::Report report;
    if (table != status::name_of(job) || !status::own_board().of(job).read(report)) continue;
    const std::uint64_t now_ms = GetTickCount64();
    if (report.state == status::State::kWaiting) return table + " (waits for the others)";
    if (report.state != status::State::kCollecting || report.step[0] == '\0') return table;
    return table + " (" + report.step.data() + ", " + duration(now_ms - report.step_since_ms) + ")";
  }
  return table;
}

}  // namespace

bool Progress::is_finished(const std::string& table) const {
  const std::vector<xaf::TableMeasure> measures = xaf::measures();
  const auto measure = std::find_if(measures.begin(), measures.end(),
                                    [&](const auto& each) { return each.table == table; });
  return measure != measures.end() && measure->samples > 0;
}

void Progress::report(unsigned seconds) const {
  constexpr std::size_t kMostShown = 4;
  std::string waiting;
  std::size_t count = 0;
  for (const std::string& table : tables_) {
    if (is_finished(table)) continue;
    if (count++ < kMostShown) waiting += (waiting.empty() ? "" : ", ") + with_step(table);
  }
  if (count == 0) return;
  std::fprintf(
      stderr, "dirwatch: %u s, waiting for %s%s\n", seconds, waiting.c_str(),
      count > kMostShown ? (" and " + std::to_string(count - kMostShown) + " more").c_str() : "");
}

}  // namespace cli
