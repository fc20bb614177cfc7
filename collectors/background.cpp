#include "collectors/background.h"

#include "collectors/cache.h"
#include "include/platform/threads.h"
#include "include/settings.h"
#include "include/trace.h"

namespace {

// A collection that is not built yet leaves one line in the trace and nothing else.
template <const auto& kTable>
void collect_nothing() {
  DCW_TRACE("CollectData");
  trace.always()("No collector is built for table %s yet.", kTable.name);
}

}  // namespace

#define DCW_CACHE_THREAD(entry, collect)                  \
  unsigned entry(void* /*argument*/) {                    \
    DCW_TRACE(#entry);                                    \
    return collectors::run_cache_thread(trace, &collect); \
  }
DCW_CACHE_THREAD(collectandCacheDCAData, collect_nothing<tables::DCWNTDSDCA>)
DCW_CACHE_THREAD(collectandCacheDNSAdData, collectors::CollectData<tables::DCWNTDSDAI>)
DCW_CACHE_THREAD(collectandCacheDRAData, collectors::CollectData<tables::DCWNTDSDRA>)
DCW_CACHE_THREAD(collectandCacheDCPData, collectors::CollectData<tables::DCWNTDSDCP>)
DCW_CACHE_THREAD(collectandCacheRLTData, collectors::CollectData<tables::DCWNTDSRLT>)
DCW_CACHE_THREAD(collectandCacheRPLData, collectors::CollectData<tables::DCWNTDSRPL>)
DCW_CACHE_THREAD(collectandCacheTRSData, collect_nothing<tables::DCWNTDSTRS>)
DCW_CACHE_THREAD(collectandCacheTTPData, collect_nothing<tables::DCWNTDSTTP>)
#undef DCW_CACHE_THREAD

unsigned CollectAndCacheSPRLData(void* /*argument*/) {
  DCW_TRACE("CollectAndCacheSPRLData");
  while (hTerminateEvent != nullptr) {
    collect_nothing<tables::DCWSYSRPL>();
    Sleep(static_cast<DWORD>(g_sysvolTestInterval - g_sysvolVerificationInterval));
  }
  return trace.returns(0u);
}

void ClearData() {
  DCW_TRACE("ClearData");
  // The sysvol test is not built yet, and so there are no files of it.
  trace.always()("No sysvol test is built yet: there are no files to delete.");
}
