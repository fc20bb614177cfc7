#pragma once
// The knowledge consistency checker, which computes the replication topology.

#include "tables/definition.h"

namespace tables {

inline constexpr auto DCWNTDSKCC = define(
    kLongHead, "DCWNTDSKCC",
    "Share of directory work done by the knowledge consistency checker: one row a sample, none "
    "when the system has no such counters.",
    Timing{"KnowledgeConsistencyChecker", 13},
    integer("KCCRDS",
            "Percentage of directory reads that the knowledge consistency checker makes."),
    integer("KCCSRCS",
            "Percentage of directory searches that the knowledge consistency checker makes."),
    integer("KCCWTS",
            "Percentage of directory writes that the knowledge consistency checker makes."),
    integer("KCCITG",
            "1 when inter-site topology generation is on in this controller's site or could not be "
            "asked for, 0 when it is switched off."));

static_assert(DCWNTDSKCC.row_size() == 232);

}  // namespace tables
