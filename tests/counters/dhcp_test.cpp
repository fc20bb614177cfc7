// The table of the DHCP server.

#include <gmock/gmock.h>

#include "service_machine.h"

namespace {

using testing::ElementsAre;

class Dhcp : public ServiceTables {
 protected:
  static constexpr std::size_t kRequestChange = 216, kAckChange = 220, kService = 224;

  static std::vector<Series> with_rates(const std::vector<double>& requests,
                                        const std::vector<double>& acks) {
    std::vector<Series> series = series_of(g_DHCPList, 10.9);
    set_cells(series, "\\DHCP Server\\Requests/sec", requests);
    set_cells(series, "\\DHCP Server\\Acks/sec", acks);
    return series;
  }
  static std::unique_ptr<xaf::DirectSampler> table() { return sampler<tables::DCWNTDSDHC>(); }
  static std::string service_of(const std::string& row) { return row.substr(kService, 16); }
};

TEST_F(Dhcp, GivesOneRowByteForByteOnEveryVersion) {
  // Row 6 and 7, the two rates, have no columns of their own.
  std::vector<std::int32_t> older = from(12000, 6);
  for (const std::int32_t one : from(12008, 6)) older.push_back(one);
  struct Version {
    int major, minor;
    std::vector<std::int32_t> newer;
  };
  std::int32_t samples = 0;
  for (const Version& version :
       {Version{5, 2, std::vector<std::int32_t>(15, -1)}, Version{6, 0, from(12014, 15)},
        Version{6, 1, from(24014, 15)}, Version{10, 0, from(12014, 15)}}) {
    install_machine(all_series(), service("DHCPServer"), version.major, version.minor);
    const auto rows = table()->sample();
    ASSERT_EQ(rows.size(), 1u);
    EXPECT_EQ(rows[0], long_head(++samples, rows[0].substr(72, 16)) + columns_of({0, 0}) +
                           padded("TRUE", 16) + columns_of(older) + columns_of(version.newer))
        << version.major << '.' << version.minor;
  }
}

TEST_F(Dhcp, TellsHowItsRatesHaveChangedSinceTheSampleBefore) {
  install_machine(with_rates({7.5, 0, 5, 0, 0, 4, 5}, {100, 50, 50, 0, 1, 3, 2}),
                  service("DHCPServer"));
  const auto dhcp = table();
  std::vector<std::int32_t> requests, acks;
  for (int i = 0; i < 7; ++i) {
    const std::string row = next_sample(*dhcp);
    requests.push_back(number_at(row, kRequestChange));
    acks.push_back(number_at(row, kAckChange));
  }
  // None before the first; from 7 to nothing; from nothing; to nothing; none; from nothing; 4 to 5.
  EXPECT_THAT(requests, ElementsAre(0, -99, 100, -99, 0, 100, 25));
  EXPECT_THAT(acks, ElementsAre(0, -49, 0, -99, 100, 200, -33));
}

TEST_F(Dhcp, TakesARateThatOverflowedForNoPreviousSample) {
  install_machine(with_rates({4, 3e9, 6, 9}, {1, 1, 1, 1}), service("DHCPServer"));
  const auto dhcp = table();
  next_sample(*dhcp);
  next_sample(*dhcp);
  EXPECT_EQ(number_at(next_sample(*dhcp), kRequestChange), 0);
  EXPECT_EQ(number_at(next_sample(*dhcp), kRequestChange), 50);
}

TEST_F(Dhcp, BeginsAnewForAllObjectsWithEachNewOne) {
  install_machine(with_rates({4, 5, 10, 20}, {1, 1, 1, 1}), service("DHCPServer"));
  const auto first = table();
  EXPECT_EQ(number_at(next_sample(*first), kRequestChange), 0);
  EXPECT_EQ(number_at(next_sample(*first), kRequestChange), 25);
  const auto second = table();
  EXPECT_EQ(number_at(next_sample(*first), kRequestChange), 0);
  // The rates are everybody's.
  EXPECT_EQ(number_at(next_sample(*second), kRequestChange), 100);
}

TEST_F(Dhcp, WithoutItsCountersHasARowAndKeepsTheRatesOfBefore) {
  install_machine(with_rates({4}, {8}), service("DHCPServer"));
  const auto dhcp = table();
  next_sample(*dhcp);
  install_machine(series_of(g_ABList, 1), service("DHCPServer"));
  const auto rows = dhcp->sample();
  ASSERT_EQ(rows.size(), 1u);
  EXPECT_EQ(rows[0].substr(216), columns_of({0, 0}) + padded("TRUE", 16) +
                                     columns_of(std::vector<std::int32_t>(12, 0)) +
                                     columns_of(std::vector<std::int32_t>(15, -1)));
  EXPECT_EQ(trace.count("PdhValidatePath failed for [\\DHCP Server\\Declines/sec] c0000bb8"), 1u);
  install_machine(with_rates({5}, {10}), service("DHCPServer"));
  const std::string row = next_sample(*dhcp);
  EXPECT_EQ(number_at(row, kRequestChange), 25);
  EXPECT_EQ(number_at(row, kAckChange), 25);
}

TEST_F(Dhcp, TellsWhetherTheServiceIsInstalledNotWhetherItRuns) {
  const auto dhcp = table();
  install_machine(series_of(g_ABList, 1), service("DHCPServer", "Stopped", "Disabled"));
  EXPECT_EQ(service_of(next_sample(*dhcp)), padded("TRUE", 16));
  install_machine(series_of(g_ABList, 1), service("Dhcp"));
  EXPECT_EQ(service_of(next_sample(*dhcp)), padded("FALSE", 16));
}

TEST_F(Dhcp, TakesAServiceThatCannotBeReadForNone) {
  install_machine(series_of(g_ABList, 1), service("DHCPServer"));
  const auto dhcp = table();
  for (const char* call : {"OpenSCManagerW", "OpenServiceW", "QueryServiceConfigW"}) {
    platform::faults::fail(call, 0);
    EXPECT_EQ(service_of(next_sample(*dhcp)), padded("FALSE", 16)) << call;
    platform::faults::clear();
    EXPECT_EQ(service_of(next_sample(*dhcp)), padded("TRUE", 16)) << call;
  }
}

TEST_F(Dhcp, PrintsItsRatesBehindItsValues) {
  install_machine(with_rates({7.5}, {8.5}), service("DHCPServer"));
  testing::internal::CaptureStdout();
  table()->sample();
  std::fflush(stdout);
  const std::string text = testing::internal::GetCapturedStdout();
  EXPECT_TRUE(text.ends_with("Counter Index: 28] is : [38.900]\nreqRate: 7\nackRate: 8\n")) << text;
}

TEST_F(Dhcp, AsksForTheNodeNameAtEverySample) {
  install_machine(series_of(g_ABList, 1), service("DHCPServer"));
  const auto dhcp = table();
  EXPECT_EQ(next_sample(*dhcp).substr(0, 64), padded("NODE1", 64));
  xaf::Configuration configuration;
  configuration.node_name = "NODE2";
  xaf::configure(configuration);
  EXPECT_EQ(next_sample(*dhcp).substr(0, 64), padded("NODE2", 64));
}

class DhcpFaults : public FaultSweep {
 protected:
  void install_machine() override {
    const auto machine = std::make_shared<Machine>(counter_log(all_series(), {0}));
    machine->service_manager = platform::read_services(service("DHCPServer"), "services.json");
    platform::install(machine);
  }
};
TEST_F(DhcpFaults, CostOneSampleAtMost) { sweep<tables::DCWNTDSDHC>(&g_DHCP, 12u); }

}  // namespace
