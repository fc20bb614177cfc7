#pragma once
// What tables keep in each of their agent objects, and which of them have work to do when such an
// object is made. A table that is not here keeps nothing.

#include <cstdint>

#include "tables/catalogue.h"
#include "tables/table.h"

namespace tables {

// DNS: the totals of the sample before, from which the next one's deltas are computed. A new object
// has none, and its first deltas are 0.
template <>
struct AgentState<DCWNTDSDNS> {
  std::uint8_t firstSample = 1;
  std::int32_t prevResponses = 0;
  std::int32_t prevQueries = 0;
  std::int32_t prevUpdates = 0;
  std::int32_t prevRejected = 0;
  std::int32_t prevTimeOuts = 0;
  std::int32_t prevZoneFailures = 0;
  std::int32_t prevZoneRequests = 0;
  std::int32_t prevZoneSuccesses = 0;
  std::int32_t instanceNumber = 0;  // tells the objects of this table apart in the trace
};

template <>
void Agent<DCWNTDSDNS>::TakeSampleConstructor();
template <>
void Agent<DCWNTDSDHC>::TakeSampleConstructor();

}  // namespace tables
