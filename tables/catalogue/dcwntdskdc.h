#pragma once
// TODO table comment

#include "tables/definition.h"

namespace tables {

inline constexpr auto DCWNTDSKDC =
    define(kLongHead, "DCWNTDSKDC", "TODO", Timing{"KerberosKDC", 14}, integer("KDCASREQ", "TODO"),
           integer("KDCTGSREQ", "TODO"), integer("KDCAUTH", "TODO"));

static_assert(DCWNTDSKDC.row_size() == 228);

}  // namespace tables
