// The counters that the program carries inside.

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "platform/controller.h"

namespace {

TEST(DefaultCounters, EveryCounterHasAValueAtEveryMoment) {
  std::int64_t now_ms = 0;
  const auto controller = platform::open_embedded_recording([&now_ms] { return now_ms; });
  platform::CounterSource* source = controller->counters();
  ASSERT_NE(source, nullptr);
  EXPECT_EQ(source->objects(), (std::vector<std::string>{
                                   "NTDS", "DirectoryServices", "Security System-Wide Statistics",
                                   "FileReplicaSet", "Database", "DHCP Server", "DHCPV6 Server",
                                   "DHCP Server v6", "DNS", "DFS Replication Service Volumes",
                                   "DFS Replication Connections", "DFS Replicated Folders"}));
  for (int row = 0; row < 13; ++row, now_ms += 15000) {
    int checked = 0;
    for (const std::string& object : source->objects()) {
      std::vector<std::string> counters, instances;
      ASSERT_EQ(source->items(object, counters, instances), 0);
      if (instances.empty()) instances.emplace_back();
      for (const std::string& instance : instances) {
        for (const std::string& counter : counters) {
          EXPECT_EQ(source->validate({"", object, "", instance, 0xFFFFFFFFu, counter}), 0)
              << object << '(' << instance << ')' << counter << " in row " << row;
          ++checked;
        }
      }
    }
    EXPECT_EQ(checked, 511);
  }
}

TEST(DefaultCounters, TheFileReplicationObjectsHaveTwoInstancesEach) {
  const auto controller = platform::open_embedded_recording();
  for (const char* object : {"DFS Replication Service Volumes", "DFS Replication Connections",
                             "DFS Replicated Folders"}) {
    std::vector<std::string> counters, instances;
    ASSERT_EQ(controller->counters()->items(object, counters, instances), 0);
    EXPECT_EQ(instances.size(), 2u) << object;
  }
}

TEST(DefaultCounters, ARateIsKnownAsOne) {
  const auto controller = platform::open_embedded_recording();
  platform::CounterReference reference;
  ASSERT_EQ(controller->counters()->find({"", "NTDS", "", "", 0xFFFFFFFFu, "LDAP Searches/sec"},
                                         reference),
            0);
  EXPECT_TRUE(reference.rate);
  ASSERT_EQ(controller->counters()->find({"", "NTDS", "", "", 0xFFFFFFFFu, "LDAP Client Sessions"},
                                         reference),
            0);
  EXPECT_FALSE(reference.rate);
}

}  // namespace
