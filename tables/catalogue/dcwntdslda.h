#pragma once
// TODO table comment

#include "tables/definition.h"

namespace tables {

inline constexpr auto DCWNTDSLDA = define(
    kShortHead, "DCWNTDSLDA", "TODO", Timing{"LDAP Attributes", 16}, integer("LDAPARCBS", "TODO"),
    integer("LDAPAOFDJ", "TODO"), integer("LDAPAUSLK", "TODO"), integer("LDAPAOBDM", "TODO"));

static_assert(DCWNTDSLDA.row_size() == 96);

}  // namespace tables
