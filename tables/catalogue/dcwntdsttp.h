#pragma once
// TODO table comment

#include "tables/definition.h"

namespace tables {

inline constexpr auto DCWNTDSTTP = define(
    kShortHead, "DCWNTDSTTP", "TODO", Timing{"TrustTopology", 21}, text("TRSTPDMNM", 256, "TODO"),
    text("TRSTPFRM", 256, "TODO"), text("TRSTPTYP", 16, "TODO"), text("TRSTPDIR", 16, "TODO"),
    text("TRSTPRLN", 16, "TODO"));

static_assert(DCWNTDSTTP.row_size() == 640);

}  // namespace tables
