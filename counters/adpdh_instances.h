#pragma once
// The collectors of one counter object with instances: one collector for each instance that existed
// when this was built. The number is fixed from then on: an instance that appears later is not seen
// until the agent restarts, and one that goes away keeps its collector, whose counters then fail
// one by one.
//
// No lock, as in ADPDH: built on one thread, then used by the sampling thread of one table.

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "counters/adpdh.h"

class ADPDH_instances {
 public:
  // An instance's name with its zero end.
  using Name = std::array<char, ADPDH::kInstanceNameSize + 1>;

  ADPDH_instances(std::uint32_t table_id, const char* object);
  ~ADPDH_instances();
  ADPDH_instances(const ADPDH_instances&) = delete;
  ADPDH_instances& operator=(const ADPDH_instances&) = delete;

  std::int32_t GetInstanceCount() const { return instanceCount; }
  // Appends the object's instances in the counter library's order; none when it cannot tell.
  void EnumerateExistingInstances(const char* machine, const char* object,
                                  std::vector<std::string>& names);
  // Collects for one instance, which takes half a second. The values stay the collector's own until
  // the next call; there are GetCounterCount(index) of them.
  void getDataValues(std::int32_t index, const double*& values, Name& name);
  std::int32_t GetCounterCount(std::int32_t index) const;
  const char* GetInstanceName(std::int32_t index) const;

 private:
  std::int32_t instanceCount = 0;
  std::vector<std::unique_ptr<ADPDH>> collectors;
};
