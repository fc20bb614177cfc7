// LocalSecurityAuthority: one row a sample, straight from the collector's counters.

#include "counters/counter_table.h"
#include "include/trace.h"

namespace {

using counters::Shown;

constexpr counters::Projection kProjections[] = {
    {"LSARDS", 0},
    {"LSASRC", 1},
    {"LSAWRTS", 2},
};
constexpr auto kColumns = counters::place<tables::DCWNTDSLSA>(kProjections);

counters::SampleState sample_state;

}  // namespace

template <>
void dcw_dcwntdslsa_agent::TakeSample() {
  DCW_TRACE("TakeSample");
  counters::sample_counters(*this, sample_state, g_LSA, kColumns);
}
