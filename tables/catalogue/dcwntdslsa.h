#pragma once
// TODO table comment

#include "tables/definition.h"

namespace tables {

inline constexpr auto DCWNTDSLSA =
    define(kLongHead, "DCWNTDSLSA", "TODO", Timing{"LocalSecurityAuthority", 18},
           integer("LSARDS", "TODO"), integer("LSASRC", "TODO"), integer("LSAWRTS", "TODO"));

static_assert(DCWNTDSLSA.row_size() == 228);

}  // namespace tables
