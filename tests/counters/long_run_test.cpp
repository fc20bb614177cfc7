// Months of counter tables, and what they hold on to.

#include <cstdio>

#include "counter_tables.h"
#include "include/platform/adsi.h"
#include "tests/support/memory.h"

namespace {

TEST(LongRun, TenThousandSamplesOfTheCounterTablesHoldOnToNothing) {
  trc::set_flags(0);
  const platform::VirtualTime time;
  platform::install(platform::open_embedded_recording(&platform::clock_now_ms));
  g_osMajorVersion = 10;
  g_osMinorVersion = 0;
  g_allocateGlobalsEvent = CreateEventA(nullptr, TRUE, FALSE, nullptr);
  CoInitializeEx(nullptr, COINIT_MULTITHREADED);
  allocateGlobals(nullptr);
  std::vector<std::unique_ptr<xaf::DirectSampler>> samplers;
#define DCW_SAMPLER(definition)       \
  tables::init<tables::definition>(); \
  samplers.push_back(std::make_unique<xaf::DirectSampler>(#definition));
  DCW_SAMPLER(DCWNTDSAB)
  DCW_SAMPLER(DCWNTDSDS)
  DCW_SAMPLER(DCWNTDSKCC)
  DCW_SAMPLER(DCWNTDSKDC)
  DCW_SAMPLER(DCWNTDSLDP)
  DCW_SAMPLER(DCWNTDSLSA)
  DCW_SAMPLER(DCWNTDSNSP)
  DCW_SAMPLER(DCWNTDSSAM)
  DCW_SAMPLER(DCWNTDSXDS)
  DCW_SAMPLER(DCWNTDSFRS)
  DCW_SAMPLER(DCWNTDSDHC)
  DCW_SAMPLER(DCWNTDSDNS)
  DCW_SAMPLER(DCWNTDSDFS)
  DCW_SAMPLER(DCWNTDSDRC)
  DCW_SAMPLER(DCWNTDSDSV)
  DCW_SAMPLER(DCWNTDSDRF)
#undef DCW_SAMPLER
  testing::internal::CaptureStdout();
  std::size_t samples = 0, rows = 0;
  const auto sample_until = [&](std::size_t count) {
    for (; samples < count; ++samples) rows += samplers[samples % samplers.size()]->sample().size();
  };
  // By then what is filled up to a limit is full.
  sample_until(2000);
  const auto alive = platform::accounting::live();
  const std::size_t bytes = testing_support::bytes_in_use();
  sample_until(10000);
  const auto alive_later = platform::accounting::live();
  const std::size_t bytes_later = testing_support::bytes_in_use();
  std::fflush(stdout);
  testing::internal::GetCapturedStdout();
  EXPECT_EQ(alive_later, alive);
  EXPECT_LT(bytes_later, bytes + 5000);
  // Each sample had its row, and those with instances two.
  EXPECT_GE(rows, samples);
  EXPECT_GE(time.elapsed_ms(), 10000 * 500);
  samplers.clear();
  deleteGlobals();
  CoUninitialize();
  CloseHandle(g_allocateGlobalsEvent.exchange(nullptr));
}

}  // namespace
