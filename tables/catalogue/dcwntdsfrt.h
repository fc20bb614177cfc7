#pragma once
// TODO table comment

#include "tables/definition.h"

namespace tables {

inline constexpr auto DCWNTDSFRT = define(
    kShortHead, "DCWNTDSFRT", "TODO", Timing{"ForestTopology", 11}, text("FRTHSTNM", 256, "TODO"),
    text("FRTDMNM", 256, "TODO"), text("FRTDISTNM", 64, "TODO"), text("FRTSITNM", 128, "TODO"),
    text("FRTCMNNM", 128, "TODO"), text("FRTISRODC", 64, "TODO"), text("FRTPRDN", 256, "TODO"),
    text("FRTDISNM", 2048, "TODO"));

static_assert(DCWNTDSFRT.row_size() == 3280);

}  // namespace tables
