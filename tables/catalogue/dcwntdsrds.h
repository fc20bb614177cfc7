#pragma once
// TODO table comment

#include "tables/definition.h"

namespace tables {

inline constexpr auto DCWNTDSRDS =
    define(kShortHead, "DCWNTDSRDS", "TODO", Timing{"RootDSEServer", 20},
           text("RDSRDN", 128, "TODO"), integer("RDSDCFUN", "TODO"), integer("RDSDMFUN", "TODO"),
           integer("RDSFRFUN", "TODO"), text("RDSFDN", 256, "TODO"));

static_assert(DCWNTDSRDS.row_size() == 476);

}  // namespace tables
