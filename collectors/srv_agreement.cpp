#include "collectors/srv_agreement.h"

#include "directory/adsi_utils.h"
#include "directory/dns_utils.h"
#include "include/platform/sockets.h"
#include "tables/ckutil.h"

namespace collectors {
namespace {

// The records of one kind of server under a domain's name.
void compare_kind(const char* kind, const std::string& domain,
                  const std::vector<std::string>& servers, SRVRecordType type,
                  const CompareServers& compare) {
  const std::string front = std::string("_ldap._tcp.") + kind;
  compare((front + "._msdcs." + domain).c_str(), (front + "." + domain).c_str(), servers, type);
}

bool compare_pdc(const trace::Scope& trace, const ServerNames& names,
                 const CompareServers& compare) {
  char ldap_domain[256] = {};
  ADSIutils::ConvertDNSToLDAP(names.domain, ldap_domain);
  char host[260] = {};
  DNSUtils::GetPDCFSMO(ldap_domain, host, "dNSHostName");
  trace.always()("PDC Host : <%s>", host);
  constexpr std::int32_t kSize = 200;
  char canonical[kSize + 1] = {};
  if (CKUtil::getCanonicalHostname(host, canonical, kSize) != 0) {
    trace.always()("getaddrinfo failed: error#:%ld", static_cast<long>(WSAGetLastError()));
    return false;
  }
  CKUtil::lower(canonical, kSize);
  compare_kind("pdc", names.domain, {canonical}, SRVRecordType::kPrimaryDomainController, compare);
  return true;
}

}  // namespace

std::string find_forest_name(const trace::Scope& trace, const ServerNames& names) {
  char ldap_forest[200] = {};
  DNSUtils::GetDefaultNamingContext(names.host, ldap_forest);
  trace.always()("LDAP Forest Name: <%s>\n", ldap_forest);
  char forest[256] = {};
  ADSIutils::ConvertLDAPToDNS(ldap_forest, forest);
  trace.always()("DNS forestName: <%s>\n", forest);
  return forest;
}

bool compare_all(const trace::Scope& trace, const ServerNames& names,
                 const std::string& forest_name, const CompareServers& compare) {
  std::vector<std::string> servers;
  DNSUtils::GetGCList(names.domain, servers);
  trace.always()("GC Index Count: <%ld>\n", static_cast<long>(servers.size()));
  if (servers.empty()) {
    trace.always()("DNSUtils::GetGCList Fails");
  } else {
    compare_kind("gc", forest_name, servers, SRVRecordType::kGlobalCatalog, compare);
  }
  servers.clear();
  DNSUtils::GetDomainControllers(names.domain, servers);
  trace.always()("DC Index Count: <%ld>\n", static_cast<long>(servers.size()));
  if (servers.empty()) {
    trace.always()("DNSUtils::GetDomainControllersList Fails");
  } else {
    compare_kind("dc", names.domain, servers, SRVRecordType::kDomainController, compare);
  }
  return compare_pdc(trace, names, compare);
}

}  // namespace collectors
