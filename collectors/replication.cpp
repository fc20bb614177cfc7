// Replication: the counters of the directory replication agent beside the topology as this server
// sees it, and whether the machine finds a time server.

#include <cstdlib>
#include <string_view>

#include "collectors/cache.h"
#include "collectors/neighbours.h"
#include "collectors/prologue.h"
#include "counters/collector_in_use.h"
#include "counters/counter_table.h"
#include "directory/dns_utils.h"
#include "directory/dsf_utils.h"

namespace {

using counters::Shown;
using tables::DCWNTDSDRA;
using Row = tables::Row<DCWNTDSDRA>;

// A counter of bytes since the system started, in kilobytes.
constexpr counters::Projection since_start(const char* column, std::size_t index) {
  return {column, index, Shown::kOnMajorSix, 1024.0};
}

constexpr counters::Projection kProjections[] = {
    {"DRAUSNCMTH", 0},
    {"DRAUSNCMTL", 1},
    {"DRAUSNISDH", 2},
    {"DRAUSNISDL", 3},
    {"DRAIBCMPB", 4},
    {"DRAIBCMPA", 5},
    {"DRAIBNCMP", 6},
    {"DRAIBTL", 7},
    {"DRAIBFSNC", 8},
    {"DRAIBUPD", 9},
    {"DRAIBOAPPL", 10},
    {"DRAIBOFLT", 11},
    {"DRAIBO", 12},
    {"DRAIBPAPP", 13},
    {"DRAIBPFLT", 14},
    {"DRAIBPTL", 15},
    {"DRAIBV", 16},
    {"DRAIBVTL", 17},
    {"DRAOBCMPA", 18},
    {"DRAOBCMPB", 19},
    {"DRAOBNCMPB", 20},
    {"DRAOBTL", 21},
    {"DRAOBJFLT", 22},
    {"DRAOBJ", 23},
    {"DRAOPRP", 24},
    {"DRAOBVAL", 25},
    {"DRAOBVALTL", 26},
    {"DRAPRPLSYN", 27},
    {"DRARDS", 28},
    {"DRASRC", 29},
    {"DRASYNCRQ", 30},
    {"DRASYNRQ", 31},
    {"DRAWRITES", 32},
    {"DRASYNFL", 33},
    since_start("DRAIBTBT", 34),
    since_start("DRAINCBT", 35),
    since_start("DRAIBCBT", 36),
    since_start("DRAIACBT", 37),
    since_start("DRAOBTBT", 38),
    since_start("DRAONCBT", 39),
    since_start("DRAOBCBT", 40),
    since_start("DRAOACBT", 41),
    {"DRAPREPO", 42, Shown::kOnMajorSix},
    {"DRANCC", 43, Shown::kOnMajorSix},
    {"DRANCSEM", 44, Shown::kOnMajorSix},
    {"DRAIBLUP", 45, Shown::kOnMajorSix},
    {"DRAIBTUP", 46, Shown::kOnMajorSix},
};
constexpr auto kColumns = counters::place<DCWNTDSDRA>(kProjections);

// Every partner replicates the configuration: counting its neighbours alone counts each one once.
constexpr std::string_view kConfiguration = "CN=Configuration";

collectors::CollectorState collector_state;

void add_partners(const trace::Scope& trace, const collectors::ServerNames& names, Row& row) {
  trace.always()("hostName: %s\n", names.host);
  char site[1024] = {};
  DSFUtils::GetSiteName(names.host, site);
  trace.always()("siteName: %s\n", site);
  std::int32_t inter_site = 0;
  std::int32_t intra_site = 0;
  const collectors::Neighbours neighbours(names.domain);
  for (const DS_REPL_NEIGHBORW& neighbour : neighbours.all()) {
    if (!collectors::naming_context_of(neighbour).starts_with(kConfiguration)) continue;
    const collectors::Partner partner(neighbour);
    ++(std::string_view(site) == partner.site ? intra_site : inter_site);
    trace.always()("siteName: <%s>, partnerSite: <%s>\n", site, partner.site);
    trace.always()("Intersite count: <%d>, Intrasite count: <%d>\n", inter_site, intra_site);
  }
  row.set<"DRAIEPC">(inter_site);
  row.set<"DRAIAPC">(intra_site);
}

void add_transport(const trace::Scope& trace, char* host, Row& row) {
  std::int32_t bridgeheads = 0;
  DNSUtils::GetBridgeHeadServerCountInSite(host, bridgeheads);
  trace.always()("Bridge head Count : <%ld>\n", static_cast<long>(bridgeheads));
  std::uint8_t is_bridgehead = 0;
  if (bridgeheads > 0) DNSUtils::IsBridgeHeadServer(host, is_bridgehead);
  std::int32_t links = 0;
  DNSUtils::GetSiteLinkCount(host, links);
  trace.always()("Site Link Count : <%ld>\n", static_cast<long>(links));
  row.set<"DRASBHC">(bridgeheads);
  row.set<"DRABHS">(is_bridgehead != 0 ? "TRUE" : "FALSE");
  row.set<"DRASLC">(links);
}

// Beyond 32 bits it starts over, as the percentage that it is the whole of does.
std::int32_t sum(std::int32_t a, std::int32_t b) {
  return static_cast<std::int32_t>(static_cast<std::uint32_t>(a) + static_cast<std::uint32_t>(b));
}

// Of the values as the row shows them.
void add_percentages(Row& row) {
  const auto objects = row.integer<"DRAIBO">();
  const auto properties = row.integer<"DRAIBPTL">();
  const auto filtered = row.integer<"DRAOBJFLT">();
  const auto compressed = row.integer<"DRAIBCMPB">();
  const auto percent = &CKUtil::calculatePdhPercent;
  row.set<"DRAIBOAPP">(percent(row.integer<"DRAIBOAPPL">(), objects));
  row.set<"DRAIBOFLTP">(percent(row.integer<"DRAIBOFLT">(), objects));
  row.set<"DRAIBPAPPP">(percent(row.integer<"DRAIBPAPP">(), properties));
  row.set<"DRAIBPFLTP">(percent(row.integer<"DRAIBPFLT">(), properties));
  row.set<"DRAOBOFLTP">(percent(filtered, sum(filtered, row.integer<"DRAOBJ">())));
  row.set<"DRAIBBIEP">(percent(compressed, sum(compressed, row.integer<"DRAIBNCMP">())));
}

// The host's name changes on the way: the first count leaves it in capitals, and the second one,
// in which letter case counts, is meant to find it so.
void add_connections(const trace::Scope& trace, char* host, Row& row) {
  std::int32_t inbound = 0;
  DNSUtils::GetInboundConnections(host, inbound);
  trace.always()("Pdata InBound :<%d>", inbound);
  // What the command prints goes to the agent's own output; only how it ends is of interest.
  status::step("runs", "net time");
  row.set<"DRANTSTAT">(std::system("net time"));
  std::int32_t known_sources = 0;
  std::int32_t from_this_server = 0;
  DNSUtils::GetInboundConnections(host, known_sources, from_this_server);
  row.set<"DRAIBTOC">(inbound);
  row.set<"DRAOBTOC">(known_sources);
  row.set<"DRAOBOC">(from_this_server);
}

}  // namespace

template <>
void collectors::CollectData<DCWNTDSDRA>() {
  DCW_TRACE("CollectData");
  Row row;
  ServerNames names;
  if (!begin_collection(trace, row, collector_state, names)) return;
  row.set<"DRAHN">(names.server);
  add_partners(trace, names, row);
  add_transport(trace, names.host, row);
  // Not waited for: the allocation of the collectors holds the lock under which collections run.
  const CollectorInUse use(g_Replication);
  ADPDH* const replication = use.get();
  if (replication == nullptr || replication->IsPresent() == 0) return;
  trace.always()("RPL: Preparing to collect data");
  // Deliberately untested: after a failed collection the row shows the values of before.
  replication->CollectData();
  const double* const values = replication->GetValues();
  replication->PrintValues();
  trace.always()("RPL: Data collected, adding to table.");
  counters::project(kColumns, values, replication->GetCounterCount(), row.data());
  add_percentages(row);
  add_connections(trace, names.host, row);
  transfer<DCWNTDSDRA>(trace, row);
}

template <>
void tables::Agent<DCWNTDSDRA>::TakeSample() {
  DCW_TRACE("TakeSample");
  collectors::take_sample(trace, *this);
}
