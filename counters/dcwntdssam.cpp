// SecurityAccountsManager: one row a sample, straight from the collector's counters.

#include "counters/counter_table.h"
#include "include/trace.h"

namespace {

using counters::Shown;

constexpr counters::Projection kProjections[] = {
    {"SAMACTGRP", 0},
    {"SAMMCATM", 1},
    {"SAMUSRATM", 2},
    {"SAMENMR", 3},
    {"SAMGCEVAL", 4},
    {"SAMMEM", 5},
    {"SAMNTMEM", 6},
    {"SAMPWDCNG", 7},
    {"SAMQRYDSP", 8},
    {"SAMRDS", 9},
    {"SAMRSRC", 10},
    {"SAMSRC", 11},
    {"SAMMCCRT", 12},
    {"SAMUSRCRT", 13},
    {"SAMTMEVAL", 14},
    {"SAMUGMEVAL", 15},
    {"SAMWRITES", 16},
    {"SAMDLGME", 17, Shown::kOnMajorSix},
    {"SAMRGEL", 18, Shown::kOnMajorSix},
};
constexpr auto kColumns = counters::place<tables::DCWNTDSSAM>(kProjections);

counters::SampleState sample_state;

}  // namespace

template <>
void dcw_dcwntdssam_agent::TakeSample() {
  DCW_TRACE("TakeSample");
  counters::sample_counters(*this, sample_state, g_SAM, kColumns);
}
