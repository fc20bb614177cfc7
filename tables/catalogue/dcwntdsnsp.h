#pragma once
// TODO table comment

#include "tables/definition.h"

namespace tables {

inline constexpr auto DCWNTDSNSP = define(
    kLongHead, "DCWNTDSNSP", "TODO", Timing{"NameServiceProvider", 19}, integer("NSPIRDS", "TODO"),
    integer("NSPISRC", "TODO"), integer("NSPIWRTS", "TODO"), integer("NTLMAUTH", "TODO"));

static_assert(DCWNTDSNSP.row_size() == 232);

}  // namespace tables
