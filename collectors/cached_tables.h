#pragma once
// The cached tables as a list, for those who fill a cache once without the agent's threads.

#include <span>
#include <string_view>

#include "include/collection_status.h"

namespace collectors {

struct CachedTable {
  std::string_view name;
  status::Job job;
  // One collection, as the table's thread does it between two pauses: it waits for g_collectLock
  // where the table takes it, and returns with or without a transfer.
  void (*collect_once)();
};

std::span<const CachedTable> cached_tables();

}  // namespace collectors
