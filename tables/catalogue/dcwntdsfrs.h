#pragma once
// The file replication service, which carried SYSVOL before DFS replication; all values are totals
// over its replica sets. The percentages are computed from this row's own columns.

#include "tables/definition.h"

namespace tables {

inline constexpr auto DCWNTDSFRS = define(
    kLongHead, "DCWNTDSFRS",
    "Work and errors of the file replication service over all its replica sets, counted since the "
    "service started: one row a sample, none when the system has no such counters.",
    Timing{"FileReplicationService", 10}, integer("FRSCORC", "Change orders received."),
    integer("FRSCOE", "Change orders evaporated: the file was gone before it could be staged."),
    integer("FRSCOEP",
            "Evaporated change orders as a rounded percentage of those received; 0 when none was "
            "received."),
    integer("FRSPAS", "Packets sent."), integer("FRSPASE", "Packets sent in error."),
    integer("FRSPASEP",
            "Packets sent in error as a rounded percentage of packets sent; 0 when none was sent."),
    integer("FRSDSBE", "Bindings to the directory service that failed."),
    integer("FRSDSB", "Bindings to the directory service."),
    integer("FRSDSBEP",
            "Failed directory bindings as a rounded percentage of all directory bindings; 0 when "
            "there was none."),
    integer("FRSCORT", "Change orders retired, that is, completed."),
    integer("FRSCORTP",
            "Retired change orders as a rounded percentage of those received; 0 when none was "
            "received."),
    integer("FRSCOM", "Change orders morphed: renamed because of a name conflict."),
    integer("FRSCOMP",
            "Morphed change orders as a rounded percentage of those received; 0 when none was "
            "received."),
    integer("FRSSTSPU", "Staging space in use, in kilobytes."),
    integer("FRSFIE", "Files installed with an error."), integer("FRSFI", "Files installed."),
    integer("FRSFIEP",
            "Files installed with an error as a rounded percentage of files installed; 0 when none "
            "was installed."),
    integer("FRSPAR", "Packets received."), integer("FRSPARE", "Packets received in error."),
    integer("FRSPAREP",
            "Packets received in error as a rounded percentage of packets received; 0 when none "
            "was received."),
    integer("FRSUSNA", "Change journal records accepted."),
    integer("FRSCOA", "Change orders aborted."),
    integer("FRSCOAP",
            "Aborted change orders as a rounded percentage of those received; 0 when none was "
            "received."),
    integer("FRSSTSPF", "Staging space free, in kilobytes."),
    integer("FRSCOS", "Change orders sent."), integer("FRSAUT", "Authentications with partners."),
    integer("FRSAERR", "Authentications with partners that failed."),
    integer("FRSBIND", "Bindings to partners."),
    integer("FRSBDER", "Bindings to partners that failed."),
    integer("FRSFLIN", "Bytes of files installed."),
    integer("FRSSTFC", "Staging files fetched from partners, in kilobytes."),
    integer("FRSGN", "Staging files generated, in kilobytes."),
    integer("FRSSTRGN", "Staging files regenerated, in kilobytes."),
    integer("FRSCHIS", "Change orders issued."),
    integer("FRSCHPR", "Change orders propagated to outbound partners."),
    integer("FRSCHRT", "Change orders retried."),
    integer("FRSCHRF", "Change orders retried while fetching the staging file."),
    integer("FRSCHRG", "Change orders retried while generating the staging file."),
    integer("FRSCHRI", "Change orders retried while installing the file."),
    integer("FRSCHRR", "Change orders retried while renaming the file to its final name."),
    integer("FRSCOMTO", "Communication time-outs."),
    integer("FRSDSO", "Objects read from the directory service."),
    integer("FRSDERR", "Objects read from the directory service in error."),
    integer("FRSDPOL", "Polls of the directory service for configuration."),
    integer("FRSDPW", "Polls of the directory service that found changes."),
    integer("FRSDPWO", "Polls of the directory service that found no changes."),
    integer("FRSDSS", "Searches in the directory service."),
    integer("FRSDSER", "Searches in the directory service that failed."),
    integer("FRSFBR", "Blocks of staging files received from partners."),
    integer("FRSFBRB", "Blocks of staging files received from partners, in kilobytes."),
    integer("FRSFBS", "Blocks of staging files sent to partners."),
    integer("FRSFBSB", "Blocks of staging files sent to partners, in kilobytes."),
    integer("FRSFRR", "Fetch requests received from partners."),
    integer("FRSFRS", "Fetch requests sent to partners."),
    integer("FRSINBD", "Inbound change orders dampened: recognised as already known and dropped."),
    integer("FRSJNR", "Join notifications received."),
    integer("FRSJNS", "Join notifications sent."),
    integer("FRSJOI", "Joins with partners completed."),
    integer("FRSOCD", "Outbound change orders dampened: not sent because the partner has them."),
    integer("FRSRSC", "Replica sets created."), integer("FRSRSD", "Replica sets deleted."),
    integer("FRSRSR", "Replica sets removed."), integer("FRSRSS", "Replica sets started."),
    integer("FRSSFF", "Staging files fetched."), integer("FRSSFG", "Staging files generated."),
    integer("FRSSFGER", "Staging files generated with an error."),
    integer("FRSSFR", "Staging files regenerated."),
    integer("FRSTHEX", "Threads of the service that have exited."),
    integer("FRSTHST", "Threads of the service that have started."),
    integer("FRSUNJN", "Unjoins: joins with partners given up."),
    integer("FRSURD", "Change journal records read."),
    integer("FRSURCE", "Change journal records examined."),
    integer("FRSURCR", "Change journal records rejected."));

static_assert(DCWNTDSFRS.row_size() == 508);

}  // namespace tables
