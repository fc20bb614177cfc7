// DistributedFileSystemReplication: the counters of the first volume, the first connection and the
// first folder of the machine in one row.

#include "counters/counter_table.h"
#include "include/trace.h"

namespace {

using counters::kilobytes;

// Deliberate: only these three byte counters are in kilobytes, the others stay in bytes; the
// receiving side has their units fixed.
constexpr counters::Projection kProjections[] = {
    {"DFSRDBL", 0},           {"DFSRDBC", 1},    {"DFSRUUNP", 2},           {"DFSRURC", 3},
    {"DFSRUJRR", 4},          {"DFSRRBWS", 5},   kilobytes("DFSRCBR", 6),   {"DFSRCRCSR", 7},
    {"DFSRCRSFR", 8},         {"DFSRCRNFR", 9},  {"DFSRCBPS", 10},          {"DFSRCCSR", 11},
    {"DFSRCSFR", 12},         {"DFSRCTFR", 13},  kilobytes("DFSRCTBR", 14), {"DFSRFBWS", 15},
    kilobytes("DFSRFBR", 16), {"DFSRFRCSR", 17}, {"DFSRFRSFR", 18},         {"DFSRFRNFR", 19},
    {"DFSRFCSR", 20},         {"DFSRFSFR", 21},  {"DFSRFTFR", 22},          {"DFSRFDSU", 23},
    {"DFSRFDBC", 24},         {"DFSRFDFC", 25},  {"DFSRFDBG", 26},          {"DFSRFDFG", 27},
    {"DFSRFUD", 28},          {"DFSRFFIR", 29},  {"DFSRFFIS", 30},          {"DFSRFCCC", 31},
    {"DFSRFCSU", 32},         {"DFSRFCBC", 33},  {"DFSRFCFC", 34},          {"DFSRFCBG", 35},
    {"DFSRFCFG", 36},         {"DFSRFSSU", 37},  {"DFSRFSBC", 38},          {"DFSRFSFC", 39},
    {"DFSRFSBG", 40},         {"DFSRFSFG", 41},
};
constexpr auto kColumns = counters::place<tables::DCWNTDSDFS>(kProjections);

counters::SampleState sample_state;

// The first instances may be others than at the last sample, or there for the first time.
void follow_first_instances(ADPDH& collector) { collector.FetchDFSRInstances(); }

}  // namespace

template <>
void dcw_dcwntdsdfs_agent::TakeSample() {
  DCW_TRACE("TakeSample");
  counters::sample_counters(*this, sample_state, g_DFSR, kColumns,
                            {.before = follow_first_instances});
}
