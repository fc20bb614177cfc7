#include "counters/collector_in_use.h"

#include <algorithm>
#include <memory>
#include <vector>

#include "include/trc.h"

namespace {

struct Use {
  ADPDH* collector;
  int users;
  bool unwanted;  // to be destroyed by its last user
};

SYS1_Lock lock;
// Guarded by lock. Never destroyed: collections may outlive main.
std::vector<Use>& uses = *new std::vector<Use>;

class Guard {
 public:
  Guard() { SYS1_GetLock(&lock); }
  ~Guard() { SYS1_ReleaseLock(&lock); }
  Guard(const Guard&) = delete;
  Guard& operator=(const Guard&) = delete;
};

std::vector<Use>::iterator use_of(const ADPDH* collector) {
  return std::find_if(uses.begin(), uses.end(),
                      [&](const Use& use) { return use.collector == collector; });
}

}  // namespace

CollectorInUse::CollectorInUse(const std::atomic<ADPDH*>& global) {
  const Guard guard;
  // Read under the lock: whoever takes the pointer away looks for its uses after that.
  collector_ = global;
  if (collector_ == nullptr) return;
  const auto use = use_of(collector_);
  if (use == uses.end()) {
    uses.push_back({collector_, 1, false});
  } else {
    ++use->users;
  }
}

CollectorInUse::~CollectorInUse() {
  std::unique_ptr<ADPDH> last;  // goes after the lock does
  const Guard guard;
  const auto use = use_of(collector_);
  if (use == uses.end() || --use->users > 0) return;
  if (use->unwanted) last.reset(collector_);
  uses.erase(use);
}

void destroy_when_unused(ADPDH* collector) {
  std::unique_ptr<ADPDH> owner{collector};
  const Guard guard;
  const auto use = use_of(collector);
  if (use == uses.end()) return;
  use->unwanted = true;
  static_cast<void>(owner.release());
}
