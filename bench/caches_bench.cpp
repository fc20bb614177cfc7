// The cached tables: a sample, a transfer of many rows, and a whole round of collections, each
// against what it cannot do without.

#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "bench/noted_calls.h"
#include "collectors/cache.h"
#include "counters/globals.h"
#include "framework/trc/control.h"
#include "framework/xaf/control.h"
#include "include/platform/adsi.h"
#include "include/platform/threads.h"
#include "include/settings.h"
#include "include/trace.h"
#include "platform/control.h"
#include "tables/classes.h"

namespace {

using tables::DCWNTDSDCA;
using tables::DCWNTDSRPL;

void transfer_rows(collectors::Rows<DCWNTDSRPL>& rows) {
  DCW_TRACE("transfer");
  collectors::transfer<DCWNTDSRPL>(trace, rows);
}
void transfer_row(collectors::OneRow<DCWNTDSDCA>& row) {
  DCW_TRACE("transfer");
  collectors::transfer<DCWNTDSDCA>(trace, row);
}

// Samples the table's cache as the framework does, down to the row store.
template <const auto& kTable>
void sample_cache(benchmark::State& state) {
  xaf::DirectSampler sampler(kTable.name);
  if (!sampler.found()) {
    state.SkipWithError("the table is not registered");
    return;
  }
  for (auto _ : state) {
    sampler.object()->TakeSample();
    sampler.object()->Dispatch();
    sampler.object()->ClearCount();
  }
  if (xaf::latest_rows(kTable.name).empty()) state.SkipWithError("the samples have no rows");
}

void sample_of_one_row(benchmark::State& state) {
  xaf::reset();
  trc::set_flags(0);
  g_cacheInterval = 60000;
  tables::init<DCWNTDSDCA>();
  collectors::OneRow<DCWNTDSDCA> row;
  transfer_row(row);
  sample_cache<DCWNTDSDCA>(state);
}

void sample_of_many_rows(benchmark::State& state) {
  xaf::reset();
  trc::set_flags(0);
  g_cacheInterval = 60000;
  tables::init<DCWNTDSRPL>();
  collectors::Rows<DCWNTDSRPL> rows(static_cast<std::size_t>(state.range(0)));
  transfer_rows(rows);
  sample_cache<DCWNTDSRPL>(state);
}

// What the collector hands over is made anew each time, outside the measure.
void transfer(benchmark::State& state) {
  trc::set_flags(0);
  const auto count = static_cast<std::size_t>(state.range(0));
  collectors::Rows<DCWNTDSRPL> rows;
  for (auto _ : state) {
    state.PauseTiming();
    rows.assign(count, {});
    state.ResumeTiming();
    transfer_rows(rows);
  }
}

void bare_copy(benchmark::State& state) {
  const std::vector<char> rows(static_cast<std::size_t>(state.range(0)) * DCWNTDSRPL.row_size(), 1);
  std::vector<char> target(rows.size());
  for (auto _ : state) {
    std::memcpy(target.data(), rows.data(), rows.size());
    benchmark::DoNotOptimize(target.data());
    benchmark::ClobberMemory();
  }
}

// One collection of each of the eight, in the order of their threads.
void collect_all() {
  collectors::CollectData<tables::DCWNTDSDCA>();
  collectors::CollectData<tables::DCWNTDSDAI>();
  collectors::CollectData<tables::DCWNTDSDRA>();
  collectors::CollectData<tables::DCWNTDSDCP>();
  collectors::CollectData<tables::DCWNTDSRLT>();
  collectors::CollectData<tables::DCWNTDSRPL>();
  collectors::CollectData<tables::DCWNTDSTRS>();
  collectors::CollectData<tables::DCWNTDSTTP>();
}

// The default recording and the counter collectors over it, made once for both measures.
bench::NotingController& machine() {
  static const auto controller = [] {
    auto made = std::make_shared<bench::NotingController>(
        platform::open_embedded_recording(&platform::clock_now_ms));
    platform::install(made);
    CoInitializeEx(nullptr, COINIT_MULTITHREADED);
    setenv("ACTIVATE_REPL_LATENCY", "ENABLED", 1);
    xaf::Configuration configuration;
    configuration.node_name = "DC1:NT";  // the trust topology's host stands before the colon
    xaf::configure(configuration);
    trc::set_flags(0);
    g_osMajorVersion = 10;
    g_pingCount = 1;
    g_pingTimeout = 2000;
    g_pingSize = 32;
    deleteGlobals();
    if (g_allocateGlobalsEvent == nullptr) {
      g_allocateGlobalsEvent = CreateEventA(nullptr, 1, 0, nullptr);
    }
    allocateGlobals(nullptr);
    collect_all();  // what is looked up once is known from here on
    made->notes.noting = true;
    collect_all();
    made->notes.noting = false;
    return made;
  }();
  return *controller;
}

// Virtual time, so that waits cost nothing and only work is measured.
void collections(benchmark::State& state) {
  platform::VirtualTime time;
  machine();
  if (std::freopen("/dev/null", "w", stdout) == nullptr) {
    state.SkipWithError("the values that a collection prints have nowhere to go");
    return;
  }
  for (auto _ : state) collect_all();
}

void their_questions(benchmark::State& state) {
  platform::VirtualTime time;
  bench::NotingController& controller = machine();
  for (auto _ : state) controller.ask_again();
  state.counters["questions"] = static_cast<double>(controller.notes.calls.size());
}

}  // namespace

BENCHMARK(sample_of_one_row)->Name("cached_sample/DCWNTDSDCA");
BENCHMARK(sample_of_many_rows)->Name("cached_sample/DCWNTDSRPL")->Arg(10000);
// A fixed number: what is measured is next to nothing beside the making of the rows.
BENCHMARK(transfer)->Name("transfer/DCWNTDSRPL")->Arg(10000)->Iterations(100);
BENCHMARK(bare_copy)->Name("copy_of_transfer/DCWNTDSRPL")->Arg(10000);
BENCHMARK(collections)->Name("collections/eight_caches");
BENCHMARK(their_questions)->Name("questions/eight_caches");
