#pragma once
// The tables that show one collector's counters, as data: which value goes into which column. A
// table's own source unit holds that mapping, its sample state and its TakeSample, which is one
// call of sample_counters() unless the table does something of its own.

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>
#include <string_view>

#include "counters/adpdh.h"
#include "counters/globals.h"
#include "include/settings.h"
#include "tables/ckutil.h"
#include "tables/classes.h"
#include "tables/origin_node.h"
#include "tables/row.h"
#include "tables/timing.h"

namespace counters {

// In which system versions a column has a value. It is -1 where it has none.
enum class Shown {
  kAlways,
  kOnMajorSix,     // major version 6 exactly, as the choice of counter lists
  kSinceMajorSix,  // major version 6 and above
  kBeforeFiveTwo,  // major version below 6 and minor version below 2, both
  kNever,
};
inline constexpr std::int32_t kNotOnThisVersion = -1;

struct Projection {
  const char* column;  // upper-case name
  std::size_t index;   // in the collector's values
  Shown shown = Shown::kAlways;
  double divisor = 1.0;  // applied before the value is cut
};

// A counter of bytes whose column is in kilobytes.
constexpr Projection kilobytes(const char* column, std::size_t index) {
  return {column, index, Shown::kAlways, 1024.0};
}

// A projection whose column has been found in its table.
struct Placed {
  std::size_t offset = 0;
  std::size_t index = 0;
  Shown shown = Shown::kAlways;
  double divisor = 1.0;
};

// Finds the columns at compile time; a name that the table does not have does not compile.
template <const auto& kTable, std::size_t kCount>
consteval std::array<Placed, kCount> place(const Projection (&projections)[kCount]) {
  std::array<Placed, kCount> placed{};
  for (std::size_t i = 0; i < kCount; ++i) {
    const std::size_t column = kTable.find(projections[i].column);
    if (kTable.columns.at(column).type != tables::ColumnType::kInteger) throw "not an integer";
    placed[i] = {kTable.offset(column), projections[i].index, projections[i].shown,
                 projections[i].divisor};
  }
  return placed;
}

// Toward zero. What 32 bits cannot hold, and what is no number, becomes the lowest number: that is
// what the readers of the rows know as such, so nothing is held at the limits.
std::int32_t truncated(double value);

// Writes the columns. A value beyond those that the collector has leaves its column 0.
void project(std::span<const Placed> columns, const double* values, std::int32_t count, char* row);

void set_all(std::span<const Placed> columns, std::int32_t value, char* row);

// In 32 bits, as the readers of the rows compute it too: beyond them it starts over.
std::int32_t difference(std::int32_t a, std::int32_t b);
std::int32_t sum(std::int32_t a, std::int32_t b);

// What a table keeps between samples. One a table, static, and deliberately without a lock: the
// framework never runs two samples of one table at once.
struct SampleState {
  std::uint32_t samples = 0;  // counts samples, with or without a row
  tables::OriginNode localHostPadded;
};

// Clears the row and writes its head, with the next number of samples.
template <const auto& kTable>
void begin_row(tables::Row<kTable>& row, std::uint32_t& samples, std::string_view origin_node) {
  row.clear();
  row.template set<"ORIGINNODE">(origin_node);
  row.template set<"SAMPLENO">(static_cast<std::int32_t>(++samples));
  row.template set<"ROWNO">(1);
  CKUtil::getMWTimeStamp(row.template field<"TIMESTAMP">());
}
template <const auto& kTable>
void begin_row(tables::Row<kTable>& row, SampleState& state) {
  begin_row(row, state.samples, state.localHostPadded.padded());
}

// Measures one TakeSample, from its making to its end.
template <const auto& kTable>
class SampleTimer {
 public:
  SampleTimer() { startTimer(&record_); }
  ~SampleTimer() {
    stopTimer(&record_);
    printTimerResults(&record_, kTable.timing.index, kTable.timing.word, "TakeSample");
  }
  SampleTimer(const SampleTimer&) = delete;
  SampleTimer& operator=(const SampleTimer&) = delete;

 private:
  TimerRecord record_;
};

// Waits, without limit, until the collectors exist.
void wait_for_collectors();

// Has the collector collect and writes the columns. False, and nothing is written, when the
// counters are not on this machine.
template <const auto& kTable>
bool collect_into(tables::Row<kTable>& row, ADPDH* collector, std::span<const Placed> columns) {
  // None at all when there was no memory for it.
  if (collector == nullptr || collector->IsPresent() == 0) return false;
  // Deliberately untested: after a failed collection the row shows the values of before.
  collector->CollectData();
  const double* values = collector->GetValues();
  collector->PrintValues();
  project(columns, values, collector->GetCounterCount(), row.data());
  return true;
}

// What a table does of its own around the collection; either may be null.
template <const auto& kTable>
struct OwnSteps {
  void (*before)(ADPDH& collector) = nullptr;           // ahead of the look whether it is present
  void (*columns)(tables::Row<kTable>& row) = nullptr;  // adds those that are no counters
};

// The whole of one sample: head, two collections, columns, one row. No row when the counters are
// not on this machine.
template <const auto& kTable>
void sample_counters(tables::Agent<kTable>& agent, SampleState& state,
                     const std::atomic<ADPDH*>& global, std::span<const Placed> columns,
                     OwnSteps<kTable> own = {}) {
  SampleTimer<kTable> timer;
  wait_for_collectors();
  tables::Row<kTable> row;
  begin_row(row, state);
  ADPDH* collector = global.load();
  if (own.before != nullptr && collector != nullptr) own.before(*collector);
  if (!collect_into(row, collector, columns)) return;
  if (own.columns != nullptr) own.columns(row);
  agent.AddData(row.data(), 1);
}

}  // namespace counters
