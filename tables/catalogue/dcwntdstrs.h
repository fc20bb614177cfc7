#pragma once
// TODO table comment

#include "tables/definition.h"

namespace tables {

inline constexpr auto DCWNTDSTRS =
    define(kLongHead, "DCWNTDSTRS", "TODO", Timing{"Trusts", 25}, text("TRSNBNAM", 64, "TODO"),
           text("TRSDOMNAM", 64, "TODO"), text("TRSDIR", 16, "TODO"), text("TRSTYP", 16, "TODO"),
           text("TRSSTAT", 16, "TODO"), text("TRSADD", 16, "TODO"), text("TRSDRP", 16, "TODO"),
           text("TRSLDOM", 64, "TODO"), text("TRSHN", 64, "TODO"));

static_assert(DCWNTDSTRS.row_size() == 552);

}  // namespace tables
