#pragma once
// The local security authority as a client of the directory.

#include "tables/definition.h"

namespace tables {

inline constexpr auto DCWNTDSLSA = define(
    kLongHead, "DCWNTDSLSA",
    "Share of directory work done for the local security authority: one row a sample, none when "
    "the system has no such counters.",
    Timing{"LocalSecurityAuthority", 18},
    integer("LSARDS", "Percentage of directory reads that come from the local security authority."),
    integer("LSASRC",
            "Percentage of directory searches that come from the local security authority."),
    integer("LSAWRTS",
            "Percentage of directory writes that come from the local security authority."));

static_assert(DCWNTDSLSA.row_size() == 228);

}  // namespace tables
