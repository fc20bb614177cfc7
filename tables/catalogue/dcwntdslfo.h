#pragma once
// TODO table comment

#include "tables/definition.h"

namespace tables {

inline constexpr auto DCWNTDSLFO =
    define(kLongHead, "DCWNTDSLFO", "TODO", Timing{"LostAndFoundObjects", 16},
           text("LFONAM", 64, "TODO"), text("LFOTYP", 64, "TODO"));

static_assert(DCWNTDSLFO.row_size() == 344);

}  // namespace tables
