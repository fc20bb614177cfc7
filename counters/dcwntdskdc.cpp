// KerberosKDC: one row a sample, straight from the collector's counters.

#include "counters/counter_table.h"
#include "include/trace.h"

namespace {

using counters::Shown;

constexpr counters::Projection kProjections[] = {
    {"KDCASREQ", 0},
    {"KDCTGSREQ", 1},
    {"KDCAUTH", 2},
};
constexpr auto kColumns = counters::place<tables::DCWNTDSKDC>(kProjections);

counters::SampleState sample_state;

}  // namespace

template <>
void dcw_dcwntdskdc_agent::TakeSample() {
  DCW_TRACE("TakeSample");
  counters::sample_counters(*this, sample_state, g_KDC, kColumns);
}
