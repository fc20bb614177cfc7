#pragma once
// The holders of the five operations-master roles, as the availability table shows them: who they
// are, in which site they stand, and whether they answer. A server that holds several roles is
// asked once.

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "include/trace.h"

namespace collectors {

// In the order in which the holders are asked for, qualified and pinged.
enum Role : std::size_t { kDomainNaming, kInfrastructure, kPdc, kRid, kSchema, kRoleCount };

struct RoleHolder {
  std::string name;              // short; empty when it could not be found
  std::string qualified;         // "Site\\NAME", or the name alone where the site is not known
  std::int32_t round_trip = -1;  // milliseconds; -1 no answer, -2 all lost
  std::uint8_t is_bound = 0;
};

class RoleHolders {
 public:
  // Asks the directory: computer for the forest's roles, ldap_domain, a distinguished name, for the
  // domain's; and the locator for the sites.
  void find(const trace::Scope& trace, const char* computer, const char* ldap_domain);
  // Pings and binds each server once. Takes as long as the commands take.
  void ping_all(const trace::Scope& trace, const char* configuration);

  const RoleHolder& operator[](Role role) const { return holders_[role]; }
  // The role that the computer holds, as the table shows it; of several the first in an order of
  // this question's own.
  const char* role_of(const char* computer) const;

 private:
  void find_names(const char* computer, const char* ldap_domain);
  void qualify_all(const trace::Scope& trace);
  // Takes over what an earlier role's equal holder answered; false when there is none.
  bool take_earlier(const trace::Scope& trace, std::size_t role);

  std::array<RoleHolder, kRoleCount> holders_;
};

}  // namespace collectors
