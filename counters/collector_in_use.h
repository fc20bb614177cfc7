#pragma once
// A cached collection runs on after the agent's stop has begun, and the stop destroys the
// collectors without waiting for anybody. One of these keeps a collector alive for as long as a
// collection uses it.

#include <atomic>

#include "counters/adpdh.h"

class CollectorInUse {
 public:
  explicit CollectorInUse(const std::atomic<ADPDH*>& global);
  // The last use of a collector that was to be destroyed meanwhile destroys it.
  ~CollectorInUse();
  CollectorInUse(const CollectorInUse&) = delete;
  CollectorInUse& operator=(const CollectorInUse&) = delete;

  // Null when there is none: not built yet, or destroyed.
  ADPDH* get() const { return collector_; }

 private:
  ADPDH* collector_;
};

// Destroys a collector that no global points at any more, now or when its last use ends. Does not
// wait. Null is left alone.
void destroy_when_unused(ADPDH* collector);
