#include "counters/wanted.h"

#include <algorithm>
#include <iterator>

#include "counters/adpdh.h"
#include "counters/adpdh_instances.h"
#include "counters/lists.h"
#include "counters/localise.h"
#include "tables/catalogue.h"
#include "tables/ckutil.h"

namespace counters {

namespace {

struct Reader {
  const char* table;
  CollectorId collector;
};
constexpr Reader kReaders[] = {
    {tables::DCWNTDSAB.name, kAddressBookCollector},
    {tables::DCWNTDSRPL.name, kReplicationCollector},
    {tables::DCWNTDSDS.name, kDirectoryServicesCollector},
    {tables::DCWNTDSKCC.name, kConsistencyCheckerCollector},
    {tables::DCWNTDSKDC.name, kKeyDistributionCollector},
    {tables::DCWNTDSLDP.name, kLdapCollector},
    {tables::DCWNTDSLSA.name, kSecurityAuthorityCollector},
    {tables::DCWNTDSNSP.name, kNameServiceCollector},
    {tables::DCWNTDSSAM.name, kAccountsManagerCollector},
    {tables::DCWNTDSXDS.name, kExchangeCollector},
    {tables::DCWNTDSFRS.name, kFileReplicationCollector},
    {tables::DCWNTDSDCP.name, kDatabaseCollector},
    {tables::DCWNTDSDHC.name, kDhcpCollector},
    {tables::DCWNTDSDNS.name, kDnsCollector},
    {tables::DCWNTDSDFS.name, kDfsCollector},
    {tables::DCWNTDSDRC.name, kDfsConnectionCollector},
    {tables::DCWNTDSDSV.name, kDfsVolumeCollector},
    {tables::DCWNTDSDRF.name, kDfsFolderCollector},
};

const Reader* find_reader(std::string_view table) {
  const auto found = std::find_if(std::begin(kReaders), std::end(kReaders),
                                  [table](const Reader& one) { return one.table == table; });
  return found == std::end(kReaders) ? nullptr : found;
}

void add(std::vector<Wanted>& wanted, const char* table, CounterRows list, const char* instance) {
  for (const CounterRow& row : list) {
    const char* name = instance != nullptr ? instance : row.szInstanceName;
    wanted.push_back({table, row.szObjectName, name == nullptr ? "" : name, row.szCounterName});
  }
}

void add_instances(std::vector<Wanted>& wanted, const Reader& reader, const char* object) {
  const ADPDH_instances collectors(reader.collector, object);
  for (std::int32_t i = 0; i < collectors.GetInstanceCount(); ++i) {
    add(wanted, reader.table, list_of_collector(reader.collector), collectors.GetInstanceName(i));
  }
}

}  // namespace

void prepare_lists() {
  CKUtil::setOSVersion();
  if (!has_default_english()) convertToLocalizedLanguage();
}

bool reads_counters(std::string_view table) { return find_reader(table) != nullptr; }

std::vector<Wanted> wanted_counters(std::string_view table) {
  std::vector<Wanted> wanted;
  const Reader* reader = find_reader(table);
  if (reader == nullptr) return wanted;
  const CounterRows list = list_of_collector(reader->collector);
  switch (reader->collector) {
    case kDfsCollector: {
      // Writes the first instances into the list for as long as it lives.
      const ADPDH collector(kDfsCollector);
      add(wanted, reader->table, list, nullptr);
      break;
    }
    case kDfsConnectionCollector:
      add_instances(wanted, *reader, kDfsConnections);
      break;
    case kDfsVolumeCollector:
      add_instances(wanted, *reader, kDfsVolumes);
      break;
    case kDfsFolderCollector:
      add_instances(wanted, *reader, kDfsFolders);
      break;
    default:
      add(wanted, reader->table, list, nullptr);
  }
  return wanted;
}

}  // namespace counters
