#pragma once
// The servers behind the counts of DCWNTDSDAI, one by one; asked at each sample, not cached.

#include "tables/definition.h"

namespace tables {

inline constexpr auto DCWNTDSDAD =
    define(kShortHead, "DCWNTDSDAD",
           "One server a row on which the directory and the SRV records in DNS disagree.",
           kNotTimed, text("DADSRM", 256, "Fully qualified name of the server."),
           integer("DADTOR",
                   "What the server is missing or bogus as: 0 global catalog, 1 domain controller, "
                   "2 PDC emulator."),
           integer("DADT",
                   "0 when the directory lists the server and DNS does not, 1 when DNS lists it "
                   "and the directory does not."));

static_assert(DCWNTDSDAD.row_size() == 344);

}  // namespace tables
