#pragma once
// The words by which a recording's files call the flags of controllers and of trusts.

#include <cstdint>
#include <string_view>

#include "include/platform/directory_services.h"

namespace platform {

struct NamedFlag {
  std::string_view name;
  std::uint32_t flag;
};
inline constexpr NamedFlag kRoles[] = {
    {"PDC", DS_PDC_FLAG},
    {"GC", DS_GC_FLAG},
    {"LDAP", DS_LDAP_FLAG},
    {"DS", DS_DS_FLAG},
    {"KDC", DS_KDC_FLAG},
    {"TIMESERV", DS_TIMESERV_FLAG},
    {"CLOSEST", DS_CLOSEST_FLAG},
    {"WRITABLE", DS_WRITABLE_FLAG},
    {"GOOD_TIMESERV", DS_GOOD_TIMESERV_FLAG},
    {"READ_ONLY", 0x800},
};
inline constexpr NamedFlag kTrustFlags[] = {
    {"IN_FOREST", DS_DOMAIN_IN_FOREST},     {"DIRECT_OUTBOUND", DS_DOMAIN_DIRECT_OUTBOUND},
    {"TREE_ROOT", DS_DOMAIN_TREE_ROOT},     {"PRIMARY", DS_DOMAIN_PRIMARY},
    {"NATIVE_MODE", DS_DOMAIN_NATIVE_MODE}, {"DIRECT_INBOUND", DS_DOMAIN_DIRECT_INBOUND},
};

}  // namespace platform
