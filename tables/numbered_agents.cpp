#include "tables/numbered_agents.h"

#include <limits>

namespace tables {

namespace {

template <const auto& kTable>
std::atomic<std::int32_t> last_number{0};

}  // namespace

std::int32_t next_instance_number(std::atomic<std::int32_t>& last) {
  std::int32_t before = last;
  std::int32_t next;
  do {
    next = before == std::numeric_limits<std::int32_t>::max() ? 1 : before + 1;
  } while (!last.compare_exchange_weak(before, next));
  return next;
}

#define DCW_NUMBER_AGENT(definition)                                      \
  template <>                                                             \
  void Agent<definition>::TakeSampleConstructor() {                       \
    DCW_TRACE("TakeSampleConstructor");                                   \
    state.instanceNumber = next_instance_number(last_number<definition>); \
  }
DCW_FOR_EACH_NUMBERED_TABLE(DCW_NUMBER_AGENT)
#undef DCW_NUMBER_AGENT

}  // namespace tables
