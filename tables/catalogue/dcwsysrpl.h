#pragma once
// A live test of SYSVOL replication: a file written here is looked for on every partner. Its timing
// lines carry the word and number of the ReplicationPartner table.

#include "tables/definition.h"

namespace tables {

inline constexpr auto DCWSYSRPL = define(
    kShortHead, "DCWSYSRPL",
    "One replication partner a row: whether the last test file arrived there intact. TIMESTAMP is "
    "renewed at each sample, also when the test is not.",
    Timing{"ReplicationPartner", 21},
    text("SYSPN", 64, "Host name of the partner, without its domain."),
    integer("SYSRS",
            "1 when the partner's copy of the test file was found and equals this controller's, "
            "else 0."),
    text("SYSRTST", 16,
         "Local time at which the test of this partner started, in the form of TIMESTAMP."),
    text("SYSRTVT", 16,
         "Local time at which this partner's copy was looked for, in the form of TIMESTAMP."));

static_assert(DCWSYSRPL.row_size() == 180);

}  // namespace tables
