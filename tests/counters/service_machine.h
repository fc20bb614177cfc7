#pragma once
// A machine with counters and services, on which the tables of the DHCP and the DNS server play.

#include <memory>
#include <string>
#include <vector>

#include "counter_tables.h"
#include "include/platform/threads.h"
#include "platform/services/recorded_services.h"

inline std::string service(const std::string& name, const std::string& state = "Running",
                           const std::string& start_mode = "Auto") {
  return R"([{"Name": ")" + name + R"(", "DisplayName": ")" + name +
         R"(", "ServiceType": "Share Process", "State": ")" + state + R"(", "StartMode": ")" +
         start_mode + R"(", "PathName": "C:\\s.exe", "StartName": "LocalSystem", "AcceptStop": )" +
         R"(true, "ExitCode": 0, "ProcessId": 0}])";
}

class ServiceTables : public CounterTables {
 protected:
  // Between the starts of two samples by next_sample(), and between two values of a series.
  static constexpr int kPeriod_ms = 6000;

  // One more row of the counter log every six seconds.
  void install_machine(const std::vector<Series>& series, const std::string& services,
                       int major = 10, int minor = 0) {
    std::vector<int> offsets_ms = {0};
    for (const Series& one : series) {
      while (offsets_ms.size() < one.cells.size()) {
        offsets_ms.push_back(static_cast<int>(offsets_ms.size()) * kPeriod_ms);
      }
    }
    machine = std::make_shared<Machine>(counter_log(series, offsets_ms));
    machine->facts.os_major = static_cast<std::uint32_t>(major);
    machine->facts.os_minor = static_cast<std::uint32_t>(minor);
    machine->service_manager = platform::read_services(services, "services.json");
    platform::install(machine);
    build_for(major, minor);
  }
  // The table's one row, sampled now; then time goes on to the next row of the log.
  static std::string next_sample(xaf::DirectSampler& table) {
    const std::vector<std::string> rows = table.sample();
    Sleep(kPeriod_ms - 500);
    EXPECT_EQ(rows.size(), 1u);
    return rows.empty() ? std::string(1024, '?') : rows[0];
  }
  static std::int32_t number_at(const std::string& row, std::size_t offset) {
    std::int32_t number;
    std::memcpy(&number, row.data() + offset, sizeof number);
    return number;
  }

  std::shared_ptr<Machine> machine;
};

// The counter's values, one a row of the log.
inline void set_cells(std::vector<Series>& series, const std::string& path,
                      const std::vector<double>& values) {
  for (Series& one : series) {
    if (one.path == path) one.cells.assign(values.begin(), values.end());
  }
}

inline std::string padded(std::string text, std::size_t width) {
  text.resize(width, ' ');
  return text;
}
