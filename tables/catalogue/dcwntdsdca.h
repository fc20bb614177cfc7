#pragma once
// TODO table comment

#include "tables/definition.h"

namespace tables {

inline constexpr auto DCWNTDSDCA =
    define(kLongHead, "DCWNTDSDCA", "TODO", Timing{"DomainControllerAvailability", 2},
           integer("DCARPP", "TODO"), integer("DCARPPP", "TODO"), integer("DCAGC", "TODO"),
           integer("DCAGCP", "TODO"), integer("DCASGC", "TODO"), integer("DCASGCP", "TODO"),
           text("DCAFSMO", 64, "TODO"), text("DCARID", 64, "TODO"), integer("DCARIDP", "TODO"),
           text("DCADN", 64, "TODO"), integer("DCADNP", "TODO"), text("DCAINF", 64, "TODO"),
           integer("DCAINFP", "TODO"), text("DCASCH", 64, "TODO"), integer("DCASCHP", "TODO"),
           text("DCAPDC", 64, "TODO"), integer("DCAPDCP", "TODO"), text("DCAPRID", 64, "TODO"),
           text("DCAPDN", 64, "TODO"), text("DCAPINF", 64, "TODO"), text("DCAPSCH", 64, "TODO"),
           text("DCAPPDC", 64, "TODO"), text("DCASITE", 64, "TODO"), text("DCAHN", 64, "TODO"),
           text("DCAFST", 64, "TODO"), text("DCADOM", 64, "TODO"), text("DCAGCS", 16, "TODO"),
           integer("DCASDC", "TODO"), integer("DCATD", "TODO"), text("DCARTS", 256, "TODO"),
           integer("DCARTST", "TODO"), integer("DCAPDCB", "TODO"), integer("DCADNB", "TODO"),
           integer("DCARIDB", "TODO"), integer("DCASCHB", "TODO"), integer("DCAINFB", "TODO"),
           integer("DCASGCB", "TODO"), integer("DCAGCB", "TODO"), integer("DCASDCB", "TODO"));

static_assert(DCWNTDSDCA.row_size() == 1536);

}  // namespace tables
