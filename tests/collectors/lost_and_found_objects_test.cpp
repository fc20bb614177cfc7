#include <gtest/gtest.h>

#include "tests/collectors/sampling.h"
#include "tests/directory/forest.h"

namespace {

using directory_test::kDomain;
using directory_test::object;
using testing_support::field;
using testing_support::number;
using testing_support::Sampling;

const std::string kLongName = "A printer whose name is longer than sixty-four characters by far";

std::string forest_of_lost_objects() {
  return directory_test::forest() +
         object("CN=Nora,CN=LostAndFound," + kDomain, "person",
                "objectClass: organizationalPerson\nobjectClass: user\n") +
         object("CN=" + kLongName + ",CN=LostAndFound," + kDomain, "printQueue");
}

class LostAndFoundObjects : public Sampling {
 protected:
  explicit LostAndFoundObjects(const std::string& forest = forest_of_lost_objects())
      : Sampling(forest) {}
  // The front of a record's field: the text, its zero end, and blanks.
  static std::string column(std::string text) {
    text.resize(text.size() + 1);
    return field(text, 64, ' ');
  }
  static std::string row(std::int32_t sample, std::int32_t number_of_row, const std::string& name,
                         const std::string& type) {
    return origin_node() + number(sample) + number(number_of_row) + time_stamp() +
           std::string(128, '\0') + column(name) + column(type);
  }
};

TEST_F(LostAndFoundObjects, GiveARowForEachObjectByteForByte) {
  const auto rows = xaf::DirectSampler("DCWNTDSLFO").sample();
  ASSERT_EQ(2u, rows.size());
  EXPECT_EQ(row(1, 1, "Nora", "user"), rows[0]);
  EXPECT_EQ(row(1, 1, kLongName, "printQueue"), rows[1]);
  EXPECT_EQ(344u, rows[0].size());
}

TEST_F(LostAndFoundObjects, OfOneSampleShareTheirRowNumberAndTheNextStartsFromTheValueReached) {
  xaf::DirectSampler table("DCWNTDSLFO");
  table.sample();
  const auto second = table.sample();
  ASSERT_EQ(2u, second.size());
  EXPECT_EQ(number(2) + number(3), second[0].substr(64, 8));
  EXPECT_EQ(number(2) + number(3), second[1].substr(64, 8));
}

TEST_F(LostAndFoundObjects, SayWhatTheyDoOnStandardOutputAndInTheTrace) {
  testing::internal::CaptureStdout();
  xaf::DirectSampler("DCWNTDSLFO").sample();
  EXPECT_EQ("collecting LostAndFound Objects data", testing::internal::GetCapturedStdout());
  EXPECT_EQ(1u, trace_.count("LFO Name:<Nora>"));
  EXPECT_EQ(1u, trace_.count("LFO Type:<user>"));
  EXPECT_TRUE(trace_.contains("TIMER: 16 : LostAndFoundObjects : TakeSample"));
}

TEST_F(LostAndFoundObjects, ThatCannotBeListedGiveNoRowsAndStillReportTheirTime) {
  platform::faults::fail("ADsGetObject", 1);
  EXPECT_TRUE(xaf::DirectSampler("DCWNTDSLFO").sample().empty());
  EXPECT_EQ(1u, trace_.count("Enum failed"));
  EXPECT_TRUE(trace_.contains("TIMER: 16"));
}

TEST_F(LostAndFoundObjects, WithoutTheHostsFullNameHaveNoRowsAndNoTimerReport) {
  platform::faults::fail("getaddrinfo", 1);
  EXPECT_TRUE(xaf::DirectSampler("DCWNTDSLFO").sample().empty());
  EXPECT_TRUE(trace_.contains("getaddrinfo failed: error#:"));
  EXPECT_FALSE(trace_.contains("TIMER: 16"));
}

TEST_F(LostAndFoundObjects, DoNotShowTheLastObjectsNameForOneThatCannotBeRead) {
  // The first attribute read is the first object's name, the third the second one's.
  platform::faults::fail("IADs::Get", 3);
  const auto rows = xaf::DirectSampler("DCWNTDSLFO").sample();
  ASSERT_EQ(2u, rows.size());
  EXPECT_EQ(std::string(64, '\0'), rows[1].substr(216, 64));
}

TEST_F(LostAndFoundObjects, GiveAnEmptyRowForAChildThatIsNoObject) {
  // The container and its enumerator are asked for before the first child.
  platform::faults::fail("IUnknown::QueryInterface", 3);
  const auto rows = xaf::DirectSampler("DCWNTDSLFO").sample();
  ASSERT_EQ(2u, rows.size());
  EXPECT_EQ(std::string(128, '\0'), rows[0].substr(216));
  EXPECT_EQ(1u, trace_.count("Fails"));
}

TEST_F(LostAndFoundObjects, SurviveEachPlatformCallFailingOnce) {
  sweep("DCWNTDSLFO",
        {{"getaddrinfo", "getaddrinfo failed: error#:"},
         {"ADsGetObject", "Enum failed"},
         {"ADsBuildEnumerator", "Enum failed"},
         {"IUnknown::QueryInterface", "Enum failed"}},
        {{{64, 8}, {72, 16}}, {}});
}

class WithoutLostObjects : public LostAndFoundObjects {
 protected:
  WithoutLostObjects() : LostAndFoundObjects(directory_test::forest()) {}
};

TEST_F(WithoutLostObjects, ThereAreNoRowsAndTheEnumeratorIsFreed) {
  xaf::DirectSampler table("DCWNTDSLFO");
  table.sample();
  const auto before = platform::accounting::live();
  EXPECT_TRUE(table.sample().empty());
  EXPECT_EQ(before, platform::accounting::live());
  EXPECT_EQ(0, platform::accounting::live()["enumerator"]);
  EXPECT_TRUE(trace_.contains("TIMER: 16"));
}

}  // namespace
