// What crosses from the program into the framework's libraries and back, each of which has a C++
// run-time of its own: exceptions, memory, the environment, files and the trace's generation word.

#include <gtest/gtest.h>

#include <cstdlib>
#include <memory>
#include <stdexcept>
#include <string>

#include "framework/trc/control.h"
#include "platform/environment.h"
#include "tests/framework/probe_table.h"
#include "trace.h"

namespace {

// Samples the table one time on a lane of the framework's own.
std::shared_ptr<probe::Keeper> run_once(const char* table, probe::Sample sample) {
  xaf::reset();
  probe::register_table(table, std::move(sample));
  auto keeper = std::make_shared<probe::Keeper>();
  xaf::add_sink(keeper);
  xaf::Configuration configuration;
  configuration.node_name = "NODE1";
  configuration.once = true;
  xaf::configure(configuration);
  EXPECT_EQ(xafmain(0, nullptr), 0);
  return keeper;
}

TEST(LibraryBoundary, AnExceptionOfASampleEndsInTheFrameworkAndLeavesItsMessage) {
  const trc::Capture capture;
  run_once("BOUNDARY1", [](probe::Table&) { throw std::runtime_error("no such server"); });
  EXPECT_EQ(capture.count("BOUNDARY1: the sample failed: no such server"), 1u);
  EXPECT_EQ(probe::measure_of("BOUNDARY1").failures, 1u);
}

TEST(LibraryBoundary, WhatIsNoStandardExceptionEndsInTheFrameworkToo) {
  const trc::Capture capture;
  run_once("BOUNDARY2", [](probe::Table&) { throw 5; });
  EXPECT_EQ(capture.count("BOUNDARY2: the sample failed"), 1u);
  EXPECT_EQ(probe::measure_of("BOUNDARY2").failures, 1u);
}

TEST(LibraryBoundary, RowsAddedBeforeAnExceptionAreDelivered) {
  const auto keeper = run_once("BOUNDARY3", [](probe::Table& table) {
    table.add(probe::row("one", 1));
    throw std::runtime_error("then it broke");
  });
  ASSERT_EQ(keeper->all().size(), 1u);
  EXPECT_EQ(keeper->all()[0].rows, std::vector<std::string>{probe::row("one", 1)});
}

TEST(LibraryBoundary, AnExceptionPassesThroughTheFrameworkToTheCallerOfADirectSample) {
  xaf::reset();
  int ended = 0;
  probe::register_table(
      "BOUNDARY4", [](probe::Table&) { throw std::out_of_range("far"); }, [&ended] { ++ended; });
  {
    xaf::DirectSampler sampler("BOUNDARY4");
    ASSERT_TRUE(sampler.found());
    for (int count = 0; count < 3; ++count) {
      // A manager's lock left held by the first would block the second for ever.
      EXPECT_THROW(sampler.sample(), std::out_of_range);
    }
  }
  EXPECT_EQ(ended, 1);
}

TEST(LibraryBoundary, RowsComeBackThroughThePublicFunctions) {
  const auto keeper = run_once("BOUNDARY5", [](probe::Table& table) {
    for (int number = 0; number < 100; ++number) table.add(probe::row("row", number));
  });
  ASSERT_EQ(keeper->all().size(), 1u);
  EXPECT_EQ(keeper->all()[0].rows.size(), 100u);
  const std::vector<std::string> latest = xaf::latest_rows("BOUNDARY5");
  ASSERT_EQ(latest.size(), 100u);
  EXPECT_EQ(latest[99], probe::row("row", 99));
  EXPECT_EQ(keeper->closed(), 1);
}

TEST(LibraryBoundary, ProgramAndLibrarySeeOneEnvironment) {
  EXPECT_EQ(SYS1_PutEnv("DIRWATCH_BOUNDARY=library"), 0);
  EXPECT_STREQ(std::getenv("DIRWATCH_BOUNDARY"), "library");
  EXPECT_EQ(_putenv("DIRWATCH_BOUNDARY=program"), 0);
  EXPECT_STREQ(SYS1_GetEnv("DIRWATCH_BOUNDARY", 0), "program");
}

void traced(int number) {
  DCW_TRACE("traced");
  trace.detail()("number %d", number);
}

TEST(LibraryBoundary, ANewTraceSettingReachesFunctionsOfTheProgram) {
  const trc::Capture capture;
  trc::set_flags(0);
  traced(1);
  trc::set_flags(trace::kDetail);
  traced(2);
  trc::set_flags(0);
  traced(3);
  EXPECT_EQ(capture.texts(), std::vector<std::string>{"number 2"});
}

}  // namespace
