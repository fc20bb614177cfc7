#pragma once
// The name service provider interface, through which mail clients read the address book, and NTLM,
// whose counter has no better home.

#include "tables/definition.h"

namespace tables {

inline constexpr auto DCWNTDSNSP = define(
    kLongHead, "DCWNTDSNSP",
    "Share of directory work done for the name service provider interface, and NTLM "
    "authentications: one row a sample, none when the system has no such counters.",
    Timing{"NameServiceProvider", 19},
    integer("NSPIRDS",
            "Percentage of directory reads that come from the name service provider interface."),
    integer("NSPISRC",
            "Percentage of directory searches that come from the name service provider interface."),
    integer("NSPIWRTS",
            "Percentage of directory writes that come from the name service provider interface."),
    integer("NTLMAUTH",
            "NTLM authentications served by this controller per second over the half second of the "
            "sample, truncated to a whole number."));

static_assert(DCWNTDSNSP.row_size() == 232);

}  // namespace tables
