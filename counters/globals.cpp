#include "counters/globals.h"

#include <cstddef>
#include <iterator>
#include <new>
#include <type_traits>

#include "counters/collector_in_use.h"
#include "counters/localise.h"
#include "include/collection_status.h"
#include "include/settings.h"
#include "include/trace.h"
#include "include/trc.h"

std::atomic<ADPDH*> g_AddressBook{nullptr};
std::atomic<ADPDH*> g_Replication{nullptr};
std::atomic<ADPDH*> g_DirServices{nullptr};
std::atomic<ADPDH*> g_KCC{nullptr};
std::atomic<ADPDH*> g_KDC{nullptr};
std::atomic<ADPDH*> g_LDAP{nullptr};
std::atomic<ADPDH*> g_SAM{nullptr};
std::atomic<ADPDH*> g_NSPI{nullptr};
std::atomic<ADPDH*> g_LSA{nullptr};
std::atomic<ADPDH*> g_FRS{nullptr};
std::atomic<ADPDH*> g_ESE{nullptr};
std::atomic<ADPDH*> g_DHCP{nullptr};
std::atomic<ADPDH*> g_DNS{nullptr};
std::atomic<ADPDH*> g_DFSR{nullptr};
std::atomic<ADPDH_instances*> g_DFRC{nullptr};
std::atomic<ADPDH_instances*> g_DFSV{nullptr};
std::atomic<ADPDH_instances*> g_DFRF{nullptr};

namespace {

template <typename Object, typename... Arguments>
void build(std::atomic<Object*>& global, Arguments... arguments) {
  try {
    global = new Object(arguments...);
  } catch (const std::bad_alloc&) {
    global = nullptr;
  }
}

struct Global {
  const char* name;
  std::atomic<ADPDH*>* collector;
  std::uint32_t id;
};
constexpr Global kGlobals[] = {
    {"g_AddressBook", &g_AddressBook, kAddressBookCollector},
    {"g_Replication", &g_Replication, kReplicationCollector},
    {"g_DirServices", &g_DirServices, kDirectoryServicesCollector},
    {"g_KCC", &g_KCC, kConsistencyCheckerCollector},
    {"g_KDC", &g_KDC, kKeyDistributionCollector},
    {"g_LDAP", &g_LDAP, kLdapCollector},
    {"g_SAM", &g_SAM, kAccountsManagerCollector},
    {"g_NSPI", &g_NSPI, kNameServiceCollector},
    {"g_LSA", &g_LSA, kSecurityAuthorityCollector},
    {"g_FRS", &g_FRS, kFileReplicationCollector},
    {"g_ESE", &g_ESE, kDatabaseCollector},
    {"g_DHCP", &g_DHCP, kDhcpCollector},
    {"g_DNS", &g_DNS, kDnsCollector},
    {"g_DFSR", &g_DFSR, kDfsCollector},
};

// As they were built, but that NSPI goes before SAM.
constexpr std::size_t kOrderOfDestruction[] = {0, 1, 2, 3, 4, 5, 7, 6, 8, 9, 10, 11, 12, 13};
static_assert(std::size(kOrderOfDestruction) == std::size(kGlobals));

struct InstanceGlobal {
  const char* name;
  std::atomic<ADPDH_instances*>* collectors;
  std::uint32_t id;
  const char* object;
};
constexpr InstanceGlobal kInstanceGlobals[] = {
    {"g_DFRC", &g_DFRC, kDfsConnectionCollector, counters::kDfsConnections},
    {"g_DFSV", &g_DFSV, kDfsVolumeCollector, counters::kDfsVolumes},
    {"g_DFRF", &g_DFRF, kDfsFolderCollector, counters::kDfsFolders},
};

template <typename Object>
void destroy(const trace::Scope& trace, const char* name, std::atomic<Object*>& global) {
  // Taken before it is destroyed: a stop from outside runs the stop sequence on two threads, which
  // can meet here.
  Object* object = global.exchange(nullptr);
  if (object == nullptr) return;
  trace.always()("%s: <%p>", name, static_cast<void*>(object));
  if constexpr (std::is_same_v<Object, ADPDH>) {
    // A cached collection may be using it still.
    destroy_when_unused(object);
  } else {
    delete object;
  }
}

}  // namespace

unsigned __stdcall allocateGlobals(void*) {
  DCW_TRACE("allocateGlobals");
  status::Collection building(status::Job::kCollectors);
  SYS1_GetLock(&g_collectLock);
  building.begins(status::Collection::Lock::kHeld);
  if (const HANDLE waited_for = g_allocationHasLock; waited_for != nullptr) SetEvent(waited_for);
  ResetEvent(g_allocateGlobalsEvent);
  if (has_default_english()) {
    trace.always()("\n\nUsing Default English Version.");
  } else {
    convertToLocalizedLanguage();
  }
  for (const Global& global : kGlobals) {
    status::step("builds", global.name);
    build(*global.collector, global.id);
  }
  for (const InstanceGlobal& global : kInstanceGlobals) {
    status::step("builds", global.name);
    build(*global.collectors, global.id, global.object);
  }
  trace.always()("*****CREATED OBJECTS*****");
  SetEvent(g_allocateGlobalsEvent);
  building.ends();
  SYS1_ReleaseLock(&g_collectLock);
  return trace.returns(0u);
}

void deleteGlobals() {
  DCW_TRACE("deleteGlobals");
  for (const std::size_t i : kOrderOfDestruction) {
    destroy(trace, kGlobals[i].name, *kGlobals[i].collector);
  }
  for (const InstanceGlobal& global : kInstanceGlobals) {
    destroy(trace, global.name, *global.collectors);
  }
}
