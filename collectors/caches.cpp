#include "collectors/caches.h"

#define DCW_DEFINE_CACHE(definition, word, kind, suffix) \
  collectors::CacheEvent g_##word##Event;                \
  collectors::kind<tables::definition> g_##word##suffix;
DCW_FOR_EACH_CACHE(DCW_DEFINE_CACHE)
#undef DCW_DEFINE_CACHE
