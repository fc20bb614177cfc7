#include "collectors/pending.h"

#include <gtest/gtest.h>

#include "tests/collectors/sampling.h"

namespace {

using testing_support::Sampling;

class Pending : public Sampling {};

#define DCW_NAME(lower, definition) #definition,
const std::vector<std::string> kPending = {DCW_FOR_EACH_PENDING_TABLE(DCW_NAME)};
const std::vector<std::string> kAll = {DCW_FOR_EACH_TABLE(DCW_NAME)};
#undef DCW_NAME

TEST_F(Pending, TablesSaySoInTheTraceAndHaveNoRow) {
  for (const std::string& table : kPending) {
    SCOPED_TRACE(table);
    xaf::DirectSampler sampler(table);
    ASSERT_TRUE(sampler.found());
    EXPECT_TRUE(sampler.sample().empty());
    EXPECT_EQ(1u, trace_.count("No collector is built for table " + table + " yet."));
  }
}

TEST_F(Pending, IsAQuestionWithAnAnswerForEveryTable) {
  std::size_t pending = 0;
  for (const std::string& table : kAll) pending += is_pending(table) ? 1 : 0;
  EXPECT_EQ(kPending.size(), pending);
  EXPECT_FALSE(is_pending("DCWNTDSCNT"));
  EXPECT_FALSE(is_pending("DCWNTDSRDS"));
  EXPECT_FALSE(is_pending("no such table"));
}

}  // namespace
