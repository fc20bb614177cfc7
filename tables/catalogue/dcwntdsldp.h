#pragma once
// TODO table comment

#include "tables/definition.h"

namespace tables {

inline constexpr auto DCWNTDSLDP =
    define(kLongHead, "DCWNTDSLDP", "TODO", Timing{"LDAP", 17}, integer("LDAPTHRD", "TODO"),
           integer("LDAPBNDTM", "TODO"), integer("LDAPCLNT", "TODO"), integer("LDAPSRC", "TODO"),
           integer("LDAPSRCPS", "TODO"), integer("LDAPBINDS", "TODO"),
           integer("LDAPBNDSPS", "TODO"), integer("LDAPUDPOP", "TODO"), integer("LDAPWRTS", "TODO"),
           integer("LDAPWRTSPS", "TODO"), integer("LDAPATQ", "TODO"), integer("LDAPNCON", "TODO"),
           integer("LDAPCCON", "TODO"), integer("LDAPSSL", "TODO"));

static_assert(DCWNTDSLDP.row_size() == 272);

}  // namespace tables
