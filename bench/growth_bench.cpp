// How the cost of a sample grows with what the machine has. Each benchmark is named
// growth/THING/COUNT, one sample an iteration; bench/run finds every thing that has two counts and
// prints what one more of it costs. Virtual time: only work is measured.

#include <benchmark/benchmark.h>
#include <stdlib.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <string>

#include "counters/adpdh_instances.h"
#include "counters/globals.h"
#include "counters/lists.h"
#include "framework/xaf/control.h"
#include "include/settings.h"
#include "platform/control.h"
#include "tables/catalogue.h"
#include "tables/classes.h"

namespace {

// A recording, in a folder of its own, of one object with count instances.
class Instances {
 public:
  Instances(counters::CounterRows list, std::int64_t count) {
    char folder[] = "/tmp/dirwatch_growth_XXXXXX";
    if (mkdtemp(folder) == nullptr) return;
    folder_ = folder;
    std::string header = "\"(PDH-CSV 4.0) (UTC)(0)\"", values = "\"01/02/2011 03:04:05.000\"";
    for (std::int64_t i = 0; i < count; ++i) {
      for (const counters::CounterRow& row : list) {
        header += std::string(",\"\\") + row.szObjectName + "(instance " + std::to_string(i) +
                  ")\\" + row.szCounterName + "\"";
        values += ",\"" + std::to_string(i) + "\"";
      }
    }
    std::ofstream(folder_ / "counters.csv") << header << "\n" << values << "\n";
    platform::install(platform::open_recording(folder_.string(), platform::clock_now_ms));
  }
  ~Instances() {
    platform::install(platform::open_embedded_recording(platform::clock_now_ms));
    std::error_code ignored;
    std::filesystem::remove_all(folder_, ignored);
  }
  Instances(const Instances&) = delete;
  Instances& operator=(const Instances&) = delete;

 private:
  std::filesystem::path folder_;
};

template <const auto& kTable>
void sample(benchmark::State& state, counters::CounterRows list, std::uint32_t collector,
            std::atomic<ADPDH_instances*>& global) {
  platform::VirtualTime time;
  xaf::reset();
  const Instances machine(list, state.range(0));
  g_osMajorVersion = 10;
  ADPDH_instances collectors(collector, list.front().szObjectName);
  if (collectors.GetInstanceCount() != state.range(0)) {
    state.SkipWithError("the recording has another number of instances");
    return;
  }
  tables::init<kTable>();
  xaf::DirectSampler sampler(kTable.name);
  if (std::freopen("/dev/null", "w", stdout) == nullptr) {
    state.SkipWithError("the values that a sample prints have nowhere to go");
    return;
  }
  ADPDH_instances* before = global.exchange(&collectors);
  std::size_t rows = 0;
  for (auto _ : state) rows += sampler.sample().size();
  global = before;
  if (rows != static_cast<std::size_t>(state.iterations() * state.range(0))) {
    state.SkipWithError("a sample had another number of rows");
  }
}

void folders(benchmark::State& state) {
  sample<tables::DCWNTDSDRF>(state, g_DFRFList, kDfsFolderCollector, g_DFRF);
}
void connections(benchmark::State& state) {
  sample<tables::DCWNTDSDRC>(state, g_DFRCList, kDfsConnectionCollector, g_DFRC);
}

}  // namespace

BENCHMARK(folders)->Name("growth/replicated folders")->Arg(60)->Arg(500);
BENCHMARK(connections)->Name("growth/replication connections")->Arg(60)->Arg(500);
