#pragma once
// The tables that show one row for each instance of a counter object. As in counter_table.h, a
// table's own source unit holds its mapping and one call. These samples do not wait for the
// collectors to be built, and have no sample number, row number or timer.

#include <atomic>
#include <span>
#include <string_view>
#include <vector>

#include "counters/adpdh_instances.h"
#include "counters/counter_table.h"
#include "include/trace.h"

namespace counters {

// How much of its course a table's sample tells the trace; the three differ.
enum class Telling { kNothing, kStartAndEnd, kEachInstance };

// Half a second for each instance, one after the other. No instance, no row; likewise while the
// collectors are not there yet.
template <const auto& kTable, tables::Name kInstanceColumn>
void sample_instances(tables::Agent<kTable>& agent, tables::OriginNode& localHostPadded,
                      const std::atomic<ADPDH_instances*>& global, std::span<const Placed> columns,
                      const trace::Scope& trace, Telling telling) {
  const bool each = telling == Telling::kEachInstance;
  tables::Row<kTable> row;
  row.template set<"ORIGINNODE">(localHostPadded.padded());
  CKUtil::getMWTimeStamp(row.template field<"TIMESTAMP">());

  std::vector<tables::Row<kTable>> rows;
  ADPDH_instances* collectors = global.load();
  if (telling != Telling::kNothing) trace.always()("*******Collection Started*******");
  for (std::int32_t i = 0; collectors != nullptr && i < collectors->GetInstanceCount(); ++i) {
    const double* values = nullptr;
    ADPDH_instances::Name name{};
    if (each) trace.always()("*****CAlling GetData *****");
    collectors->getDataValues(i, values, name);
    if (each) {
      trace.always()("*****get data call complete *****");
      trace.always()("*****get count value*****:%d",
                     static_cast<int>(collectors->GetInstanceCount()));
    }
    project(columns, values, collectors->GetCounterCount(i), row.data());
    if (each) trace.always()("*****datfill complete *****");
    row.template set_zero_padded<kInstanceColumn>(std::string_view(name.data()));
    rows.push_back(row);
    if (each) trace.always()("*****DATA Collected for  *****:%d", static_cast<int>(i));
  }
  if (telling != Telling::kNothing) trace.always()("*******Collection ENDED*******");
  trace.always()("*******Adding Data*******");
  for (tables::Row<kTable>& finished : rows) agent.AddData(finished.data(), 1);
}

}  // namespace counters
