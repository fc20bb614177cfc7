#pragma once
// The one class through which the agent reads performance counters. A collector serves one table:
// it holds an open query with one counter for each row of its counter list and delivers, on demand,
// an array of doubles in list order. All set-up happens in the constructor, in one of three ends:
//
//   query not opened           Initialize gave 0; nothing can be collected
//   counter object missing     IsPresent is 0; the table has no data on this machine
//   ready                      IsPresent is 1
//
// A counter that is missing when the collector is built stays missing until the agent restarts;
// only the collector of the file replication table looks again, by FetchDFSRInstances.
//
// No lock and no atomic member: one thread at a time. The framework samples a table from one thread
// at a time, and the event that says that the collectors exist keeps readers out before that.
// Every failure is told in the trace only; nothing is thrown but a failed allocation, by the
// constructor.

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include "counters/lists.h"
#include "include/platform/counters.h"

namespace trace {
class Scope;
}

// What a collector collects. The numbers are given out once and for all; 9 has no global object.
enum CollectorId : std::uint32_t {
  kAddressBookCollector = 0,
  kReplicationCollector = 1,
  kDirectoryServicesCollector = 2,
  kConsistencyCheckerCollector = 3,
  kKeyDistributionCollector = 4,
  kLdapCollector = 5,
  kSecurityAuthorityCollector = 6,
  kNameServiceCollector = 7,
  kAccountsManagerCollector = 8,
  kExchangeCollector = 9,
  kFileReplicationCollector = 10,
  kDatabaseCollector = 11,
  kDhcpCollector = 12,
  kDnsCollector = 13,
  kDfsCollector = 14,
  kDfsConnectionCollector = 15,  // one for each instance, as the two below
  kDfsVolumeCollector = 16,
  kDfsFolderCollector = 17,
};

// The counters that a collector reads on this version of the system, as g_osMajorVersion and
// g_osMinorVersion tell it; none for a number that is no collector's.
counters::CounterRows list_of_collector(std::uint32_t id);

class ADPDH {
 public:
  // Characters of an instance name that a collector keeps, and that the rows' columns hold.
  static constexpr std::size_t kInstanceNameSize = 256;

  explicit ADPDH(std::uint32_t table_id);
  // For a collector of one instance. A name of more than kInstanceNameSize characters is cut there.
  ADPDH(std::uint32_t table_id, const char* instance_name);
  ~ADPDH();
  ADPDH(const ADPDH&) = delete;
  ADPDH& operator=(const ADPDH&) = delete;

  // 1, or 0 when the query could not be opened. Run by the constructors, which ignore the result.
  std::int32_t Initialize();
  // 1 when the row's path is valid now, else 0; sets `present` accordingly (see the source for when
  // it does not).
  std::int32_t CheckCounterPresence(counters::CounterRow row);
  // Adds the first GetCounterCount rows to the query. A row that fails stops nothing: its value
  // stays 0. Always 1.
  std::int32_t AddCounters(counters::CounterRows list);

  // Two collections 500 milliseconds apart, over which rates are taken. 1, also when single
  // counters failed, which then are 0; 0 when a collection failed, and the values are those of
  // before.
  std::int32_t CollectData();
  // The collector's own array, overwritten by the next CollectData; null when there is none.
  const double* GetValues() const { return values.empty() ? nullptr : values.data(); }
  std::int32_t GetCounterCount() const { return counterCount; }
  std::int32_t IsPresent() const { return present; }
  // Each value on a line of standard output, so that a console run shows them.
  void PrintValues() const;

  // Follows the first instance of each of the three file replication objects; when one is another
  // than before, adds all counters again for the new names. Always 1.
  std::int32_t FetchDFSRInstances();
  // The set-up of a collector of one instance: no probe, `present` stays 0. The result of
  // AddCounters, or 0 when the query could not be opened.
  std::int32_t initialize_instances(const char* name, counters::CounterRows list);

  // The instance that the second constructor was given, or null.
  const char* instance_name() const {
    return instanceName == nullptr ? nullptr : instanceName->data();
  }

 private:
  using FirstInstance = std::array<char, 512>;
  struct CloseQuery {
    using pointer = PDH_HQUERY;
    void operator()(PDH_HQUERY open) const { PdhCloseQuery(open); }
  };
  struct PathFault {
    const char* call;
    const char* subject;
  };

  // False when the query could not be opened; `status` tells why.
  bool open_query();
  void allocate();
  void probe_and_add(counters::CounterRows list, std::size_t probe);
  void probe_and_add_dhcp();
  // Leaves the row's path in counterPath; gives the call that failed, or nothing in its fields.
  PathFault make_valid_path(counters::CounterRow& row);
  std::int32_t PdhGetInstanceName(const char* object, FirstInstance& name);
  void rebuild_dfs();
  bool collect(const trace::Scope& trace);
  void fill_with_test_data(const trace::Scope& trace, const char* seed);
  void format_values(const trace::Scope& trace);
  void take_names_out_of_list();

  std::unique_ptr<void, CloseQuery> query;
  std::vector<PDH_HCOUNTER> counterHandles;  // null: the counter was never added
  std::uint32_t tableId;
  std::int32_t counterCount = 0;
  std::array<char, 260> counterPath{};
  std::int32_t present = 0;
  PDH_FMT_COUNTERVALUE value{};
  PDH_STATUS status = 0;  // of the last call of the counter library
  std::array<char, 32> tableName{};
  std::vector<double> values;
  counters::CounterRows counterList;
  FirstInstance serviceVolumeInstance{};
  FirstInstance connectionInstance{};
  FirstInstance replicatedFolderInstance{};
  std::unique_ptr<std::array<char, kInstanceNameSize + 1>> instanceName;
};
