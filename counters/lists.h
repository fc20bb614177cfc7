#pragma once
// Which counters the agent reads. Each list is one counter object (or two) as one system version
// names it; its rows are in the order of the values that a collector delivers.
//
// The rows are writable on purpose, and process-wide: on a system in another language the names are
// replaced once, before any collector is built, and the lists of the file replication objects get
// their instance names when the collectors find them. No lock guards them; the building of the
// collectors, which nothing overlaps, is what reads and writes them. The one exception is
// g_DFSRList, which belongs to the sampling thread of its table from then on.

#include <array>
#include <cstddef>
#include <span>

#include "include/platform/counters.h"

namespace counters {

using CounterRow = PDH_COUNTER_PATH_ELEMENTS_A;
using CounterRows = std::span<CounterRow>;

struct CounterList {
  const char* name;
  CounterRows rows;
};

// The objects with instances. Deliberately asked for by these names in every language: only the
// lists are translated.
inline constexpr const char* kDfsVolumes = "DFS Replication Service Volumes";
inline constexpr const char* kDfsConnections = "DFS Replication Connections";
inline constexpr const char* kDfsFolders = "DFS Replicated Folders";

}  // namespace counters

extern std::array<counters::CounterRow, 7> g_ABList;
extern std::array<counters::CounterRow, 34> g_ReplList;
extern std::array<counters::CounterRow, 19> g_DSList;
extern std::array<counters::CounterRow, 3> g_KCCList;
extern std::array<counters::CounterRow, 3> g_KDCList;
extern std::array<counters::CounterRow, 10> g_LDAPList;
extern std::array<counters::CounterRow, 3> g_LSAList;
extern std::array<counters::CounterRow, 4> g_NSPIList;
extern std::array<counters::CounterRow, 17> g_SAMList;
extern std::array<counters::CounterRow, 4> g_XDSList;
extern std::array<counters::CounterRow, 65> g_FRSList;
extern std::array<counters::CounterRow, 34> g_ESEList;
extern std::array<counters::CounterRow, 29> g_DHCPList;
extern std::array<counters::CounterRow, 62> g_DNSList;
extern std::array<counters::CounterRow, 7> g_ABListV6;
extern std::array<counters::CounterRow, 47> g_ReplListV6;
extern std::array<counters::CounterRow, 22> g_DSListV6;
extern std::array<counters::CounterRow, 3> g_KCCListV6;
extern std::array<counters::CounterRow, 3> g_KDCListV6;
extern std::array<counters::CounterRow, 13> g_LDAPListV6;
extern std::array<counters::CounterRow, 3> g_LSAListV6;
extern std::array<counters::CounterRow, 4> g_NSPIListV6;
extern std::array<counters::CounterRow, 19> g_SAMListV6;
extern std::array<counters::CounterRow, 42> g_DFSRList;
extern std::array<counters::CounterRow, 29> g_DHCPListV61;
extern std::array<counters::CounterRow, 10> g_DFRCList;
extern std::array<counters::CounterRow, 5> g_DFSVList;
extern std::array<counters::CounterRow, 27> g_DFRFList;

namespace counters {

inline constexpr std::size_t kCounterListCount = 28;

// All of them, in the order in which they are translated: where two lists share a name, the order
// decides nothing today, but it is fixed so that a trace of the pass always reads the same.
extern const std::array<CounterList, kCounterListCount> kCounterLists;

}  // namespace counters
