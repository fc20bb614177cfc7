#include <gtest/gtest.h>

#include "tests/collectors/sampling.h"
#include "tests/directory/forest.h"

namespace {

using directory_test::kDomain;
using directory_test::object;
using testing_support::field;
using testing_support::number;
using testing_support::Sampling;

const std::string kPolicies = "CN=Policies,CN=System," + kDomain;
const std::string kFolder = "\\\\corp.example\\sysvol\\corp.example\\Policies\\{A}";

std::string forest_of_policies(int more) {
  std::string text = directory_test::forest() + object(kPolicies, "container") +
                     object("CN={A}," + kPolicies, "groupPolicyContainer",
                            "displayName: Default Domain Policy\nversionNumber: 7\nflags: 0\n"
                            "gPCFileSysPath: " +
                                kFolder +
                                "\nwhenCreated: 20110102030405.0Z\n"
                                "whenChanged: 20110304101112.0Z\n");
  for (int i = 0; i < more; ++i) {
    text += object("CN={" + std::to_string(i) + "}," + kPolicies, "groupPolicyContainer",
                   "displayName: P\nversionNumber: 1\nflags: 2\n");
  }
  return text;
}

class GroupPolicyObjects : public Sampling {
 protected:
  explicit GroupPolicyObjects(int more = 1)
      : Sampling(forest_of_policies(more),
                 {{"shares/corp.example/sysvol/corp.example/Policies/{A}/GPT.INI",
                   "[General]\r\nVersion=12\r\n"}}) {}
  static std::string row(std::int32_t sample, std::int32_t number_of_row, const std::string& name,
                         const std::string& guid, std::int32_t folder, std::int32_t version,
                         std::int32_t status, const std::string& created,
                         const std::string& modified) {
    return origin_node() + number(sample) + number(number_of_row) + time_stamp() +
           std::string(128, '\0') + field(name, 64) + field(guid, 64) + number(folder) +
           number(version) + number(status) + field(created, 64) + field(modified, 64);
  }
};

TEST_F(GroupPolicyObjects, GiveARowForEachPolicyByteForByte) {
  const auto rows = xaf::DirectSampler("DCWNTDSGPO").sample();
  ASSERT_EQ(2u, rows.size());
  EXPECT_EQ(row(1, 1, "Default Domain Policy", "{A}", 12, 7, -1, "01/02/2011  03:04",
                "03/04/2011  10:11"),
            rows[0]);
  EXPECT_EQ(row(1, 1, "P", "{0}", -1, 1, 2, "", ""), rows[1]);
  EXPECT_EQ(484u, rows[0].size());
}

TEST_F(GroupPolicyObjects, OfOneSampleShareTheirRowNumberAndTheNextStartsFromTheValueReached) {
  xaf::DirectSampler table("DCWNTDSGPO");
  const auto first = table.sample();
  const auto second = table.sample();
  ASSERT_EQ(2u, second.size());
  EXPECT_EQ(number(1) + number(1), first[0].substr(64, 8));
  EXPECT_EQ(number(1) + number(1), first[1].substr(64, 8));
  EXPECT_EQ(number(2) + number(3), second[0].substr(64, 8));
  EXPECT_EQ(number(2) + number(3), second[1].substr(64, 8));
}

TEST_F(GroupPolicyObjects, TraceTheirSteps) {
  xaf::DirectSampler("DCWNTDSGPO").sample();
  EXPECT_EQ(1u, trace_.count("ServerName : <DC1.corp.example>"));
  EXPECT_EQ(1u, trace_.count("GPOIndex : 2"));
  EXPECT_EQ(1u, trace_.count("Name: <Default Domain Policy>, GUID: <{A}>, Version: <7>, "
                             "SysVolVersion: <12>, Status: <-1> "));
  EXPECT_TRUE(trace_.contains("TIMER: 12 : GroupPolicyObjects : TakeSample"));
}

TEST_F(GroupPolicyObjects, WithoutTheHostsFullNameHaveNoRowsAndNoTimerReport) {
  platform::faults::fail("getaddrinfo", 1);
  EXPECT_TRUE(xaf::DirectSampler("DCWNTDSGPO").sample().empty());
  EXPECT_TRUE(trace_.contains("getaddrinfo failed: error#:"));
  EXPECT_FALSE(trace_.contains("TIMER: 12"));
}

TEST_F(GroupPolicyObjects, ThatCannotBeListedGiveNoRowsAndStillReportTheirTime) {
  platform::faults::fail("ADsGetObject", 1);
  EXPECT_TRUE(xaf::DirectSampler("DCWNTDSGPO").sample().empty());
  EXPECT_EQ(1u, trace_.count("GPOIndex : 0"));
  EXPECT_TRUE(trace_.contains("TIMER: 12"));
}

TEST_F(GroupPolicyObjects, SurviveEachPlatformCallFailingOnce) {
  sweep("DCWNTDSGPO",
        {{"getaddrinfo", "getaddrinfo failed: error#:"},
         {"ADsGetObject", "ADsGetObject Failed. Error number: "},
         {"ADsBuildEnumerator", "ADsBuildEnumerator Failed. Error number: "},
         {"CreateFileA", "Failed to Open GPT.INI"}},
        {{{64, 8}, {72, 16}}, {}});
}

// The walk over the directory pauses at every 25th too: what is left is the table's own.
class TwentyFourPolicies : public GroupPolicyObjects {
 protected:
  explicit TwentyFourPolicies(int more = 23) : GroupPolicyObjects(more) {}
};
class TwentyFivePolicies : public TwentyFourPolicies {
 protected:
  TwentyFivePolicies() : TwentyFourPolicies(24) {}
};

TEST_F(TwentyFourPolicies, ArePassedWithoutAPause) {
  EXPECT_EQ(24u, xaf::DirectSampler("DCWNTDSGPO").sample().size());
  EXPECT_EQ(0, time_->elapsed_ms());
}

TEST_F(TwentyFivePolicies, PauseOnceBeforeTheLastRecordAndOnceInTheWalk) {
  xaf::DirectSampler table("DCWNTDSGPO");
  std::vector<std::int64_t> times;
  EXPECT_EQ(25u, table.sample().size());
  EXPECT_EQ(2, time_->elapsed_ms());
}

}  // namespace
