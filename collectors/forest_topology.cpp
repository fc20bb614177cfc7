// The domain controllers of the forest.

#include <vector>

#include "collectors/on_demand.h"
#include "directory/dns_utils.h"
#include "tables/classes.h"

namespace {

using tables::DCWNTDSFRT;

tables::OriginNode localHostPadded;

// Every column of the record's is overwritten; the fields that are longer than theirs are cut.
void fill(tables::Row<DCWNTDSFRT>& row, const ForestTopologyInfo& record) {
  row.set<"FRTHSTNM">(record.hostName);
  row.set<"FRTDMNM">(record.domainName);
  row.set<"FRTDISTNM">(record.distinguishedName);
  row.set<"FRTSITNM">(record.siteName);
  row.set<"FRTCMNNM">(record.commonName);
  row.set<"FRTISRODC">(record.isRODC);
  row.set<"FRTPRDN">(record.parentDomain);
  row.set<"FRTDISNM">(record.fullDistinguishedName);
}

}  // namespace

template <>
void tables::Agent<DCWNTDSFRT>::TakeSample() {
  DCW_TRACE("TakeSample");
  collectors::OnDemandSample<DCWNTDSFRT> sample;
  sample.begin(localHostPadded);
  trace.always()("HostName : <%s>\n", sample.host_name());
  std::vector<ForestTopologyInfo> records;
  const int result = DNSUtils::GetForestTopologyInfo(sample.host_name(), records);
  if (result != 0) {
    trace.always()("GetForestTopologyInfo failed: error#:%ld", static_cast<long>(result));
    return;
  }
  for (const ForestTopologyInfo& record : records) {
    fill(sample.row, record);
    trace.always()("DNSHostName: <%s> DNSDomainName: <%s> IsReadOnlyDC: <%s>", record.hostName,
                   record.domainName, record.isRODC);
    AddData(sample.row.data(), 1);
  }
  sample.report();
}
