#pragma once
// TODO table comment

#include "tables/definition.h"

namespace tables {

inline constexpr auto DCWNTDSCNT =
    define(kShortHead, "DCWNTDSCNT", "TODO", Timing{"Containers", 3}, text("CNTPART", 256, "TODO"),
           text("CNTCMNM", 64, "TODO"), text("CNTDISNM", 256, "TODO"), text("CNTCLS", 64, "TODO"),
           text("CNTCRTS", 64, "TODO"), text("CNTMDTS", 64, "TODO"));

static_assert(DCWNTDSCNT.row_size() == 848);

}  // namespace tables
