// DomainControllerPerformance: the counters of the directory's database engine, and how many
// connections this server has.

#include "collectors/cache.h"
#include "collectors/prologue.h"
#include "counters/collector_in_use.h"
#include "counters/counter_table.h"
#include "directory/dns_utils.h"
#include "directory/dsf_utils.h"

namespace {

using counters::Shown;
using tables::DCWNTDSDCP;

constexpr counters::Projection kProjections[] = {
    {"DCPBYR", 6, Shown::kBeforeFiveTwo},
    {"DCPBYW", 5, Shown::kBeforeFiveTwo},
    {"DCPOP", 4, Shown::kBeforeFiveTwo},
    {"DCPLTW", 8},
    {"DCPTCAH", 10},
    {"DCPTCAM", 11},
    {"DCPTCAHP", 9},
    {"DCPLRS", 7},
    {"DCPLOGWR", 16},
    {"DCPTBOP", 17},
    {"DCPPGCS", 18, Shown::kSinceMajorSix},
    {"DCPPGC", 19, Shown::kSinceMajorSix},
    {"DCPRCCS", 20, Shown::kSinceMajorSix},
    {"DCPRCC", 21, Shown::kSinceMajorSix},
    {"DCPSES", 22, Shown::kSinceMajorSix},
    {"DCPSESP", 23, Shown::kSinceMajorSix},
    {"DCPLWS", 24, Shown::kSinceMajorSix},
    {"DCPVER", 25, Shown::kSinceMajorSix},
    {"DCPDBEV", 26, Shown::kSinceMajorSix},
    {"DCPDBRS", 27, Shown::kSinceMajorSix},
    {"DCPDRAL", 28, Shown::kSinceMajorSix},
    {"DCPLGRS", 29, Shown::kSinceMajorSix},
    {"DCPDBWR", 30, Shown::kSinceMajorSix},
    {"DCPDWAL", 31, Shown::kSinceMajorSix},
    {"DCPLGWS", 32, Shown::kSinceMajorSix},
    {"DCPLGAL", 33, Shown::kSinceMajorSix},
};
constexpr auto kColumns = counters::place<DCWNTDSDCP>(kProjections);

collectors::CollectorState collector_state;

// Each release of the system has one of two counters for these measures; the other is 0.
void add_either_form(const ADPDH& database, tables::Row<DCWNTDSDCP>& row) {
  const double* values = database.GetValues();
  const auto count = static_cast<std::size_t>(database.GetCounterCount());
  const auto sum = [&](std::size_t one, std::size_t other) {
    const auto value = [&](std::size_t i) {
      return values != nullptr && i < count ? values[i] : 0;
    };
    return value(one) + value(other);
  };
  row.set<"DCPCAHP">(counters::truncated(sum(1, 13)));
  row.set<"DCPCAPF">(counters::truncated(sum(2, 14)));
  row.set<"DCPCAPFS">(counters::truncated(sum(3, 15)));
  // In units of 1024, rounded to the nearest.
  row.set<"DCPCASZ">(counters::truncated((sum(0, 12) + 512.0) / 1024.0));
}

std::int32_t dsa_connections(const trace::Scope& trace, const char* host) {
  char site[1024] = {};
  // Neither result is looked at: without a site no connection is found, and the count stays 0.
  DSFUtils::GetSiteName(host, site);
  trace.always()("DSFUtils::GetSiteName = %s\n", site);
  std::int32_t count = 0;
  DNSUtils::GetDSAConnections(host, site, count);
  trace.always()("DNSUtils::GetDSAConnections:\n");
  trace.always()("DSA Connections : <%ld>\n", static_cast<long>(count));
  return count;
}

}  // namespace

template <>
void collectors::CollectData<DCWNTDSDCP>() {
  DCW_TRACE("CollectData");
  tables::Row<DCWNTDSDCP> row;
  ServerNames names;
  if (!begin_collection(trace, row, collector_state, names)) return;
  row.set<"DCPDSACON">(dsa_connections(trace, names.host));
  // Not waited for: the allocation of the collectors holds the lock under which collections run.
  const CollectorInUse use(g_ESE);
  ADPDH* const database = use.get();
  if (database == nullptr || database->IsPresent() == 0) return;
  // Deliberately untested: after a failed collection the row shows the values of before.
  database->CollectData();
  database->PrintValues();
  counters::project(kColumns, database->GetValues(), database->GetCounterCount(), row.data());
  add_either_form(*database, row);
  transfer<DCWNTDSDCP>(trace, row);
}

template <>
void tables::Agent<DCWNTDSDCP>::TakeSample() {
  DCW_TRACE("TakeSample");
  collectors::take_sample(trace, *this);
}
