#include "cli/sample_progress.h"

#include <algorithm>
#include <cstdio>

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
  // The first word after a second and a bit, so that ordinary samples stay silent.
  for (unsigned seconds = 2;; seconds += 2) {
    if (WaitForSingleObject(progress->stop_, 2000) != WAIT_TIMEOUT) return 0;
    progress->report(seconds);
  }
}

void Progress::report(unsigned seconds) const {
  std::string waiting;
  std::size_t count = 0;
  const std::vector<xaf::TableMeasure> measures = xaf::measures();
  for (const std::string& table : tables_) {
    const auto measure = std::find_if(measures.begin(), measures.end(),
                                      [&](const auto& each) { return each.table == table; });
    if (measure != measures.end() && measure->samples > 0) continue;
    if (count++ < 4) waiting += (waiting.empty() ? "" : ", ") + table;
  }
  if (count == 0) return;
  std::fprintf(stderr, "dirwatch: %u s, waiting for %s%s\n", seconds, waiting.c_str(),
               count > 4 ? (" and " + std::to_string(count - 4) + " more").c_str() : "");
}

}  // namespace cli
