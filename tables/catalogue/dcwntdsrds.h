#pragma once
// The root object of the directory: the forest and the functional levels.

#include "tables/definition.h"

namespace tables {

inline constexpr auto DCWNTDSRDS = define(
    kShortHead, "DCWNTDSRDS",
    "Root domain and functional levels as this controller reports them: one row a sample.",
    Timing{"RootDSEServer", 20},
    text("RDSRDN", 128, "Distinguished name of the forest's root domain."),
    integer("RDSDCFUN", "Functional level of this controller; -1 when it does not report one."),
    integer("RDSDMFUN",
            "Functional level of the domain; -1 when the controller does not report one."),
    integer("RDSFRFUN",
            "Functional level of the forest; -1 when the controller does not report one."),
    text("RDSFDN", 256, "DNS name of the forest's root domain."));

static_assert(DCWNTDSRDS.row_size() == 476);

}  // namespace tables
