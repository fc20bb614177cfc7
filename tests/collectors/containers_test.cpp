#include <gtest/gtest.h>

#include "tests/collectors/sampling.h"

namespace {

using testing_support::field;
using testing_support::kSmallForest;
using testing_support::replaced;
using testing_support::Sampling;

class Containers : public Sampling {
 protected:
  using Sampling::Sampling;
  std::vector<std::string> sample() { return xaf::DirectSampler("DCWNTDSCNT").sample(); }
  static std::string row(const std::string& partition, const std::string& name,
                         const std::string& dn, const std::string& class_name,
                         const std::string& created, const std::string& modified) {
    return origin_node() + time_stamp() + field(partition, 256) + field(name, 64) + field(dn, 256) +
           field(class_name, 64) + field(created, 64) + field(modified, 64);
  }
};

TEST_F(Containers, GiveARowForEachContainerByteForByte) {
  const std::vector<std::string> rows = sample();
  ASSERT_EQ(2u, rows.size());
  EXPECT_EQ(row("DC=corp,DC=example", "Users", "CN=Users,DC=corp,DC=example", "container",
                "01/02/2011  03:04", "03/04/2011  10:11"),
            rows[0]);
  EXPECT_EQ(row("CN=Configuration,DC=corp,DC=example", "Partitions",
                "CN=Partitions,CN=Configuration,DC=corp,DC=example", "crossRefContainer",
                "01/02/2011  03:04", "01/02/2011  03:04"),
            rows[1]);
}

TEST_F(Containers, TraceTheirStepsInOrder) {
  sample();
  std::vector<std::string> steps;
  for (const std::string& text : trace_.texts()) {
    for (const char* step :
         {"Collecting Containers data", "HostName : <DC1>", "DNSUtils::GetNamingContexts",
          "DNSUtils::GetAllCNTList", "Common name: <Users> Partition: <DC=corp,DC=example>"}) {
      if (text == step) steps.push_back(text);
    }
  }
  EXPECT_EQ((std::vector<std::string>{"Collecting Containers data", "HostName : <DC1>",
                                      "DNSUtils::GetNamingContexts", "DNSUtils::GetAllCNTList",
                                      "Common name: <Users> Partition: <DC=corp,DC=example>"}),
            steps);
}

TEST_F(Containers, ReportTheirTime) {
  sample();
  EXPECT_TRUE(trace_.contains("TIMER: 3 : Containers : TakeSample : Time to Complete:"));
}

class WithoutContexts : public Containers {
 protected:
  WithoutContexts()
      : Containers(replaced(replaced(kSmallForest, "namingContexts: DC=corp,DC=example\n", ""),
                            "namingContexts: CN=Configuration,DC=corp,DC=example\n", "")) {}
};

TEST_F(WithoutContexts, ContainersHaveNoRowsAndStillReportTheirTime) {
  EXPECT_TRUE(sample().empty());
  EXPECT_EQ(0u, trace_.count("DNSUtils::GetAllCNTList"));
  EXPECT_TRUE(trace_.contains("TIMER: 3 : Containers"));
}

TEST_F(Containers, DeliverWhatWasFoundBeforeAContextThatCannotBeWalked) {
  // The binds are: root object, first context, second context.
  platform::faults::fail("ADsGetObject", 3);
  EXPECT_EQ(1u, sample().size());
  EXPECT_TRUE(trace_.contains("ADsGetObject Failed. Error number: "));
}

TEST_F(Containers, SurviveEachPlatformCallFailingOnce) {
  sweep("DCWNTDSCNT", {{"ADsGetObject", "ADsGetObject Failed. Error number: "},
                       {"ADsBuildEnumerator", "ADsBuildEnumerator Failed. Error number: "},
                       {"IADs::Get", "pObj->Get Failed. Error number: "},
                       {"IUnknown::QueryInterface", "Failed. Error number: 80004002"},
                       {"SafeArrayGetLBound", "SafeArrayGetLBound Failed. Error number: "},
                       {"SafeArrayGetUBound", "SafeArrayGetUBound Failed. Error number: "},
                       {"SafeArrayGetElement", "SafeArrayGetElement Failed. Error number: "}});
}

}  // namespace
