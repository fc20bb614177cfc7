#pragma once
// Facts of the domain that need no walk of their own. The object count comes from a file that a
// background thread renews, since counting takes minutes.

#include "tables/definition.h"

namespace tables {

inline constexpr auto DCWNTDSLDA = define(
    kShortHead, "DCWNTDSLDA",
    "Recycle bin, locked users and number of objects of the domain: one row a sample.",
    Timing{"LDAP Attributes", 16},
    integer("LDAPARCBS",
            "Recycle bin of the forest: 0 off, 1 on, 2 not available because the forest's "
            "functional level is 3 or below or could not be read."),
    integer("LDAPAOFDJ",
            "1 when the forest's functional level is 3 or below or could not be read, else 0."),
    integer("LDAPAUSLK", "Users locked out now; 0 when they could not be counted."),
    integer("LDAPAOBDM",
            "Objects in the domain at the last count; 0 before the first count is complete."));

static_assert(DCWNTDSLDA.row_size() == 96);

}  // namespace tables
