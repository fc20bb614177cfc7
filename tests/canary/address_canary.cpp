#include <gtest/gtest.h>

#include <memory>

TEST(Canary, AReadBehindABlockEndsTheProcess) {
  auto block = std::make_unique<volatile char[]>(8);
  volatile int behind = 8;
  EXPECT_GE(block[behind] + 256, 0);
}
