#include "counters/adpdh.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <limits>

#include "include/platform/threads.h"
#include "include/setting_list.h"
#include "include/settings.h"
#include "include/trace.h"
#include "include/trc.h"
#include "tables/ckutil.h"

using counters::CounterRow;
using counters::CounterRows;

namespace {

// The order in which a collector is set up. They differ in what a failure leaves behind.
enum class SetUp {
  kCountFirst,     // count, query, arrays, probe: a failed query leaves the count
  kQueryFirst,     // query, count, arrays, probe
  kProbeFirst,     // query, probe, and only then count and arrays
  kFirstInstance,  // query; the rest follows the first instance of each object
  kOneInstance,    // count, query, arrays; no probe
};

struct Collector {
  const char* name;
  SetUp set_up;
  CounterRows rows;
  CounterRows rows_v6;  // on major version 6
  std::size_t probe;
  const char*
      open_failed;  // no two of them are quite alike, and people search for them as they are
};

const std::array<Collector, 18> kCollectors = {{
    {"Address Book", SetUp::kCountFirst, g_ABList, g_ABListV6, 0,
     "POQ failed for [ Address Book ], Error Code:"},
    {"Replication", SetUp::kCountFirst, g_ReplList, g_ReplListV6, 0,
     "POQ failed for [ Replication ],, Error Code:"},
    {"Directory Services", SetUp::kCountFirst, g_DSList, g_DSListV6, 0,
     "POQ failed for [ Directory Services ] , Error Code:"},
    {"KCC", SetUp::kCountFirst, g_KCCList, g_KCCListV6, 0, "POQ failed for [ KCC ], Error Code:"},
    {"KDC", SetUp::kCountFirst, g_KDCList, g_KDCListV6, 0, "POQ failed for [ KDC ] , Error Code:"},
    {"LDAP", SetUp::kCountFirst, g_LDAPList, g_LDAPListV6, 0,
     "POQ failed for [ LDAP ] , Error Code:"},
    {"LSA", SetUp::kCountFirst, g_LSAList, g_LSAListV6, 0, "POQ failed for [ LSA ] , Error Code:"},
    {"NSPI", SetUp::kCountFirst, g_NSPIList, g_NSPIListV6, 0,
     "POQ failed for [ NSPI ] , Error Code:"},
    {"SAM", SetUp::kCountFirst, g_SAMList, g_SAMListV6, 0, "POQ failed for [ SAM ] , Error Code:"},
    {"XDS", SetUp::kQueryFirst, g_XDSList, g_XDSList, 0, "POQ failed\tfor [ XDS ] , Error Code:"},
    {"FRS", SetUp::kProbeFirst, g_FRSList, g_FRSList, 0, "POQ failed for [ FRS ] , Error Code:"},
    // Deliberate: row 7, "Log Record Stalls/sec", tells whether the database is there.
    {"ESE", SetUp::kProbeFirst, g_ESEList, g_ESEList, 7, "POQ failed for [ ESE ] , Error Code:"},
    {"DHCP", SetUp::kCountFirst, g_DHCPList, g_DHCPList, 0, "POQ failed for [ DHCP ], Error Code:"},
    {"DNS", SetUp::kProbeFirst, g_DNSList, g_DNSList, 0, "POQ failed for [ DNS ] , Error Code:"},
    {"DFSR", SetUp::kFirstInstance, g_DFSRList, g_DFSRList, 0,
     "POQ failed for [ DFSR ] , Error Code:"},
    {"DFRC", SetUp::kOneInstance, g_DFRCList, g_DFRCList, 0, nullptr},
    {"DFSV", SetUp::kOneInstance, g_DFSVList, g_DFSVList, 0, nullptr},
    {"DFRF", SetUp::kOneInstance, g_DFRFList, g_DFRFList, 0, nullptr},
}};

// Deliberately a test for 6 exactly: every other major version, a higher one too, is read by the
// names of the first variant, and whoever reads the rows knows them so.
bool is_major_six() { return g_osMajorVersion == 6; }
bool is_six_one() { return is_major_six() && g_osMinorVersion == 1; }

std::int32_t count_of(CounterRows rows) { return static_cast<std::int32_t>(rows.size()); }

// The C library's atoi leaves numbers beyond 32 bits open; these end at the limits.
std::int32_t number(const char* text) {
  const long value = std::strtol(text, nullptr, 10);
  return static_cast<std::int32_t>(std::clamp<long>(value, std::numeric_limits<std::int32_t>::min(),
                                                    std::numeric_limits<std::int32_t>::max()));
}

}  // namespace

CounterRows list_of_collector(std::uint32_t id) {
  if (id >= kCollectors.size()) return {};
  if (id == kDhcpCollector) return is_six_one() ? CounterRows(g_DHCPListV61) : g_DHCPList;
  return is_major_six() ? kCollectors[id].rows_v6 : kCollectors[id].rows;
}

ADPDH::ADPDH(std::uint32_t table_id) : tableId(table_id) {
  DCW_TRACE("ADPDH");
  Initialize();
}

ADPDH::ADPDH(std::uint32_t table_id, const char* instance_name)
    : tableId(table_id), instanceName(std::make_unique<std::array<char, kInstanceNameSize + 1>>()) {
  DCW_TRACE("ADPDH");
  const std::size_t length = std::strlen(instance_name);
  if (length > kInstanceNameSize) {
    trace.error()("Instance name cut to %zu characters: %s\n", kInstanceNameSize, instance_name);
  }
  std::memcpy(instanceName->data(), instance_name, std::min(length, kInstanceNameSize));
  Initialize();
}

ADPDH::~ADPDH() {
  DCW_TRACE("~ADPDH");
  take_names_out_of_list();
  counterHandles.clear();
  query.reset();
  values.clear();
}

// The lists outlive every collector; no row may keep pointing at a name that dies with this one.
void ADPDH::take_names_out_of_list() {
  for (CounterRow& row : counterList) {
    const bool own = row.szInstanceName == serviceVolumeInstance.data() ||
                     row.szInstanceName == connectionInstance.data() ||
                     row.szInstanceName == replicatedFolderInstance.data() ||
                     (instanceName != nullptr && row.szInstanceName == instanceName->data());
    if (own) row.szInstanceName = nullptr;
  }
}

std::int32_t ADPDH::Initialize() {
  DCW_TRACE("Initialize");
  if (tableId >= kCollectors.size()) {
    trace.always()("Unrecognized Table Request\n");
    return trace.returns(1);
  }
  const Collector& collector = kCollectors[tableId];
  const CounterRows rows = list_of_collector(tableId);
  if (collector.set_up == SetUp::kOneInstance) {
    counterCount = count_of(rows);
    initialize_instances(collector.name, rows);
    return trace.returns(query != nullptr ? 1 : 0);
  }

  std::snprintf(tableName.data(), tableName.size(), "%s", collector.name);
  counterList = rows;
  if (collector.set_up == SetUp::kCountFirst) counterCount = count_of(rows);
  if (!open_query()) {
    trace.error()("%s %08x\n", collector.open_failed, static_cast<unsigned>(status));
    CKUtil::DisplayPDHError(status);
    return trace.returns(0);
  }

  switch (collector.set_up) {
    case SetUp::kCountFirst:
    case SetUp::kQueryFirst:
      counterCount = count_of(rows);
      allocate();
      if (tableId == kDhcpCollector) {
        probe_and_add_dhcp();
      } else {
        probe_and_add(rows, collector.probe);
      }
      break;
    case SetUp::kProbeFirst:
      if (CheckCounterPresence(rows[collector.probe]) != 0) {
        counterCount = count_of(rows);
        allocate();
        AddCounters(rows);
      }
      break;
    case SetUp::kFirstInstance:
      FetchDFSRInstances();
      break;
    case SetUp::kOneInstance:
      break;
  }
  return trace.returns(1);
}

bool ADPDH::open_query() {
  PDH_HQUERY opened = nullptr;
  status = PdhOpenQueryA(nullptr, 0, &opened);
  if (status == 0) query.reset(opened);
  return status == 0;
}

void ADPDH::allocate() {
  counterHandles.assign(static_cast<std::size_t>(counterCount), nullptr);
  values.assign(static_cast<std::size_t>(counterCount), 0.0);
}

void ADPDH::probe_and_add(CounterRows list, std::size_t probe) {
  if (CheckCounterPresence(list[probe]) != 0) AddCounters(list);
}

// Deliberate: the third test is the other branch of the second one alone, so that version 6.0 adds
// the list twice and reads the second set. On versions other than 6 the second object's rows fail
// one by one, and nobody reads them there.
void ADPDH::probe_and_add_dhcp() {
  if (is_major_six() && g_osMinorVersion == 0) probe_and_add(g_DHCPList, 0);
  if (is_six_one()) {
    probe_and_add(g_DHCPListV61, 0);
  } else {
    probe_and_add(g_DHCPList, 0);
  }
}

ADPDH::PathFault ADPDH::make_valid_path(CounterRow& row) {
  DWORD size = static_cast<DWORD>(counterPath.size());
  status = PdhMakeCounterPathA(&row, counterPath.data(), &size, 0);
  if (status != 0) return {"PdhMakeCounterPath", row.szCounterName};
  status = PdhValidatePathA(counterPath.data());
  if (status != 0) return {"PdhValidatePath", counterPath.data()};
  return {};
}

std::int32_t ADPDH::CheckCounterPresence(CounterRow row) {
  DCW_TRACE("CheckCounterPresence");
  const PathFault fault = make_valid_path(row);
  if (fault.call == nullptr) {
    present = 1;
    return trace.returns(1);
  }
  // Deliberate: without the error level a failed probe leaves `present` as it was. It matters only
  // to the one collector that probes again, which then goes on delivering what it had.
  if (trace.on(trace::kError)) {
    trace.error()("%s failed for [%s] %08x\n", fault.call, fault.subject,
                  static_cast<unsigned>(status));
    CKUtil::DisplayPDHError(status);
    present = 0;
  }
  return trace.returns(0);
}

std::int32_t ADPDH::AddCounters(CounterRows list) {
  DCW_TRACE("AddCounters");
  const std::size_t count = std::min(counterHandles.size(), list.size());
  for (std::size_t i = 0; i < count; ++i) {
    CounterRow& row = list[i];
    const PathFault fault = make_valid_path(row);
    if (fault.call != nullptr) {
      trace.error()("%s failed for [%s] %08x\n", fault.call, fault.subject,
                    static_cast<unsigned>(status));
      CKUtil::DisplayPDHError(status);
      continue;
    }
    counterHandles[i] = nullptr;
    status = PdhAddCounterA(query.get(), counterPath.data(), 0, &counterHandles[i]);
    if (status != 0) {
      counterHandles[i] = nullptr;
      trace.error()("PdhAddCounter failed for [%s] %08x\n", counterPath.data(),
                    static_cast<unsigned>(status));
      CKUtil::DisplayPDHError(status);
      continue;
    }
    trace.detail()("Adding (%d) [%s\\%s]\n", static_cast<int>(i), row.szObjectName,
                   row.szCounterName);
  }
  return trace.returns(1);
}

std::int32_t ADPDH::CollectData() {
  DCW_TRACE("CollectData");
  constexpr DWORD kRateInterval_ms = 500;
  trace.always()(" Collecting data for [ %s ] \n", tableName.data());
  // Read at every call, so that the values can be replaced while the agent runs.
  if (const char* seed = SYS1_GetEnv(settings::kUnitTestSeed.name, 0); seed != nullptr) {
    fill_with_test_data(trace, seed);
    return trace.returns(1);
  }
  if (!collect(trace)) return trace.returns(0);
  Sleep(kRateInterval_ms);
  if (!collect(trace)) return trace.returns(0);
  format_values(trace);
  return trace.returns(1);
}

bool ADPDH::collect(const trace::Scope& trace) {
  status = PdhCollectQueryData(query.get());
  if (status == 0) return true;
  trace.error()("PCQD failed %08x\n", static_cast<unsigned>(status));
  CKUtil::DisplayPDHError(status);
  return false;
}

void ADPDH::fill_with_test_data(const trace::Scope& trace, const char* seed) {
  const double first = number(seed);
  trace.detail()("Using unit test data.");
  for (std::size_t i = 0; i < values.size(); ++i) {
    values[i] = first + static_cast<double>(i);
    trace.detail()("%s: %f\n", counterList[i].szCounterName, values[i]);
  }
}

void ADPDH::format_values(const trace::Scope& trace) {
  const std::size_t count = std::min(values.size(), counterHandles.size());
  for (std::size_t i = 0; i < count; ++i) {
    const char* name = counterList[i].szCounterName;
    values[i] = 0;
    status = PdhGetFormattedCounterValue(counterHandles[i], PDH_FMT_DOUBLE, nullptr, &value);
    if (status == 0) {
      values[i] = value.doubleValue;
      trace.detail()("%s: %f\n", name, values[i]);
      continue;
    }
    trace.error()("PGFCV failed for [ Table :%s, Counter#: %s ] %08x\n", tableName.data(), name,
                  static_cast<unsigned>(status));
    CKUtil::DisplayPDHError(status);
  }
}

void ADPDH::PrintValues() const {
  DCW_TRACE("PrintValues");
  for (std::size_t i = 0; i < values.size(); ++i) {
    std::printf("Value of [Table: %s, Counter Index: %d] is : [%3.3f]\n", tableName.data(),
                static_cast<int>(i), values[i]);
  }
}
