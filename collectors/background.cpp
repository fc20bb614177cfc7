#include "collectors/background.h"

#include "collectors/cache.h"
#include "include/trace.h"

#define DCW_CACHE_THREAD(entry, table)                         \
  unsigned entry(void* /*argument*/) {                         \
    DCW_TRACE(#entry);                                         \
    return collectors::run_cache_thread<tables::table>(trace); \
  }
DCW_CACHE_THREAD(collectandCacheDCAData, DCWNTDSDCA)
DCW_CACHE_THREAD(collectandCacheDNSAdData, DCWNTDSDAI)
DCW_CACHE_THREAD(collectandCacheDRAData, DCWNTDSDRA)
DCW_CACHE_THREAD(collectandCacheDCPData, DCWNTDSDCP)
DCW_CACHE_THREAD(collectandCacheRLTData, DCWNTDSRLT)
DCW_CACHE_THREAD(collectandCacheRPLData, DCWNTDSRPL)
DCW_CACHE_THREAD(collectandCacheTRSData, DCWNTDSTRS)
DCW_CACHE_THREAD(collectandCacheTTPData, DCWNTDSTTP)
#undef DCW_CACHE_THREAD
