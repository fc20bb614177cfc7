#include <gtest/gtest.h>

#include <climits>

TEST(Canary, AnOverflowEndsTheProcess) {
  volatile int most = INT_MAX;
  EXPECT_NE(most + 1, 0);
}
