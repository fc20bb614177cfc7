#pragma once
// TODO table comment

#include "tables/definition.h"

namespace tables {

inline constexpr auto DCWNTDSDAI =
    define(kLongHead, "DCWNTDSDAI", "TODO", Timing{"DNS ADIntegrated", 5},
           integer("DAIGCM", "TODO"), integer("DAIGCB", "TODO"), integer("DAINDM", "TODO"),
           integer("DAIDCM", "TODO"), integer("DAIDCB", "TODO"), integer("DAIPDCM", "TODO"),
           integer("DAIPDCB", "TODO"), text("DAIFST", 64, "TODO"), text("DAIHN", 64, "TODO"),
           text("DAIDOM", 64, "TODO"), text("DAIMGC", 64, "TODO"), text("DAIBGC", 64, "TODO"),
           text("DAIMNR", 64, "TODO"), text("DAIMDC", 64, "TODO"), text("DAIBDC", 64, "TODO"),
           text("DAIMPDC", 64, "TODO"), text("DAIBPDC", 64, "TODO"));

static_assert(DCWNTDSDAI.row_size() == 884);

}  // namespace tables
