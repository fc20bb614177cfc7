// DFS Replication Connections: one row a sample for each instance.

#include "counters/instance_table.h"
#include "include/trace.h"

namespace {

constexpr counters::Projection kProjections[] = {
    {"DFRCRBWS", 0}, {"DFRCBR", 1},  {"DFRCRCSR", 2}, {"DFRCRSFR", 3}, {"DFRCRNFR", 4},
    {"DFRCBPS", 5},  {"DFRCCSR", 6}, {"DFRCSFR", 7},  {"DFRCTFR", 8},  {"DFRCTBR", 9},
};
constexpr auto kColumns = counters::place<tables::DCWNTDSDRC>(kProjections);

tables::OriginNode localHostPadded;

}  // namespace

template <>
void dcw_dcwntdsdrc_agent::TakeSample() {
  DCW_TRACE("TakeSample");
  counters::sample_instances<tables::DCWNTDSDRC, "DFRCIN">(*this, localHostPadded, g_DFRC, kColumns,
                                                           trace, counters::Telling::kEachInstance);
}
