#include "counters/lists.h"

#include <gtest/gtest.h>

#include <fstream>
#include <sstream>
#include <string>

namespace {

// The names as the system shows them, written down apart from the code's own tables.
TEST(CounterLists, HaveTheirNamesOrderAndRowsToTheLetter) {
  std::ostringstream written;
  for (const counters::CounterList& list : counters::kCounterLists) {
    for (std::size_t i = 0; i < list.rows.size(); ++i) {
      const counters::CounterRow& row = list.rows[i];
      const char* instance = row.szInstanceName == nullptr ? "-" : row.szInstanceName;
      written << list.name << '|' << i << '|' << row.szObjectName << '|' << instance << '|'
              << row.szCounterName << '\n';
    }
  }
  std::ifstream file(DIRWATCH_SOURCE "/tests/counters/counter_lists.txt");
  std::ostringstream expected;
  expected << file.rdbuf();
  ASSERT_FALSE(expected.str().empty());
  EXPECT_EQ(written.str(), expected.str());
}

TEST(CounterLists, NameNoMachineNoParentAndNoIndex) {
  for (const counters::CounterList& list : counters::kCounterLists) {
    for (const counters::CounterRow& row : list.rows) {
      EXPECT_EQ(row.szMachineName, nullptr) << list.name;
      EXPECT_EQ(row.szParentInstance, nullptr) << list.name;
      EXPECT_EQ(row.dwInstanceIndex, 0xFFFFFFFFu) << list.name;
    }
  }
}

}  // namespace
