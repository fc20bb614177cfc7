#pragma once
// The trusts of this domain, each verified by a command. Additions and losses are found by
// comparing with the sample before, whoever took it.

#include "tables/definition.h"

namespace tables {

inline constexpr auto DCWNTDSTRS = define(
    kLongHead, "DCWNTDSTRS",
    "One trust of this domain a row, and one more for a trust that went away since the previous "
    "sample. SAMPLENO is always 0, and ROWNO counts on from sample to sample.",
    Timing{"Trusts", 25},
    text("TRSNBNAM", 64, "NetBIOS name of the trust partner; NOT_AVAILABLE when it has none."),
    text("TRSDOMNAM", 64,
         "DNS name of the trust partner; NOT_AVAILABLE when it has none, empty in the row of a "
         "dropped trust."),
    text("TRSDIR", 16,
         "INBOUND_TRUST, OUTBOUND_TRUST, TWO_WAY_TRUST, or DISABLED for any other combination; "
         "empty in the row of a dropped trust."),
    text("TRSTYP", 16, "DOWNLEVEL, UPLEVEL, MIT or UNKNOWN; empty in the row of a dropped trust."),
    text("TRSSTAT", 16,
         "Success or Failed, as the verification ended; NOT_AVAILABLE for a trust that is only "
         "inbound, None in the row of a dropped trust."),
    text("TRSADD", 16,
         "TRUE in the one sample in which the trust first appears, else FALSE; FALSE for all "
         "trusts in the first sample."),
    text("TRSDRP", 16,
         "TRUE in the one extra row of a trust that has gone since the previous sample, else "
         "FALSE."),
    text("TRSLDOM", 64, "DNS name of this controller's domain; empty in the first collection."),
    text("TRSHN", 64, "Fully qualified name of this controller."));

static_assert(DCWNTDSTRS.row_size() == 552);

}  // namespace tables
