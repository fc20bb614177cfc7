#pragma once
// TODO table comment

#include "tables/definition.h"

namespace tables {

inline constexpr auto DCWNTDSFRS =
    define(kLongHead, "DCWNTDSFRS", "TODO", Timing{"FileReplicationService", 10},
           integer("FRSCORC", "TODO"), integer("FRSCOE", "TODO"), integer("FRSCOEP", "TODO"),
           integer("FRSPAS", "TODO"), integer("FRSPASE", "TODO"), integer("FRSPASEP", "TODO"),
           integer("FRSDSBE", "TODO"), integer("FRSDSB", "TODO"), integer("FRSDSBEP", "TODO"),
           integer("FRSCORT", "TODO"), integer("FRSCORTP", "TODO"), integer("FRSCOM", "TODO"),
           integer("FRSCOMP", "TODO"), integer("FRSSTSPU", "TODO"), integer("FRSFIE", "TODO"),
           integer("FRSFI", "TODO"), integer("FRSFIEP", "TODO"), integer("FRSPAR", "TODO"),
           integer("FRSPARE", "TODO"), integer("FRSPAREP", "TODO"), integer("FRSUSNA", "TODO"),
           integer("FRSCOA", "TODO"), integer("FRSCOAP", "TODO"), integer("FRSSTSPF", "TODO"),
           integer("FRSCOS", "TODO"), integer("FRSAUT", "TODO"), integer("FRSAERR", "TODO"),
           integer("FRSBIND", "TODO"), integer("FRSBDER", "TODO"), integer("FRSFLIN", "TODO"),
           integer("FRSSTFC", "TODO"), integer("FRSGN", "TODO"), integer("FRSSTRGN", "TODO"),
           integer("FRSCHIS", "TODO"), integer("FRSCHPR", "TODO"), integer("FRSCHRT", "TODO"),
           integer("FRSCHRF", "TODO"), integer("FRSCHRG", "TODO"), integer("FRSCHRI", "TODO"),
           integer("FRSCHRR", "TODO"), integer("FRSCOMTO", "TODO"), integer("FRSDSO", "TODO"),
           integer("FRSDERR", "TODO"), integer("FRSDPOL", "TODO"), integer("FRSDPW", "TODO"),
           integer("FRSDPWO", "TODO"), integer("FRSDSS", "TODO"), integer("FRSDSER", "TODO"),
           integer("FRSFBR", "TODO"), integer("FRSFBRB", "TODO"), integer("FRSFBS", "TODO"),
           integer("FRSFBSB", "TODO"), integer("FRSFRR", "TODO"), integer("FRSFRS", "TODO"),
           integer("FRSINBD", "TODO"), integer("FRSJNR", "TODO"), integer("FRSJNS", "TODO"),
           integer("FRSJOI", "TODO"), integer("FRSOCD", "TODO"), integer("FRSRSC", "TODO"),
           integer("FRSRSD", "TODO"), integer("FRSRSR", "TODO"), integer("FRSRSS", "TODO"),
           integer("FRSSFF", "TODO"), integer("FRSSFG", "TODO"), integer("FRSSFGER", "TODO"),
           integer("FRSSFR", "TODO"), integer("FRSTHEX", "TODO"), integer("FRSTHST", "TODO"),
           integer("FRSUNJN", "TODO"), integer("FRSURD", "TODO"), integer("FRSURCE", "TODO"),
           integer("FRSURCR", "TODO"));

static_assert(DCWNTDSFRS.row_size() == 508);

}  // namespace tables
