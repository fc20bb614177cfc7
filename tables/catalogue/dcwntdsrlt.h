#pragma once
// How long a change takes to arrive: an object that the agent itself writes is read back on each
// partner. Switched by the environment variable ACTIVATE_REPL_LATENCY.

#include "tables/definition.h"

namespace tables {

inline constexpr auto DCWNTDSRLT =
    define(kLongHead, "DCWNTDSRLT",
           "One replication partner a row: how long a change took to reach it, and its clock. "
           "ROWNO counts on from sample to sample.",
           Timing{"ReplicationLatency", 15}, text("RLTPART", 64, "Short name of the partner."),
           text("RLTPST", 64, "Site of the partner."),
           integer("RLTCLD",
                   "Clock of the partner minus this controller's, in seconds; 0 when either could "
                   "not be read."),
           integer("RLTLAT",
                   "Seconds that the last change took to arrive, corrected by the clock "
                   "difference; -1 when it has not arrived or could not be read."),
           integer("RLTCCD",
                   "Change of RLTCLD since the previous sample, in seconds; 0 when there is none "
                   "to compare with."),
           text("RLTHN", 64, "Fully qualified name of this controller."),
           text("RLTDN", 256, "Fully qualified name of the partner."));

static_assert(DCWNTDSRLT.row_size() == 676);

}  // namespace tables
