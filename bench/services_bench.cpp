// One sample of WinServices on machines with more and more services: the time must grow as they do.

#include <benchmark/benchmark.h>

#include <string>

#include "framework/xaf/control.h"
#include "platform/control.h"
#include "platform/recorded/recording.h"
#include "tables/catalogue.h"
#include "tables/classes.h"

namespace {

std::string services_file(std::int64_t count) {
  std::string text = "[";
  for (std::int64_t i = 0; i < count; ++i) {
    const std::string number = std::to_string(i);
    text += (i == 0 ? "" : ",") +
            (R"({"Name":"Service)" + number + R"(","DisplayName":"A service, number )" + number +
             R"(","State":"Running","StartMode":"Auto","StartName":"LocalSystem",)" +
             R"("PathName":"C:\\Windows\\system32\\svchost.exe -k netsvcs -p"})");
  }
  return text + "]";
}

void whole_sample(benchmark::State& state) {
  xaf::reset();
  platform::install(platform::make_recording({{"services.json", services_file(state.range(0))}},
                                             "many services", platform::clock_now_ms));
  tables::init<tables::DCWNTDSSVC>();
  xaf::DirectSampler sampler("DCWNTDSSVC");
  for (auto _ : state) {
    const auto rows = sampler.sample();
    if (rows.size() != static_cast<std::size_t>(state.range(0))) {
      state.SkipWithError("not a row a service");
      return;
    }
  }
  state.SetItemsProcessed(state.iterations() * state.range(0));
}

}  // namespace

BENCHMARK(whole_sample)->Name("growth/services")->Arg(250)->Arg(2000);
