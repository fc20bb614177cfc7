// The trust topology through the real side library.

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "directory/dns_utils.h"
#include "tests/directory/answering.h"
#include "trust_topology/topology.h"

namespace {

using directory_test::forest;
using directory_test::kConfiguration;
using directory_test::kDomain;
using directory_test::kLocator;
using directory_test::object;
using testing_support::replaced;

std::string trusted(const std::string& name, const std::string& domain, const std::string& partner,
                    const std::string& numbers) {
  return object("CN=" + name + ",CN=System," + domain, "trustedDomain",
                "trustPartner: " + partner + "\n" + numbers);
}
const std::string kBothWays = "trustDirection: 3\ntrustType: 2\ntrustAttributes: 32\n";

// The forest with a domain child.corp.example, whose server answers by the domain's name.
std::string forest_with_child(const std::string& trusts) {
  const std::string child = "DC=child," + kDomain;
  const std::string partitions = "CN=Partitions," + kConfiguration;
  std::string text = replaced(forest(), "namingContexts: DC=corp,DC=example\n",
                              "namingContexts: DC=corp,DC=example\nnamingContexts: " + child +
                                  "\ndescription;x-server-child: there\n");
  return text +
         object("CN=CORP," + partitions, "crossRef",
                "nCName: " + kDomain + "\nnETBIOSName: CORP\n") +
         object("CN=CHILD," + partitions, "crossRef",
                "nCName: " + child + "\nnETBIOSName: CHILD\n") +
         object("CN=GONE," + partitions, "crossRef",
                "nCName: DC=gone,DC=example\nnETBIOSName: GONE\n") +
         object(child, "domainDNS") + object("CN=System," + child, "container") + trusts;
}

class TrustTopology : public directory_test::Answering {
 protected:
  void record_forest(const std::string& text) { record({{"locator.json", kLocator}}, text); }
  // "from>to type direction attributes;" for each node.
  std::string ask() {
    std::vector<TrustTopologyNode> nodes;
    EXPECT_EQ(0, DNSUtils::GetTrustTopologyInfo(nodes, "DC1.corp.example"));
    std::string text;
    for (const TrustTopologyNode& node : nodes) {
      text += std::string(node.trustFrom) + ">" + node.trustTo + " " +
              std::to_string(node.trustType) + " " + std::to_string(node.trustDirection) + " " +
              std::to_string(node.trustAttributes) + ";";
      for (const std::uint8_t byte : node.ownSpace) EXPECT_EQ(0, byte);
    }
    return text;
  }
};

TEST_F(TrustTopology, TellsEachTrustWithItsTypeDirectionAndAttributes) {
  record_forest(
      forest() +
      trusted("a", kDomain, "a.example", "trustDirection: 1\ntrustType: 1\ntrustAttributes: 4\n") +
      trusted("b", kDomain, "b.example", "trustDirection: 2\ntrustType: 2\ntrustAttributes: 8\n") +
      trusted("c", kDomain, "c.example", "trustDirection: 0\ntrustType: 9\ntrustAttributes: 64\n") +
      trusted("d", kDomain, "d.example", "trustDirection: 5\ntrustType: 4\ntrustAttributes: 0\n"));
  EXPECT_EQ(
      "a.example>corp.example 1 1 4;corp.example>b.example 2 2 8;"
      "corp.example>c.example 5 0 64;corp.example>d.example 4 -1 0;",
      ask());
  EXPECT_TRUE(trace_.contains("DNS Domain Name: <corp.example>"));
  EXPECT_TRUE(trace_.contains("Trust from <a.example>. Trust to <corp.example>"));
}

TEST_F(TrustTopology, OfATrustToldFromBothEndsKeepsTheLaterNode) {
  record_forest(
      forest_with_child(trusted("child.corp.example", kDomain, "child.corp.example", kBothWays) +
                        trusted("corp.example", "DC=child," + kDomain, "corp.example", kBothWays)));
  EXPECT_EQ("child.corp.example>corp.example 2 3 32;", ask());
  EXPECT_EQ(1u, trace_.count("Trust from <corp.example>. Trust to <child.corp.example>"));
}

TEST_F(TrustTopology, KeepsATrustThatIsToldTwiceTheSameWay) {
  record_forest(forest() + trusted("a", kDomain, "a.example", kBothWays) +
                trusted("a2", kDomain, "a.example", kBothWays));
  EXPECT_EQ("corp.example>a.example 2 3 32;corp.example>a.example 2 3 32;", ask());
}

TEST_F(TrustTopology, OfADomainThatCannotBeBoundIsTheStatus) {
  record_forest(forest() + trusted("a", kDomain, "a.example", kBothWays));
  std::vector<TrustTopologyNode> nodes(3);
  EXPECT_EQ(1722, DNSUtils::GetTrustTopologyInfo(nodes, "DC3.corp.example"));
  EXPECT_EQ(3u, nodes.size());
  EXPECT_TRUE(trace_.contains("Error: DsBind failed. Error code: <1722>"));
  EXPECT_TRUE(trace_.contains("Error: Can not enumerate trusts, VPN connection must be on"));
}

TEST_F(TrustTopology, WithoutItsLibraryOrOneOfItsFunctionsIsEmptyAndSilent) {
  record_forest(forest() + trusted("a", kDomain, "a.example", kBothWays));
  for (const auto& [call, nth] : {std::pair("LoadLibraryA", 1u), std::pair("GetProcAddress", 1u),
                                  std::pair("GetProcAddress", 2u), std::pair("ADsGetObject", 1u)}) {
    platform::faults::fail(call, nth);
    const trc::Capture trace;
    EXPECT_EQ("", ask()) << call << nth;
    EXPECT_FALSE(trace.contains("Error"));
    platform::faults::clear();
  }
  EXPECT_EQ("corp.example>a.example 2 3 32;", ask());
}

TEST_F(TrustTopology, GivesEverythingBackWhicheverCallFails) {
  record_forest(forest() + trusted("a", kDomain, "a.example", kBothWays));
  const std::string right = ask();
  const auto before = platform::accounting::live();
  platform::faults::reset_counts();
  ask();
  for (const auto& [call, times] : platform::faults::reached()) {
    // A library that cannot be given back is lost by definition; a binding that cannot be had ends
    // the question, which another test shows.
    if (call == "FreeLibrary" || call == "DsBindA") continue;
    for (std::uint32_t nth = 1; nth <= times; ++nth) {
      SCOPED_TRACE(call + " " + std::to_string(nth));
      platform::faults::fail(call, nth);
      ask();
      EXPECT_TRUE(platform::faults::struck());
      platform::faults::clear();
      EXPECT_EQ(before, platform::accounting::live());
      EXPECT_EQ(right, ask());
    }
  }
}

TEST(TrustNode, CutsANameThatHasNoRoom) {
  const auto node = trust_topology::make_node(std::string(300, 'x'), {"p", 2, 2, 0});
  EXPECT_EQ(std::string(255, 'x'), node.trustFrom);
  EXPECT_STREQ("p", node.trustTo);
}

TEST(TrustNode, NamesDomainsByTheirComponents) {
  EXPECT_EQ(L"child.corp.example", trust_topology::domain_name(L"DC=child,DC=corp,DC=example"));
  EXPECT_EQ(L"", trust_topology::domain_name(L""));
  EXPECT_EQ(L"x", trust_topology::domain_name(L"nothing,DC=x,"));
}

}  // namespace
