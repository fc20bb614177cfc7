// The functional levels and the forest root as this server's root object tells them.

#include <iostream>

#include "collectors/on_demand.h"
#include "directory/adsi_utils.h"
#include "directory/dns_utils.h"
#include "tables/classes.h"

namespace {

using tables::DCWNTDSRDS;

tables::OriginNode localHostPadded;

}  // namespace

template <>
void tables::Agent<DCWNTDSRDS>::TakeSample() {
  DCW_TRACE("TakeSample");
  collectors::OnDemandSample<DCWNTDSRDS> sample;
  sample.begin(localHostPadded);
  trace.always()("HostName : <%s>\n", sample.host_name());
  std::cout << "collecting Root Directory Server data" << std::flush;
  RootDSEInfo info;
  const int result = DNSUtils::GetRootDSEInfo(sample.host_name(), info);
  if (result != 0) {
    trace.always()("GetRootDSEInfo failed: error#:%ld", static_cast<long>(result));
    return;
  }
  auto& row = sample.row;
  collectors::copy_field<"RDSRDN">(row, info.rootDomainName);
  row.set<"RDSDCFUN">(info.dcFunctionality);
  row.set<"RDSDMFUN">(info.domainFunctionality);
  row.set<"RDSFRFUN">(info.forestFunctionality);
  char root_domain[256] = {};
  ADSIutils::ConvertLDAPToDNS(info.rootFQDN, root_domain);
  collectors::copy_field<"RDSFDN">(row, root_domain);
  trace.always()(
      "RootDomainName: <%s> DCFunctionality: <%d> DomainFunctionality: <%d> "
      "ForestFunctionality: <%d> RootFQDN: <%s>",
      info.rootDomainName, info.dcFunctionality, info.domainFunctionality, info.forestFunctionality,
      root_domain);
  AddData(row.data(), 1);
  sample.report();
}
