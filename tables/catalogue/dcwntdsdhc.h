#pragma once
// TODO table comment

#include "tables/definition.h"

namespace tables {

inline constexpr auto DCWNTDSDHC =
    define(kLongHead, "DCWNTDSDHC", "TODO", Timing{"DHCP", 7}, integer("DHCPRIP", "TODO"),
           integer("DHCPAIP", "TODO"), text("DHCPSRV", 16, "TODO"), integer("DHCPDR", "TODO"),
           integer("DHCPCQL", "TODO"), integer("DHCPDDR", "TODO"), integer("DHCPNR", "TODO"),
           integer("DHCPPER", "TODO"), integer("DHCPAQL", "TODO"), integer("DHCPDIS", "TODO"),
           integer("DHCPINF", "TODO"), integer("DHCPMPP", "TODO"), integer("DHCPOF", "TODO"),
           integer("DHCPPKR", "TODO"), integer("DHCPRL", "TODO"), integer("DHCPVDR", "TODO"),
           integer("DHCPVDDR", "TODO"), integer("DHCPVPER", "TODO"), integer("DHCPVAQL", "TODO"),
           integer("DHCPVAI", "TODO"), integer("DHCPVRI", "TODO"), integer("DHCPVINF", "TODO"),
           integer("DHCPVMPP", "TODO"), integer("DHCPVPKR", "TODO"), integer("DHCPVRL", "TODO"),
           integer("DHCPVRB", "TODO"), integer("DHCPVCN", "TODO"), integer("DHCPVRN", "TODO"),
           integer("DHCPVAD", "TODO"), integer("DHCPVSL", "TODO"));

static_assert(DCWNTDSDHC.row_size() == 348);

}  // namespace tables
