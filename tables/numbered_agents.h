#pragma once
// The tables whose sample objects are numbered, for traces that tell two objects of one table
// apart.

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

// Counts from 1 to the largest number and then from 1 again. Any thread.
std::int32_t next_instance_number(std::atomic<std::int32_t>& last);

#define DCW_NUMBERED_TABLE(definition)                      \
  template <>                                               \
  struct AgentState<definition> : public InstanceNumber {}; \
  template <>                                               \
  void Agent<definition>::TakeSampleConstructor();
DCW_FOR_EACH_NUMBERED_TABLE(DCW_NUMBERED_TABLE)
#undef DCW_NUMBERED_TABLE

}  // namespace tables
