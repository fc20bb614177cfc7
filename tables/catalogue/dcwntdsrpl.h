#pragma once
// Inbound replication, neighbour by neighbour. Row numbers count on from one collection to the
// next.

#include "tables/definition.h"

namespace tables {

inline constexpr auto DCWNTDSRPL = define(
    kLongHead, "DCWNTDSRPL",
    "One replication neighbour and naming context a row: when replication from it last worked and "
    "why it failed. ROWNO counts on from sample to sample.",
    Timing{"ReplicationPartner", 21},
    text("RPLPART", 64, "Partner that this controller replicates from, its short name."),
    text("RPLPATM", 64,
         "Time of the last attempt to replicate, local time, as MM/DD/YYYY  hh:mm with two blanks "
         "between."),
    text("RPLPSTM", 64,
         "Time of the last successful replication, local time, as MM/DD/YYYY  hh:mm with two "
         "blanks between."),
    text("RPLDIR", 64, "Naming context, in the form of a DNS name."),
    integer("RPLFAIL", "Attempts that failed in a row since the last success."),
    text("RPLTYPE", 64, "IntraSite when the partner is in this controller's site, else InterSite."),
    text("RPLPST", 64, "Site of the partner."), text("RPLSITE", 64, "Site of this controller."),
    text("RPLHN", 64, "Fully qualified name of this controller."),
    text("RPLFRT", 128, "Text for the result of the last attempt, in ASCII."),
    utf8("RPLFRTU", 384, "Text for the result of the last attempt, in UTF-8."));

static_assert(DCWNTDSRPL.row_size() == 1244);

}  // namespace tables
