#include "collectors/on_demand.h"

#include "collectors/prologue.h"
#include "directory/adsi_utils.h"

namespace collectors {

bool find_domain(const trace::Scope& trace, std::span<char> ldapDomain) {
  ServerNames names;
  names.find_host();
  if (!names.find_server(trace)) return false;
  trace.always()("ServerName : <%s>\n", names.server);
  names.find_domain(trace);
  ADSIutils::ConvertDNSToLDAP(names.domain, ldapDomain);
  return true;
}

}  // namespace collectors
