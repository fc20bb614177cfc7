#include "collectors/on_demand.h"

#include <cstring>

#include "directory/adsi_utils.h"

namespace collectors {

bool find_domain(const trace::Scope& trace, std::span<char> ldapDomain) {
  char host[64] = {};
  char server[201] = {};
  if (gethostname(host, int{sizeof host}) != 0) host[0] = '\0';
  if (CKUtil::getCanonicalHostname(host, server, 200) != 0) {
    trace.always()("getaddrinfo failed: error#:%ld", static_cast<long>(WSAGetLastError()));
    return false;
  }
  trace.always()("ServerName : <%s>\n", server);
  const char* dot = std::strchr(server, '.');
  ADSIutils::ConvertDNSToLDAP(dot == nullptr ? "" : dot + 1, ldapDomain);
  return true;
}

}  // namespace collectors
