#pragma once
// A table sampled through the framework from a recording of a few lines, at a known moment.

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <ctime>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "agent/framework_binding.h"
#include "framework/trc/control.h"
#include "framework/xaf/control.h"
#include "include/platform/adsi.h"
#include "platform/control.h"
#include "tests/support/small_recording.h"

namespace testing_support {

// text followed by fill up to the width.
inline std::string field(std::string text, std::size_t width, char fill = '\0') {
  text.resize(width, fill);
  return text;
}
inline std::string number(std::int32_t value) {
  return {reinterpret_cast<const char*>(&value), sizeof value};
}

// What may differ between two right samples of a table, and what a sample may leave behind.
struct Tolerance {
  struct Bytes {
    std::size_t offset;
    std::size_t size;
  };
  // With the short head the time stamp, which may have moved on by the yields.
  std::vector<Bytes> changing = {{64, 16}};
  std::set<std::string> staying = {};  // kinds of handle

  std::string fixed_part(std::string row) const {
    for (const Bytes& bytes : changing) row.replace(bytes.offset, bytes.size, bytes.size, '*');
    return row;
  }
  std::map<std::string, std::int64_t> live() const {
    auto counts = platform::accounting::live();
    for (const std::string& kind : staying) counts.erase(kind);
    return counts;
  }
};

class Sampling : public ::testing::Test {
 protected:
  explicit Sampling(const std::string& forest = kSmallForest, const MoreFiles& more_files = {})
      : recording_(forest, "", more_files) {
    setenv("TZ", "UTC0", 1);
    tzset();
    setenv("AGENT_TIMING", "1", 1);
    trc::set_flags(1 | 128);
    xaf::Configuration configuration;
    configuration.node_name = "NODE1";
    xaf::configure(configuration);
    Call_XAF_RegisterAgent();
    CoInitializeEx(nullptr, COINIT_MULTITHREADED);
  }
  ~Sampling() override {
    platform::faults::clear();
    CoUninitialize();
    time_.reset();
    xaf::reset();
  }

  static std::string origin_node() { return field("NODE1", 64, ' '); }
  // The start of virtual time.
  static std::string time_stamp() { return "1110102030405000"; }

  // With the long head: sample number and time stamp.
  static Tolerance numbered_samples() { return {{{64, 4}, {72, 16}}, {}}; }

  // Fails each platform call that one sample of the table reaches, one at a time. required: what
  // the trace must say when the first call of that name fails.
  void sweep(const std::string& table, const std::map<std::string, std::string>& required,
             const Tolerance& tolerance = {}) {
    xaf::DirectSampler sampler(table);
    ASSERT_TRUE(sampler.found());
    // The first sample also makes what lives as long as the process.
    const std::vector<std::string> right = sampler.sample();
    ASSERT_FALSE(right.empty());
    const auto before = tolerance.live();
    platform::faults::reset_counts();
    sampler.sample();
    const auto reached = platform::faults::reached();
    ASSERT_FALSE(reached.empty());
    for (const auto& [call, times] : reached) {
      if (call == "LocalFree") continue;  // memory that cannot be given back is lost by definition
      for (std::uint32_t nth = 1; nth <= times; ++nth) {
        SCOPED_TRACE(call + " " + std::to_string(nth));
        const trc::Capture trace;
        platform::faults::fail(call, nth);
        sampler.sample();
        EXPECT_TRUE(platform::faults::struck());
        platform::faults::clear();
        EXPECT_EQ(before, tolerance.live());
        const auto text = required.find(call);
        if (nth == 1 && text != required.end()) {
          EXPECT_TRUE(trace.contains(text->second));
        }
        const std::vector<std::string> again = sampler.sample();
        ASSERT_EQ(right.size(), again.size());
        for (std::size_t i = 0; i < right.size(); ++i) {
          EXPECT_EQ(tolerance.fixed_part(right[i]), tolerance.fixed_part(again[i]));
        }
      }
    }
    for (const auto& [call, text] : required) {
      const bool was_reached =
          std::any_of(reached.begin(), reached.end(),
                      [&name = call](const auto& entry) { return entry.first == name; });
      EXPECT_TRUE(was_reached) << call;
    }
  }

  SmallRecording recording_;
  std::unique_ptr<platform::VirtualTime> time_ = std::make_unique<platform::VirtualTime>();
  trc::Capture trace_;
};

}  // namespace testing_support
