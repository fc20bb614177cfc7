// The collectors of distributed file replication, whose counter objects have instances: the one
// that follows the first instance of each object, and the set-up of those that serve one instance.

#include <algorithm>
#include <cstdio>
#include <cstring>

#include "counters/adpdh.h"
#include "include/trace.h"
#include "tables/ckutil.h"

using counters::CounterRow;
using counters::CounterRows;

std::int32_t ADPDH::initialize_instances(const char* name, CounterRows list) {
  DCW_TRACE("initialize_instances");
  std::snprintf(tableName.data(), tableName.size(), "%s", name);
  counterList = list;
  if (!open_query()) {
    trace.always()("*****Open query FAiled*****:");
    // Deliberate: the line names DNS for each of the three objects.
    trace.error()("POQ failed for [ DNS ] , Error Code: %08x\n", static_cast<unsigned>(status));
    CKUtil::DisplayPDHError(status);
    return trace.returns(0);
  }
  trace.always()("*****Open query Passed*****:");
  allocate();
  trace.always()("*****Total Counters*****:%d", static_cast<int>(counterCount));
  // All collectors of an object share its list, whose rows name the instance of the one built
  // last. That disturbs none of the others: their paths have been made by then.
  if (instanceName != nullptr) {
    for (CounterRow& row : list) row.szInstanceName = instanceName->data();
  }
  // The object has just told this instance's name, so that there is nothing to probe.
  return trace.returns(AddCounters(list));
}

std::int32_t ADPDH::PdhGetInstanceName(const char* object, FirstInstance& name) {
  DCW_TRACE("PdhGetInstanceName");
  std::array<char, 1024> counter_names{};
  std::array<char, 1025> instances{};  // the last one stays zero
  DWORD counters_size = static_cast<DWORD>(counter_names.size());
  DWORD instances_size = static_cast<DWORD>(instances.size() - 1);
  // More names than fit are a failure here, although the first one would be among them.
  status = PdhEnumObjectItemsA(nullptr, nullptr, object, counter_names.data(), &counters_size,
                               instances.data(), &instances_size, PERF_DETAIL_WIZARD, 0);
  if (status != 0) {
    trace.error()("PEOI failed for object %s , Error Code: %08x\n", object,
                  static_cast<unsigned>(status));
    CKUtil::DisplayPDHError(status);
    return trace.returns(0);
  }
  const std::size_t length = std::strlen(instances.data());
  if (length >= name.size()) {
    trace.error()("Instance name cut to %zu characters: %s\n", name.size() - 1, instances.data());
  }
  name.fill('\0');
  std::memcpy(name.data(), instances.data(), std::min(length, name.size() - 1));
  if (name[0] == '\0') {
    trace.detail()("No instance for %s.", object);
  } else {
    trace.detail()("Instance for %s : %s", object, name.data());
  }
  return trace.returns(1);
}

std::int32_t ADPDH::FetchDFSRInstances() {
  DCW_TRACE("FetchDFSRInstances");
  struct Object {
    const char* name;
    FirstInstance* stored;
    FirstInstance chosen;
  };
  std::array<Object, 3> objects = {{
      {counters::kDfsVolumes, &serviceVolumeInstance, {}},
      {counters::kDfsConnections, &connectionInstance, {}},
      {counters::kDfsFolders, &replicatedFolderInstance, {}},
  }};
  bool same = true;
  for (Object& object : objects) {
    FirstInstance raw{};
    object.chosen = PdhGetInstanceName(object.name, raw) != 0 ? raw : *object.stored;
    // Deliberately the raw name: an enumeration that failed leaves it empty, and then the counters
    // are added again, with the name of before, at every sample until it succeeds.
    if (std::strcmp(raw.data(), object.stored->data()) != 0) same = false;
  }
  if (same) return trace.returns(1);
  for (Object& object : objects) *object.stored = object.chosen;
  rebuild_dfs();
  return trace.returns(1);
}

// The handles of before are let go of here; their counters stay in the query, read by nobody.
void ADPDH::rebuild_dfs() {
  // Deliberate: the objects change at rows 5 and 15, the names one row later, so that those two
  // rows ask for the preceding object's instance.
  constexpr std::size_t kLastVolumeRow = 5;
  constexpr std::size_t kLastConnectionRow = 15;
  for (std::size_t i = 0; i < g_DFSRList.size(); ++i) {
    FirstInstance& name = i <= kLastVolumeRow       ? serviceVolumeInstance
                          : i <= kLastConnectionRow ? connectionInstance
                                                    : replicatedFolderInstance;
    g_DFSRList[i].szInstanceName = name.data();
  }
  counterCount = static_cast<std::int32_t>(g_DFSRList.size());
  counterHandles.assign(g_DFSRList.size(), nullptr);
  if (CheckCounterPresence(g_DFSRList[0]) != 0) {
    values.assign(g_DFSRList.size(), 0.0);
    AddCounters(g_DFSRList);
  }
}
