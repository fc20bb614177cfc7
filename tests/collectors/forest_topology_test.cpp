#include <gtest/gtest.h>

#include "tests/collectors/sampling.h"
#include "tests/directory/forest.h"

namespace {

using directory_test::kConfiguration;
using directory_test::server_dn;
using testing_support::field;
using testing_support::replaced;
using testing_support::Sampling;

// A server whose distinguished name is longer than its column.
const std::string kLongSite = "Branch-Office-Of-The-Northern-Region-Building-Seven";

std::string forest_of_two_sites() {
  using namespace directory_test;
  return replaced(forest(), "options: 1\n", "options: 1\nmsDS-isRODC: FALSE\n") + site(kLongSite) +
         server(kLongSite, "RO1") + settings(kLongSite, "RO1", "msDS-isRODC: TRUE\n");
}

class ForestTopology : public Sampling {
 protected:
  ForestTopology() : Sampling(forest_of_two_sites()) {}
  std::vector<std::string> sample() { return xaf::DirectSampler("DCWNTDSFRT").sample(); }
  static std::string row(const std::string& host, const std::string& site, const std::string& name,
                         const std::string& read_only) {
    const std::string dn = server_dn(site, name);
    return origin_node() + time_stamp() + field(host, 256, ' ') + field("CORP.EXAMPLE", 256, ' ') +
           field(dn, 64, ' ') + field(site, 128, ' ') + field(name, 128, ' ') +
           field(read_only, 64, ' ') + field("CORP.EXAMPLE", 256, ' ') + field(dn, 2048, ' ');
  }
};

TEST_F(ForestTopology, GivesARowForEachControllerByteForByte) {
  const std::vector<std::string> rows = sample();
  ASSERT_EQ(4u, rows.size());
  EXPECT_EQ(row("DC1.CORP.EXAMPLE", "Hub", "DC1", "FALSE"), rows[0]);
  EXPECT_EQ(row("DC2.CORP.EXAMPLE", "Hub", "DC2", "NOT_SUPPORTED"), rows[1]);
  EXPECT_EQ(row("DC3.CORP.EXAMPLE", "Branch", "DC3", "NOT_SUPPORTED"), rows[2]);
  EXPECT_EQ(row("RO1.CORP.EXAMPLE", kLongSite, "RO1", "TRUE"), rows[3]);
  EXPECT_EQ(3280u, rows[0].size());
}

TEST_F(ForestTopology, CutsTheShortDistinguishedNameAndKeepsTheWholeOne) {
  const std::string dn = server_dn(kLongSite, "RO1");
  ASSERT_LT(64u, dn.size());
  const std::string last = sample()[3];
  EXPECT_EQ(dn.substr(0, 64), last.substr(80 + 512, 64));
  EXPECT_EQ(field(dn, 2048, ' '), last.substr(3280 - 2048));
}

TEST_F(ForestTopology, TracesEachControllerAndItsTime) {
  sample();
  EXPECT_EQ(1u, trace_.count("DNSHostName: <DC1.CORP.EXAMPLE> DNSDomainName: <CORP.EXAMPLE> "
                             "IsReadOnlyDC: <FALSE>"));
  EXPECT_EQ(1u, trace_.count("HostName : <DC1>"));
  EXPECT_TRUE(trace_.contains("TIMER: 11 : ForestTopology : TakeSample"));
}

TEST_F(ForestTopology, WithAFailedQueryHasNoRowsAndNoTimerReport) {
  platform::faults::fail("ADsGetObject", 1);
  EXPECT_TRUE(sample().empty());
  EXPECT_EQ(1u, trace_.count("GetForestTopologyInfo failed: error#:-2"));
  EXPECT_FALSE(trace_.contains("TIMER: 11"));
}

TEST_F(ForestTopology, ThatBreaksOffHasNoRowsEither) {
  // The forest root's name cannot be had for the third controller.
  platform::faults::fail("ADsBuildEnumerator", 3);
  EXPECT_TRUE(sample().empty());
  EXPECT_EQ(1u, trace_.count("GetForestTopologyInfo failed: error#:-3"));
}

TEST_F(ForestTopology, SurvivesEachPlatformCallFailingOnce) {
  sweep("DCWNTDSFRT", {{"ADsGetObject", "GetForestTopologyInfo failed: error#:-2"},
                       {"ADsBuildEnumerator", "GetForestTopologyInfo failed: error#:-3"},
                       {"IADs::GetInfoEx", "GetInfoEx Failed for Configuration. Error : "}});
}

}  // namespace
