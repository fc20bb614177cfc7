#include "collectors/cache.h"

namespace collectors {

void collect_in_turn(status::Job job, void (*collect)()) {
  status::Collection collection(job);
  SYS1_GetLock(&g_collectLock);
  collection.begins(status::Collection::Lock::kHeld);
  collect();
  collection.ends();
  SYS1_ReleaseLock(&g_collectLock);
}

unsigned run_cache_thread(trace::Scope& trace, status::Job job, void (*collect)()) {
  while (hTerminateEvent != nullptr) {
    collect_in_turn(job, collect);
    Sleep(static_cast<DWORD>(g_cacheInterval.load()));
  }
  return trace.returns(0u);
}

void tell_row_count(const trace::Scope& trace, const CacheShape& shape, std::size_t rows) {
  if (shape.row_count == nullptr) return;
  trace.always()("%s%d", shape.row_count, static_cast<int>(rows));
}

}  // namespace collectors
