#pragma once
// TODO table comment

#include "tables/definition.h"

namespace tables {

inline constexpr auto DCWNTDSRLT = define(
    kLongHead, "DCWNTDSRLT", "TODO", Timing{"ReplicationLatency", 15}, text("RLTPART", 64, "TODO"),
    text("RLTPST", 64, "TODO"), integer("RLTCLD", "TODO"), integer("RLTLAT", "TODO"),
    integer("RLTCCD", "TODO"), text("RLTHN", 64, "TODO"), text("RLTDN", 256, "TODO"));

static_assert(DCWNTDSRLT.row_size() == 676);

}  // namespace tables
