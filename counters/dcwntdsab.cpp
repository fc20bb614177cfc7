// AddressBook: one row a sample, straight from the collector's counters.

#include "counters/counter_table.h"
#include "include/trace.h"

namespace {

using counters::Shown;

constexpr counters::Projection kProjections[] = {
    {"ABANRPS", 0},  {"ABBRSPS", 1},  {"ABCLISES", 2}, {"ABMATPS", 3},
    {"ABPRPRPS", 4}, {"ABPRXLKP", 5}, {"ABSRCPS", 6},
};
constexpr auto kColumns = counters::place<tables::DCWNTDSAB>(kProjections);

counters::SampleState sample_state;

}  // namespace

template <>
void dcw_dcwntdsab_agent::TakeSample() {
  DCW_TRACE("TakeSample");
  counters::sample_counters(*this, sample_state, g_AddressBook, kColumns);
}
