#include "collectors/background.h"

#include "include/platform/threads.h"
#include "include/settings.h"
#include "include/trace.h"

namespace {

// The collections themselves are not built yet: each leaves one line in the trace and nothing else.
void collect_nothing(const trace::Scope& trace, const char* table) {
  trace.always()("No collector is built for table %s yet.", table);
}

// Every cache thread's life: one collection at a time in the whole process, then the pause, which
// comes after the lock is given up.
unsigned run_cache_thread(trace::Scope& trace, const char* table) {
  while (hTerminateEvent != nullptr) {
    SYS1_GetLock(&g_collectLock);
    collect_nothing(trace, table);
    SYS1_ReleaseLock(&g_collectLock);
    Sleep(static_cast<DWORD>(g_cacheInterval.load()));
  }
  return trace.returns(0u);
}

}  // namespace

#define DCW_CACHE_THREAD(entry, table)     \
  unsigned entry(void* /*argument*/) {     \
    DCW_TRACE(#entry);                     \
    return run_cache_thread(trace, table); \
  }
DCW_CACHE_THREAD(collectandCacheDCAData, "DCWNTDSDCA")
DCW_CACHE_THREAD(collectandCacheDNSAdData, "DCWNTDSDAI")
DCW_CACHE_THREAD(collectandCacheDRAData, "DCWNTDSDRA")
DCW_CACHE_THREAD(collectandCacheDCPData, "DCWNTDSDCP")
DCW_CACHE_THREAD(collectandCacheRLTData, "DCWNTDSRLT")
DCW_CACHE_THREAD(collectandCacheRPLData, "DCWNTDSRPL")
DCW_CACHE_THREAD(collectandCacheTRSData, "DCWNTDSTRS")
DCW_CACHE_THREAD(collectandCacheTTPData, "DCWNTDSTTP")
#undef DCW_CACHE_THREAD

unsigned CollectAndCacheSPRLData(void* /*argument*/) {
  DCW_TRACE("CollectAndCacheSPRLData");
  while (hTerminateEvent != nullptr) {
    collect_nothing(trace, "DCWSYSRPL");
    Sleep(static_cast<DWORD>(g_sysvolTestInterval - g_sysvolVerificationInterval));
  }
  return trace.returns(0u);
}

void ClearData() {
  DCW_TRACE("ClearData");
  // The sysvol test is not built yet, and so there are no files of it.
  trace.always()("No sysvol test is built yet: there are no files to delete.");
}
