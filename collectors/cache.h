#pragma once
// The cache cycle: a background thread collects a table's rows, however long that takes, and puts
// them into the table's buffer; a sample only hands the buffer's rows to the framework. It hands
// over the same rows until the next transfer replaces them, so that two samples within one period
// show the same number and time. A collection that fails before its transfer leaves the rows of the
// one before.
//
// A cached table is an entry in collectors/caches.h, a CollectData, and a TakeSample of one line:
//
//   template <>
//   void collectors::CollectData<tables::DCWNTDSDCP>() {
//     DCW_TRACE("CollectData");
//     ...
//     transfer<tables::DCWNTDSDCP>(trace, row);
//   }
//
//   template <>
//   void tables::Agent<tables::DCWNTDSDCP>::TakeSample() {
//     DCW_TRACE("TakeSample");
//     collectors::take_sample(trace, *this);
//   }

#include <cstddef>
#include <cstdint>

#include "collectors/caches.h"
#include "include/platform/threads.h"
#include "include/settings.h"
#include "include/trace.h"
#include "tables/timing.h"

namespace collectors {

// How long a sample waits for a cache that the collector is filling. A transfer takes microseconds.
inline constexpr DWORD kSampleWait_ms = 5000;

// One collection under g_collectLock, which it waits for.
void collect_in_turn(status::Job job, void (*collect)());

// A cache thread's life: one collection at a time in the whole process, then the pause, which comes
// after the lock is given up. Gives 0 when the agent has ended.
unsigned run_cache_thread(trace::Scope& trace, status::Job job, void (*collect)());
template <const auto& kTable>
unsigned run_cache_thread(trace::Scope& trace) {
  return run_cache_thread(trace, Cached<kTable>::shape.job, &CollectData<kTable>);
}

// One collection of those that take no lock: in a sample, and the sysvol test.
template <const auto& kTable>
void collect_without_lock() {
  status::Collection collection(Cached<kTable>::shape.job);
  collection.begins(status::Collection::Lock::kNone);
  CollectData<kTable>();
}

// What a sample does with the buffer while it holds the cache, and just after. A table whose rows
// change at the hand-over passes one of its own.
template <const auto& kTable>
struct HandOver {
  void rows(const trace::Scope& /*trace*/, tables::Agent<kTable>& agent, OneRow<kTable>& row) {
    agent.AddData(row.data(), 1);
  }
  void rows(const trace::Scope& /*trace*/, tables::Agent<kTable>& agent, Rows<kTable>& all) {
    for (tables::Row<kTable> row : all) agent.AddData(row.data(), 1);
  }
  void released(const trace::Scope& /*trace*/) {}
};

// How many rows a buffer holds.
template <const auto& kTable>
std::size_t count_of(const OneRow<kTable>& /*row*/) {
  return 1;
}
template <const auto& kTable>
std::size_t count_of(const Rows<kTable>& rows) {
  return rows.size();
}

void tell_row_count(const trace::Scope& trace, const CacheShape& shape, std::size_t rows);

// The number of the sample object, for traces; 0 for tables that number none.
template <const auto& kTable>
std::int32_t instance_number(const tables::Agent<kTable>& agent) {
  if constexpr (requires { agent.state.instanceNumber; }) {
    return agent.state.instanceNumber;
  } else {
    return 0;
  }
}

// Moves what a collection finished into the buffer; rows leave an empty list behind.
template <const auto& kTable>
void replace(OneRow<kTable>& buffer, OneRow<kTable>& finished) {
  buffer = finished;
}
template <const auto& kTable>
void replace(Rows<kTable>& buffer, Rows<kTable>& finished) {
  buffer.clear();
  buffer.swap(finished);
}

// Empties a list of rows and leaves the event as it is: a sample waits for nothing and finds none.
template <const auto& kTable>
void clear_rows() {
  const CacheRowsLock lock(Cached<kTable>::event);
  Cached<kTable>::buffer.clear();
}

// Replaces the buffer by what a collection finished. Waits as long as a sample holds the cache.
template <const auto& kTable, typename Buffer>
void transfer(const trace::Scope& trace, Buffer& finished) {
  using Table = Cached<kTable>;
  constexpr const CacheShape& shape = Table::shape;
  CacheHold hold(trace, Table::event, shape.texts);
  hold.take_for_transfer(shape.event_name);
  if (shape.transfer != nullptr) trace.always()("%s", shape.transfer);
  replace<kTable>(Table::buffer, finished);
  if (shape.no_rows != nullptr && count_of<kTable>(Table::buffer) == 0) {
    trace.always()("%s", shape.no_rows);
  }
  tell_row_count(trace, shape, count_of<kTable>(Table::buffer));
  status::transferred(count_of<kTable>(Table::buffer));
  if (shape.transferred != nullptr) trace.always()("%s", shape.transferred);
  hold.release(shape.texts.collector_release_failed);
}

// The whole of a cached table's sample. Only one that got as far as the rows is timed.
template <const auto& kTable, typename Hook = HandOver<kTable>>
void take_sample(const trace::Scope& trace, tables::Agent<kTable>& agent, Hook hook = {}) {
  using Table = Cached<kTable>;
  constexpr const CacheShape& shape = Table::shape;
  TimerRecord timer;
  startTimer(&timer);
  const std::int32_t instance = instance_number(agent);
  if (shape.instance != nullptr) {
    trace.always()("%s instance number: <%d>\n", shape.instance, instance);
  }
  if (shape.collects_in_sample && g_cacheInterval < 1) collect_without_lock<kTable>();
  if (Table::event.handle() == nullptr) {
    if (shape.no_event == nullptr) return;
    trace.always()("%s", shape.no_event);
    stopTimer(&timer);
    return;
  }
  CacheHold hold(trace, Table::event, shape.texts);
  const auto tell_lock = [&](const char* done) {
    if (!shape.tells_lock_by_instance) return;
    trace.always()("instance (%d) has %s the cache.\n", instance, done);
  };
  if (!hold.take_for_sample(kSampleWait_ms)) {
    trace.always()("TakeSample Timeout..Global buffer is empty.");
    // Deliberate, although nothing was locked: the line ends every sample of the table.
    tell_lock("unlocked");
    return;
  }
  tell_lock("locked");
  trace.always()("%s", shape.hand_over);
  tell_row_count(trace, shape, count_of<kTable>(Table::buffer));
  hook.rows(trace, agent, Table::buffer);
  hold.release(shape.texts.sample_release_failed);
  tell_lock("unlocked");
  hook.released(trace);
  stopTimer(&timer);
  printTimerResults(&timer, kTable.timing.index, kTable.timing.word, "TakeSample");
}

}  // namespace collectors
