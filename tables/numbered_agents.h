#pragma once
// The tables whose sample objects are numbered, for traces that tell two objects of one table
// apart, and what else such an object keeps.

#include <atomic>
#include <cstdint>

#include "tables/catalogue.h"
#include "tables/table.h"

#define DCW_FOR_EACH_NUMBERED_TABLE(X) \
  X(DCWNTDSDCA)                        \
  X(DCWNTDSDAI)                        \
  X(DCWNTDSRLT)                        \
  X(DCWNTDSTRS)

namespace tables {

struct InstanceNumber {
  std::int32_t instanceNumber = 0;
};

template <const auto& kTable>
struct NumberedState : InstanceNumber {};

// DomainControllerAvailability: the role holders that the object's sample before delivered, each
// with a zero end. A new object has none, and begins its comparison afresh.
template <>
struct NumberedState<DCWNTDSDCA> : InstanceNumber {
  std::uint32_t firstSample = 1;
  char prevRid[64] = {};
  char prevDn[64] = {};
  char prevInf[64] = {};
  char prevSch[64] = {};
  char prevPdc[64] = {};
};

// Counts from 1 to the largest number and then from 1 again. Any thread.
std::int32_t next_instance_number(std::atomic<std::int32_t>& last);

#define DCW_NUMBERED_TABLE(definition)                                 \
  template <>                                                          \
  struct AgentState<definition> : public NumberedState<definition> {}; \
  template <>                                                          \
  void Agent<definition>::TakeSampleConstructor();
DCW_FOR_EACH_NUMBERED_TABLE(DCW_NUMBERED_TABLE)
#undef DCW_NUMBERED_TABLE

}  // namespace tables
