#pragma once
// TODO table comment

#include "tables/definition.h"

namespace tables {

inline constexpr auto DCWNTDSXDS =
    define(kLongHead, "DCWNTDSXDS", "TODO", Timing{"ExchangeDirectoryService", 26},
           integer("XDSCLS", "TODO"), integer("XDSRDS", "TODO"), integer("XDSSRC", "TODO"),
           integer("XDSWRTS", "TODO"));

static_assert(DCWNTDSXDS.row_size() == 232);

}  // namespace tables
