// The group policy objects of this server's domain.

#include <cstddef>
#include <vector>

#include "collectors/on_demand.h"
#include "directory/dns_utils.h"
#include "include/platform/threads.h"
#include "tables/classes.h"

namespace {

using tables::DCWNTDSGPO;

constexpr std::size_t kYieldEvery = 25;

tables::OriginNode localHostPadded;
collectors::Numbering numbering;

void fill(tables::Row<DCWNTDSGPO>& row, const GPOInfo& record) {
  using collectors::copy_field;
  copy_field<"GPONAM">(row, record.name);
  copy_field<"GPOGUID">(row, record.guid);
  row.set<"GPOSVV">(record.sysvolVersion);
  row.set<"GPOVER">(record.version);
  row.set<"GPOSTA">(record.status);
  copy_field<"GPOCRT">(row, record.created);
  copy_field<"GPOMRT">(row, record.modified);
}

}  // namespace

template <>
void tables::Agent<DCWNTDSGPO>::TakeSample() {
  DCW_TRACE("TakeSample");
  collectors::OnDemandSample<DCWNTDSGPO> sample;
  sample.begin(localHostPadded);
  numbering.begin(sample.row);
  trace.always()("HostName : <%s>\n", sample.host_name());
  char ldapDomain[256] = {};
  if (!collectors::find_domain(trace, ldapDomain)) return;
  std::vector<GPOInfo> records;
  // The result is not looked at: what was found before a failure is delivered.
  DNSUtils::GetAllGPOList(ldapDomain, records);
  trace.always()("GPOIndex : %ld", static_cast<long>(records.size()));
  for (std::size_t i = 0; i < records.size(); ++i) {
    const GPOInfo& record = records[i];
    if ((i + 1) % kYieldEvery == 0) Sleep(1);
    fill(sample.row, record);
    trace.always()("Name: <%s>, GUID: <%s>, Version: <%ld>, SysVolVersion: <%ld>, Status: <%ld> ",
                   record.name, record.guid, static_cast<long>(record.version),
                   static_cast<long>(record.sysvolVersion), static_cast<long>(record.status));
    AddData(sample.row.data(), 1);
    numbering.count_row();
  }
  sample.report();
}
