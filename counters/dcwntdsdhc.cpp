// DHCP: the counters of both protocol versions, how the rates of requests and acknowledgements have
// changed, and whether the service is installed. Always a row, unlike the plain counter tables.

#include <array>
#include <atomic>
#include <cstdio>

#include "counters/counter_table.h"
#include "counters/installed_service.h"
#include "include/trace.h"

namespace {

using DhcpRow = tables::Row<tables::DCWNTDSDHC>;

constexpr counters::Projection kProjections[] = {
    {"DHCPDR", 0},   {"DHCPCQL", 1}, {"DHCPDDR", 2},  {"DHCPNR", 3},
    {"DHCPPER", 4},  {"DHCPAQL", 5}, {"DHCPDIS", 8},  {"DHCPINF", 9},
    {"DHCPMPP", 10}, {"DHCPOF", 11}, {"DHCPPKR", 12}, {"DHCPRL", 13},
};
constexpr counters::Projection kVersion6Projections[] = {
    {"DHCPVDR", 14}, {"DHCPVDDR", 15}, {"DHCPVPER", 16}, {"DHCPVAQL", 17}, {"DHCPVAI", 18},
    {"DHCPVRI", 19}, {"DHCPVINF", 20}, {"DHCPVMPP", 21}, {"DHCPVPKR", 22}, {"DHCPVRL", 23},
    {"DHCPVRB", 24}, {"DHCPVCN", 25},  {"DHCPVRN", 26},  {"DHCPVAD", 27},  {"DHCPVSL", 28},
};
constexpr auto kColumns = counters::place<tables::DCWNTDSDHC>(kProjections);
constexpr auto kVersion6Columns = counters::place<tables::DCWNTDSDHC>(kVersion6Projections);

constexpr std::size_t kRequestRate = 6;
constexpr std::size_t kAckRate = 7;
constexpr std::int32_t kNoPreviousSample = -1;

// Process-wide, deliberately: a new sample object of the table begins anew for all of them. Atomic,
// because it is made on another thread than the one that samples.
std::atomic<std::int32_t> g_prevRequestRate{kNoPreviousSample};
std::atomic<std::int32_t> g_prevAckRate{kNoPreviousSample};
std::uint32_t samples = 0;

// By how many percent the rate has changed; the rate is the next one's previous.
std::int32_t change(std::atomic<std::int32_t>& previous_rate, std::int32_t rate) {
  const std::int32_t previous = previous_rate.exchange(rate);
  // One that overflowed counts as none.
  if (previous < 0) return 0;
  if (previous == 0) return rate >= 1 ? 100 : 0;
  return CKUtil::calculatePdhPercent(counters::difference(rate, previous), previous);
}

// Deliberately above 5, where other tables ask for 6 exactly, and asked afresh at every sample.
bool has_version6() {
  std::int32_t version = 0, major = 0, minor = 0, build = 0;
  CKUtil::GetOSVersionInfo(&version, &major, &minor, &build);
  return major > 5;
}

void add_counters(DhcpRow& row, const ADPDH& collector) {
  const double* values = collector.GetValues();
  if (has_version6()) {
    counters::project(kVersion6Columns, values, collector.GetCounterCount(), row.data());
  }
  const std::int32_t request_rate = counters::truncated(values[kRequestRate]);
  std::printf("reqRate: %d\n", static_cast<int>(request_rate));
  row.set<"DHCPRIP">(change(g_prevRequestRate, request_rate));
  const std::int32_t ack_rate = counters::truncated(values[kAckRate]);
  std::printf("ackRate: %d\n", static_cast<int>(ack_rate));
  row.set<"DHCPAIP">(change(g_prevAckRate, ack_rate));
}

}  // namespace

template <>
void dcw_dcwntdsdhc_agent::TakeSampleConstructor() {
  DCW_TRACE("TakeSampleConstructor");
  g_prevRequestRate = kNoPreviousSample;
  g_prevAckRate = kNoPreviousSample;
}

template <>
void dcw_dcwntdsdhc_agent::TakeSample() {
  DCW_TRACE("TakeSample");
  const counters::SampleTimer<tables::DCWNTDSDHC> timer;
  counters::wait_for_collectors();
  DhcpRow row;
  // The node's name is asked for at every sample.
  counters::begin_row(row, samples, tables::OriginNode().padded());
  CService services(SERVICE_WIN32, nullptr);
  row.set<"DHCPSRV">(counters::is_installed(services, L"DHCPServer") ? "TRUE" : "FALSE");
  counters::set_all(kVersion6Columns, counters::kNotOnThisVersion, row.data());
  ADPDH* collector = g_DHCP;
  if (counters::collect_into(row, collector, kColumns)) add_counters(row, *collector);
  AddData(row.data(), 1);
}
