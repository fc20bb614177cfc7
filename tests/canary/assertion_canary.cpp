#include <gtest/gtest.h>

TEST(Canary, AFalseAssertionFails) { EXPECT_EQ(2 + 2, 5); }
