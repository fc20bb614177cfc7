// LDAP: one row a sample, straight from the collector's counters.

#include "counters/counter_table.h"
#include "include/trace.h"

namespace {

using counters::Shown;

constexpr counters::Projection kProjections[] = {
    {"LDAPTHRD", 0},
    {"LDAPBNDTM", 1},
    {"LDAPCLNT", 2},
    {"LDAPSRC", 3},
    {"LDAPSRCPS", 4},
    // Deliberate: successful binds are collected, where the version counts them, and never shown.
    {"LDAPBINDS", 5, Shown::kNever},
    {"LDAPBNDSPS", 6},
    {"LDAPUDPOP", 7},
    {"LDAPWRTS", 8},
    {"LDAPWRTSPS", 9},
    {"LDAPATQ", 10, Shown::kOnMajorSix},
    {"LDAPNCON", 11, Shown::kOnMajorSix},
    {"LDAPCCON", 12, Shown::kOnMajorSix},
    {"LDAPSSL", 5, Shown::kOnMajorSix},
};
constexpr auto kColumns = counters::place<tables::DCWNTDSLDP>(kProjections);

counters::SampleState sample_state;

}  // namespace

template <>
void dcw_dcwntdsldp_agent::TakeSample() {
  DCW_TRACE("TakeSample");
  counters::sample_counters(*this, sample_state, g_LDAP, kColumns);
}
