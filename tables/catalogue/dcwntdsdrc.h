#pragma once
// TODO table comment

#include "tables/definition.h"

namespace tables {

inline constexpr auto DCWNTDSDRC =
    define(kShortHead, "DCWNTDSDRC", "TODO", Timing{}, integer("DFRCRBWS", "TODO"),
           integer("DFRCBR", "TODO"), integer("DFRCRCSR", "TODO"), integer("DFRCRSFR", "TODO"),
           integer("DFRCRNFR", "TODO"), integer("DFRCBPS", "TODO"), integer("DFRCCSR", "TODO"),
           integer("DFRCSFR", "TODO"), integer("DFRCTFR", "TODO"), integer("DFRCTBR", "TODO"),
           text("DFRCIN", 256, "TODO"));

static_assert(DCWNTDSDRC.row_size() == 376);

}  // namespace tables
