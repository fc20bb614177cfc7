// ReplicationLatency: how long a change takes to arrive. This server keeps an object of its own in
// the directory, writes the time into it now and then, and looks on each partner when the change
// came there, by that partner's clock.

#include <cstring>
#include <ctime>
#include <string>
#include <string_view>

#include "collectors/cache.h"
#include "collectors/neighbours.h"
#include "collectors/prologue.h"
#include "counters/counter_table.h"
#include "directory/adsi_utils.h"
#include "directory/dns_utils.h"
#include "include/platform/time.h"
#include "include/setting_list.h"

namespace {

using tables::DCWNTDSRLT;
using Row = tables::Row<DCWNTDSRLT>;

constexpr double kRefreshAfter_s = 21600.0;
constexpr std::int32_t kUnknown = -1;
// Every partner replicates the schema: one such neighbour is one partner.
constexpr std::string_view kSchema = "CN=Schema,CN=Configuration,DC=";

collectors::CollectorState collector_state;
// Of the next row. Counts on from collection to collection.
std::uint32_t rowCounter = 1;

// ---- times --------------------------------------------------------------------------------------
// The directory's times are universal. All are read as if they were local, so that their
// differences are right.

std::int64_t seconds_of(std::tm time) {
  const std::int64_t seconds = std::mktime(&time);
  // An object that was not read has no time; neither has anything before 1970, on any system.
  return seconds < 0 ? -1 : seconds;
}

std::int64_t seconds_now() {
  const std::time_t now = _time64(nullptr);
  std::tm universal{};
  gmtime_s(&universal, &now);
  return seconds_of(universal);
}

// With a newline at its end; empty for a time that is none.
std::string text_of(const std::tm& time) {
  char text[64] = {};
  asctime_s(text, sizeof text, &time);
  return text;
}

std::string text_of(std::int64_t seconds) {
  std::tm local{};
  const __time64_t when = seconds;
  return _localtime64_s(&local, &when) == 0 ? text_of(local) : std::string();
}

// ---- one collection -----------------------------------------------------------------------------

// Whether the switch lets this table collect. An unset switch is as good as any other text than
// DISABLED.
bool is_activated(const trace::Scope& trace) {
  const char* const set = SYS1_GetEnv(settings::kReplicationLatency.name, 0);
  std::string value = set == nullptr ? "" : set;
  CKUtil::upper(value.data(), static_cast<std::int32_t>(value.size()));
  if (value == "ENABLED") {
    trace.always()(
        "ACTIVATE_REPL_LATENCY is set to 'ENABLED'.Collecting Replication Latency data.");
  } else if (value == "DISABLED") {
    trace.always()(
        "ACTIVATE_REPL_LATENCY is set as DISABLED. No data will be collected. Please change it to "
        "'ENABLED' for collecting Replication Latency data");
    return false;
  }
  return true;
}

class Collection {
 public:
  Collection(const trace::Scope& trace, const collectors::ServerNames& names)
      : trace_(trace), names_(names) {
    ADSIutils::ConvertDNSToLDAP(names.domain, ldap_domain_);
  }

  // Finds this server's object, or makes it, and refreshes it when it is old.
  void prepare_object();
  // Fills what the row tells of the partner.
  void measure(const DS_REPL_NEIGHBORW& neighbour, Row& row);

 private:
  // True when the object was made. Otherwise it is there already, most likely, and gets the time.
  bool create_or_update() const;
  // How far the partner's clock is ahead, in seconds; 0 when either cannot be read.
  double clock_difference(const char* partner);
  // Seconds that the change took to the partner, whose clock is that far ahead.
  std::int32_t latency(const char* partner, double ahead_s);

  const trace::Scope& trace_;
  const collectors::ServerNames& names_;
  char ldap_domain_[512] = {};
  ConsistencyObject own_;      // as this server sees it
  ConsistencyObject arrived_;  // as the partner at hand sees it
  std::int64_t changed_s_ = 0;
  // This server's clock. One that cannot be read keeps the value that it had for the partner
  // before, or that of the system.
  std::int64_t local_clock_s_ = 0;
};

bool Collection::create_or_update() const {
  const int created = ADSIutils::CreateConsistencyObject(names_.host, ldap_domain_);
  if (created == 0) return true;
  trace_.always()(
      "CreateConsistencyObject failed(%d) (probably already exists), trying update...\n", created);
  const int updated = ADSIutils::UpdateConsistencyObject(names_.host, ldap_domain_);
  if (updated != 0) trace_.always()("UpdateConsistencyObject failed(%d).\n", updated);
  return false;
}

void Collection::prepare_object() {
  const auto read = [this] {
    return ADSIutils::GetConsistencyObject(names_.server, ldap_domain_, names_.host, own_);
  };
  if (read() == 0) {
    trace_.always()("ConObj->Name=%s\n", own_.name);
    trace_.always()("ConObj->When_Changed=%s\n", text_of(own_.whenChanged).c_str());
    trace_.always()("ConObj->Description=%s\n", own_.description);
  } else if (create_or_update()) {
    read();
  }
  changed_s_ = seconds_of(own_.whenChanged);
  local_clock_s_ = seconds_now();
  // What is in memory stays as it was read: this collection still measures the change before, and
  // the new one shows from the next collection on.
  if (std::difftime(local_clock_s_, changed_s_) > kRefreshAfter_s) create_or_update();
}

double Collection::clock_difference(const char* partner) {
  std::tm time{};
  if (ADSIutils::GetRootDSETime(names_.host, time) == 0) local_clock_s_ = seconds_of(time);
  const int result = ADSIutils::GetRootDSETime(partner, time);
  trace_.always()("remoteDSETime_RC = %d\n", result);
  const std::int64_t remote_clock_s = result == 0 ? seconds_of(time) : 0;
  const bool both = remote_clock_s != 0 && local_clock_s_ != 0;
  const double ahead_s = both ? std::difftime(remote_clock_s, local_clock_s_) : 0.0;
  trace_.always()("local time : %s", text_of(local_clock_s_).c_str());
  trace_.always()("remote time: %s", text_of(remote_clock_s).c_str());
  trace_.always()("System Differential: %f\n", ahead_s);
  return ahead_s;
}

std::int32_t Collection::latency(const char* partner, double ahead_s) {
  if (ADSIutils::GetConsistencyObject(partner, ldap_domain_, names_.host, arrived_) != 0) {
    trace_.always()("Error resolving remote consistency object.\n");
    return kUnknown;
  }
  // Another text is one that was written before: the change has not arrived.
  if (!std::string_view(arrived_.description).starts_with(own_.description)) return kUnknown;
  const double took_s = std::difftime(seconds_of(arrived_.whenChanged), changed_s_);
  trace_.always()("partnerHost: %s\n", partner);
  trace_.always()("local obj  : %s", text_of(own_.whenChanged).c_str());
  trace_.always()("remote obj : %s", text_of(arrived_.whenChanged).c_str());
  trace_.always()("Object Differential: %f\n", took_s);
  return counters::truncated(took_s - ahead_s);
}

void Collection::measure(const DS_REPL_NEIGHBORW& neighbour, Row& row) {
  row.set<"ROWNO">(static_cast<std::int32_t>(rowCounter));
  const collectors::Partner partner(neighbour);
  char full_name[257] = {};
  DNSUtils::GetPartner(partner.settings.c_str(), full_name, "dNSHostName");
  const double ahead_s = clock_difference(partner.host);
  row.set<"RLTPART">(partner.host);
  row.set<"RLTPST">(partner.site);
  row.set<"RLTDN">(full_name);
  row.set<"RLTCLD">(counters::truncated(ahead_s));
  row.set<"RLTLAT">(latency(partner.host, ahead_s));
  row.set<"RLTCCD">(0);
}

// ---- one sample ---------------------------------------------------------------------------------

// The clock differences that the last sample handed over. Samples alone use it, and the framework
// never runs two of one table at once. The names are short, the number is of entries in use.
constexpr std::size_t kClockDeltas = 128;
char prevClockDeltaName[kClockDeltas][64];
std::int32_t prevClockDeltaValue[kClockDeltas];
std::int32_t prevClockDeltaIndex = 0;

// Adds to each row, on its way out, how far the partner's clock moved since the last sample.
class ClockChanges {
 public:
  void rows(const trace::Scope& trace, tables::Agent<DCWNTDSRLT>& agent,
            collectors::Rows<DCWNTDSRLT>& all) {
    for (Row row : all) {
      char name[64] = {};
      shorten(row.text<"RLTPART">(), name);
      trace.always()("partnerHost: %s\n", name);
      trace.always()("prevClockDeltaIndex: %u\n", static_cast<unsigned>(prevClockDeltaIndex));
      compare(trace, name, all.size(), row);
      // Ahead of the rows that follow, deliberately: they are compared with this sample's entries
      // where those have taken the place of the last one's.
      keep(trace, name, row.integer<"RLTCLD">());
      agent.AddData(row.data(), 1);
    }
  }
  void released(const trace::Scope& trace) {
    prevClockDeltaIndex = kept_;
    trace.always()("prevClockDeltaIndex: %d\n", prevClockDeltaIndex);
  }

 private:
  static void shorten(std::string_view partner, char* name) {
    constexpr std::size_t kLongest = 63;
    partner = partner.substr(0, kLongest);
    CKUtil::trimHostname(std::string(partner.substr(0, partner.find_last_not_of(' ') + 1)).c_str(),
                         name);
  }

  static void compare(const trace::Scope& trace, const char* name, std::size_t rows, Row& row) {
    if (static_cast<std::size_t>(prevClockDeltaIndex) > rows) {
      // Some partner is gone, and with it what the entries stand for.
      prevClockDeltaIndex = 0;
      return;
    }
    for (std::int32_t i = 0; i < prevClockDeltaIndex; ++i) {
      if (std::strcmp(name, prevClockDeltaName[i]) != 0) continue;
      row.set<"RLTCCD">(counters::difference(row.integer<"RLTCLD">(), prevClockDeltaValue[i]));
      trace.always()("prevClockDeltaName[%u]=%s\n", static_cast<unsigned>(i),
                     prevClockDeltaName[i]);
      trace.always()("prevClockDeltaValue[%u]=%d\n", static_cast<unsigned>(i),
                     prevClockDeltaValue[i]);
    }
  }

  void keep(const trace::Scope& trace, const char (&name)[64], std::int32_t value) {
    if (static_cast<std::size_t>(kept_) == kClockDeltas) {
      trace.always()("The clock of %s is not kept: there is room for %u partners", name,
                     static_cast<unsigned>(kClockDeltas));
      return;
    }
    std::memcpy(prevClockDeltaName[kept_], name, sizeof name);
    prevClockDeltaValue[kept_] = value;
    ++kept_;
  }

  std::int32_t kept_ = 0;
};

}  // namespace

template <>
void collectors::CollectData<DCWNTDSRLT>() {
  DCW_TRACE("CollectData");
  Row row;
  ServerNames names;
  if (!begin_collection(trace, row, collector_state, names)) return;
  row.set<"RLTHN">(names.server);
  Collection collection(trace, names);
  // Long before the transfer, deliberately: samples find no rows while a collection runs, and none
  // at all once the switch is off.
  clear_rows<DCWNTDSRLT>();
  if (!is_activated(trace)) return;
  collection.prepare_object();
  Rows<DCWNTDSRLT> rows;
  const Neighbours neighbours(names.domain);
  if (neighbours.answered()) {
    trace.always()("partnerIndex: <%ld>", static_cast<long>(neighbours.all().size()));
  }
  for (const DS_REPL_NEIGHBORW& neighbour : neighbours.all()) {
    if (!naming_context_of(neighbour).starts_with(kSchema)) continue;
    collection.measure(neighbour, row);
    rows.push_back(row);
    ++rowCounter;
  }
  transfer<DCWNTDSRLT>(trace, rows);
}

template <>
void tables::Agent<DCWNTDSRLT>::TakeSample() {
  DCW_TRACE("TakeSample");
  collectors::take_sample(trace, *this, ClockChanges{});
}
