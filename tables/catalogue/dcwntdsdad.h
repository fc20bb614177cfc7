#pragma once
// TODO table comment

#include "tables/definition.h"

namespace tables {

inline constexpr auto DCWNTDSDAD =
    define(kShortHead, "DCWNTDSDAD", "TODO", Timing{}, text("DADSRM", 256, "TODO"),
           integer("DADTOR", "TODO"), integer("DADT", "TODO"));

static_assert(DCWNTDSDAD.row_size() == 344);

}  // namespace tables
