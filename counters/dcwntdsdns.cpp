// DNS: the server's counters, what the totals have gained since the sample before and how much of
// that went wrong, and whether the service is installed. Always a row, unlike the plain counter
// tables.

#include <array>
#include <atomic>
#include <cstring>
#include <limits>

#include "counters/counter_table.h"
#include "counters/installed_service.h"
#include "directory/dns_utils.h"
#include "include/platform/sockets.h"
#include "include/trace.h"

namespace {

using counters::kilobytes;
using DnsRow = tables::Row<tables::DCWNTDSDNS>;
using State = tables::AgentState<tables::DCWNTDSDNS>;

constexpr counters::Projection kProjections[] = {
    kilobytes("DNSCAM", 0),
    {"DNSDUQ", 1},
    {"DNSDUR", 2},
    {"DNSDUCR", 3},
    {"DNSDURJ", 4},
    {"DNSDUTO", 5},
    {"DNSQRT", 6},
    {"DNSQRTR", 7},
    {"DNSRST", 8},
    {"DNSRSTR", 9},
    {"DNSZTF", 10},
    {"DNSZTR", 11},
    {"DNSZTS", 12},
    {"DNSARR", 13},
    {"DNSARS", 14},
    {"DNSARPR", 15},
    {"DNSASR", 16},
    {"DNSASS", 17},
    kilobytes("DNSDNM", 18),
    {"DNSUPNO", 19},
    {"DNSUNOS", 20},
    {"DNSUPDB", 21},
    {"DNSUDBS", 22},
    {"DNSIRR", 23},
    {"DNSIRS", 24},
    {"DNSIRPR", 25},
    {"DNSISR", 26},
    {"DNSISS", 27},
    {"DNSITCPS", 28},
    {"DNSIUDPS", 29},
    kilobytes("DNSNBM", 30),
    {"DNSNTR", 31},
    {"DNSNTS", 32},
    kilobytes("DNSRFM", 33),
    {"DNSRQ", 34},
    {"DNSRQS", 35},
    {"DNSRQF", 36},
    {"DNSRQFS", 37},
    {"DNSRSTO", 38},
    {"DNSRTOS", 39},
    {"DNSSUFL", 40},
    {"DNSSURC", 41},
    {"DNSSURS", 42},
    kilobytes("DNSTCPMM", 43),
    {"DNSTCPQR", 44},
    {"DNSTCPQS", 45},
    {"DNSTCPRS", 46},
    {"DNSTCPRES", 47},
    kilobytes("DNSUDPMM", 48),
    {"DNSUDPQR", 49},
    {"DNSUDPQS", 50},
    {"DNSUDPRS", 51},
    {"DNSUDPRES", 52},
    {"DNSWNLR", 53},
    {"DNSWNLRS", 54},
    {"DNSWNRS", 55},
    {"DNSWNRSS", 56},
    {"DNSWRLR", 57},
    {"DNSWRLRS", 58},
    {"DNSWRRS", 59},
    {"DNSWRRSS", 60},
    {"DNSZTRRQ", 61},
};
constexpr auto kColumns = counters::place<tables::DCWNTDSDNS>(kProjections);

std::atomic<std::int32_t> instances{0};  // objects of this table ever made
std::uint32_t samples = 0;

bool is_read_only_controller() {
  // One more than is offered: a name that fills the buffer has no end of its own.
  std::array<char, 65> host{};
  gethostname(host.data(), static_cast<int>(host.size() - 1));
  std::uint8_t flag = 0;
  return DNSUtils::IsReadOnlyDC(host.data(), flag) == 0 && flag != 0;
}

void add_deltas(DnsRow& row, const State& state) {
  using counters::difference;
  row.set<"DNSRSTD">(difference(row.integer<"DNSRST">(), state.prevResponses));
  row.set<"DNSQRTD">(difference(row.integer<"DNSQRT">(), state.prevQueries));
  row.set<"DNSDURD">(difference(row.integer<"DNSDUR">(), state.prevUpdates));
  row.set<"DNSDURJD">(difference(row.integer<"DNSDURJ">(), state.prevRejected));
  row.set<"DNSDUTOD">(difference(row.integer<"DNSDUTO">(), state.prevTimeOuts));
  row.set<"DNSZTFD">(difference(row.integer<"DNSZTF">(), state.prevZoneFailures));
  row.set<"DNSZTRD">(difference(row.integer<"DNSZTR">(), state.prevZoneRequests));
  row.set<"DNSZTSD">(difference(row.integer<"DNSZTS">(), state.prevZoneSuccesses));
}

void keep_totals(const DnsRow& row, State& state) {
  state.prevResponses = row.integer<"DNSRST">();
  state.prevQueries = row.integer<"DNSQRT">();
  state.prevUpdates = row.integer<"DNSDUR">();
  state.prevRejected = row.integer<"DNSDURJ">();
  state.prevTimeOuts = row.integer<"DNSDUTO">();
  state.prevZoneFailures = row.integer<"DNSZTF">();
  state.prevZoneRequests = row.integer<"DNSZTR">();
  state.prevZoneSuccesses = row.integer<"DNSZTS">();
}

void add_percentages(DnsRow& row) {
  const std::int32_t rejected = row.integer<"DNSDURJD">();
  const std::int32_t timed_out = row.integer<"DNSDUTOD">();
  const std::int32_t updates = row.integer<"DNSDURD">();
  const std::int32_t failed = counters::sum(rejected, timed_out);
  row.set<"DNSDUFP">(CKUtil::calculatePdhPercent(failed, updates));
  // Deliberate: 10 of the responses in a second, as a percentage, are a thousand divided by them.
  // The receiving side shows it as the time of one response in milliseconds.
  constexpr std::int32_t kHundredthOfASecond_ms = 10;
  row.set<"DNSRSPT">(CKUtil::calculatePdhPercent(kHundredthOfASecond_ms, row.integer<"DNSRSTR">()));
  row.set<"DNSTFFP">(
      CKUtil::calculatePdhPercent(row.integer<"DNSZTFD">(), row.integer<"DNSZTRD">()));
  row.set<"DNSDURJP">(CKUtil::calculatePdhPercent(rejected, updates));
  row.set<"DNSDUTOP">(CKUtil::calculatePdhPercent(timed_out, updates));
}

}  // namespace

template <>
void dcw_dcwntdsdns_agent::TakeSampleConstructor() {
  DCW_TRACE("TakeSampleConstructor");
  state.firstSample = 1;
  std::int32_t made = instances;
  const auto next = [](std::int32_t last) {
    return last == std::numeric_limits<std::int32_t>::max() ? 1 : last + 1;
  };
  while (!instances.compare_exchange_weak(made, next(made))) {
  }
  state.instanceNumber = next(made);
}

template <>
void dcw_dcwntdsdns_agent::TakeSample() {
  DCW_TRACE("TakeSample");
  const counters::SampleTimer<tables::DCWNTDSDNS> timer;
  trace.detail()("DN instance number: <%d>\n", static_cast<int>(state.instanceNumber));
  counters::wait_for_collectors();
  DnsRow row;
  // The node's name is asked for at every sample.
  counters::begin_row(row, samples, tables::OriginNode().padded());
  CService services(SERVICE_WIN32, nullptr);
  row.set<"DNSSRV">(counters::is_installed(services, L"DNS") ? "TRUE" : "FALSE");
  // Deliberate: it is asked whether the services can be read, not whether one of that name is
  // there.
  if (is_read_only_controller() && services.GetData(L"DNS Server") != 0) row.set<"DNSIRO">(1);
  counters::collect_into(row, g_DNS, kColumns);
  if (state.firstSample == 1) {
    state.firstSample = 0;
  } else {
    add_deltas(row, state);
  }
  add_percentages(row);
  AddData(row.data(), 1);
  keep_totals(row, state);
}
