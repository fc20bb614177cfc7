// Whether DNS and the directory agree on which servers exist, in one row.

#include "collectors/cache.h"
#include "collectors/prologue.h"
#include "collectors/srv_agreement.h"
#include "directory/dns_utils.h"
#include "directory/dsf_utils.h"
#include "tables/classes.h"

namespace {

using tables::DCWNTDSDAI;

collectors::CollectorState state;

}  // namespace

template <>
void collectors::CollectData<DCWNTDSDAI>() {
  DCW_TRACE("CollectData");
  tables::Row<DCWNTDSDAI> row;
  ServerNames names;
  if (!begin_collection(trace, row, state, names)) return;
  char site[256] = {};
  DSFUtils::GetSiteName(names.host, site);
  trace.always()("sitename: %s\n", site);
  const std::string forest = find_forest_name(trace, names);
  row.set<"DAIFST">(forest);
  row.set<"DAIHN">(names.server);
  row.set<"DAIDOM">(names.domain);
  const auto compare = [&](const char* primaryName, const char* fallbackName,
                           const std::vector<std::string>& directoryNames, SRVRecordType type) {
    DNSUtils::CompareSRV(nullptr, &row, primaryName, fallbackName, directoryNames,
                         SRVCompareMode::kSummary, type);
  };
  if (!compare_all(trace, names, forest, compare)) return;
  transfer<DCWNTDSDAI>(trace, row);
}

template <>
void tables::Agent<DCWNTDSDAI>::TakeSample() {
  DCW_TRACE("TakeSample");
  collectors::take_sample(trace, *this);
}
