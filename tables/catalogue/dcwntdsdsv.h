#pragma once
// Every volume with DFS replication that existed when the agent started.

#include "tables/definition.h"

namespace tables {

inline constexpr auto DCWNTDSDSV = define(
    kShortHead, "DCWNTDSDSV", "One DFS replication volume a row; no row when the machine has none.",
    kNotTimed, integer("DFSVDBL", "Database lookups on the volume."),
    integer("DFSVDBC", "Database commits on the volume."),
    integer("DFSVUUNP", "Percentage of the volume's change journal that is still unread."),
    integer("DFSVURC", "Change journal records of the volume accepted."),
    integer("DFSVUJRR", "Change journal records of the volume read."),
    text("DFSVIN", 256, "Instance name of the volume."));

static_assert(DCWNTDSDSV.row_size() == 356);

}  // namespace tables
