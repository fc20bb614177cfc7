#pragma once
// The directory service agent as a whole: who reads, searches and writes, and the work it does for
// name translation and security descriptors. Its timing lines carry the word of the DNS table.

#include "tables/definition.h"

namespace tables {

inline constexpr auto DCWNTDSDS = define(
    kLongHead, "DCWNTDSDS",
    "Directory service load on this controller: one row a sample, none when the system has no such "
    "counters.",
    Timing{"DNS", 9},
    integer("DSCLBND",
            "Client binds through the directory service RPC interface per second over the half "
            "second of the sample, truncated to a whole number."),
    integer("DSNMTRA",
            "Client name translations per second over the half second of the sample, truncated to "
            "a whole number."),
    integer("DSDIRRD",
            "Directory reads per second over the half second of the sample, truncated to a whole "
            "number."),
    integer("DSDIRSRC",
            "Directory searches per second over the half second of the sample, truncated to a "
            "whole number."),
    integer("DSDIRWTS",
            "Directory writes per second over the half second of the sample, truncated to a whole "
            "number."),
    integer("DSMONSZE",
            "Requests now on the list of those waiting to be notified of changes to objects."),
    integer("DSNMCHR",
            "Percentage of name component lookups answered from the directory's name cache."),
    integer("DSQSIZE", "Pending update notifications queued but not yet sent to clients."),
    integer("DSOTHRDS",
            "Percentage of directory reads that come from none of the sources counted by name."),
    integer("DSOTHSRC",
            "Percentage of directory searches that come from none of the sources counted by name."),
    integer("DSOTHWRT",
            "Percentage of directory writes that come from none of the sources counted by name."),
    integer("DSSRCOPER",
            "Search sub-operations, the steps that wide searches are split into, per second over "
            "the half second of the sample, truncated to a whole number."),
    integer("DSSECPROP", "Security descriptor propagation events queued and not yet processed."),
    integer("DSSECXTM",
            "Average time that the security descriptor propagator waits for exclusive access to "
            "the database, as the counter gives it."),
    integer("DSSECRUNTM",
            "Objects that the security descriptor propagator still has to examine for the event in "
            "hand."),
    integer("DSSECOPER",
            "Security descriptor sub-operations per second over the half second of the sample, "
            "truncated to a whole number."),
    integer("DSBINDS",
            "Binds of other domain controllers to this one per second over the half second of the "
            "sample, truncated to a whole number."),
    integer("DSNMTRAN",
            "Name translations asked by other domain controllers per second over the half second "
            "of the sample, truncated to a whole number."),
    integer("DSTHRDS", "Threads of the directory service in use now."),
    integer("DSWRNTDS",
            "Percentage of directory writes that come through the NTDSAPI interface; -1 unless the "
            "system's major version is 6."),
    integer("DSSRNTDS",
            "Percentage of directory searches that come through the NTDSAPI interface; -1 unless "
            "the system's major version is 6."),
    integer("DSRDNTDS",
            "Percentage of directory reads that come through the NTDSAPI interface; -1 unless the "
            "system's major version is 6."));

static_assert(DCWNTDSDS.row_size() == 304);

}  // namespace tables
