#pragma once
// TODO table comment

#include "tables/definition.h"

namespace tables {

inline constexpr auto DCWNTDSGPO = define(
    kLongHead, "DCWNTDSGPO", "TODO", Timing{"GroupPolicyObjects", 12}, text("GPONAM", 64, "TODO"),
    text("GPOGUID", 64, "TODO"), integer("GPOSVV", "TODO"), integer("GPOVER", "TODO"),
    integer("GPOSTA", "TODO"), text("GPOCRT", 64, "TODO"), text("GPOMRT", 64, "TODO"));

static_assert(DCWNTDSGPO.row_size() == 484);

}  // namespace tables
