#pragma once
// Whether this controller reaches what it depends on: partners, global catalogs, the controllers of
// its site, the five operations-master role holders and the time server. Collected in the
// background.

#include "tables/definition.h"

namespace tables {

inline constexpr auto DCWNTDSDCA = define(
    kLongHead, "DCWNTDSDCA",
    "Reachability of partners, global catalogs, domain controllers, role holders and time server, "
    "as seen from this controller: one row a sample.",
    Timing{"DomainControllerAvailability", 2},
    integer("DCARPP", "Replication partners, in this site and in others."),
    integer("DCARPPP", "Replication partners that answered a ping."),
    integer("DCAGC", "Global catalogs in and outside this site."),
    integer("DCAGCP", "Global catalogs in and outside this site that answered a ping."),
    integer("DCASGC", "Global catalogs in this site."),
    integer("DCASGCP", "Global catalogs in this site that answered a ping."),
    text("DCAFSMO", 64,
         "Role of this controller: Domain_Naming, RID_Pool, Infrastructure, Schema or PDC, the "
         "first that it holds in this order, or none."),
    text("DCARID", 64,
         "Holder of the RID master role, as SITE\\SERVER, or the server alone when its site is "
         "unknown."),
    integer("DCARIDP",
            "Round trip of a ping to the RID master in milliseconds; -1 when it failed, -2 when it "
            "timed out."),
    text("DCADN", 64,
         "Holder of the domain naming master role, as SITE\\SERVER, or the server alone when its "
         "site is unknown."),
    integer("DCADNP",
            "Round trip of a ping to the domain naming master in milliseconds; -1 when it failed, "
            "-2 when it timed out."),
    text("DCAINF", 64,
         "Holder of the infrastructure master role, as SITE\\SERVER, or the server alone when its "
         "site is unknown."),
    integer("DCAINFP",
            "Round trip of a ping to the infrastructure master in milliseconds; -1 when it failed, "
            "-2 when it timed out."),
    text("DCASCH", 64,
         "Holder of the schema master role, as SITE\\SERVER, or the server alone when its site is "
         "unknown."),
    integer("DCASCHP",
            "Round trip of a ping to the schema master in milliseconds; -1 when it failed, -2 when "
            "it timed out."),
    text("DCAPDC", 64,
         "Holder of the PDC emulator role, as SITE\\SERVER, or the server alone when its site is "
         "unknown."),
    integer("DCAPDCP",
            "Round trip of a ping to the PDC emulator in milliseconds; -1 when it failed, -2 when "
            "it timed out."),
    text("DCAPRID", 64,
         "Holder of the RID master role at the previous sample; the current one in the first "
         "sample."),
    text("DCAPDN", 64,
         "Holder of the domain naming master role at the previous sample; the current one in the "
         "first sample."),
    text("DCAPINF", 64,
         "Holder of the infrastructure master role at the previous sample; the current one in the "
         "first sample."),
    text("DCAPSCH", 64,
         "Holder of the schema master role at the previous sample; the current one in the first "
         "sample."),
    text("DCAPPDC", 64,
         "Holder of the PDC emulator role at the previous sample; the current one in the first "
         "sample."),
    text("DCASITE", 64, "Site of this controller."),
    text("DCAHN", 64, "Fully qualified name of this controller."),
    text("DCAFST", 64, "DNS name of the forest."),
    text("DCADOM", 64, "DNS name of this controller's domain."),
    text("DCAGCS", 16, "TRUE when this controller is a global catalog, else FALSE."),
    integer("DCASDC", "Domain controllers in this site."),
    integer("DCATD",
            "This controller's clock against the time server's, in milliseconds; 2073602000 when "
            "not measured, 2073601000 or -2073601000 when the difference is more than 2073600 "
            "seconds either way."),
    text("DCARTS", 256, "Time server compared with; Not_Available when none was looked up."),
    integer("DCARTST",
            "1 when the time server advertises itself as reliable, 0 when it was taken for being "
            "the PDC emulator, -1 when none was looked up."),
    integer("DCAPDCB", "1 when the directory of the PDC emulator could be bound to, else 0."),
    integer("DCADNB",
            "1 when the directory of the domain naming master could be bound to, else 0."),
    integer("DCARIDB", "1 when the directory of the RID master could be bound to, else 0."),
    integer("DCASCHB", "1 when the directory of the schema master could be bound to, else 0."),
    integer("DCAINFB",
            "1 when the directory of the infrastructure master could be bound to, else 0."),
    integer("DCASGCB", "Global catalogs in this site whose directory could be bound to."),
    integer("DCAGCB",
            "Global catalogs in and outside this site whose directory could be bound to."),
    integer("DCASDCB", "Domain controllers in this site whose directory could be bound to."));

static_assert(DCWNTDSDCA.row_size() == 1536);

}  // namespace tables
