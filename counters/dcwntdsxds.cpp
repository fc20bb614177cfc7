// ExchangeDirectoryService: the one counter table with a collector of its own in each sample, and
// the one that always has a row.

#include "counters/counter_table.h"
#include "include/trace.h"

namespace {

constexpr counters::Projection kProjections[] = {
    {"XDSCLS", 0},
    {"XDSRDS", 1},
    {"XDSSRC", 2},
    {"XDSWRTS", 3},
};
constexpr auto kColumns = counters::place<tables::DCWNTDSXDS>(kProjections);

counters::SampleState sample_state;

void set_not_available(tables::Row<tables::DCWNTDSXDS>& row) {
  row.set<"XDSCLS">(counters::kNotOnThisVersion);
  row.set<"XDSRDS">(counters::kNotOnThisVersion);
  row.set<"XDSSRC">(counters::kNotOnThisVersion);
  row.set<"XDSWRTS">(counters::kNotOnThisVersion);
}

}  // namespace

// Needs no global collector, and so does not wait for those to be built. The values do not go to
// standard output either.
template <>
void dcw_dcwntdsxds_agent::TakeSample() {
  DCW_TRACE("TakeSample");
  counters::SampleTimer<tables::DCWNTDSXDS> timer;
  tables::Row<tables::DCWNTDSXDS> row;
  counters::begin_row(row, sample_state);
  ADPDH collector(kExchangeCollector);
  set_not_available(row);
  if (collector.IsPresent() != 0) {
    collector.CollectData();
    // Deliberate: on major version 6 the counters are read, half a second and all, and thrown away.
    if (g_osMajorVersion != 6) {
      counters::project(kColumns, collector.GetValues(), collector.GetCounterCount(), row.data());
    }
  }
  AddData(row.data(), 1);
}
