#include <gtest/gtest.h>

#include "tests/collectors/sampling.h"

namespace {

using testing_support::field;
using testing_support::number;
using testing_support::Sampling;

class RootDSEServer : public Sampling {
 protected:
  std::vector<std::string> sample() { return xaf::DirectSampler("DCWNTDSRDS").sample(); }
};

TEST_F(RootDSEServer, GivesOneRowByteForByte) {
  const std::vector<std::string> rows = sample();
  ASSERT_EQ(1u, rows.size());
  EXPECT_EQ(origin_node() + time_stamp() + field("DC=corp,DC=example", 128) + number(7) +
                number(6) + number(5) + field("corp.example", 256),
            rows[0]);
  EXPECT_EQ(1u, trace_.count("RootDomainName: <DC=corp,DC=example> DCFunctionality: <7> "
                             "DomainFunctionality: <6> ForestFunctionality: <5> RootFQDN: "
                             "<corp.example>"));
  EXPECT_TRUE(trace_.contains("TIMER: 20 : RootDSEServer : TakeSample"));
}

TEST_F(RootDSEServer, SaysWhatItDoesOnStandardOutput) {
  testing::internal::CaptureStdout();
  sample();
  EXPECT_EQ("collecting Root Directory Server data", testing::internal::GetCapturedStdout());
  EXPECT_EQ(1u, trace_.count("HostName : <DC1>"));
}

TEST_F(RootDSEServer, ThatCannotBeBoundGivesNoRowAndNoTimerReport) {
  platform::faults::fail("ADsGetObject", 1);
  EXPECT_TRUE(sample().empty());
  EXPECT_EQ(1u, trace_.count("GetRootDSEInfo failed: error#:-2"));
  EXPECT_FALSE(trace_.contains("TIMER: 20"));
}

TEST_F(RootDSEServer, ShowsMinusOneForALevelThatCannotBeRead) {
  platform::faults::fail("IADs::Get", 4);
  const std::vector<std::string> rows = sample();
  ASSERT_EQ(1u, rows.size());
  EXPECT_EQ(number(-1), rows[0].substr(64 + 16 + 128 + 8, 4));
}

TEST_F(RootDSEServer, SurvivesEachPlatformCallFailingOnce) {
  sweep("DCWNTDSRDS", {{"ADsGetObject", "GetRootDSEInfo failed: error#:-2"},
                       {"IADs::Get", "pObj->Get(rootDomainNamingContext) Failed. Error number: "}});
}

}  // namespace
