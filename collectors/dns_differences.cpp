// The servers on which DNS and the directory disagree, one by one; asked within the sample.

#include "collectors/prologue.h"
#include "collectors/srv_agreement.h"
#include "directory/dns_utils.h"
#include "tables/classes.h"

namespace {

using tables::DCWNTDSDAD;

tables::OriginNode localHostPadded;

// Hands the rows to the agent only when all three kinds have been compared.
void collect_data(tables::Agent<DCWNTDSDAD>& agent) {
  DCW_TRACE("CollectData");
  const std::string_view node = localHostPadded.padded();
  char time[16];
  CKUtil::getMWTimeStamp(time);
  collectors::ServerNames names;
  names.find_host();
  if (!names.find_server(trace)) return;
  names.find_domain(trace);
  const std::string forest = collectors::find_forest_name(trace, names);
  SRVDifferences rows;
  const auto compare = [&](const char* primaryName, const char* fallbackName,
                           const std::vector<std::string>& directoryNames, SRVRecordType type) {
    DNSUtils::CompareSRV(&rows, nullptr, primaryName, fallbackName, directoryNames,
                         SRVCompareMode::kRows, type);
    for (auto& row : rows) {
      row.set<"ORIGINNODE">(node);
      row.set<"TIMESTAMP">({time, sizeof time});
    }
  };
  if (!collectors::compare_all(trace, names, forest, compare)) return;
  // The words are kept although there is no buffer: they mark the step for those who read traces.
  trace.always()("DNSAd Details Data collection complete.Transfer to global buffer");
  for (auto& row : rows) agent.AddData(row.data(), 1);
  trace.always()("DNSDAd Details Transfer to global buffer complete");
}

}  // namespace

template <>
void tables::Agent<DCWNTDSDAD>::TakeSample() {
  DCW_TRACE("TakeSample");
  collect_data(*this);
}
