#pragma once
// Every DFS replication connection that existed when the agent started.

#include "tables/definition.h"

namespace tables {

inline constexpr auto DCWNTDSDRC = define(
    kShortHead, "DCWNTDSDRC",
    "One DFS replication connection a row; no row when the machine has none.", kNotTimed,
    integer("DFRCRBWS",
            "Percentage of bandwidth that remote differential compression and compression saved on "
            "the connection."),
    integer("DFRCBR", "Bytes received over the connection by remote differential compression."),
    integer("DFRCRCSR",
            "Compressed size of files received with remote differential compression, in bytes."),
    integer("DFRCRSFR",
            "Uncompressed size of files received with remote differential compression, in bytes."),
    integer("DFRCRNFR", "Files received with remote differential compression."),
    integer("DFRCBPS",
            "Bytes received over the connection per second over the half second of the sample, "
            "truncated to a whole number."),
    integer("DFRCCSR", "Compressed size of files received, in bytes."),
    integer("DFRCSFR", "Uncompressed size of files received, in bytes."),
    integer("DFRCTFR", "Files received over the connection."),
    integer("DFRCTBR", "Bytes received over the connection."),
    text("DFRCIN", 256, "Instance name of the connection."));

static_assert(DCWNTDSDRC.row_size() == 376);

}  // namespace tables
