#pragma once
// TODO table comment

#include "tables/definition.h"

namespace tables {

inline constexpr auto DCWNTDSDCP =
    define(kLongHead, "DCWNTDSDCP", "TODO", Timing{"DomainControllerPerformance", 4},
           integer("DCPCAHP", "TODO"), integer("DCPCAPF", "TODO"), integer("DCPBYR", "TODO"),
           integer("DCPBYW", "TODO"), integer("DCPOP", "TODO"), integer("DCPLTW", "TODO"),
           integer("DCPTCAH", "TODO"), integer("DCPTCAM", "TODO"), integer("DCPTCAHP", "TODO"),
           integer("DCPCASZ", "TODO"), integer("DCPLRS", "TODO"), integer("DCPCAPFS", "TODO"),
           integer("DCPDSACON", "TODO"), integer("DCPLOGWR", "TODO"), integer("DCPTBOP", "TODO"),
           integer("DCPPGCS", "TODO"), integer("DCPPGC", "TODO"), integer("DCPRCCS", "TODO"),
           integer("DCPRCC", "TODO"), integer("DCPSES", "TODO"), integer("DCPSESP", "TODO"),
           integer("DCPLWS", "TODO"), integer("DCPVER", "TODO"), integer("DCPDBEV", "TODO"),
           integer("DCPDBRS", "TODO"), integer("DCPDRAL", "TODO"), integer("DCPLGRS", "TODO"),
           integer("DCPDBWR", "TODO"), integer("DCPDWAL", "TODO"), integer("DCPLGWS", "TODO"),
           integer("DCPLGAL", "TODO"));

static_assert(DCWNTDSDCP.row_size() == 340);

}  // namespace tables
