#include "collectors/role_holders.h"

#include "directory/dns_utils.h"
#include "directory/dsf_utils.h"
#include "directory/reachability.h"
#include "include/platform/text.h"

namespace collectors {
namespace {

constexpr std::size_t kNameSize = 256;
constexpr std::size_t kSiteSize = 256;

// By the roles, how the trace names each.
constexpr const char* kWords[kRoleCount] = {"DN", "Inf", "PDC", "RID", "Sch"};

bool equal(const std::string& a, const std::string& b) {
  return _stricmp(a.c_str(), b.c_str()) == 0;
}

}  // namespace

void RoleHolders::find(const trace::Scope& trace, const char* computer, const char* ldap_domain) {
  find_names(computer, ldap_domain);
  for (std::size_t role = 0; role < kRoleCount; ++role) {
    trace.always()("%s_host: <%s>\n", kWords[role], holders_[role].name.c_str());
  }
  qualify_all(trace);
}

void RoleHolders::find_names(const char* computer, const char* ldap_domain) {
  char names[kRoleCount][kNameSize] = {};
  // None of the results is looked at: a holder that cannot be found has an empty name.
  DNSUtils::GetDomainNamingFSMO(computer, names[kDomainNaming]);
  DNSUtils::GetInfrastructureFSMO(ldap_domain, names[kInfrastructure]);
  DNSUtils::GetPDCFSMO(ldap_domain, names[kPdc], "cn");
  DNSUtils::GetRIDFSMO(ldap_domain, names[kRid]);
  DNSUtils::GetSchemaFSMO(computer, names[kSchema]);
  for (std::size_t role = 0; role < kRoleCount; ++role) holders_[role].name = names[role];
}

void RoleHolders::qualify_all(const trace::Scope& trace) {
  // Cleared once: what a question leaves there without an answer is the next holder's, too.
  char site[kSiteSize] = {};
  for (std::size_t role = 0; role < kRoleCount; ++role) {
    RoleHolder& holder = holders_[role];
    DSFUtils::GetSiteName(holder.name.c_str(), site);
    holder.qualified = site[0] == '\0' ? holder.name : std::string(site) + "\\" + holder.name;
    trace.always()("%s_FSMO: <%s>\n", kWords[role], holder.qualified.c_str());
  }
}

void RoleHolders::ping_all(const trace::Scope& trace, const char* configuration) {
  trace.always()("Ping FSMO role holders.\n");
  for (std::size_t role = 0; role < kRoleCount; ++role) {
    trace.always()("Ping %s FSMO.\n", kWords[role]);
    if (take_earlier(trace, role)) continue;
    RoleHolder& holder = holders_[role];
    holder.round_trip = ping(holder.name.c_str(), configuration, 0, 1, &holder.is_bound);
  }
}

bool RoleHolders::take_earlier(const trace::Scope& trace, std::size_t role) {
  for (std::size_t earlier = 0; earlier < role; ++earlier) {
    // By the qualified names: servers of one name in two sites are two.
    if (!equal(holders_[role].qualified, holders_[earlier].qualified)) continue;
    holders_[role].round_trip = holders_[earlier].round_trip;
    holders_[role].is_bound = holders_[earlier].is_bound;
    trace.always()("%s_FSMO role holders is matches with %s_FSMO", kWords[role], kWords[earlier]);
    return true;
  }
  return false;
}

const char* RoleHolders::role_of(const char* computer) const {
  struct Shown {
    Role role;
    const char* text;
  };
  // Deliberately another order than that of the pings; the column has room for one role.
  for (const Shown& one :
       {Shown{kDomainNaming, "Domain_Naming"}, Shown{kRid, "RID_Pool"},
        Shown{kInfrastructure, "Infrastructure"}, Shown{kSchema, "Schema"}, Shown{kPdc, "PDC"}}) {
    if (equal(holders_[one.role].name, computer)) return one.text;
  }
  return "none";
}

}  // namespace collectors
