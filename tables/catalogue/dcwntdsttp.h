#pragma once
// The trust graph of the forest as directed edges. A trust with a direction comes twice, once from
// each side; a disabled or unknown one comes once.

#include "tables/definition.h"

namespace tables {

inline constexpr auto DCWNTDSTTP = define(
    kShortHead, "DCWNTDSTTP", "One directed trust between two domains a row.",
    Timing{"TrustTopology", 21},
    text("TRSTPDMNM", 256, "Domain that the trust leads to, in upper case."),
    text("TRSTPFRM", 256, "Domain that the trust starts from, in upper case."),
    text("TRSTPTYP", 16, "DOWNLEVEL, UPLEVEL, MIT, DCE or UNKNOWN."),
    text("TRSTPDIR", 16, "INBOUND_TRUST, OUTBOUND_TRUST, TWO_WAY_TRUST, DISABLED or UNKNOWN."),
    text("TRSTPRLN", 16,
         "INTERNAL for a trust within the forest, EXTERNAL for one that leads out of it."));

static_assert(DCWNTDSTTP.row_size() == 640);

}  // namespace tables
