#include "tables/numbered_agents.h"

#include <gtest/gtest.h>

#include <limits>

namespace {

TEST(InstanceNumber, CountsFromOne) {
  std::atomic<std::int32_t> last{0};
  EXPECT_EQ(1, tables::next_instance_number(last));
  EXPECT_EQ(2, tables::next_instance_number(last));
  EXPECT_EQ(2, last);
}

TEST(InstanceNumber, BeginsAgainAtOneAfterTheLargest) {
  std::atomic<std::int32_t> last{std::numeric_limits<std::int32_t>::max() - 1};
  EXPECT_EQ(std::numeric_limits<std::int32_t>::max(), tables::next_instance_number(last));
  EXPECT_EQ(1, tables::next_instance_number(last));
}

}  // namespace
