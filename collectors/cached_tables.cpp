#include "collectors/cached_tables.h"

#include "collectors/cache.h"

namespace collectors {
namespace {

template <const auto& kTable>
void collect_once() {
  // The sysvol test alone is no sample's own work, and its minutes hold no lock.
  if constexpr (Cached<kTable>::shape.collects_in_sample) {
    collect_in_turn(Cached<kTable>::shape.job, &CollectData<kTable>);
  } else {
    collect_without_lock<kTable>();
  }
}

}  // namespace

std::span<const CachedTable> cached_tables() {
#define DCW_CACHED_TABLE(definition, word, kind, suffix)          \
  CachedTable{#definition, Cached<tables::definition>::shape.job, \
              &collect_once<tables::definition>},
  static constexpr CachedTable kTables[] = {DCW_FOR_EACH_CACHE(DCW_CACHED_TABLE)};
#undef DCW_CACHED_TABLE
  return kTables;
}

}  // namespace collectors
