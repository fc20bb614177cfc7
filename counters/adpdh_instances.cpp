#include "counters/adpdh_instances.h"

#include <cstdio>
#include <cstring>
#include <new>

#include "include/platform/base.h"
#include "include/platform/counters.h"
#include "include/platform/sockets.h"
#include "include/trace.h"

ADPDH_instances::ADPDH_instances(std::uint32_t table_id, const char* object) {
  DCW_TRACE("ADPDH_instances");
  std::vector<std::string> names;
  // One more than is offered: a name that fills the buffer has no end of its own.
  std::array<char, 65> host{};
  std::memset(host.data(), ' ', host.size() - 1);
  gethostname(host.data(), static_cast<int>(host.size() - 1));
  EnumerateExistingInstances(host.data(), object, names);
  instanceCount = static_cast<std::int32_t>(names.size());
  collectors.reserve(names.size());
  for (const std::string& name : names) {
    collectors.push_back(std::make_unique<ADPDH>(table_id, name.c_str()));
    trace.always()("*****Object Creted for Instance Num*****:%d",
                   static_cast<int>(collectors.size()));
    trace.always()("*****Object Creted for Instance *****:%s", name.c_str());
  }
}

ADPDH_instances::~ADPDH_instances() { DCW_TRACE("~ADPDH_instances"); }

void ADPDH_instances::EnumerateExistingInstances(const char* machine, const char* object,
                                                 std::vector<std::string>& names) {
  DCW_TRACE("EnumerateExistingInstances");
  // Asked for nothing but its effect: the library reads its list of objects anew.
  DWORD objects_size = 0;
  PdhEnumObjectsA(nullptr, machine, nullptr, &objects_size, PERF_DETAIL_WIZARD, TRUE);

  DWORD counters_size = 0;
  std::array<char, 2> too_small{};
  DWORD instances_size = static_cast<DWORD>(too_small.size());
  PDH_STATUS status = PdhEnumObjectItemsA(nullptr, machine, object, nullptr, &counters_size,
                                          too_small.data(), &instances_size, PERF_DETAIL_WIZARD, 0);
  if (static_cast<DWORD>(status) != PDH_MORE_DATA) return;

  // Two zeros behind what the library is told of, so that any list it writes comes to an end.
  const auto buffer = [](DWORD size) {
    return std::unique_ptr<char[]>(new (std::nothrow) char[std::size_t{size} + 2]());
  };
  const auto counter_names = buffer(counters_size);
  const auto instances = buffer(instances_size);
  if (counter_names == nullptr || instances == nullptr) {
    std::fprintf(stderr, "HA failed %08x\n", static_cast<unsigned>(GetLastError()));
    return;
  }
  status = PdhEnumObjectItemsA(nullptr, machine, object, counter_names.get(), &counters_size,
                               instances.get(), &instances_size, PERF_DETAIL_WIZARD, 0);
  if (status != 0) {
    std::fprintf(stderr, "PEOI failed %08x\n", static_cast<unsigned>(status));
    return;
  }
  for (const char* name = instances.get(); *name != '\0'; name += std::strlen(name) + 1) {
    trace.always()(" Instance Name :%s \n", name);
    names.emplace_back(name);
  }
}

std::int32_t ADPDH_instances::GetCounterCount(std::int32_t index) const {
  return collectors.at(static_cast<std::size_t>(index))->GetCounterCount();
}

const char* ADPDH_instances::GetInstanceName(std::int32_t index) const {
  return collectors.at(static_cast<std::size_t>(index))->instance_name();
}

void ADPDH_instances::getDataValues(std::int32_t index, const double*& values, Name& name) {
  DCW_TRACE("getDataValues");
  ADPDH& collector = *collectors.at(static_cast<std::size_t>(index));
  collector.CollectData();
  values = collector.GetValues();
  trace.always()("*****gET daTA COMPLETE *****");
  collector.PrintValues();
  trace.always()("*****print daTA COMPLETE *****");
  std::snprintf(name.data(), name.size(), "%s", collector.instance_name());
  trace.always()("*****copy complete for instance :%s*****", name.data());
}
