// The containers of every naming context that this server holds.

#include <string>
#include <vector>

#include "collectors/on_demand.h"
#include "directory/dns_utils.h"
#include "tables/classes.h"

namespace {

using tables::DCWNTDSCNT;

tables::OriginNode localHostPadded;

// Every column of the record's is overwritten, so that the row needs no clearing between records.
void fill(tables::Row<DCWNTDSCNT>& row, const ContainerInfo& record) {
  using collectors::copy_field;
  copy_field<"CNTPART">(row, record.partition);
  copy_field<"CNTCMNM">(row, record.commonName);
  copy_field<"CNTDISNM">(row, record.distinguishedName);
  copy_field<"CNTCLS">(row, record.className);
  copy_field<"CNTCRTS">(row, record.created);
  copy_field<"CNTMDTS">(row, record.modified);
}

}  // namespace

template <>
void tables::Agent<DCWNTDSCNT>::TakeSample() {
  DCW_TRACE("TakeSample");
  collectors::OnDemandSample<DCWNTDSCNT> sample;
  trace.always()("Collecting Containers data");
  sample.begin(localHostPadded);
  trace.always()("HostName : <%s>\n", sample.host_name());
  std::vector<std::string> contexts;
  std::vector<ContainerInfo> records;
  // Neither result is looked at: what was found before a failure is delivered.
  DNSUtils::GetNamingContexts(sample.host_name(), contexts);
  trace.always()("DNSUtils::GetNamingContexts\n");
  if (!contexts.empty()) {
    DNSUtils::GetAllCNTList(contexts, records, static_cast<std::int32_t>(contexts.size()));
    trace.always()("DNSUtils::GetAllCNTList\n");
  }
  for (const ContainerInfo& record : records) {
    fill(sample.row, record);
    trace.always()("Common name: <%s> Partition: <%s>", record.commonName, record.partition);
    AddData(sample.row.data(), 1);
  }
  sample.report();
}
