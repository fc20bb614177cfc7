// Walks over forests of growing size: what a server costs must not depend on how many there are.

#include <benchmark/benchmark.h>

#include <cstdint>
#include <string>
#include <vector>

#include "bench/generated_forest.h"
#include "directory/dns_utils.h"
#include "include/platform/adsi.h"
#include "include/settings.h"
#include "platform/control.h"

namespace {

constexpr int kServersASite = 20;

// The argument is the number of servers. Yields are off: they are time, not work.
template <typename Ask>
void walk(benchmark::State& state, std::size_t wanted, Ask&& ask) {
  const auto servers = static_cast<int>(state.range(0));
  const bench::GeneratedForest forest(servers / kServersASite, kServersASite);
  platform::install(forest.open());
  g_sleepWhileIterating = 0;
  CoInitializeEx(nullptr, COINIT_MULTITHREADED);
  for (auto _ : state) {
    if (ask() != wanted) {
      state.SkipWithError("the walk did not meet every server");
      break;
    }
  }
  state.SetItemsProcessed(static_cast<std::int64_t>(state.iterations() * servers));
  CoUninitialize();
  platform::install(nullptr);
}

void catalogs(benchmark::State& state) {
  walk(state, static_cast<std::size_t>(state.range(0)), [] {
    std::vector<std::string> names;
    DNSUtils::GetGCList("SRV0-0", names);
    return names.size();
  });
}

void sources(benchmark::State& state) {
  walk(state, static_cast<std::size_t>(state.range(0)), [] {
    std::int32_t known = 0;
    std::int32_t from_this = 0;
    DNSUtils::GetInboundConnections("SRV0-0", known, from_this);
    return static_cast<std::size_t>(known);
  });
}

}  // namespace

BENCHMARK(catalogs)->Name("growth/servers, catalogs of the forest")->Arg(100)->Arg(1000);
BENCHMARK(sources)->Name("growth/servers, replication sources")->Arg(100)->Arg(1000);
