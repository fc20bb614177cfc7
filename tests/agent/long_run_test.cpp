// A day of the whole agent, and what it holds on to.

#include "agent/session.h"
#include "include/platform/threads.h"
#include "include/xaf.h"
#include "tests/agent/agent_run.h"
#include "tests/support/memory.h"

namespace {

using testing_support::bytes_in_use;
using testing_support::SmallRecording;

constexpr std::uint32_t kHour_ms = 3600000;

TEST(LongRun, ADayHoldsOnToNothing) {
  platform::install(platform::open_embedded_recording(&platform::clock_now_ms));
  setenv("DWA_CACHE_INTERVAL", "300", 1);
  xaf::Configuration configuration;
  configuration.node_name = "NODE1";
  configuration.sink = "none";
  configuration.defaults.interval_ms = 300000;
  configuration.trace_flags = 0;
  xaf::configure(configuration);
  const platform::VirtualTime time;
  platform::SimulatedProcess process([] { agent::run_on_console(); });
  // Between two samples each time.
  ASSERT_FALSE(process.wait_for_exit(kHour_ms + 100000));
  const auto live = platform::accounting::live();
  const std::size_t bytes = bytes_in_use();
  ASSERT_FALSE(process.wait_for_exit(23 * kHour_ms));
  EXPECT_EQ(live, platform::accounting::live());
  EXPECT_LT(bytes_in_use(), bytes + 20000);
  for (const xaf::TableMeasure& measure : xaf::measures()) {
    EXPECT_GE(measure.samples, 24u * 12) << measure.table;
    EXPECT_EQ(0u, measure.failures) << measure.table;
    if (measure.table == "DCWNTDSLDP" || measure.table == "DCWNTDSRDS") {
      EXPECT_EQ(measure.samples, measure.rows) << measure.table;
    }
  }
  process.kill();
}

TEST(Session, SamplesWithoutTheProcessEntryAndLeavesNothing) {
  const SmallRecording recording;
  const auto before = platform::accounting::live();
  {
    xaf::Configuration configuration;
    configuration.node_name = "NODE1";
    configuration.sink = "none";
    configuration.once = true;
    configuration.only_tables = {"DCWNTDSRDS", "DCWNTDSCNT"};
    xaf::configure(configuration);
    const platform::VirtualTime time;
    agent::Session session;
    std::string error;
    ASSERT_TRUE(session.start(error)) << error;
    char program[] = "dirwatch";
    char* arguments[] = {program, nullptr};
    EXPECT_EQ(0, xafmain(1, arguments));
    EXPECT_EQ(1u, xaf::latest_rows("DCWNTDSRDS").size());
    EXPECT_EQ(2u, xaf::latest_rows("DCWNTDSCNT").size());
  }
  xaf::reset();
  EXPECT_EQ(before, platform::accounting::live());
}

}  // namespace
