#pragma once
// TODO table comment

#include "tables/definition.h"

namespace tables {

inline constexpr auto DCWNTDSDSV =
    define(kShortHead, "DCWNTDSDSV", "TODO", Timing{}, integer("DFSVDBL", "TODO"),
           integer("DFSVDBC", "TODO"), integer("DFSVUUNP", "TODO"), integer("DFSVURC", "TODO"),
           integer("DFSVUJRR", "TODO"), text("DFSVIN", 256, "TODO"));

static_assert(DCWNTDSDSV.row_size() == 356);

}  // namespace tables
