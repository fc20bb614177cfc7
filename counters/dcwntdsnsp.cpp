// NameServiceProvider: one row a sample, straight from the collector's counters.

#include "counters/counter_table.h"
#include "include/trace.h"

namespace {

using counters::Shown;

constexpr counters::Projection kProjections[] = {
    {"NSPIRDS", 0},
    {"NSPISRC", 1},
    {"NSPIWRTS", 2},
    {"NTLMAUTH", 3},
};
constexpr auto kColumns = counters::place<tables::DCWNTDSNSP>(kProjections);

counters::SampleState sample_state;

}  // namespace

template <>
void dcw_dcwntdsnsp_agent::TakeSample() {
  DCW_TRACE("TakeSample");
  counters::sample_counters(*this, sample_state, g_NSPI, kColumns);
}
