// DomainControllerAvailability: whether this server reaches what it depends on. Partners and global
// catalogs are pinged, the controllers of the site bound, the role holders both, and the clock is
// compared with the time server's; every step that fails leaves its columns at what they are
// without an answer, and the row is delivered all the same.

#include <algorithm>
#include <cmath>
#include <iterator>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "collectors/cache.h"
#include "collectors/prologue.h"
#include "collectors/role_holders.h"
#include "directory/adsi_utils.h"
#include "directory/dns_utils.h"
#include "directory/dsf_utils.h"
#include "directory/reachability.h"
#include "directory/repl_utils.h"
#include "directory/service_binding.h"
#include "directory/text.h"
#include "directory/time_source.h"
#include "include/platform/system.h"
#include "include/setting_list.h"

namespace {

using collectors::RoleHolders;
using collectors::ServerNames;
using tables::DCWNTDSDCA;
using AvailabilityRow = tables::Row<DCWNTDSDCA>;
using Names = std::vector<std::string>;

collectors::CollectorState collector_state;

// What the questions are asked with: this server, where it stands, and the naming contexts.
struct Place {
  ServerNames names;  // host is the computer's name
  char configuration[256] = {};
  char ldap_domain[256] = {};
  char site[256] = {};
  std::string forest;  // by its DNS name
};

std::string find_forest(const char* host) {
  char ldap_forest[256] = {};
  ADSIutils::GetForestName(host, ldap_forest);
  char forest[256] = {};
  ADSIutils::ConvertLDAPToDNS(ldap_forest, forest);
  std::string name = forest;
  // The newline that comes along with the forest's name.
  if (!name.empty()) name.pop_back();
  return name;
}

// False when the collection ends here.
bool find_place(const trace::Scope& trace, Place& place) {
  ServerNames& names = place.names;
  names.find_host();
  DNSUtils::GetConfigurationNamingContext(names.host, place.configuration);
  if (!names.find_server(trace)) return false;
  names.find_domain(trace);
  ADSIutils::ConvertDNSToLDAP(names.domain, place.ldap_domain);
  place.forest = find_forest(names.host);
  char computer[sizeof names.host] = {};
  DWORD size = sizeof computer;
  if (GetComputerNameA(computer, &size)) {
    std::copy(std::begin(computer), std::end(computer), names.host);
  }
  DSFUtils::GetSiteName(names.host, place.site);
  return true;
}

struct FreeNeighbours {
  void operator()(DS_REPL_NEIGHBORSW* record) const {
    DsReplicaFreeInfo(DS_REPL_INFO_NEIGHBORS, record);
  }
};

std::string narrowed(const wchar_t* text) {
  return text == nullptr ? std::string() : directory::narrowed(text);
}

struct PartnerCounts {
  std::int32_t intra_site = 0;
  std::int32_t inter_site = 0;
  std::int32_t pinged = 0;
};

void count_partner(const trace::Scope& trace, const Place& place, const std::string& source,
                   PartnerCounts& counts) {
  char name[256] = {};
  DNSUtils::GetPartner(source.c_str(), name, "cn");
  char site[256] = {};
  DNSUtils::GetDirectPartnerSiteName(source.c_str(), site);
  trace.detail()("Partner <%s> in site <%s>", name, site);
  // Letter case counts here.
  if (std::string_view(site) == place.site) {
    ++counts.intra_site;
  } else {
    ++counts.inter_site;
  }
  char full_name[256] = {};
  DNSUtils::GetPartner(source.c_str(), full_name, "dNSHostName");
  if (ping(full_name, place.configuration, 1, 0, nullptr) >= 0) ++counts.pinged;
}

PartnerCounts ask_partners(const trace::Scope& trace, const Place& place) {
  PartnerCounts counts;
  DS_REPL_NEIGHBORSW* record = nullptr;
  unsigned char ok = 0;
  ReplUtils::GetReplicationPartnersInfo(place.names.domain, 0, &record, ok);
  if (ok == 0) return counts;
  const std::unique_ptr<DS_REPL_NEIGHBORSW, FreeNeighbours> neighbours(record);
  const DS_REPL_NEIGHBORW* first = neighbours->rgNeighbor;
  for (DWORD i = 0; i < neighbours->cNumNeighbors; ++i) {
    // Every partner replicates the configuration: one such neighbour is one partner.
    if (!narrowed(first[i].pszNamingContext).starts_with("CN=Configuration")) continue;
    count_partner(trace, place, narrowed(first[i].pszSourceDsaDN), counts);
  }
  return counts;
}

// Deliberately told and nothing else: the collection goes on in the same way.
void tell_site_question(const trace::Scope& trace) {
  const char* flag = SYS1_GetEnv(settings::kSiteQuestion.name, 0);
  if (settings::read(settings::kSiteQuestion, flag).value == 0) {
    trace.always()("Main: GetSiteForServer is OFF - Functionality is Unavailable");
  } else {
    trace.always()("Main: GetSiteForServer is ON - Functionality is available");
  }
}

struct CatalogCounts {
  std::int32_t all = 0;
  std::int32_t pinged = 0;
  std::int32_t bound = 0;
};

CatalogCounts ask_catalogs(const Place& place, const Names& servers) {
  CatalogCounts counts;
  for (const std::string& server : servers) {
    unsigned char is_bound = 0;
    ++counts.all;
    if (ping(server.c_str(), place.configuration, 1, 1, &is_bound) >= 0) ++counts.pinged;
    if (is_bound != 0) ++counts.bound;
  }
  return counts;
}

// How many of the servers can be bound. They are not pinged.
std::int32_t bind_all(const trace::Scope& trace, const Names& servers) {
  std::int32_t bound = 0;
  for (const std::string& server : servers) {
    directory::ServiceBinding binding;
    const DWORD status = binding.bind(server.c_str(), nullptr);
    if (status == ERROR_SUCCESS) {
      ++bound;
      trace.always()("Sucessfully bound to server: %s", server.c_str());
    } else {
      trace.always()("Error while performing bind, Error Code: %ld", static_cast<long>(status));
    }
  }
  return bound;
}

constexpr double kGreatestDifference_s = 2073600.0;
constexpr std::int32_t kNotMeasured = 2073602000;
constexpr std::int32_t kTooFarAhead = 2073601000;
constexpr std::int32_t kTooFarBehind = -2073601000;

std::int32_t milliseconds(double difference_s) {
  if (std::isnan(difference_s)) return kNotMeasured;
  if (difference_s > kGreatestDifference_s) return kTooFarAhead;
  if (difference_s < -kGreatestDifference_s) return kTooFarBehind;
  return static_cast<std::int32_t>(difference_s * 1000);
}

struct Clock {
  std::int32_t difference_ms = kNotMeasured;
  char server[257] = "Not_Available";
  std::int32_t is_good = -1;
};

// Each step that fails ends the check with what the steps before it wrote.
void check_clock(const trace::Scope& trace, const Place& place, Clock& clock) {
  char computer[261] = {};
  DWORD size = sizeof computer;
  if (!GetComputerNameExA(ComputerNamePhysicalDnsFullyQualified, computer, &size)) {
    trace.always()("GetComputerNameEx Failed, Error Code: %d", static_cast<int>(GetLastError()));
    return;
  }
  if (!GetTimeServer(place.forest.c_str(), computer, clock.server, clock.is_good)) {
    trace.always()("GetTimeServer failed");
    return;
  }
  if (!CKUtil::IsServiceRunning("W32Time")) {
    trace.always()("Windows Time Service is not running");
    return;
  }
  double difference_s = 2073602.0;
  if (!GetTimeDiffernece(computer, clock.server, difference_s)) {
    trace.always()("GetTimeDifferenece returned false");
    return;
  }
  clock.difference_ms = milliseconds(difference_s);
  trace.always()("Time difference in double: %f", difference_s);
}

void fill_roles(const RoleHolders& holders, const char* computer, AvailabilityRow& row) {
  row.set<"DCAFSMO">(holders.role_of(computer));
  row.set<"DCARID">(holders[collectors::kRid].qualified);
  row.set<"DCARIDP">(holders[collectors::kRid].round_trip);
  row.set<"DCARIDB">(holders[collectors::kRid].is_bound);
  row.set<"DCADN">(holders[collectors::kDomainNaming].qualified);
  row.set<"DCADNP">(holders[collectors::kDomainNaming].round_trip);
  row.set<"DCADNB">(holders[collectors::kDomainNaming].is_bound);
  row.set<"DCAINF">(holders[collectors::kInfrastructure].qualified);
  row.set<"DCAINFP">(holders[collectors::kInfrastructure].round_trip);
  row.set<"DCAINFB">(holders[collectors::kInfrastructure].is_bound);
  row.set<"DCASCH">(holders[collectors::kSchema].qualified);
  row.set<"DCASCHP">(holders[collectors::kSchema].round_trip);
  row.set<"DCASCHB">(holders[collectors::kSchema].is_bound);
  row.set<"DCAPDC">(holders[collectors::kPdc].qualified);
  row.set<"DCAPDCP">(holders[collectors::kPdc].round_trip);
  row.set<"DCAPDCB">(holders[collectors::kPdc].is_bound);
}

void fill_place(const Place& place, AvailabilityRow& row) {
  row.set<"DCASITE">(place.site);
  row.set<"DCAHN">(place.names.server);
  row.set<"DCAFST">(place.forest);
  row.set<"DCADOM">(place.names.domain);
}

// Partners, catalogs and the controllers of the site.
void fill_counts(const trace::Scope& trace, const Place& place, AvailabilityRow& row) {
  const char* const computer = place.names.host;
  const PartnerCounts partners = ask_partners(trace, place);
  tell_site_question(trace);
  // A list that fails is as long as it got.
  Names servers;
  DNSUtils::GetGCList(computer, place.site, servers);
  const CatalogCounts in_site = ask_catalogs(place, servers);
  servers.clear();
  DNSUtils::GetGCListOutSite(computer, place.site, servers);
  const CatalogCounts out_site = ask_catalogs(place, servers);
  servers.clear();
  DNSUtils::GetDCList(computer, place.site, servers);
  row.set<"DCARPP">(partners.intra_site + partners.inter_site);
  row.set<"DCARPPP">(partners.pinged);
  row.set<"DCAGC">(in_site.all + out_site.all);
  row.set<"DCAGCP">(in_site.pinged + out_site.pinged);
  row.set<"DCAGCB">(in_site.bound + out_site.bound);
  row.set<"DCASGC">(in_site.all);
  row.set<"DCASGCP">(in_site.pinged);
  row.set<"DCASGCB">(in_site.bound);
  row.set<"DCASDC">(static_cast<std::int32_t>(servers.size()));
  row.set<"DCASDCB">(bind_all(trace, servers));
}

void fill_clock(const trace::Scope& trace, const Place& place, AvailabilityRow& row) {
  Clock clock;
  check_clock(trace, place, clock);
  row.set<"DCATD">(clock.difference_ms);
  row.set<"DCARTS">(clock.server);
  row.set<"DCARTST">(clock.is_good);
}

void fill_catalog_state(const trace::Scope& trace, const char* computer, AvailabilityRow& row) {
  std::uint8_t is_catalog = 0;
  DNSUtils::IsGlobalCatalogServer(computer, is_catalog);
  const char* text = is_catalog != 0 ? "TRUE" : "FALSE";
  trace.always()("IsGlobalCatalogServer: %s\n", text);
  row.set<"DCAGCS">(text);
}

// The column that shows a role's holder, that of the holder before, and where the sample object
// keeps it from one sample to the next.
template <tables::Name kCurrent, tables::Name kPrevious>
struct Holder {
  static void show_same(AvailabilityRow& row) { row.set<kPrevious>(row.text<kCurrent>()); }
  static void show(AvailabilityRow& row, const char (&kept)[64]) { row.set<kPrevious>(kept); }
  static void keep(const AvailabilityRow& row, char (&kept)[64]) {
    row.text<kCurrent>().copy(kept, sizeof kept);
    kept[sizeof kept - 1] = '\0';
  }
};
using Rid = Holder<"DCARID", "DCAPRID">;
using DomainNaming = Holder<"DCADN", "DCAPDN">;
using Infrastructure = Holder<"DCAINF", "DCAPINF">;
using Schema = Holder<"DCASCH", "DCAPSCH">;
using Pdc = Holder<"DCAPDC", "DCAPPDC">;

// A change of holder shows in one sample: there the column and its previous one differ.
struct HandOverAvailability : collectors::HandOver<DCWNTDSDCA> {
  void rows(const trace::Scope& /*trace*/, tables::Agent<DCWNTDSDCA>& agent, AvailabilityRow& row) {
    auto& state = agent.state;
    if (state.firstSample == 1) {
      Rid::show_same(row);
      DomainNaming::show_same(row);
      Infrastructure::show_same(row);
      Schema::show_same(row);
      Pdc::show_same(row);
      state.firstSample = 0;
    } else {
      Rid::show(row, state.prevRid);
      DomainNaming::show(row, state.prevDn);
      Infrastructure::show(row, state.prevInf);
      Schema::show(row, state.prevSch);
      Pdc::show(row, state.prevPdc);
    }
    agent.AddData(row.data(), 1);
    Rid::keep(row, state.prevRid);
    DomainNaming::keep(row, state.prevDn);
    Infrastructure::keep(row, state.prevInf);
    Schema::keep(row, state.prevSch);
    Pdc::keep(row, state.prevPdc);
  }
};

}  // namespace

template <>
void collectors::CollectData<DCWNTDSDCA>() {
  DCW_TRACE("CollectData");
  AvailabilityRow row;
  begin_row(row, collector_state);
  Place place;
  if (!find_place(trace, place)) return;
  fill_place(place, row);
  fill_counts(trace, place, row);
  fill_clock(trace, place, row);
  RoleHolders holders;
  holders.find(trace, place.names.host, place.ldap_domain);
  holders.ping_all(trace, place.configuration);
  fill_roles(holders, place.names.host, row);
  fill_catalog_state(trace, place.names.host, row);
  transfer<DCWNTDSDCA>(trace, row);
}

template <>
void tables::Agent<DCWNTDSDCA>::TakeSample() {
  DCW_TRACE("TakeSample");
  collectors::take_sample(trace, *this, HandOverAvailability{});
}
