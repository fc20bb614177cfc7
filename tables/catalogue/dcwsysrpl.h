#pragma once
// TODO table comment

#include "tables/definition.h"

namespace tables {

inline constexpr auto DCWSYSRPL = define(
    kShortHead, "DCWSYSRPL", "TODO", Timing{"ReplicationPartner", 21}, text("SYSPN", 64, "TODO"),
    integer("SYSRS", "TODO"), text("SYSRTST", 16, "TODO"), text("SYSRTVT", 16, "TODO"));

static_assert(DCWSYSRPL.row_size() == 180);

}  // namespace tables
