#include "collectors/pending.h"

#include <algorithm>
#include <array>

namespace {

#define DCW_PENDING_NAME(lower, definition) std::string_view{#definition},
constexpr std::array kPending = {DCW_FOR_EACH_PENDING_TABLE(DCW_PENDING_NAME)};
#undef DCW_PENDING_NAME

}  // namespace

bool is_pending(std::string_view table) {
  return std::find(kPending.begin(), kPending.end(), table) != kPending.end();
}

namespace tables {

#define DCW_PENDING_TAKE_SAMPLE(lower, definition)                              \
  template <>                                                                   \
  void Agent<definition>::TakeSample() {                                        \
    DCW_TRACE("TakeSample");                                                    \
    trace.always()("No collector is built for table %s yet.", definition.name); \
  }
DCW_FOR_EACH_PENDING_TABLE(DCW_PENDING_TAKE_SAMPLE)
#undef DCW_PENDING_TAKE_SAMPLE

}  // namespace tables
