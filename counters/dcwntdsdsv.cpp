// DFS Replication Service Volumes: one row a sample for each instance.

#include "counters/instance_table.h"
#include "include/trace.h"

namespace {

constexpr counters::Projection kProjections[] = {
    {"DFSVDBL", 0}, {"DFSVDBC", 1}, {"DFSVUUNP", 2}, {"DFSVURC", 3}, {"DFSVUJRR", 4},
};
constexpr auto kColumns = counters::place<tables::DCWNTDSDSV>(kProjections);

tables::OriginNode localHostPadded;

}  // namespace

template <>
void dcw_dcwntdsdsv_agent::TakeSample() {
  DCW_TRACE("TakeSample");
  counters::sample_instances<tables::DCWNTDSDSV, "DFSVIN">(*this, localHostPadded, g_DFSV, kColumns,
                                                           trace, counters::Telling::kStartAndEnd);
}
