// The transport between sites: its bridgehead servers and its links.

#include "directory/bridgeheads.h"
#include "directory/dns_utils.h"
#include "directory/sites.h"

using directory::read_configuration;
using directory::transport_path;
using directory::Variant;

namespace {

// The list of bridgeheads; empty, traced, when there is none. 0 or ADSI_OBJECT_ERR.
int read_bridgeheads(const trace::Scope& trace, const std::string& configuration, Variant& list) {
  directory::Reference<IADs> transport;
  const auto path = transport_path(trace, configuration);
  if (directory::bind_or_trace(trace, path.wide(), transport) != 0) return ADSI_OBJECT_ERR;
  const HRESULT result = directory::read(transport.get(), "bridgeheadServerListBL", list);
  if (FAILED(result)) {
    trace.error()("bridgeheadServerListBL is not set or unavailable. Error Code %x",
                  unsigned(result));
    list.clear();
  }
  return 0;
}

}  // namespace

int DNSUtils::GetBridgeHeadServerCountInSite(const char* server, std::int32_t& count) {
  DCW_TRACE("GetBridgeHeadServerCountInSite");
  std::string configuration;
  if (read_configuration(trace, server, configuration) != 0) return trace.returns(-1);
  Variant list;
  if (read_bridgeheads(trace, configuration, list) != 0) return trace.returns(ADSI_OBJECT_ERR);
  return trace.returns(directory::count_bridgeheads(trace, list, count));
}

int DNSUtils::IsBridgeHeadServer(char* server, std::uint8_t& flag) {
  DCW_TRACE("IsBridgeHeadServer");
  std::string configuration;
  if (read_configuration(trace, server, configuration) != 0) return trace.returns(ADSI_OBJECT_ERR);
  Variant list;
  if (read_bridgeheads(trace, configuration, list) != 0) return trace.returns(ADSI_OBJECT_ERR);
  bool found = false;
  const int result = directory::find_bridgehead(trace, list, server, found);
  if (result == 0) flag = found ? 1 : 0;
  return trace.returns(result);
}

int DNSUtils::GetSiteLinkCount(const char* server, std::int32_t& count) {
  DCW_TRACE("GetSiteLinkCount");
  std::string configuration;
  if (read_configuration(trace, server, configuration) != 0) return trace.returns(ADSI_OBJECT_ERR);
  std::int32_t links = 0;
  const auto path = transport_path(trace, configuration);
  const int result = directory::walk_container(trace, path.wide(), {}, [&](IADs*) { ++links; });
  if (result == ADSI_ENUM_END) count = links;
  return trace.returns(result);
}
