#include "framework/xaf/hub.h"

#include <algorithm>
#include <exception>
#include <map>
#include <mutex>
#include <utility>

#include "framework/xaf/waiting.h"
#include "trace.h"

namespace xaf {
namespace {

struct SinkSlot {
  std::shared_ptr<Sink> sink;
  CriticalSection order;  // one delivery at a time; a sink may wait
};

struct LatestRows {
  std::shared_ptr<const RowBlock> block;
  std::uint32_t row_size = 0;
  std::uint32_t count = 0;
};

struct Hub {
  std::mutex mutex;  // held for a few instructions, never across a delivery
  // Guarded by mutex.
  std::vector<std::shared_ptr<SinkSlot>> sinks;
  std::map<std::string, LatestRows> latest;
  std::map<std::string, TableMeasure> measures;
};

Hub& hub() {
  static Hub* const instance = new Hub;
  return *instance;
}

// The caller holds the mutex.
TableMeasure& measure_of(const std::string& table) {
  TableMeasure& measure = hub().measures[table];
  if (measure.table.empty()) measure.table = table;
  return measure;
}

std::vector<std::shared_ptr<SinkSlot>> current_sinks() {
  const std::lock_guard hold(hub().mutex);
  return hub().sinks;
}

bool deliver_to(SinkSlot& slot, const Delivery& delivery) {
  DCW_TRACE("deliver_to");
  const std::lock_guard hold(slot.order);
  try {
    slot.sink->deliver(delivery);
    return trace.returns(true);
  } catch (const std::exception& failure) {
    trace.always()("%s: a sink failed: %s", delivery.table.c_str(), failure.what());
  }
  return trace.returns(false);
}

}  // namespace

Sink::~Sink() = default;

bool deliver(const Delivery& delivery, std::shared_ptr<const RowBlock> block) {
  std::shared_ptr<const RowBlock> before;  // freed outside the lock
  {
    const std::lock_guard hold(hub().mutex);
    LatestRows& latest = hub().latest[delivery.table];
    before = std::exchange(latest.block, std::move(block));
    latest.row_size = delivery.row_size;
    latest.count = delivery.count;
    TableMeasure& measure = measure_of(delivery.table);
    measure.rows += delivery.count;
    measure.last_rows_ms = delivery.time_ms;
  }
  bool good = true;
  for (const std::shared_ptr<SinkSlot>& slot : current_sinks()) {
    good = deliver_to(*slot, delivery) && good;
  }
  if (!good) note_failure(delivery.table);
  return good;
}

void note_sample(const std::string& table, std::int64_t duration_us) {
  const std::lock_guard hold(hub().mutex);
  TableMeasure& measure = measure_of(table);
  ++measure.samples;
  measure.last_duration_us = static_cast<std::uint64_t>(std::max<std::int64_t>(duration_us, 0));
  measure.longest_duration_us = std::max(measure.longest_duration_us, measure.last_duration_us);
}

void note_failure(const std::string& table) {
  const std::lock_guard hold(hub().mutex);
  ++measure_of(table).failures;
}

void note_missed(const std::string& table, std::uint64_t ticks) {
  const std::lock_guard hold(hub().mutex);
  measure_of(table).missed_ticks += ticks;
}

std::vector<TableMeasure> measures() {
  const std::int64_t now_ms = clock_ms();
  std::vector<TableMeasure> all;
  const std::lock_guard hold(hub().mutex);
  for (const auto& [table, measure] : hub().measures) {
    all.push_back(measure);
    if (measure.last_rows_ms != 0) {
      all.back().age_ms = std::max<std::int64_t>(now_ms - measure.last_rows_ms, 0);
    }
  }
  return all;
}

std::vector<std::string> latest_rows(const std::string& table) {
  LatestRows latest;
  {
    const std::lock_guard hold(hub().mutex);
    const auto found = hub().latest.find(table);
    if (found == hub().latest.end()) return {};
    latest = found->second;
  }
  std::vector<std::string> rows;
  for (std::uint32_t row = 0; row < latest.count; ++row) {
    rows.emplace_back(latest.block->bytes() + std::size_t{row} * latest.row_size, latest.row_size);
  }
  return rows;
}

void add_sink(std::shared_ptr<Sink> sink) {
  if (sink == nullptr) return;
  auto slot = std::make_shared<SinkSlot>();
  slot->sink = std::move(sink);
  const std::lock_guard hold(hub().mutex);
  hub().sinks.push_back(std::move(slot));
}

void clear_sinks() {
  std::vector<std::shared_ptr<SinkSlot>> before;  // destroyed outside the lock
  const std::lock_guard hold(hub().mutex);
  before.swap(hub().sinks);
}

bool have_sinks() { return !current_sinks().empty(); }

void close_sinks() {
  DCW_TRACE("close_sinks");
  for (const std::shared_ptr<SinkSlot>& slot : current_sinks()) {
    const std::lock_guard hold(slot->order);
    try {
      slot->sink->close();
    } catch (const std::exception& failure) {
      trace.always()("a sink failed to close: %s", failure.what());
    }
  }
}

void forget_deliveries() {
  std::map<std::string, LatestRows> before;
  const std::lock_guard hold(hub().mutex);
  before.swap(hub().latest);
  hub().measures.clear();
}

}  // namespace xaf
