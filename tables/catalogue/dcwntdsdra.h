#pragma once
// Counters of the directory replication agent joined with the topology as this controller sees it.
// Update sequence numbers are 64 bits wide and come in two halves.

#include "tables/definition.h"

namespace tables {

inline constexpr auto DCWNTDSDRA = define(
    kLongHead, "DCWNTDSDRA",
    "Replication load and topology of this controller: one row a sample, collected in the "
    "background; none when the system has no such counters.",
    Timing{"Replication", 22},
    integer("DRAUSNCMTH", "Highest update sequence number committed, upper 32 bits."),
    integer("DRAUSNCMTL",
            "Highest update sequence number committed, lower 32 bits; -2147483648 when they exceed "
            "2147483647."),
    integer("DRAUSNISDH", "Highest update sequence number issued, upper 32 bits."),
    integer("DRAUSNISDL",
            "Highest update sequence number issued, lower 32 bits; -2147483648 when they exceed "
            "2147483647."),
    integer("DRAIBCMPB",
            "Bytes received compressed from other sites, size before compression, per second over "
            "the half second of the sample, truncated to a whole number."),
    integer("DRAIBCMPA",
            "Bytes received compressed from other sites, size after compression, per second over "
            "the half second of the sample, truncated to a whole number."),
    integer("DRAIBNCMP",
            "Bytes received uncompressed, from this site, per second over the half second of the "
            "sample, truncated to a whole number."),
    integer("DRAIBTL",
            "Bytes received by replication per second over the half second of the sample, "
            "truncated to a whole number."),
    integer("DRAIBFSNC", "Objects that remain until the full synchronization in hand is complete."),
    integer("DRAIBUPD", "Object updates in the current packet not yet applied."),
    integer("DRAIBOAPPL",
            "Objects received and applied per second over the half second of the sample, truncated "
            "to a whole number."),
    integer("DRAIBOFLT",
            "Objects received that needed no update per second over the half second of the sample, "
            "truncated to a whole number."),
    integer("DRAIBO",
            "Objects received per second over the half second of the sample, truncated to a whole "
            "number."),
    integer("DRAIBPAPP",
            "Properties received and applied per second over the half second of the sample, "
            "truncated to a whole number."),
    integer("DRAIBPFLT",
            "Properties received that needed no update per second over the half second of the "
            "sample, truncated to a whole number."),
    integer("DRAIBPTL",
            "Properties received per second over the half second of the sample, truncated to a "
            "whole number."),
    integer("DRAIBV",
            "Values received that are distinguished names per second over the half second of the "
            "sample, truncated to a whole number."),
    integer("DRAIBVTL",
            "Values received per second over the half second of the sample, truncated to a whole "
            "number."),
    integer("DRAOBCMPA",
            "Bytes sent compressed to other sites, size after compression, per second over the "
            "half second of the sample, truncated to a whole number."),
    integer("DRAOBCMPB",
            "Bytes sent compressed to other sites, size before compression, per second over the "
            "half second of the sample, truncated to a whole number."),
    integer("DRAOBNCMPB",
            "Bytes sent uncompressed, within this site, per second over the half second of the "
            "sample, truncated to a whole number."),
    integer("DRAOBTL",
            "Bytes sent by replication per second over the half second of the sample, truncated to "
            "a whole number."),
    integer("DRAOBJFLT",
            "Objects considered for sending that the partner already had per second over the half "
            "second of the sample, truncated to a whole number."),
    integer(
        "DRAOBJ",
        "Objects sent per second over the half second of the sample, truncated to a whole number."),
    integer("DRAOPRP",
            "Properties sent per second over the half second of the sample, truncated to a whole "
            "number."),
    integer("DRAOBVAL",
            "Values sent that are distinguished names per second over the half second of the "
            "sample, truncated to a whole number."),
    integer(
        "DRAOBVALTL",
        "Values sent per second over the half second of the sample, truncated to a whole number."),
    integer("DRAPRPLSYN", "Directory synchronizations queued and not yet begun."),
    integer("DRARDS", "Percentage of directory reads that replication makes."),
    integer("DRASRC", "Percentage of directory searches that replication makes."),
    integer("DRASYNCRQ", "Synchronization requests made to partners since the system started."),
    integer("DRASYNRQ",
            "Synchronization requests to partners that succeeded, since the system started."),
    integer("DRAWRITES", "Percentage of directory writes that replication makes."),
    integer("DRASBHC", "Preferred bridgehead servers of the IP transport; 0 when none is set."),
    integer("DRASLC", "Site links of the IP transport."),
    integer("DRAIEPC", "Replication partners in other sites."),
    integer("DRAIAPC", "Replication partners in this site."),
    integer(
        "DRAIBOAPP",
        "Objects applied as a rounded percentage of objects received; 0 when none was received."),
    integer("DRAIBOFLTP",
            "Objects that needed no update as a rounded percentage of objects received; 0 when "
            "none was received."),
    integer("DRAIBPAPPP",
            "Properties applied as a rounded percentage of properties received; 0 when none was "
            "received."),
    integer("DRAIBPFLTP",
            "Properties that needed no update as a rounded percentage of properties received; 0 "
            "when none was received."),
    integer("DRAOBOFLTP",
            "Objects that the partner already had as a rounded percentage of those considered for "
            "sending; 0 when there was none."),
    integer("DRAIBBIEP",
            "Bytes from other sites, before compression, as a rounded percentage of all bytes "
            "received; 0 when none was received."),
    integer("DRANTSTAT", "Exit status of the command net time; 0 when it found a time server."),
    text("DRABHS", 64, "TRUE when this controller is a preferred bridgehead server, else FALSE."),
    text("DRAHN", 64, "Fully qualified name of this controller."),
    integer("DRASYNFL",
            "Synchronizations that failed because the schemas differ, since the system started."),
    integer("DRAIBTBT",
            "Bytes received by replication since the system started, in kilobytes; -1 unless the "
            "system's major version is 6."),
    integer("DRAINCBT",
            "Bytes received uncompressed from this site since the system started, in kilobytes; -1 "
            "unless the system's major version is 6."),
    integer("DRAIBCBT",
            "Bytes received compressed from other sites since the system started, size before "
            "compression, in kilobytes; -1 unless the system's major version is 6."),
    integer("DRAIACBT",
            "Bytes received compressed from other sites since the system started, size after "
            "compression, in kilobytes; -1 unless the system's major version is 6."),
    integer("DRAOBTBT",
            "Bytes sent by replication since the system started, in kilobytes; -1 unless the "
            "system's major version is 6."),
    integer("DRAONCBT",
            "Bytes sent uncompressed within this site since the system started, in kilobytes; -1 "
            "unless the system's major version is 6."),
    integer("DRAOBCBT",
            "Bytes sent compressed to other sites since the system started, size before "
            "compression, in kilobytes; -1 unless the system's major version is 6."),
    integer("DRAOACBT",
            "Bytes sent compressed to other sites since the system started, size after "
            "compression, in kilobytes; -1 unless the system's major version is 6."),
    integer("DRAPREPO",
            "Replication operations queued and not yet done; -1 unless the system's major version "
            "is 6."),
    integer(
        "DRANCC",
        "Threads now gathering changes for a partner; -1 unless the system's major version is 6."),
    integer("DRANCSEM",
            "Threads now gathering changes for a partner that hold the semaphore for it; -1 unless "
            "the system's major version is 6."),
    integer("DRAIBLUP",
            "Link value updates in the current packet not yet applied; -1 unless the system's "
            "major version is 6."),
    integer("DRAIBTUP",
            "Updates of any kind in the current packet not yet applied; -1 unless the system's "
            "major version is 6."),
    integer("DRAIBTOC", "Inbound connection objects of this controller."),
    integer("DRAOBTOC",
            "Connection objects of the whole forest whose source is a server that exists."),
    integer("DRAOBOC", "Connection objects of the whole forest whose source is this controller."));

static_assert(DCWNTDSDRA.row_size() == 588);

}  // namespace tables
