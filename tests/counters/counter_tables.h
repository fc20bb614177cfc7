#pragma once
// Counter tables sampled through the framework, and the sweep that makes each platform call of a
// table's building and sampling fail once.

#include <gtest/gtest.h>

#include <memory>
#include <numeric>
#include <string>
#include <vector>

#include "machine.h"
#include "tables/classes.h"

inline constexpr const char* kStamp = "1110102030405000";

// count numbers from first on, then what is given.
inline std::vector<std::int32_t> from(std::int32_t first, std::size_t count,
                                      const std::vector<std::int32_t>& then = {}) {
  std::vector<std::int32_t> numbers(count);
  std::iota(numbers.begin(), numbers.end(), first);
  numbers.insert(numbers.end(), then.begin(), then.end());
  return numbers;
}

inline std::vector<Series> operator+(std::vector<Series> left, const std::vector<Series>& right) {
  left.insert(left.end(), right.begin(), right.end());
  return left;
}

class CounterTables : public CountersTest {
 protected:
  template <const auto& kTable>
  static std::unique_ptr<xaf::DirectSampler> sampler() {
    if (tables::g_manager<kTable> == nullptr) tables::init<kTable>();
    auto made = std::make_unique<xaf::DirectSampler>(kTable.name);
    EXPECT_TRUE(made->found());
    return made;
  }
  template <const auto& kTable>
  void expect_row(const std::vector<std::int32_t>& columns) {
    const std::vector<std::string> rows = sampler<kTable>()->sample();
    ASSERT_EQ(rows.size(), 1u) << kTable.name;
    EXPECT_EQ(rows[0].size(), kTable.row_size());
    // Another table's half second may have passed.
    const std::string stamp = rows[0].substr(72, 16);
    EXPECT_EQ(rows[0], long_head(++samples_[kTable.name], stamp) + columns_of(columns))
        << kTable.name << " on " << g_osMajorVersion;
    EXPECT_EQ(stamp.substr(0, 11), std::string(kStamp, 11));
  }
  void build_for(int major, int minor) {
    deleteGlobals();
    set_version(major, minor);
    allocateGlobals(nullptr);
  }

 private:
  std::map<std::string, std::int32_t> samples_;
};

// Every platform call that a table's building and sampling reaches is made to fail once. A fault
// while the collector is built may cost a value until it is built anew, one while it samples may
// cost that sample; nothing may be lost for good, and nothing may fall over.
class FaultSweep : public CounterTables {
 protected:
  virtual void install_machine() { install(all_series()); }

  template <const auto& kTable, typename Collector, typename... Arguments>
  void sweep(std::atomic<Collector*>* global, Arguments... arguments) {
    install_machine();
    set_version(10, 0);
    SetEvent(g_allocateGlobalsEvent);
    const auto scenario = [&] {
      if (global != nullptr) *global = new Collector(arguments...);
      // A new object each time: what one keeps from sample to sample begins anew with it.
      const auto rows = sampler<kTable>()->sample();
      EXPECT_LE(rows.size(), 1u);
      if (global != nullptr) delete global->exchange(nullptr);
      return rows.empty() ? std::string() : rows[0];
    };
    // Without the sample's number and time.
    constexpr std::size_t kHead = kTable.find("SAMPLENO") < kTable.column_count ? 88 : 80;
    const auto data = [](const std::string& row) {
      return row.empty() ? row : row.substr(0, 64) + row.substr(kHead);
    };
    testing::internal::CaptureStdout();
    scenario();  // what is made once a process is made now
    platform::faults::reset_counts();
    const std::string right = data(scenario());
    const auto calls = platform::faults::reached();
    auto before = live();
    ASSERT_FALSE(right.empty());
    std::size_t struck = 0;
    for (const auto& [call, count] : calls) {
      if (call == "LocalFree") continue;  // memory that cannot be given back is lost by definition
      for (std::uint32_t nth = 1; nth <= count; ++nth) {
        platform::faults::fail(call, nth);
        scenario();
        if (platform::faults::struck()) ++struck;
        platform::faults::clear();
        ASSERT_EQ(data(scenario()), right) << "after " << call << " " << nth;
        // A query that the library will not close is lost to us.
        if (call == "PdhCloseQuery") before = live();
        ASSERT_EQ(live(), before) << "after " << call << " " << nth;
      }
    }
    testing::internal::GetCapturedStdout();
    EXPECT_GT(struck, 10u);
  }
};
