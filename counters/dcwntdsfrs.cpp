// FileReplicationService: the collector's counters, and how much of each kind of work went wrong.

#include "counters/counter_table.h"
#include "include/trace.h"

namespace {

using counters::kilobytes;

constexpr counters::Projection kProjections[] = {
    {"FRSCORC", 0},
    {"FRSCOA", 1},
    {"FRSCOE", 2},
    {"FRSCOM", 3},
    {"FRSCORT", 4},
    {"FRSCOS", 5},
    {"FRSFI", 6},
    {"FRSFIE", 7},
    {"FRSDSB", 8},
    {"FRSDSBE", 9},
    {"FRSPAR", 10},
    {"FRSPARE", 11},
    {"FRSPAS", 12},
    {"FRSPASE", 13},
    {"FRSUSNA", 14},
    {"FRSSTSPF", 15},
    {"FRSSTSPU", 16},
    {"FRSAUT", 17},
    {"FRSAERR", 18},
    {"FRSBIND", 19},
    {"FRSBDER", 20},
    {"FRSFLIN", 21},
    kilobytes("FRSSTFC", 22),
    kilobytes("FRSGN", 23),
    kilobytes("FRSSTRGN", 24),
    {"FRSCHIS", 25},
    {"FRSCHPR", 26},
    {"FRSCHRT", 27},
    {"FRSCHRF", 28},
    {"FRSCHRG", 29},
    {"FRSCHRI", 30},
    {"FRSCHRR", 31},
    {"FRSCOMTO", 32},
    {"FRSDSO", 33},
    {"FRSDERR", 34},
    {"FRSDPOL", 35},
    {"FRSDPW", 36},
    {"FRSDPWO", 37},
    {"FRSDSS", 38},
    {"FRSDSER", 39},
    {"FRSFBR", 40},
    kilobytes("FRSFBRB", 41),
    {"FRSFBS", 42},
    kilobytes("FRSFBSB", 43),
    {"FRSFRR", 44},
    {"FRSFRS", 45},
    {"FRSINBD", 46},
    {"FRSJNR", 47},
    {"FRSJNS", 48},
    {"FRSJOI", 49},
    {"FRSOCD", 50},
    {"FRSRSC", 51},
    {"FRSRSD", 52},
    {"FRSRSR", 53},
    {"FRSRSS", 54},
    {"FRSSFF", 55},
    {"FRSSFG", 56},
    {"FRSSFGER", 57},
    {"FRSSFR", 58},
    {"FRSTHEX", 59},
    {"FRSTHST", 60},
    {"FRSUNJN", 61},
    {"FRSURD", 62},
    {"FRSURCE", 63},
    {"FRSURCR", 64},
};
constexpr auto kColumns = counters::place<tables::DCWNTDSFRS>(kProjections);

counters::SampleState sample_state;

template <tables::Name kPercentage, tables::Name kValue, tables::Name kTotal>
void add_percentage(tables::Row<tables::DCWNTDSFRS>& row) {
  row.set<kPercentage>(CKUtil::calculatePdhPercent(row.integer<kValue>(), row.integer<kTotal>()));
}

// Of the columns as they are shown, not of the counters: whoever reads the row can compute them.
void add_percentages(tables::Row<tables::DCWNTDSFRS>& row) {
  add_percentage<"FRSCOEP", "FRSCOE", "FRSCORC">(row);
  add_percentage<"FRSCORTP", "FRSCORT", "FRSCORC">(row);
  add_percentage<"FRSCOMP", "FRSCOM", "FRSCORC">(row);
  add_percentage<"FRSCOAP", "FRSCOA", "FRSCORC">(row);
  add_percentage<"FRSFIEP", "FRSFIE", "FRSFI">(row);
  add_percentage<"FRSDSBEP", "FRSDSBE", "FRSDSB">(row);
  add_percentage<"FRSPAREP", "FRSPARE", "FRSPAR">(row);
  add_percentage<"FRSPASEP", "FRSPASE", "FRSPAS">(row);
}

}  // namespace

template <>
void dcw_dcwntdsfrs_agent::TakeSample() {
  DCW_TRACE("TakeSample");
  counters::sample_counters(*this, sample_state, g_FRS, kColumns, {.columns = add_percentages});
}
