#pragma once
// A machine with the counters that a test writes down, as a PDH-CSV text read by the real reader,
// and the stage on which every test of this room plays: virtual time, all trace levels, captured.

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "counters/globals.h"
#include "counters/lists.h"
#include "framework/trc/control.h"
#include "framework/xaf/control.h"
#include "include/platform/threads.h"
#include "include/settings.h"
#include "include/trace.h"
#include "platform/control.h"
#include "platform/counters/recorded_counters.h"
#include "platform/registry/recorded_registry.h"
#include "tables/table.h"

struct Series {
  std::string path;  // without the machine: \Object(instance)\Counter
  std::vector<std::optional<double>> cells;
};

// One row of cells every offset; a cell that is not there is blank.
inline std::string counter_log(const std::vector<Series>& series,
                               const std::vector<int>& offsets_ms) {
  std::string text = "\"(PDH-CSV 4.0) (UTC)(0)\"";
  for (const Series& one : series) text += ",\"\\\\DC1" + one.path + "\"";
  text += "\n";
  for (std::size_t row = 0; row < offsets_ms.size(); ++row) {
    char stamp[64];
    std::snprintf(stamp, sizeof stamp, "\"01/02/2011 03:04:%02d.%03d\"", offsets_ms[row] / 1000,
                  offsets_ms[row] % 1000);
    text += stamp;
    for (const Series& one : series) {
      const auto& cell = one.cells.size() > row ? one.cells[row] : one.cells.back();
      char value[64] = " ";
      if (cell) std::snprintf(value, sizeof value, "%.3f", *cell);
      text += ",\"" + std::string(value) + "\"";
    }
    text += "\n";
  }
  return text;
}

inline std::string path_of(const std::string& object, const std::string& instance,
                           const std::string& counter) {
  return "\\" + object + (instance.empty() ? "" : "(" + instance + ")") + "\\" + counter;
}

// Every counter of a list with the values first, first + 1, ...; an instance for those lists that
// get theirs only later.
inline std::vector<Series> series_of(counters::CounterRows list, double first,
                                     const std::string& instance = "") {
  std::vector<Series> made;
  for (const counters::CounterRow& row : list) {
    made.push_back(
        {path_of(row.szObjectName, row.szInstanceName != nullptr ? row.szInstanceName : instance,
                 row.szCounterName),
         {first}});
    first += 1;
  }
  return made;
}

class Machine : public platform::Controller {
 public:
  explicit Machine(const std::string& counters, const std::string& registry = "") {
    facts.host_name = "DC1";
    if (!counters.empty()) {
      counters_ = platform::read_counters(counters, "counters.csv", platform::clock_now_ms);
    }
    if (!registry.empty()) registry_ = platform::read_registry(registry, "registry.reg");
  }
  std::string description() const override { return "counters of a test"; }
  const platform::MachineFacts& machine() const override { return facts; }
  platform::Directory* directory() override { return domain ? domain->directory() : nullptr; }
  platform::DirectoryServices* directory_services() override {
    return domain ? domain->directory_services() : nullptr;
  }
  platform::CounterSource* counters() override { return counters_.get(); }
  platform::RegistryHive* registry() override { return registry_.get(); }
  platform::ServiceManager* services() override { return service_manager.get(); }

  platform::MachineFacts facts;
  std::shared_ptr<platform::ServiceManager> service_manager;  // null: it has none
  std::shared_ptr<platform::Controller> domain;               // null: the machine belongs to none

 private:
  std::unique_ptr<platform::CounterSource> counters_;
  std::unique_ptr<platform::RegistryHive> registry_;
};

// The lists as they are now, put back at the end: a translation rewrites them for good.
class ListsPutBack {
 public:
  ListsPutBack() {
    for (const counters::CounterList& list : counters::kCounterLists) {
      rows_.emplace_back(list.rows.begin(), list.rows.end());
    }
  }
  ~ListsPutBack() {
    for (std::size_t i = 0; i < rows_.size(); ++i) {
      std::copy(rows_[i].begin(), rows_[i].end(), counters::kCounterLists[i].rows.begin());
    }
  }
  ListsPutBack(const ListsPutBack&) = delete;
  ListsPutBack& operator=(const ListsPutBack&) = delete;

 private:
  std::vector<std::vector<counters::CounterRow>> rows_;
};

class CountersTest : public testing::Test {
 protected:
  CountersTest() {
    setenv("TZ", "UTC", 1);
    unsetenv("DCW_UNIT_TEST_SEED");
    trc::set_flags(trace::kDetail | trace::kError);
    xaf::Configuration configuration;
    configuration.node_name = "NODE1";
    xaf::configure(configuration);
    g_allocateGlobalsEvent = CreateEventA(nullptr, TRUE, FALSE, nullptr);
  }
  ~CountersTest() override {
    platform::faults::clear();
    deleteGlobals();
    CloseHandle(g_allocateGlobalsEvent.exchange(nullptr));
  }

  static void set_version(int major, int minor) {
    g_osMajorVersion = major;
    g_osMinorVersion = minor;
  }
  static void install(const std::vector<Series>& series, const std::vector<int>& offsets_ms = {0}) {
    platform::install(std::make_shared<Machine>(counter_log(series, offsets_ms)));
  }
  // Every list, in both variants where it has two: list n begins at 1000 n + 0.9. The last three
  // have the instance "one", and stand for the list over all three of their objects as well.
  static std::vector<Series> all_series() {
    constexpr std::size_t kListOverThreeObjects = 23;
    constexpr std::size_t kFirstWithInstances = 25;
    std::vector<Series> series;
    for (std::size_t n = 0; n < counters::kCounterLists.size(); ++n) {
      if (n == kListOverThreeObjects) continue;
      const std::string instance = n < kFirstWithInstances ? "" : "one";
      const double first = 1000.0 * static_cast<double>(n) + 0.9;
      for (Series& one : series_of(counters::kCounterLists[n].rows, first, instance)) {
        series.push_back(std::move(one));
      }
    }
    return series;
  }
  static std::map<std::string, std::int64_t> live() {
    auto counts = platform::accounting::live();
    std::erase_if(counts, [](const auto& kind) { return kind.second == 0; });
    return counts;
  }

  ListsPutBack lists;
  platform::VirtualTime time;
  trc::Capture trace;
};

// The start of a row as the framework receives it.
inline std::string long_head(std::int32_t sample, const std::string& stamp) {
  std::string head = "NODE1" + std::string(59, ' ');
  head.append(reinterpret_cast<const char*>(&sample), 4);
  const std::int32_t row = 1;
  head.append(reinterpret_cast<const char*>(&row), 4);
  return head + stamp + std::string(128, '\0');
}
inline std::string columns_of(const std::vector<std::int32_t>& values) {
  return {reinterpret_cast<const char*>(values.data()), values.size() * 4};
}
