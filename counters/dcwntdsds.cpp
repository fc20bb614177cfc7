// Directory Services: one row a sample, straight from the collector's counters.

#include "counters/counter_table.h"
#include "include/trace.h"

namespace {

using counters::Shown;

constexpr counters::Projection kProjections[] = {
    {"DSCLBND", 0},
    {"DSNMTRA", 1},
    {"DSDIRRD", 2},
    {"DSDIRSRC", 3},
    {"DSDIRWTS", 4},
    {"DSMONSZE", 5},
    {"DSNMCHR", 6},
    {"DSQSIZE", 7},
    {"DSOTHRDS", 8},
    {"DSOTHSRC", 9},
    {"DSOTHWRT", 10},
    {"DSSRCOPER", 11},
    {"DSSECPROP", 12},
    {"DSSECXTM", 13},
    {"DSSECRUNTM", 14},
    {"DSSECOPER", 15},
    {"DSBINDS", 16},
    {"DSNMTRAN", 17},
    {"DSTHRDS", 18},
    {"DSWRNTDS", 19, Shown::kOnMajorSix},
    {"DSSRNTDS", 20, Shown::kOnMajorSix},
    {"DSRDNTDS", 21, Shown::kOnMajorSix},
};
constexpr auto kColumns = counters::place<tables::DCWNTDSDS>(kProjections);

counters::SampleState sample_state;

}  // namespace

template <>
void dcw_dcwntdsds_agent::TakeSample() {
  DCW_TRACE("TakeSample");
  counters::sample_counters(*this, sample_state, g_DirServices, kColumns);
}
