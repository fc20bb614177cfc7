#pragma once
// TODO table comment

#include "tables/definition.h"

namespace tables {

inline constexpr auto DCWNTDSDFS =
    define(kLongHead, "DCWNTDSDFS", "TODO", Timing{"DistributedFileSystemReplication", 6},
           integer("DFSRDBL", "TODO"), integer("DFSRDBC", "TODO"), integer("DFSRUUNP", "TODO"),
           integer("DFSRURC", "TODO"), integer("DFSRUJRR", "TODO"), integer("DFSRRBWS", "TODO"),
           integer("DFSRCBR", "TODO"), integer("DFSRCRCSR", "TODO"), integer("DFSRCRSFR", "TODO"),
           integer("DFSRCRNFR", "TODO"), integer("DFSRCBPS", "TODO"), integer("DFSRCCSR", "TODO"),
           integer("DFSRCSFR", "TODO"), integer("DFSRCTFR", "TODO"), integer("DFSRCTBR", "TODO"),
           integer("DFSRFBWS", "TODO"), integer("DFSRFBR", "TODO"), integer("DFSRFRCSR", "TODO"),
           integer("DFSRFRSFR", "TODO"), integer("DFSRFRNFR", "TODO"), integer("DFSRFCSR", "TODO"),
           integer("DFSRFSFR", "TODO"), integer("DFSRFTFR", "TODO"), integer("DFSRFDSU", "TODO"),
           integer("DFSRFDBC", "TODO"), integer("DFSRFDFC", "TODO"), integer("DFSRFDBG", "TODO"),
           integer("DFSRFDFG", "TODO"), integer("DFSRFUD", "TODO"), integer("DFSRFFIR", "TODO"),
           integer("DFSRFFIS", "TODO"), integer("DFSRFCCC", "TODO"), integer("DFSRFCSU", "TODO"),
           integer("DFSRFCBC", "TODO"), integer("DFSRFCFC", "TODO"), integer("DFSRFCBG", "TODO"),
           integer("DFSRFCFG", "TODO"), integer("DFSRFSSU", "TODO"), integer("DFSRFSBC", "TODO"),
           integer("DFSRFSFC", "TODO"), integer("DFSRFSBG", "TODO"), integer("DFSRFSFG", "TODO"));

static_assert(DCWNTDSDFS.row_size() == 384);

}  // namespace tables
