// The end of xafmain, asked for in each phase of its life.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <fstream>

#include "framework/trc/control.h"
#include "platform/control.h"
#include "platform/environment.h"
#include "tests/framework/probe_table.h"

namespace {

int loader_runs = 0;
DWORD loader_thread = 0;
std::function<void()> loader_body;

std::int32_t load() {
  ++loader_runs;
  loader_thread = GetCurrentThreadId();
  if (loader_body) loader_body();
  return 0;
}

class Shutdown : public testing::Test {
 protected:
  Shutdown() {
    loader_runs = 0;
    loader_body = nullptr;
    xaf::add_sink(std::make_shared<probe::Keeper>());
    xaf::Configuration configuration;
    configuration.defaults.interval_ms = 1000;
    xaf::configure(configuration);
  }
  ~Shutdown() override { xaf::reset(); }
};

TEST_F(Shutdown, BeforeXafmainMakesItReturnAtOnceWithoutLoading) {
  const platform::VirtualTime time;
  XAF_RegisterAgentLoader(load);
  EXPECT_EQ(XAF_Shutdown(1), 0);
  EXPECT_EQ(xafmain(1, nullptr), 0);
  EXPECT_EQ(loader_runs, 0);
  EXPECT_EQ(time.elapsed_ms(), 0);
}

TEST_F(Shutdown, WhileLoadingEndsWithoutASample) {
  const platform::VirtualTime time;
  int samples = 0;
  loader_body = [&samples] {
    probe::register_table("LATE", [&samples](probe::Table&) { ++samples; });
    XAF_Shutdown(1);
    Sleep(100);
  };
  XAF_RegisterAgentLoader(load);
  EXPECT_EQ(xafmain(1, nullptr), 0);
  EXPECT_EQ(loader_runs, 1);
  EXPECT_EQ(samples, 0);
  EXPECT_EQ(time.elapsed_ms(), 100);
}

TEST_F(Shutdown, ComesAsEverAfterTheSocketsLibraryDidNotStart) {
  const platform::VirtualTime time;
  const trc::Capture capture;
  platform::faults::fail("WSAStartup", 1);
  XAF_RegisterAgentLoader(load);
  platform::faults::clear();
  EXPECT_EQ(capture.count("the sockets library did not start: 10091"), 1u);
  XAF_Shutdown(1);
  EXPECT_EQ(xafmain(1, nullptr), 0);
}

TEST_F(Shutdown, WhileATableSamplesWaitsForThatSample) {
  const platform::VirtualTime time;
  const trc::Capture capture;
  bool finished = false;
  probe::register_table("LONG", [&finished](probe::Table&) {
    Sleep(25000);
    finished = true;
  });
  probe::register_table("STOPPER", [](probe::Table&) {
    Sleep(200);
    XAF_Shutdown(1);
  });
  EXPECT_EQ(xafmain(1, nullptr), 0);
  EXPECT_TRUE(finished);
  EXPECT_EQ(time.elapsed_ms(), 25000);
  EXPECT_EQ(capture.count("LONG: the stop waits for a sample to end"), 2u);
}

TEST_F(Shutdown, BetweenSamplesWakesAllLanes) {
  const platform::VirtualTime time;
  for (const char* name : {"A", "B", "C"}) probe::register_table(name, [](probe::Table&) {});
  probe::register_table("STOPPER", [](probe::Table&) {
    Sleep(500);
    XAF_Shutdown(1);
  });
  EXPECT_EQ(xafmain(1, nullptr), 0);
  EXPECT_EQ(time.elapsed_ms(), 500);
}

TEST_F(Shutdown, AfterTheEndDoesNothingMoreAndResetForgetsIt) {
  const platform::VirtualTime time;
  xaf::Configuration configuration;
  configuration.stop_after_ms = 10;
  xaf::configure(configuration);
  EXPECT_EQ(xafmain(1, nullptr), 0);
  EXPECT_EQ(XAF_Shutdown(1), 0);
  xaf::reset();
  int samples = 0;
  probe::register_table("AGAIN", [&samples](probe::Table&) { ++samples; });
  xaf::add_sink(std::make_shared<probe::Keeper>());
  xaf::configure(configuration);
  EXPECT_EQ(xafmain(1, nullptr), 0);
  EXPECT_EQ(samples, 1);
}

TEST_F(Shutdown, ObjectsAreDestroyedBeforeXafmainReturns) {
  const platform::VirtualTime time;
  int destroyed = 0;
  probe::Manager* const manager = probe::register_table(
      "OBJECT", [](probe::Table&) { XAF_Shutdown(1); }, [&destroyed] { ++destroyed; });
  EXPECT_EQ(xafmain(1, nullptr), 0);
  EXPECT_EQ(destroyed, 1);
  EXPECT_EQ(manager->object_count(), 0u);
}

TEST_F(Shutdown, TheLoaderRunsOnceOnAThreadOfTheFrameworksOwn) {
  const platform::VirtualTime time;
  xaf::Configuration configuration;
  configuration.stop_after_ms = 10;
  xaf::configure(configuration);
  XAF_RegisterAgentLoader(load);
  EXPECT_EQ(xafmain(1, nullptr), 0);
  EXPECT_EQ(xafmain(1, nullptr), 0);
  EXPECT_EQ(loader_runs, 1);
  EXPECT_NE(loader_thread, GetCurrentThreadId());
}

TEST_F(Shutdown, ASecondXafmainBesideARunningOneIsRefused) {
  const platform::VirtualTime time;
  probe::register_table("INSIDE", [](probe::Table&) {
    EXPECT_EQ(xafmain(1, nullptr), 1);
    XAF_Shutdown(1);
  });
  EXPECT_EQ(xafmain(1, nullptr), 0);
}

TEST_F(Shutdown, APoliteSignalEndsXafmain) {
  int samples = 0;
  probe::register_table("SIGNAL", [&samples](probe::Table&) {
    ++samples;
    std::raise(SIGTERM);
  });
  xaf::Configuration configuration;
  configuration.defaults.interval_ms = 3600000;
  xaf::configure(configuration);
  EXPECT_EQ(xafmain(1, nullptr), 0);
  EXPECT_EQ(samples, 1);
}

TEST_F(Shutdown, ASecondSignalEndsTheProcessAsUsual) {
  testing::FLAGS_gtest_death_test_style = "threadsafe";
  EXPECT_EXIT(
      {
        probe::register_table("STUBBORN", [](probe::Table&) {
          std::raise(SIGTERM);
          std::raise(SIGTERM);
        });
        xafmain(1, nullptr);
      },
      testing::KilledBySignal(SIGTERM), "");
}

// A mistake in the configuration ends xafmain before the first sample, with the reason.
class Mistake : public Shutdown {
 protected:
  std::string refusal(const xaf::Configuration& configuration) {
    int samples = 0;
    probe::register_table("PROBE", [&samples](probe::Table&) { ++samples; });
    xaf::configure(configuration);
    testing::internal::CaptureStderr();
    EXPECT_EQ(xafmain(1, nullptr), 2);
    EXPECT_EQ(samples, 0);
    return testing::internal::GetCapturedStderr();
  }
};

TEST_F(Mistake, AThresholdOnAColumnThatTheTableLacks) {
  xaf::Configuration configuration;
  configuration.tables["PROBE"].thresholds = {{"WEIGHT", IntfOper_Equal, "1"}};
  EXPECT_EQ(refusal(configuration),
            "PROBE: threshold WEIGHT = \"1\": the table has no column WEIGHT\n");
}

TEST_F(Mistake, ANumericThresholdThatIsNoNumber) {
  for (const char* value : {"", "ten", "1.5", " 1", "1 ", "0x10", "2147483648", "-2147483649"}) {
    xaf::Configuration configuration;
    configuration.tables["PROBE"].thresholds = {{"COUNT", IntfOper_Greater, value}};
    EXPECT_EQ(refusal(configuration),
              std::string("PROBE: threshold COUNT > \"") + value +
                  "\": the column is a number, the value is not a whole number within 32 bits\n");
  }
}

TEST_F(Mistake, ATextOperatorOnANumber) {
  xaf::Configuration configuration;
  configuration.tables["PROBE"].thresholds = {{"COUNT", IntfOper_Like, "1*"}};
  EXPECT_EQ(
      refusal(configuration),
      "PROBE: threshold COUNT like \"1*\": the column is a number, the operator is for text\n");
}

TEST_F(Mistake, ATableThatDoesNotExist) {
  xaf::Configuration configuration;
  configuration.tables["PROOBE"].enabled = true;
  EXPECT_EQ(refusal(configuration), "PROOBE: there is no such table\n");
  configuration.tables.clear();
  configuration.only_tables = {"NOSUCH"};
  EXPECT_EQ(refusal(configuration), "NOSUCH: there is no such table\n");
}

TEST_F(Mistake, AnIntervalOfNothing) {
  xaf::Configuration configuration;
  configuration.defaults.interval_ms = 0;
  EXPECT_EQ(refusal(configuration), "PROBE: the interval is 0\n");
}

TEST(Environment, NamesTheConfigurationFileWhenNothingWasConfigured) {
  const platform::VirtualTime time;
  const std::string path = testing::TempDir() + "/framework_environment.toml";
  std::ofstream(path) << "[framework]\nnode_name = \"NODE7\"\nonce = true\n[sink]\nformat = "
                         "\"none\"\n";
  ASSERT_EQ(_putenv(("DIRWATCH_CONFIG=" + path).c_str()), 0);
  std::string node;
  probe::register_table("NODE", [&node](probe::Table&) {
    char name[64] = {};
    EXPECT_EQ(DetermineLocalHost(name, sizeof name), 0);
    node = name;
  });
  EXPECT_EQ(xafmain(1, nullptr), 0);
  EXPECT_EQ(node, "NODE7");

  xaf::reset();
  std::ofstream(path) << "[framework]\nnode = 1\n";
  testing::internal::CaptureStderr();
  EXPECT_EQ(xafmain(1, nullptr), 2);
  EXPECT_EQ(testing::internal::GetCapturedStderr(), path + ":2: framework.node: unknown key\n");
  _putenv("DIRWATCH_CONFIG=");
  std::remove(path.c_str());
}

}  // namespace
