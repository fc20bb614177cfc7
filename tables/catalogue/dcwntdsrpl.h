#pragma once
// TODO table comment

#include "tables/definition.h"

namespace tables {

inline constexpr auto DCWNTDSRPL =
    define(kLongHead, "DCWNTDSRPL", "TODO", Timing{"ReplicationPartner", 21},
           text("RPLPART", 64, "TODO"), text("RPLPATM", 64, "TODO"), text("RPLPSTM", 64, "TODO"),
           text("RPLDIR", 64, "TODO"), integer("RPLFAIL", "TODO"), text("RPLTYPE", 64, "TODO"),
           text("RPLPST", 64, "TODO"), text("RPLSITE", 64, "TODO"), text("RPLHN", 64, "TODO"),
           text("RPLFRT", 128, "TODO"), utf8("RPLFRTU", 384, "TODO"));

static_assert(DCWNTDSRPL.row_size() == 1244);

}  // namespace tables
