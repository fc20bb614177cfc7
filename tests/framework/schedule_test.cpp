// When tables are sampled. Virtual time, so that every figure is exact.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <stdexcept>

#include "framework/trc/control.h"
#include "platform/control.h"
#include "tests/framework/probe_table.h"

namespace {

using testing::Each;
using testing::ElementsAre;

class Schedule : public testing::Test {
 protected:
  Schedule() { xaf::add_sink(keeper_); }
  ~Schedule() override { xaf::reset(); }

  std::int32_t run(const xaf::Configuration& configuration) {
    xaf::configure(configuration);
    return xafmain(1, nullptr);
  }
  // A sample that notes when it began and takes that long.
  probe::Sample takes_ms(probe::Log<std::int64_t>& begun, DWORD duration_ms) {
    return [this, &begun, duration_ms](probe::Table&) {
      begun.add(time_.elapsed_ms());
      if (duration_ms != 0) Sleep(duration_ms);
    };
  }
  static xaf::Configuration until(std::uint32_t stop_after_ms, std::uint32_t interval_ms = 60000) {
    xaf::Configuration configuration;
    configuration.stop_after_ms = stop_after_ms;
    configuration.defaults.interval_ms = interval_ms;
    return configuration;
  }

  platform::VirtualTime time_;
  std::shared_ptr<probe::Keeper> keeper_ = std::make_shared<probe::Keeper>();
};

TEST_F(Schedule, FirstSampleAtOnceThenEveryIntervalToTheMillisecond) {
  probe::Log<std::int64_t> begun;
  probe::register_table("STEADY", takes_ms(begun, 0));
  EXPECT_EQ(run(until(5 * 60000 + 1)), 0);
  EXPECT_THAT(begun.all(), ElementsAre(0, 60000, 120000, 180000, 240000, 300000));
  EXPECT_EQ(time_.elapsed_ms(), 300001);
}

TEST_F(Schedule, TheTimeASampleTakesDoesNotShiftTheSchedule) {
  probe::Log<std::int64_t> begun;
  probe::register_table("BUSY", takes_ms(begun, 499));
  EXPECT_EQ(run(until(3000, 1000)), 0);
  EXPECT_THAT(begun.all(), ElementsAre(0, 1000, 2000));
  EXPECT_EQ(probe::measure_of("BUSY").missed_ticks, 0u);
  EXPECT_EQ(probe::measure_of("BUSY").last_duration_us, 499000u);
}

TEST_F(Schedule, ASampleThatOverrunsSkipsTheTicksItMissedAndCountsThem) {
  probe::Log<std::int64_t> begun;
  probe::register_table("SLOW", takes_ms(begun, 2500));
  EXPECT_EQ(run(until(9000, 1000)), 0);
  EXPECT_THAT(begun.all(), ElementsAre(0, 3000, 6000));
  EXPECT_EQ(probe::measure_of("SLOW").missed_ticks, 6u);
}

TEST_F(Schedule, ASampleThatEndsExactlyAtATickTakesThatTick) {
  probe::Log<std::int64_t> begun;
  probe::register_table("EDGE", takes_ms(begun, 1000));
  EXPECT_EQ(run(until(3500, 1000)), 0);
  EXPECT_THAT(begun.all(), ElementsAre(0, 1000, 2000, 3000));
  EXPECT_EQ(probe::measure_of("EDGE").missed_ticks, 0u);
}

TEST_F(Schedule, ASlowTableDelaysNoOther) {
  probe::Log<std::int64_t> slow;
  probe::Log<std::int64_t> quick;
  probe::register_table("SLOW", takes_ms(slow, 3600000));
  probe::register_table("QUICK", takes_ms(quick, 0));
  EXPECT_EQ(run(until(240000)), 0);
  EXPECT_THAT(slow.all(), ElementsAre(0));
  EXPECT_THAT(quick.all(), ElementsAre(0, 60000, 120000, 180000));
  EXPECT_EQ(time_.elapsed_ms(), 3600000);  // the stop waited for the sample under way
}

TEST_F(Schedule, SamplesOfOneTableNeverOverlap) {
  std::atomic<int> inside{0};
  std::atomic<int> most{0};
  std::atomic<int> samples{0};
  probe::Manager* const manager = probe::register_table("ALONE", [&](probe::Table&) {
    most = std::max(most.load(), ++inside);
    ++samples;
    Sleep(700);
    --inside;
  });
  // Rows that arrive as events wait for the sample that is under way, too.
  probe::register_table("EVENTS", [&, manager](probe::Table&) {
    std::string row = probe::row("event", 1);
    Sleep(350);
    EXPECT_EQ(manager->receive_event(row.data(), 1), 0u);
    EXPECT_EQ(inside.load(), 0);
  });
  EXPECT_EQ(run(until(10000, 1000)), 0);
  EXPECT_EQ(samples.load(), 10);
  EXPECT_EQ(most.load(), 1);
}

TEST_F(Schedule, EachTableHasItsOwnInterval) {
  probe::Log<std::int64_t> often;
  probe::Log<std::int64_t> seldom;
  probe::register_table("OFTEN", takes_ms(often, 0));
  probe::register_table("SELDOM", takes_ms(seldom, 0));
  xaf::Configuration configuration = until(3001, 1000);
  configuration.tables["SELDOM"].interval_ms = 2000;
  EXPECT_EQ(run(configuration), 0);
  EXPECT_THAT(often.all(), ElementsAre(0, 1000, 2000, 3000));
  EXPECT_THAT(seldom.all(), ElementsAre(0, 2000));
}

TEST_F(Schedule, ADisabledTableAndOneNotAskedForAreNotSampled) {
  probe::Log<std::int64_t> off;
  probe::Log<std::int64_t> left_out;
  probe::Log<std::int64_t> wanted;
  probe::register_table("OFF", takes_ms(off, 0));
  probe::register_table("LEFTOUT", takes_ms(left_out, 0));
  probe::register_table("WANTED", takes_ms(wanted, 0));
  xaf::Configuration configuration = until(1000);
  configuration.only_tables = {"OFF", "WANTED"};
  configuration.tables["OFF"].enabled = false;
  EXPECT_EQ(run(configuration), 0);
  EXPECT_TRUE(off.all().empty());
  EXPECT_TRUE(left_out.all().empty());
  EXPECT_THAT(wanted.all(), ElementsAre(0));
}

TEST_F(Schedule, OnceSamplesEachTableOneTimeAndEnds) {
  probe::register_table("ONE", [](probe::Table& table) {
    EXPECT_EQ(table._get_sampletype(), IntfSampleType_Once);
    table.add(probe::row("one", 1));
  });
  probe::register_table("TWO", [](probe::Table& table) {
    Sleep(5000);
    table.add(probe::row("two", 2));
  });
  xaf::Configuration configuration;
  configuration.once = true;
  EXPECT_EQ(run(configuration), 0);
  ASSERT_EQ(keeper_->all().size(), 2u);
  EXPECT_THAT(keeper_->all()[0].rows, ElementsAre(probe::row("one", 1)));
  EXPECT_THAT(keeper_->all()[1].rows, ElementsAre(probe::row("two", 2)));
  EXPECT_EQ(time_.elapsed_ms(), 5000);
}

TEST_F(Schedule, OnceWithoutTablesEndsAtOnce) {
  xaf::Configuration configuration;
  configuration.once = true;
  EXPECT_EQ(run(configuration), 0);
  EXPECT_EQ(time_.elapsed_ms(), 0);
}

TEST_F(Schedule, AnExceptionIsContainedCountedAndTracedAndTheLaneGoesOn) {
  const trc::Capture capture;
  int sample = 0;
  probe::register_table("FRAGILE", [&sample](probe::Table& table) {
    ++sample;
    table.add(probe::row("sample", sample));
    if (sample == 2) throw std::runtime_error("out of luck");
    if (sample == 3) throw 3;
  });
  EXPECT_EQ(run(until(4000, 1000)), 0);
  const xaf::TableMeasure measure = probe::measure_of("FRAGILE");
  EXPECT_EQ(measure.samples, 4u);
  EXPECT_EQ(measure.failures, 2u);
  EXPECT_EQ(measure.rows, 4u);  // what was handed over before the failure counts
  EXPECT_EQ(capture.count("FRAGILE: the sample failed: out of luck"), 1u);
  EXPECT_EQ(capture.count("FRAGILE: the sample failed"), 1u);
}

TEST_F(Schedule, MeasuresSamplesRowsDurationsAndAge) {
  int sample = 0;
  probe::register_table("MEASURED", [&sample](probe::Table& table) {
    ++sample;
    Sleep(sample == 2 ? 300 : 100);
    if (sample < 3) table.add(probe::row("a", 1) + probe::row("b", 2));
  });
  probe::register_table("EMPTY", [](probe::Table&) {});
  EXPECT_EQ(run(until(3000, 1000)), 0);
  const xaf::TableMeasure measure = probe::measure_of("MEASURED");
  EXPECT_EQ(measure.samples, 3u);
  EXPECT_EQ(measure.rows, 4u);
  EXPECT_EQ(measure.failures, 0u);
  EXPECT_EQ(measure.last_duration_us, 100000u);
  EXPECT_EQ(measure.longest_duration_us, 300000u);
  EXPECT_EQ(measure.last_rows_ms, time_.now_ms() - 3000 + 1300);
  EXPECT_EQ(measure.age_ms, 1700);
  EXPECT_EQ(probe::measure_of("EMPTY").age_ms, -1);
}

TEST_F(Schedule, TheLatestRowsStayUntilASampleHasRowsAgain) {
  int sample = 0;
  probe::register_table("LATEST", [&sample](probe::Table& table) {
    ++sample;
    if (sample == 1) table.add(probe::row("old", 1) + probe::row("old", 2));
    if (sample == 3) table.add(probe::row("new", 3));
  });
  probe::register_table("READER", [](probe::Table&) {
    Sleep(500);
    const auto rows = xaf::latest_rows("LATEST");
    if (rows.size() == 2) {
      EXPECT_THAT(rows, ElementsAre(probe::row("old", 1), probe::row("old", 2)));
    } else {
      EXPECT_THAT(rows, ElementsAre(probe::row("new", 3)));
    }
  });
  EXPECT_EQ(run(until(4000, 1000)), 0);
  EXPECT_EQ(probe::measure_of("READER").samples, 4u);
  EXPECT_THAT(xaf::latest_rows("LATEST"), ElementsAre(probe::row("new", 3)));
  EXPECT_TRUE(xaf::latest_rows("NOBODY").empty());
}

TEST_F(Schedule, DeliveriesOfOneTableComeInTheOrderOfItsSamples) {
  // Several tables share one slow sink: it is never entered twice, and keeps each table's order.
  class SlowSink : public xaf::Sink {
   public:
    void deliver(const xaf::Delivery& delivery) override {
      EXPECT_EQ(inside_.fetch_add(1), 0);
      Sleep(130);
      std::int32_t number = 0;
      std::memcpy(&number, delivery.rows + 8, sizeof number);
      EXPECT_EQ(number, ++last_[delivery.table]);
      inside_.fetch_sub(1);
      ++deliveries;
    }
    int deliveries = 0;

   private:
    std::atomic<int> inside_{0};
    std::map<std::string, int> last_;
  };
  const auto sink = std::make_shared<SlowSink>();
  xaf::add_sink(sink);
  int counts[3] = {};
  const char* const names[] = {"A", "B", "C"};
  for (int index = 0; index < 3; ++index) {
    probe::register_table(names[index], [count = &counts[index]](probe::Table& table) {
      table.add(probe::row("n", ++*count));
    });
  }
  EXPECT_EQ(run(until(10000, 1000)), 0);
  EXPECT_EQ(sink->deliveries, 30);
}

TEST_F(Schedule, ASinkThatFailsIsCountedAndTheOthersStillGetTheRows) {
  class Broken : public xaf::Sink {
   public:
    void deliver(const xaf::Delivery&) override { throw std::runtime_error("disk full"); }
  };
  const trc::Capture capture;
  xaf::clear_sinks();
  xaf::add_sink(std::make_shared<Broken>());
  xaf::add_sink(keeper_);
  probe::register_table("ROWS", [](probe::Table& table) { table.add(probe::row("r", 1)); });
  EXPECT_EQ(run(until(1000)), 0);
  EXPECT_EQ(keeper_->all().size(), 1u);
  EXPECT_EQ(probe::measure_of("ROWS").failures, 1u);
  EXPECT_EQ(capture.count("ROWS: a sink failed: disk full"), 1u);
  EXPECT_EQ(keeper_->closed(), 1);
}

TEST_F(Schedule, ATableWhoseManagerMakesNoObjectIsNotServedAndTheOthersAre) {
  const trc::Capture capture;
  probe::register_table("NOMEMORY", [](probe::Table&) {})->fail_creation = true;
  probe::register_table("GOOD", [](probe::Table& table) { table.add(probe::row("g", 1)); });
  EXPECT_EQ(run(until(1000)), 0);
  EXPECT_EQ(probe::measure_of("NOMEMORY").failures, 1u);
  EXPECT_EQ(probe::measure_of("GOOD").rows, 1u);
  EXPECT_EQ(capture.count("NOMEMORY: no sample object could be made, the table is not served"), 1u);
}

TEST_F(Schedule, TheRunLeavesNoHandlesBehind) {
  probe::register_table("TIDY", [](probe::Table& table) {
    Sleep(10);
    table.add(probe::row("t", 1));
  });
  EXPECT_EQ(run(until(1500, 1000)), 0);
  const auto before = platform::accounting::live();
  EXPECT_EQ(run(until(86400000, 1000)), 0);  // a day
  EXPECT_EQ(platform::accounting::live(), before);
  EXPECT_EQ(probe::measure_of("TIDY").samples, 86402u);
}

}  // namespace
