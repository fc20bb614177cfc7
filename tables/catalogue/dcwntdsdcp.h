#pragma once
// The directory's database engine. Each release of the system names some of its counters in one
// form or the other; such a column adds both forms, of which only one is there.

#include "tables/definition.h"

namespace tables {

inline constexpr auto DCWNTDSDCP = define(
    kLongHead, "DCWNTDSDCP",
    "Health of the directory database on this controller: one row a sample, collected in the "
    "background; none when the system has no such counters.",
    Timing{"DomainControllerPerformance", 4},
    integer("DCPCAHP", "Percentage of page requests answered from the database cache."),
    integer("DCPCAPF",
            "Page faults of the database cache per second over the half second of the sample, "
            "truncated to a whole number."),
    integer("DCPBYR",
            "Bytes read from database files per second over the half second of the sample, "
            "truncated to a whole number; -1 unless the system's major version is below 6 and its "
            "minor version below 2."),
    integer("DCPBYW",
            "Bytes written to database files per second over the half second of the sample, "
            "truncated to a whole number; -1 unless the system's major version is below 6 and its "
            "minor version below 2."),
    integer("DCPOP",
            "Operations on database files per second over the half second of the sample, truncated "
            "to a whole number; -1 unless the system's major version is below 6 and its minor "
            "version below 2."),
    integer("DCPLTW", "Threads waiting for their data to be written to the log."),
    integer("DCPTCAH",
            "Tables opened with cached schema information per second over the half second of the "
            "sample, truncated to a whole number."),
    integer("DCPTCAM",
            "Tables opened without cached schema information per second over the half second of "
            "the sample, truncated to a whole number."),
    integer("DCPTCAHP", "Percentage of tables opened with cached schema information."),
    integer("DCPCASZ", "Size of the database cache in kilobytes, rounded to the nearest."),
    integer("DCPLRS",
            "Log records that had to wait for room in the log buffers per second over the half "
            "second of the sample, truncated to a whole number."),
    integer("DCPCAPFS",
            "Page faults of the database cache that had to wait for a free page per second over "
            "the half second of the sample, truncated to a whole number."),
    integer("DCPDSACON", "Replication connection objects under this controller's NTDS settings."),
    integer(
        "DCPLOGWR",
        "Log writes per second over the half second of the sample, truncated to a whole number."),
    integer("DCPTBOP",
            "Tables opened per second over the half second of the sample, truncated to a whole "
            "number."),
    integer("DCPPGCS",
            "Database pages converted from an older format per second over the half second of the "
            "sample, truncated to a whole number; -1 when the system's major version is below 6."),
    integer("DCPPGC",
            "Database pages converted from an older format; -1 when the system's major version is "
            "below 6."),
    integer(
        "DCPRCCS",
        "Database records converted from an older format per second over the half second of the "
        "sample, truncated to a whole number; -1 when the system's major version is below 6."),
    integer("DCPRCC",
            "Database records converted from an older format; -1 when the system's major version "
            "is below 6."),
    integer("DCPSES", "Database sessions in use; -1 when the system's major version is below 6."),
    integer("DCPSESP",
            "Percentage of the database sessions that are in use; -1 when the system's major "
            "version is below 6."),
    integer("DCPLWS",
            "Bytes written to the log per second over the half second of the sample, truncated to "
            "a whole number; -1 when the system's major version is below 6."),
    integer("DCPVER",
            "Version buckets allocated, the store of old row versions; -1 when the system's major "
            "version is below 6."),
    integer("DCPDBEV",
            "Pages evicted from the database cache per second over the half second of the sample, "
            "truncated to a whole number; -1 when the system's major version is below 6."),
    integer("DCPDBRS",
            "Reads from database files per second over the half second of the sample, truncated to "
            "a whole number; -1 when the system's major version is below 6."),
    integer("DCPDRAL",
            "Average latency of reads from database files, in milliseconds; -1 when the system's "
            "major version is below 6."),
    integer("DCPLGRS",
            "Reads from log files per second over the half second of the sample, truncated to a "
            "whole number; -1 when the system's major version is below 6."),
    integer("DCPDBWR",
            "Writes to database files per second over the half second of the sample, truncated to "
            "a whole number; -1 when the system's major version is below 6."),
    integer("DCPDWAL",
            "Average latency of writes to database files, in milliseconds; -1 when the system's "
            "major version is below 6."),
    integer("DCPLGWS",
            "Writes to log files per second over the half second of the sample, truncated to a "
            "whole number; -1 when the system's major version is below 6."),
    integer("DCPLGAL",
            "Average latency of writes to log files, in milliseconds; -1 when the system's major "
            "version is below 6."));

static_assert(DCWNTDSDCP.row_size() == 340);

}  // namespace tables
