#pragma once
// Whether DNS and the directory agree on which servers exist. A server is missing when the
// directory lists it and DNS does not, and bogus the other way round. DCWNTDSDAD names every one of
// them.

#include "tables/definition.h"

namespace tables {

inline constexpr auto DCWNTDSDAI =
    define(kLongHead, "DCWNTDSDAI",
           "Summary of the comparison of the directory's servers with the SRV records in DNS: one "
           "row a sample, collected in the background.",
           Timing{"DNS ADIntegrated", 5}, integer("DAIGCM", "Global catalogs missing from DNS."),
           integer("DAIGCB", "Bogus global catalogs in DNS."),
           integer("DAINDM", "Servers missing from DNS, of all three kinds together."),
           integer("DAIDCM", "Domain controllers missing from DNS."),
           integer("DAIDCB", "Bogus domain controllers in DNS."),
           integer("DAIPDCM", "1 when the PDC emulator is missing from DNS, else 0."),
           integer("DAIPDCB", "Bogus PDC emulators in DNS."),
           text("DAIFST", 64, "DNS name of the forest."),
           text("DAIHN", 64, "Fully qualified name of this controller."),
           text("DAIDOM", 64, "DNS name of this controller's domain."),
           text("DAIMGC", 64, "Last global catalog found missing; empty when none is."),
           text("DAIBGC", 64, "Last bogus global catalog found; empty when there is none."),
           text("DAIMNR", 64, "Last server of any kind found missing; empty when none is."),
           text("DAIMDC", 64, "Last domain controller found missing; empty when none is."),
           text("DAIBDC", 64, "Last bogus domain controller found; empty when there is none."),
           text("DAIMPDC", 64, "PDC emulator when it is missing; empty otherwise."),
           text("DAIBPDC", 64, "Last bogus PDC emulator found; empty when there is none."));

static_assert(DCWNTDSDAI.row_size() == 884);

}  // namespace tables
