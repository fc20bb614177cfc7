#pragma once
// Every replicated folder of DFS replication that existed when the agent started.

#include "tables/definition.h"

namespace tables {

inline constexpr auto DCWNTDSDRF = define(
    kShortHead, "DCWNTDSDRF", "One DFS replicated folder a row; no row when the machine has none.",
    kNotTimed,
    integer("DFRFFBWS",
            "Percentage of bandwidth that remote differential compression and compression saved "
            "for the folder."),
    integer("DFRFFBR", "Bytes received for the folder by remote differential compression."),
    integer("DFRFFRCSR",
            "Compressed size of files received with remote differential compression, in bytes."),
    integer("DFRFFRSFR",
            "Uncompressed size of files received with remote differential compression, in bytes."),
    integer("DFRFFRNFR", "Files received with remote differential compression."),
    integer("DFRFFCSR", "Compressed size of files received, in bytes."),
    integer("DFRFFSFR", "Uncompressed size of files received, in bytes."),
    integer("DFRFFTFR", "Files received for the folder."),
    integer("DFRFFDSU", "Deleted files kept, in bytes."),
    integer("DFRFFDBC", "Deleted files cleaned up, in bytes."),
    integer("DFRFFDFC", "Deleted files cleaned up."),
    integer("DFRFFDBG", "Deleted files generated, in bytes."),
    integer("DFRFFDFG", "Deleted files generated."),
    integer("DFRFFUD", "Updates dropped because a later one had superseded them."),
    integer("DFRFFFIR", "File installs that had to be retried."),
    integer("DFRFFFIS", "File installs that succeeded."),
    integer("DFRFFCCC", "Times that the conflict area was cleaned up."),
    integer("DFRFFCSU", "Conflict area in use, in bytes."),
    integer("DFRFFCBC", "Conflict files cleaned up, in bytes."),
    integer("DFRFFCFC", "Conflict files cleaned up."),
    integer("DFRFFCBG", "Conflict files generated, in bytes."),
    integer("DFRFFCFG", "Conflict files generated."),
    integer("DFRFFSSU", "Staging area in use, in bytes."),
    integer("DFRFFSBC", "Staging files cleaned up, in bytes."),
    integer("DFRFFSFC", "Staging files cleaned up."),
    integer("DFRFFSBG", "Staging files generated, in bytes."),
    integer("DFRFFSFG", "Staging files generated."),
    text("DFRFIN", 256, "Instance name of the replicated folder."));

static_assert(DCWNTDSDRF.row_size() == 444);

}  // namespace tables
