// The processor time of one counter sample, against the counter calls that it must make. Virtual
// time, so that the half second between two collections costs nothing and only work is measured.

#include <benchmark/benchmark.h>

#include <cstdlib>
#include <string>
#include <vector>

#include "counters/adpdh.h"
#include "counters/globals.h"
#include "counters/lists.h"
#include "framework/trc/control.h"
#include "framework/xaf/control.h"
#include "include/platform/counters.h"
#include "include/platform/threads.h"
#include "include/settings.h"
#include "platform/control.h"
#include "tables/catalogue.h"
#include "tables/classes.h"

namespace {

// What a sample of the address book table asks of the counter library, and nothing else.
void counter_calls_alone(benchmark::State& state) {
  platform::VirtualTime time;
  PDH_HQUERY query = nullptr;
  if (PdhOpenQueryA(nullptr, 0, &query) != 0) {
    state.SkipWithError("no query");
    return;
  }
  std::vector<PDH_HCOUNTER> counters;
  for (const char* name : {"AB ANR/sec", "AB Browses/sec", "AB Client Sessions", "AB Matches/sec",
                           "AB Property Reads/sec", "AB Proxy Lookups/sec", "AB Searches/sec"}) {
    PDH_HCOUNTER counter = nullptr;
    PdhAddCounterA(query, (std::string("\\NTDS\\") + name).c_str(), 0, &counter);
    counters.push_back(counter);
  }
  for (auto _ : state) {
    PdhCollectQueryData(query);
    Sleep(500);
    PdhCollectQueryData(query);
    for (PDH_HCOUNTER counter : counters) {
      PDH_FMT_COUNTERVALUE value;
      benchmark::DoNotOptimize(
          PdhGetFormattedCounterValue(counter, PDH_FMT_DOUBLE, nullptr, &value));
    }
  }
  PdhCloseQuery(query);
}

void whole_sample(benchmark::State& state) {
  platform::VirtualTime time;
  xaf::reset();
  g_osMajorVersion = 10;
  if (g_allocateGlobalsEvent == nullptr) {
    g_allocateGlobalsEvent = CreateEventA(nullptr, 1, 0, nullptr);
    allocateGlobals(nullptr);
  }
  tables::init<tables::DCWNTDSAB>();
  xaf::DirectSampler sampler("DCWNTDSAB");
  if (std::freopen("/dev/null", "w", stdout) == nullptr) {
    state.SkipWithError("the values that a sample prints have nowhere to go");
    return;
  }
  for (auto _ : state) benchmark::DoNotOptimize(sampler.sample());
}

}  // namespace

BENCHMARK(counter_calls_alone)->Name("counter_calls/DCWNTDSAB");
BENCHMARK(whole_sample)->Name("whole_sample/DCWNTDSAB");
