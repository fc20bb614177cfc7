// The table of the DNS server.

#include <gmock/gmock.h>

#include "include/platform/adsi.h"
#include "platform/recorded/recording.h"
#include "service_machine.h"
#include "tests/support/two_sites.h"

namespace {

using testing::ElementsAre;

// Counter n of the list is 10240 (n + 1) and a bit: 10 (n + 1) kilobytes.
std::vector<Series> tens_of_kilobytes() {
  std::vector<Series> series = series_of(g_DNSList, 0);
  for (std::size_t n = 0; n < series.size(); ++n) {
    series[n].cells = {10240.0 * static_cast<double>(n + 1) + 0.9};
  }
  return series;
}

// A forest whose locator finds one controller, with these marks.
std::shared_ptr<platform::Controller> domain_with(const std::string& flags) {
  return platform::make_recording(
      {{"directory.ldif", testing_support::kSmallForest},
       {"locator.json", R"({"forest": "corp.example", "controllers": [{"name": )"
                        R"("DC1.corp.example", "address": "10.53.1.11", "flags": [)" +
                            flags + "]}]}"}},
      "test", {});
}

class Dns : public ServiceTables {
 protected:
  static constexpr std::size_t kPercentages = 216, kService = 228;
  static constexpr std::size_t kUpdatePercentages = 344, kDeltas = 352, kReadOnly = 580;

  Dns() { CoInitializeEx(nullptr, COINIT_MULTITHREADED); }
  ~Dns() override { CoUninitialize(); }

  static std::unique_ptr<xaf::DirectSampler> table() { return sampler<tables::DCWNTDSDNS>(); }
  static std::vector<std::int32_t> numbers(const std::string& row, std::size_t offset,
                                           std::size_t count) {
    std::vector<std::int32_t> numbers;
    for (std::size_t i = 0; i < count; ++i) numbers.push_back(number_at(row, offset + 4 * i));
    return numbers;
  }
};

TEST_F(Dns, GivesOneRowByteForByteOnEveryVersion) {
  std::int32_t samples = 0;
  for (const auto& [major, minor] : {std::pair{5, 2}, {6, 0}, {6, 1}, {10, 0}}) {
    install_machine(tens_of_kilobytes(), service("DNS"), major, minor);
    const auto rows = table()->sample();
    ASSERT_EQ(rows.size(), 1u);
    EXPECT_EQ(
        rows[0],
        long_head(++samples, rows[0].substr(72, 16)) + columns_of({0, 0, 0}) + padded("TRUE", 64) +
            columns_of({10, 20480, 30720, 40960, 51200, 61440, 71680, 81920, 92160, 102400, 112640,
                        122880, 133120}) +
            columns_of({0, 0}) + columns_of(std::vector<std::int32_t>(8, 0)) +
            columns_of({143360, 153600, 163840, 174080, 184320, 190,    204800, 215040, 225280,
                        235520, 245760, 256000, 266240, 276480, 286720, 296960, 307200, 310,
                        327680, 337920, 340,    358400, 368640, 378880, 389120, 399360, 409600,
                        419840, 430080, 440320, 440,    460800, 471040, 481280, 491520, 490,
                        512000, 522240, 532480, 542720, 552960, 563200, 573440, 583680, 593920,
                        604160, 614400, 624640, 634880}) +
            columns_of({0}));
  }
}

TEST_F(Dns, TellsWhatItsTotalsHaveGainedSinceTheSampleBefore) {
  std::vector<Series> series = tens_of_kilobytes();
  set_cells(series, "\\DNS\\Total Response Sent", {100, 110, 115});
  set_cells(series, "\\DNS\\Total Query Received", {200, 220, 225});
  set_cells(series, "\\DNS\\Dynamic Update Received", {300, 330, 340});
  set_cells(series, "\\DNS\\Dynamic Update Rejected", {400, 403, 404});
  set_cells(series, "\\DNS\\Dynamic Update TimeOuts", {500, 506, 507});
  set_cells(series, "\\DNS\\Zone Transfer Failure", {600, 601, 601});
  set_cells(series, "\\DNS\\Zone Transfer Request Received", {700, 703, 703});
  set_cells(series, "\\DNS\\Zone Transfer Success", {800, 802, 802});
  install_machine(series, service("DNS"));
  const auto dns = table();
  std::string row = next_sample(*dns);
  EXPECT_THAT(numbers(row, kDeltas, 8), ElementsAre(0, 0, 0, 0, 0, 0, 0, 0));
  row = next_sample(*dns);
  EXPECT_THAT(numbers(row, kDeltas, 8), ElementsAre(10, 20, 30, 3, 6, 1, 3, 2));
  // Failed updates 9 of 30; transfers that failed 1 of 3; rejected 3 of 30; timed out 6 of 30.
  EXPECT_EQ(number_at(row, kPercentages), 30);
  EXPECT_EQ(number_at(row, kPercentages + 8), 33);
  EXPECT_THAT(numbers(row, kUpdatePercentages, 2), ElementsAre(10, 20));
  row = next_sample(*dns);
  EXPECT_THAT(numbers(row, kDeltas, 8), ElementsAre(5, 5, 10, 1, 1, 0, 0, 0));
  EXPECT_EQ(number_at(row, kPercentages), 20);
  EXPECT_EQ(number_at(row, kPercentages + 8), 0);
}

TEST_F(Dns, WithoutItsCountersLosesItsTotalsOnce) {
  install_machine(tens_of_kilobytes(), service("DNS"));
  const auto dns = table();
  next_sample(*dns);
  install_machine(series_of(g_ABList, 1), service("DNS"));
  std::string row = next_sample(*dns);
  EXPECT_THAT(numbers(row, kDeltas, 8),
              ElementsAre(-92160, -71680, -30720, -51200, -61440, -112640, -122880, -133120));
  EXPECT_EQ(row.substr(kService, 64), padded("TRUE", 64));
  EXPECT_EQ(trace.count("PdhValidatePath failed for [\\DNS\\Caching Memory] c0000bb8"), 1u);
  row = next_sample(*dns);
  EXPECT_EQ(row.substr(216, 12), std::string(12, '\0'));
  EXPECT_EQ(row.substr(292), std::string(292, '\0'));
}

TEST_F(Dns, StartsWithoutDeltasInEachNewObject) {
  std::vector<Series> series = tens_of_kilobytes();
  set_cells(series, "\\DNS\\Total Response Sent", {100, 110, 115});
  install_machine(series, service("DNS"));
  const auto first = table();
  next_sample(*first);
  const auto second = table();
  EXPECT_EQ(number_at(next_sample(*second), kDeltas), 0);
  EXPECT_EQ(number_at(next_sample(*first), kDeltas), 15);
  // The objects tell themselves apart.
  EXPECT_EQ(trace.count("DN instance number: <1>"), 2u);
  EXPECT_EQ(trace.count("DN instance number: <2>"), 1u);
}

TEST_F(Dns, ShowsAThousandDividedByTheResponsesInASecond) {
  std::vector<Series> series = tens_of_kilobytes();
  set_cells(series, "\\DNS\\Total Response Sent/sec", {0, 3, 1});
  install_machine(series, service("DNS"));
  const auto dns = table();
  EXPECT_EQ(number_at(next_sample(*dns), kPercentages + 4), 0);
  EXPECT_EQ(number_at(next_sample(*dns), kPercentages + 4), 333);
  EXPECT_EQ(number_at(next_sample(*dns), kPercentages + 4), 1000);
}

TEST_F(Dns, IsReadOnlyOnAReadOnlyControllerOnly) {
  install_machine(series_of(g_ABList, 1), service("DNS"));
  const auto dns = table();
  machine->domain = domain_with(R"("LDAP", "DS", "WRITABLE")");
  EXPECT_EQ(number_at(next_sample(*dns), kReadOnly), 0);
  machine->domain = domain_with(R"("LDAP", "DS", "READ_ONLY")");
  EXPECT_EQ(number_at(next_sample(*dns), kReadOnly), 1);
  machine->domain = nullptr;
  EXPECT_EQ(number_at(next_sample(*dns), kReadOnly), 0);
}

TEST_F(Dns, IsNotReadOnlyWhenThatCannotBeAsked) {
  install_machine(series_of(g_ABList, 1), service("DNS"));
  machine->domain = domain_with(R"("LDAP", "DS", "READ_ONLY")");
  const auto dns = table();
  for (const char* call : {"ADsGetObject", "DsGetDcNameA", "OpenSCManagerW"}) {
    platform::faults::fail(call, 0);
    EXPECT_EQ(number_at(next_sample(*dns), kReadOnly), 0) << call;
    platform::faults::clear();
    EXPECT_EQ(number_at(next_sample(*dns), kReadOnly), 1) << call;
  }
}

TEST_F(Dns, TellsWhetherTheServiceIsInstalledNotWhetherItRuns) {
  const auto dns = table();
  install_machine(series_of(g_ABList, 1), service("DNS", "Stopped", "Disabled"));
  EXPECT_EQ(next_sample(*dns).substr(kService, 64), padded("TRUE", 64));
  install_machine(series_of(g_ABList, 1), service("Dnscache"));
  EXPECT_EQ(next_sample(*dns).substr(kService, 64), padded("FALSE", 64));
}

class DnsFaults : public FaultSweep {
 protected:
  DnsFaults() { CoInitializeEx(nullptr, COINIT_MULTITHREADED); }
  ~DnsFaults() override { CoUninitialize(); }
  void install_machine() override {
    const auto machine = std::make_shared<Machine>(counter_log(all_series(), {0}));
    machine->service_manager = platform::read_services(service("DNS"), "services.json");
    machine->domain = domain_with(R"("LDAP", "DS", "READ_ONLY")");
    platform::install(machine);
  }
};
TEST_F(DnsFaults, CostOneSampleAtMost) { sweep<tables::DCWNTDSDNS>(&g_DNS, 13u); }

}  // namespace
