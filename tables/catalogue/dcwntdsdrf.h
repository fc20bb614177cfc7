#pragma once
// TODO table comment

#include "tables/definition.h"

namespace tables {

inline constexpr auto DCWNTDSDRF =
    define(kShortHead, "DCWNTDSDRF", "TODO", Timing{}, integer("DFRFFBWS", "TODO"),
           integer("DFRFFBR", "TODO"), integer("DFRFFRCSR", "TODO"), integer("DFRFFRSFR", "TODO"),
           integer("DFRFFRNFR", "TODO"), integer("DFRFFCSR", "TODO"), integer("DFRFFSFR", "TODO"),
           integer("DFRFFTFR", "TODO"), integer("DFRFFDSU", "TODO"), integer("DFRFFDBC", "TODO"),
           integer("DFRFFDFC", "TODO"), integer("DFRFFDBG", "TODO"), integer("DFRFFDFG", "TODO"),
           integer("DFRFFUD", "TODO"), integer("DFRFFFIR", "TODO"), integer("DFRFFFIS", "TODO"),
           integer("DFRFFCCC", "TODO"), integer("DFRFFCSU", "TODO"), integer("DFRFFCBC", "TODO"),
           integer("DFRFFCFC", "TODO"), integer("DFRFFCBG", "TODO"), integer("DFRFFCFG", "TODO"),
           integer("DFRFFSSU", "TODO"), integer("DFRFFSBC", "TODO"), integer("DFRFFSFC", "TODO"),
           integer("DFRFFSBG", "TODO"), integer("DFRFFSFG", "TODO"), text("DFRFIN", 256, "TODO"));

static_assert(DCWNTDSDRF.row_size() == 444);

}  // namespace tables
