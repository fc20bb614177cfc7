#pragma once
// A week of the whole agent in virtual time: what breaks when, drawn from a seed, and all rows that
// left the framework.

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <map>
#include <set>
#include <sstream>
#include <string>
#include <string_view>
#include <vector>

#include "framework/xaf/control.h"
#include "platform/control.h"
#include "tests/support/seeds.h"

namespace week {

inline constexpr std::int64_t kMinute_ms = 60000;
inline constexpr std::int64_t kHour_ms = 60 * kMinute_ms;
inline constexpr std::int64_t kDay_ms = 24 * kHour_ms;

// ---- what breaks when ---------------------------------------------------------------------------

struct Fault {
  std::string call;
  std::uint32_t nth;  // 0: every call while the outage lasts
};
// In milliseconds of virtual time since the start.
struct Outage {
  std::int64_t begin_ms;
  std::int64_t end_ms;
  std::vector<Fault> faults;
};

// Calls whose failure is no trouble to be lived through: what cannot be given back is lost by
// definition, and a watch that fails ends the agent on purpose.
inline bool may_fail(const std::string& call) {
  static const std::set<std::string> kept = {"CloseHandle",
                                             "FreeLibrary",
                                             "LocalFree",
                                             "MsgWaitForMultipleObjects",
                                             "PdhCloseQuery",
                                             "RegCloseKey",
                                             "WaitForMultipleObjects",
                                             "TerminateThread"};
  return !kept.contains(call);
}
// A wait that always fails takes no time, and whoever waits in a loop would never let time pass. An
// event that can never again be signalled is the end of every lock; once is another matter.
inline bool may_always_fail(const std::string& call) {
  return call != "WaitForSingleObject" && call != "SetEvent";
}

inline Fault draw_fault(testing_support::Random& random, const std::vector<std::string>& calls) {
  const std::string& call = calls[random.below(calls.size())];
  if (may_always_fail(call) && random.one_in(4)) return {call, 0};
  // Early ones and late ones: some calls come twice in a collection, some thousands of times.
  const std::uint64_t most = std::uint64_t{1} << random.below(11);
  return {call, static_cast<std::uint32_t>(random.between(1, most))};
}

// One outage after the other, from begin to end, with times without any between them.
inline std::vector<Outage> draw_outages(testing_support::Random& random,
                                        const std::vector<std::string>& calls,
                                        std::int64_t begin_ms, std::int64_t end_ms) {
  std::vector<Outage> outages;
  for (std::int64_t at = begin_ms;;) {
    at += static_cast<std::int64_t>(random.between(1, 6 * kHour_ms));
    const auto lasts = static_cast<std::int64_t>(random.between(kMinute_ms, 8 * kHour_ms));
    if (at + lasts >= end_ms) return outages;
    Outage outage{at, at + lasts, {}};
    for (std::uint64_t faults = random.between(1, 6); faults > 0; --faults) {
      outage.faults.push_back(draw_fault(random, calls));
    }
    at = outage.end_ms;
    outages.push_back(std::move(outage));
  }
}

inline std::string words_for(const std::vector<Outage>& outages) {
  std::ostringstream text;
  for (const Outage& outage : outages) {
    text << "from " << outage.begin_ms << " to " << outage.end_ms << " ms:";
    for (const Fault& fault : outage.faults) {
      text << ' ' << fault.call << ' '
           << (fault.nth == 0 ? "always" : "no. " + std::to_string(fault.nth));
    }
    text << '\n';
  }
  return text.str();
}

// ---- what came out ------------------------------------------------------------------------------

struct Sample {
  std::int64_t time_ms;
  std::vector<std::string> rows;
};

// All samples of one table that had rows.
struct History {
  std::string table;
  std::vector<xaf::ColumnView> columns;
  std::vector<Sample> samples;

  const xaf::ColumnView* column(std::string_view name) const {
    const auto found = std::find_if(columns.begin(), columns.end(),
                                    [&](const auto& one) { return one.name == name; });
    return found == columns.end() ? nullptr : &*found;
  }
  std::string field(const std::string& row, std::string_view name) const {
    const xaf::ColumnView* one = column(name);
    return one == nullptr ? std::string() : row.substr(one->offset, one->width);
  }
  std::int32_t integer(const std::string& row, std::string_view name) const {
    std::int32_t value = 0;
    const std::string bytes = field(row, name);
    if (bytes.size() == sizeof value) std::memcpy(&value, bytes.data(), sizeof value);
    return value;
  }
  // Where the rows first differ, in words, those columns aside; empty where they do not.
  std::string difference(const std::vector<std::string>& left,
                         const std::vector<std::string>& right,
                         const std::set<std::string>& aside) const {
    for (std::size_t i = 0; i < std::min(left.size(), right.size()); ++i) {
      for (const xaf::ColumnView& one : columns) {
        const auto before = std::string_view(left[i]).substr(one.offset, one.width);
        const auto after = std::string_view(right[i]).substr(one.offset, one.width);
        if (before == after || aside.contains(one.name)) continue;
        return "row " + std::to_string(i) + ", " + one.name + ": " +
               ::testing::PrintToString(before) + " and " + ::testing::PrintToString(after);
      }
    }
    if (left.size() == right.size()) return "";
    return std::to_string(left.size()) + " rows and " + std::to_string(right.size());
  }
  std::vector<Sample> between(std::int64_t begin_ms, std::int64_t end_ms) const {
    std::vector<Sample> found;
    for (const Sample& sample : samples) {
      if (sample.time_ms >= begin_ms && sample.time_ms < end_ms) found.push_back(sample);
    }
    return found;
  }
};

// Deliveries come one at a time, and are read when the agent has ended.
class Recorder : public xaf::Sink {
 public:
  void deliver(const xaf::Delivery& delivery) override {
    History& history = tables[delivery.table];
    history.table = delivery.table;
    history.columns = *delivery.columns;
    Sample sample{delivery.time_ms, {}};
    for (std::uint32_t i = 0; i < delivery.count; ++i) {
      sample.rows.emplace_back(delivery.rows + std::size_t{i} * delivery.row_size,
                               delivery.row_size);
    }
    history.samples.push_back(std::move(sample));
  }
  std::map<std::string, History> tables;
};

// A sample prints the values of its counters: thousands of lines a week.
class QuietOutput {
 public:
  QuietOutput() : saved_(dup(STDOUT_FILENO)) {
    std::fflush(stdout);
    const int nothing = open("/dev/null", O_WRONLY | O_CLOEXEC);
    dup2(nothing, STDOUT_FILENO);
    close(nothing);
  }
  ~QuietOutput() {
    std::fflush(stdout);
    dup2(saved_, STDOUT_FILENO);
    close(saved_);
  }
  QuietOutput(const QuietOutput&) = delete;
  QuietOutput& operator=(const QuietOutput&) = delete;

 private:
  const int saved_;
};

}  // namespace week
