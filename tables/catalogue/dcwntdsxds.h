#pragma once
// The directory interface of mail servers. It has no collector of its own that outlives a sample.

#include "tables/definition.h"

namespace tables {

inline constexpr auto DCWNTDSXDS =
    define(kLongHead, "DCWNTDSXDS",
           "Directory work done for mail servers: always one row a sample, all -1 when the system "
           "has no such counters.",
           Timing{"ExchangeDirectoryService", 26},
           integer("XDSCLS",
                   "Mail-server client sessions connected now; -1 on major version 6 and where the "
                   "counters are absent."),
           integer("XDSRDS",
                   "Percentage of directory reads that come from mail servers; -1 on major version "
                   "6 and where the counters are absent."),
           integer("XDSSRC",
                   "Percentage of directory searches that come from mail servers; -1 on major "
                   "version 6 and where the counters are absent."),
           integer("XDSWRTS",
                   "Percentage of directory writes that come from mail servers; -1 on major "
                   "version 6 and where the counters are absent."));

static_assert(DCWNTDSXDS.row_size() == 232);

}  // namespace tables
