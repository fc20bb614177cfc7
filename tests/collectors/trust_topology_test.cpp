#include "collectors/trust_topology.h"

#include <gtest/gtest.h>

#include <optional>

#include "collectors/background.h"
#include "include/platform/threads.h"
#include "include/settings.h"
#include "include/unique_handle.h"
#include "tests/collectors/recorded_commands.h"
#include "tests/directory/forest.h"

namespace {

using namespace testing_support;
using directory_test::kDomain;
using directory_test::object;

constexpr const char* kLocator =
    R"({"forest": "corp.example", "controllers": [{"name": "DC1.corp.example", "site": "Hub"}]})";

// A trust as the directory of corp.example tells it.
std::string trusted(const std::string& partner, int direction, int type = 2, int attributes = 0) {
  return object("CN=" + partner + ",CN=System," + kDomain, "trustedDomain",
                "trustPartner: " + partner + "\ntrustDirection: " + std::to_string(direction) +
                    "\ntrustType: " + std::to_string(type) +
                    "\ntrustAttributes: " + std::to_string(attributes) + "\n");
}

struct Edge {
  std::string to;
  std::string from;
  std::string direction;
  std::string type = "UPLEVEL";
  std::string relation = "INTERNAL";
};

class TrustTopologyTable : public Sampling {
 protected:
  TrustTopologyTable() : Sampling(directory_test::forest(), {{"locator.json", kLocator}}) {
    name_node("DC1:NT");
  }
  void TearDown() override { g_cacheInterval = 0; }

  static void name_node(const std::string& name) {
    xaf::Configuration configuration;
    configuration.node_name = name;
    xaf::configure(configuration);
  }
  void record(const std::string& trusts) {
    next_.emplace(directory_test::forest() + trusts, "", MoreFiles{{"locator.json", kLocator}});
  }
  static std::vector<std::string> sample() { return xaf::DirectSampler("DCWNTDSTTP").sample(); }
  static std::string row(const Edge& edge, const std::string& node = "DC1:NT") {
    return padded(node, 64) + time_stamp() + padded(edge.to, 256) + padded(edge.from, 256) +
           padded(edge.type, 16) + padded(edge.direction, 16) + padded(edge.relation, 16);
  }

  std::optional<SmallRecording> next_;
};

TEST_F(TrustTopologyTable, ShowsATwoWayTrustFromBothEndsByteForByte) {
  record(trusted("partner.example", 3));
  const auto rows = sample();
  ASSERT_EQ(2u, rows.size());
  EXPECT_EQ(640u, rows[0].size());
  EXPECT_EQ(row({"PARTNER.EXAMPLE", "CORP.EXAMPLE", "TWO_WAY_TRUST"}), rows[0]);
  EXPECT_EQ(row({"CORP.EXAMPLE", "PARTNER.EXAMPLE", "TWO_WAY_TRUST"}), rows[1]);
}

TEST_F(TrustTopologyTable, MirrorsAnInboundTrustAsAnOutboundOne) {
  record(trusted("partner.example", 1));
  const auto rows = sample();
  ASSERT_EQ(2u, rows.size());
  EXPECT_EQ(row({"CORP.EXAMPLE", "PARTNER.EXAMPLE", "INBOUND_TRUST"}), rows[0]);
  EXPECT_EQ(row({"PARTNER.EXAMPLE", "CORP.EXAMPLE", "OUTBOUND_TRUST"}), rows[1]);
}

TEST_F(TrustTopologyTable, MirrorsAnOutboundTrustAsAnInboundOne) {
  record(trusted("partner.example", 2));
  const auto rows = sample();
  ASSERT_EQ(2u, rows.size());
  EXPECT_EQ(row({"PARTNER.EXAMPLE", "CORP.EXAMPLE", "OUTBOUND_TRUST"}), rows[0]);
  EXPECT_EQ(row({"CORP.EXAMPLE", "PARTNER.EXAMPLE", "INBOUND_TRUST"}), rows[1]);
}

TEST_F(TrustTopologyTable, ShowsADisabledTrustOnce) {
  record(trusted("partner.example", 0));
  const auto rows = sample();
  ASSERT_EQ(1u, rows.size());
  EXPECT_EQ(row({"PARTNER.EXAMPLE", "CORP.EXAMPLE", "DISABLED"}), rows[0]);
}

TEST_F(TrustTopologyTable, ShowsATrustOfUnknownDirectionOnce) {
  record(trusted("partner.example", 7));
  const auto rows = sample();
  ASSERT_EQ(1u, rows.size());
  EXPECT_EQ(row({"PARTNER.EXAMPLE", "CORP.EXAMPLE", "UNKNOWN"}), rows[0]);
}

TEST_F(TrustTopologyTable, ShowsATrustOfUnknownTypeOnceWhateverItsDirection) {
  record(trusted("partner.example", 2, 9));
  const auto rows = sample();
  ASSERT_EQ(1u, rows.size());
  EXPECT_EQ(row({"PARTNER.EXAMPLE", "CORP.EXAMPLE", "UNKNOWN", "UNKNOWN"}), rows[0]);
}

TEST_F(TrustTopologyTable, HasATextForEachType) {
  record(trusted("a.example", 0, 1) + trusted("b.example", 0, 2) + trusted("c.example", 0, 3) +
         trusted("d.example", 0, 4));
  std::vector<std::string> types;
  for (const std::string& one : sample()) types.push_back(one.substr(592, 16));
  EXPECT_EQ((std::vector<std::string>{padded("DOWNLEVEL", 16), padded("UPLEVEL", 16),
                                      padded("MIT", 16), padded("DCE", 16)}),
            types);
}

class Relation : public TrustTopologyTable,
                 public ::testing::WithParamInterface<std::pair<int, const char*>> {};

TEST_P(Relation, FollowsFromTheAttributes) {
  record(trusted("partner.example", 0, 2, GetParam().first));
  EXPECT_EQ(row({"PARTNER.EXAMPLE", "CORP.EXAMPLE", "DISABLED", "UPLEVEL", GetParam().second}),
            sample().at(0));
}
// 32 with 8: the bit of the forest wins.
INSTANTIATE_TEST_SUITE_P(Attributes, Relation,
                         ::testing::Values(std::pair{0, "INTERNAL"}, std::pair{32, "INTERNAL"},
                                           std::pair{40, "INTERNAL"}, std::pair{8, "EXTERNAL"},
                                           std::pair{64, "EXTERNAL"}, std::pair{4, "EXTERNAL"},
                                           std::pair{16, "INTERNAL"}));

TEST_F(TrustTopologyTable, OfATypeOrDirectionWithoutATextKeepsThoseOfTheRowBefore) {
  DCW_TRACE("test");
  tables::Row<tables::DCWNTDSTTP> edge;
  collectors::Rows<tables::DCWNTDSTTP> rows;
  TrustTopologyNode node{};
  node.trustType = kTrustTypeMit;
  node.trustDirection = kTrustDirectionInbound;
  collectors::add_trust_edges(trace, node, edge, rows);
  node.trustType = 6;
  node.trustDirection = 4;
  collectors::add_trust_edges(trace, node, edge, rows);
  ASSERT_EQ(3u, rows.size());
  EXPECT_EQ(padded("MIT", 16), rows[2].text<"TRSTPTYP">());
  // The row before is the mirror.
  EXPECT_EQ(padded("OUTBOUND_TRUST", 16), rows[2].text<"TRSTPDIR">());
}

TEST_F(TrustTopologyTable, WithoutTrustsHasNoRows) {
  record(trusted("partner.example", 0));
  EXPECT_EQ(1u, sample().size());
  record("");
  EXPECT_TRUE(sample().empty());
}

TEST_F(TrustTopologyTable, TakesItsHostFromTheNodesNameUpToTheColon) {
  record(trusted("partner.example", 0));
  name_node("DC1");
  EXPECT_EQ(row({"PARTNER.EXAMPLE", "CORP.EXAMPLE", "DISABLED"}, "DC1"), sample().at(0));
  EXPECT_EQ(1u, trace_.count("tempHostName:DC1"));
  // The node's name is asked for at every collection.
  name_node("DC1:other:NT");
  EXPECT_EQ(row({"PARTNER.EXAMPLE", "CORP.EXAMPLE", "DISABLED"}, "DC1:other:NT"), sample().at(0));
  EXPECT_EQ(1u, trace_.count("DetermineLocalHost : szHostName:DC1:other:NT"));
  EXPECT_EQ(2u, trace_.count("tempHostName:DC1"));
}

TEST_F(TrustTopologyTable, WhoseHostIsUnknownKeepsItsRows) {
  record(trusted("partner.example", 0));
  const auto right = sample();
  ASSERT_EQ(1u, right.size());
  record("");
  name_node("NOBODY:NT");
  EXPECT_EQ(right, sample());
  EXPECT_EQ(1u, trace_.count("getaddrinfo failed: error#:11001"));
}

TEST_F(TrustTopologyTable, WhoseDomainCannotBeBoundKeepsItsRows) {
  record(trusted("partner.example", 0));
  const auto right = sample();
  ASSERT_EQ(1u, right.size());
  record("");
  platform::faults::fail("DsBindA", 1);
  EXPECT_EQ(right, sample());
  EXPECT_TRUE(trace_.contains("GetTrustTopologyInfo failed: error#:"));
}

TEST_F(TrustTopologyTable, TellsItsSteps) {
  record(trusted("partner.example", 3));
  sample();
  const trc::Capture lines;
  sample();
  for (const char* text :
       {"DetermineLocalHost : szHostName:DC1:NT", "tempHostName:DC1",
        "<TT> domainName: corp.example", "Trust from <CORP.EXAMPLE>. Trust to <PARTNER.EXAMPLE>",
        "TTP Data writing to global buffer ", "TTP Transfer to global buffer complete",
        "AddData Global TTL buffer"}) {
    EXPECT_EQ(1u, lines.count(text)) << text;
  }
  EXPECT_TRUE(lines.contains("TIMER: 21 : TrustTopology : TakeSample"));
}

TEST_F(TrustTopologyTable, IsCollectedByItsThreadAndSampledFromTheCache) {
  record(trusted("partner.example", 0));
  g_cacheInterval = 60000;
  hTerminateEvent = CreateEventA(nullptr, TRUE, FALSE, nullptr);
  EXPECT_TRUE(sample().empty());
  const UniqueHandle thread{
      _beginthreadex(nullptr, 0, &collectandCacheTTPData, nullptr, 0, nullptr)};
  Sleep(30000);
  const auto first = sample();
  ASSERT_EQ(1u, first.size());
  EXPECT_EQ(first, sample());
  record("");
  Sleep(60000);
  EXPECT_TRUE(sample().empty());
  close_now(hTerminateEvent.exchange(nullptr));
  EXPECT_EQ(WAIT_OBJECT_0, WaitForSingleObject(thread.get(), INFINITE));
}

TEST_F(TrustTopologyTable, SurvivesEachPlatformCallFailingOnce) {
  record(trusted("partner.example", 3));
  sweep("DCWNTDSTTP",
        {{"getaddrinfo", "getaddrinfo failed: error#:11001"},
         {"DsBindA", "Error: DsBind failed. Error code: "},
         {"ResetEvent", "Lock cache lock failed: "},
         {"SetEvent", "Release cache lock failed: "}},
        // A library that cannot be given back stays, by definition.
        {{{64, 16}}, {"library"}});
}

}  // namespace
