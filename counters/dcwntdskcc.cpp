// KnowledgeConsistencyChecker: the collector's counters, and whether the checker is at work.

#include <array>

#include "counters/counter_table.h"
#include "directory/dsf_utils.h"
#include "include/platform/sockets.h"
#include "include/trace.h"

namespace {

constexpr counters::Projection kProjections[] = {
    {"KCCRDS", 0},
    {"KCCSRCS", 1},
    {"KCCWTS", 2},
};
constexpr auto kColumns = counters::place<tables::DCWNTDSKCC>(kProjections);

counters::SampleState sample_state;

// Whether the checker of this host is enabled; so it is also when the directory cannot be asked.
bool kcc_enabled() {
  char host[64] = {};
  gethostname(host, int{sizeof host});
  unsigned char flag = 1;
  DSFUtils::IsKCCEnabled(host, flag);
  return flag != 0;
}

void add_checker_state(tables::Row<tables::DCWNTDSKCC>& row) {
  row.set<"KCCITG">(kcc_enabled() ? 1 : 0);
}

}  // namespace

template <>
void dcw_dcwntdskcc_agent::TakeSample() {
  DCW_TRACE("TakeSample");
  counters::sample_counters(*this, sample_state, g_KCC, kColumns, {.columns = add_checker_state});
}
