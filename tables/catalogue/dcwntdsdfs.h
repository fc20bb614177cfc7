#pragma once
// DFS replication by its first volume, first connection and first replicated folder; the tables
// DCWNTDSDSV, DCWNTDSDRC and DCWNTDSDRF show every one of them. Only three byte counts are
// kilobytes.

#include "tables/definition.h"

namespace tables {

inline constexpr auto DCWNTDSDFS = define(
    kLongHead, "DCWNTDSDFS",
    "DFS replication through the first service volume, connection and replicated folder of the "
    "machine: one row a sample, none when the system has no such counters.",
    Timing{"DistributedFileSystemReplication", 6},
    integer("DFSRDBL", "Database lookups on the volume."),
    integer("DFSRDBC", "Database commits on the volume."),
    integer("DFSRUUNP", "Percentage of the volume's change journal that is still unread."),
    integer("DFSRURC", "Change journal records of the volume accepted."),
    integer("DFSRUJRR", "Change journal records of the volume read."),
    integer("DFSRRBWS",
            "Percentage of bandwidth that remote differential compression and compression saved; "
            "read under the volume's instance name, deliberately, and so 0 unless a connection has "
            "that name."),
    integer("DFSRCBR",
            "Bytes received over the connection by remote differential compression, in kilobytes."),
    integer("DFSRCRCSR",
            "Compressed size of files received over the connection with remote differential "
            "compression, in bytes."),
    integer("DFSRCRSFR",
            "Uncompressed size of files received over the connection with remote differential "
            "compression, in bytes."),
    integer("DFSRCRNFR",
            "Files received over the connection with remote differential compression."),
    integer("DFSRCBPS",
            "Bytes received over the connection per second over the half second of the sample, "
            "truncated to a whole number."),
    integer("DFSRCCSR", "Compressed size of files received over the connection, in bytes."),
    integer("DFSRCSFR", "Uncompressed size of files received over the connection, in bytes."),
    integer("DFSRCTFR", "Files received over the connection."),
    integer("DFSRCTBR", "Bytes received over the connection, in kilobytes."),
    integer("DFSRFBWS",
            "Percentage of bandwidth that remote differential compression and compression saved "
            "for the folder; read under the connection's instance name, deliberately, and so 0 "
            "unless a folder has that name."),
    integer("DFSRFBR",
            "Bytes received for the folder by remote differential compression, in kilobytes."),
    integer("DFSRFRCSR",
            "Compressed size of the folder's files received with remote differential compression, "
            "in bytes."),
    integer("DFSRFRSFR",
            "Uncompressed size of the folder's files received with remote differential "
            "compression, in bytes."),
    integer("DFSRFRNFR", "Files received for the folder with remote differential compression."),
    integer("DFSRFCSR", "Compressed size of the folder's files received, in bytes."),
    integer("DFSRFSFR", "Uncompressed size of the folder's files received, in bytes."),
    integer("DFSRFTFR", "Files received for the folder."),
    integer("DFSRFDSU", "Deleted files of the folder kept, in bytes."),
    integer("DFSRFDBC", "Deleted files of the folder cleaned up, in bytes."),
    integer("DFSRFDFC", "Deleted files of the folder cleaned up."),
    integer("DFSRFDBG", "Deleted files of the folder generated, in bytes."),
    integer("DFSRFDFG", "Deleted files of the folder generated."),
    integer("DFSRFUD", "Updates of the folder dropped because a later one had superseded them."),
    integer("DFSRFFIR", "File installs in the folder that had to be retried."),
    integer("DFSRFFIS", "File installs in the folder that succeeded."),
    integer("DFSRFCCC", "Times that the folder's conflict area was cleaned up."),
    integer("DFSRFCSU", "Conflict area of the folder in use, in bytes."),
    integer("DFSRFCBC", "Conflict files of the folder cleaned up, in bytes."),
    integer("DFSRFCFC", "Conflict files of the folder cleaned up."),
    integer("DFSRFCBG", "Conflict files of the folder generated, in bytes."),
    integer("DFSRFCFG", "Conflict files of the folder generated."),
    integer("DFSRFSSU", "Staging area of the folder in use, in bytes."),
    integer("DFSRFSBC", "Staging files of the folder cleaned up, in bytes."),
    integer("DFSRFSFC", "Staging files of the folder cleaned up."),
    integer("DFSRFSBG", "Staging files of the folder generated, in bytes."),
    integer("DFSRFSFG", "Staging files of the folder generated."));

static_assert(DCWNTDSDFS.row_size() == 384);

}  // namespace tables
