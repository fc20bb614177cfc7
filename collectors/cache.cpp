#include "collectors/cache.h"

namespace collectors {

unsigned run_cache_thread(trace::Scope& trace, void (*collect)()) {
  while (hTerminateEvent != nullptr) {
    SYS1_GetLock(&g_collectLock);
    collect();
    SYS1_ReleaseLock(&g_collectLock);
    Sleep(static_cast<DWORD>(g_cacheInterval.load()));
  }
  return trace.returns(0u);
}

void tell_row_count(const trace::Scope& trace, const CacheShape& shape, std::size_t rows) {
  if (shape.row_count == nullptr) return;
  trace.always()("%s%d", shape.row_count, static_cast<int>(rows));
}

}  // namespace collectors
