// The counters of distributed file replication: three objects, whose instances the machine's
// configuration decides. The instance names are written in when they are known.

#include "counters/list_rows.h"

namespace {

using namespace counters;

constexpr std::array kDfs = {
    "Database Lookups",
    "Database Commits",
    "USN Journal Unread Percentage",
    "USN Journal Records Accepted",
    "USN Journal Records Read",
    "Bandwidth Savings Using DFS Replication",
    "RDC Bytes Received",
    "RDC Compressed Size of Files Received",
    "RDC Size of Files Received",
    "RDC Number of Files Received",
    "Bytes Received Per Second",
    "Compressed Size of Files Received",
    "Size of Files Received",
    "Total Files Received",
    "Total Bytes Received",
    "Bandwidth Savings Using DFS Replication",
    "RDC Bytes Received",
    "RDC Compressed Size of Files Received",
    "RDC Size of Files Received",
    "RDC Number of Files Received",
    "Compressed Size of Files Received",
    "Size of Files Received",
    "Total Files Received",
    "Deleted Space In Use",
    "Deleted Bytes Cleaned up",
    "Deleted Files Cleaned up",
    "Deleted Bytes Generated",
    "Deleted Files Generated",
    "Updates Dropped",
    "File Installs Retried",
    "File Installs Succeeded",
    "Conflict Folder Cleanups Completed",
    "Conflict Space In Use",
    "Conflict Bytes Cleaned up",
    "Conflict Files Cleaned up",
    "Conflict Bytes Generated",
    "Conflict Files Generated",
    "Staging Space In Use",
    "Staging Bytes Cleaned up",
    "Staging Files Cleaned up",
    "Staging Bytes Generated",
    "Staging Files Generated",
};

constexpr auto kVolumeNames = part<0, 5>(kDfs);
constexpr auto kConnectionNames = part<5, 10>(kDfs);
constexpr auto kFolderNames = part<15, 27>(kDfs);

}  // namespace

constinit std::array<CounterRow, 42> g_DFSRList =
    join(join(rows(kDfsVolumes, nullptr, kVolumeNames),
              rows(kDfsConnections, nullptr, kConnectionNames)),
         rows(kDfsFolders, nullptr, kFolderNames));
constinit std::array<CounterRow, 10> g_DFRCList = rows(kDfsConnections, nullptr, kConnectionNames);
constinit std::array<CounterRow, 5> g_DFSVList = rows(kDfsVolumes, nullptr, kVolumeNames);
constinit std::array<CounterRow, 27> g_DFRFList = rows(kDfsFolders, nullptr, kFolderNames);
