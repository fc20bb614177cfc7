// DFS Replicated Folders: one row a sample for each instance.

#include "counters/instance_table.h"
#include "include/trace.h"

namespace {

constexpr counters::Projection kProjections[] = {
    {"DFRFFBWS", 0},  {"DFRFFBR", 1},   {"DFRFFRCSR", 2}, {"DFRFFRSFR", 3}, {"DFRFFRNFR", 4},
    {"DFRFFCSR", 5},  {"DFRFFSFR", 6},  {"DFRFFTFR", 7},  {"DFRFFDSU", 8},  {"DFRFFDBC", 9},
    {"DFRFFDFC", 10}, {"DFRFFDBG", 11}, {"DFRFFDFG", 12}, {"DFRFFUD", 13},  {"DFRFFFIR", 14},
    {"DFRFFFIS", 15}, {"DFRFFCCC", 16}, {"DFRFFCSU", 17}, {"DFRFFCBC", 18}, {"DFRFFCFC", 19},
    {"DFRFFCBG", 20}, {"DFRFFCFG", 21}, {"DFRFFSSU", 22}, {"DFRFFSBC", 23}, {"DFRFFSFC", 24},
    {"DFRFFSBG", 25}, {"DFRFFSFG", 26},
};
constexpr auto kColumns = counters::place<tables::DCWNTDSDRF>(kProjections);

tables::OriginNode localHostPadded;

}  // namespace

template <>
void dcw_dcwntdsdrf_agent::TakeSample() {
  DCW_TRACE("TakeSample");
  counters::sample_instances<tables::DCWNTDSDRF, "DFRFIN">(*this, localHostPadded, g_DFRF, kColumns,
                                                           trace, counters::Telling::kNothing);
}
