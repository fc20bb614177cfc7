#pragma once
// TODO table comment

#include "tables/definition.h"

namespace tables {

inline constexpr auto DCWNTDSKCC =
    define(kLongHead, "DCWNTDSKCC", "TODO", Timing{"KnowledgeConsistencyChecker", 13},
           integer("KCCRDS", "TODO"), integer("KCCSRCS", "TODO"), integer("KCCWTS", "TODO"),
           integer("KCCITG", "TODO"));

static_assert(DCWNTDSKCC.row_size() == 232);

}  // namespace tables
