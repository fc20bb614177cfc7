// Thresholds, the rows that an object holds, handles, and the walk over live objects.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <optional>

#include "framework/trc/control.h"
#include "tests/framework/probe_table.h"

namespace {

using testing::ElementsAre;

class Rows : public testing::Test {
 protected:
  ~Rows() override {
    sampler_.reset();
    xaf::reset();
  }
  probe::Table& table(const xaf::TableSettings& settings = {}, probe::Sample sample = {}) {
    sampler_.reset();
    manager_ = probe::register_table("ROWS", std::move(sample));
    sampler_.emplace("ROWS", settings);
    EXPECT_TRUE(sampler_->found()) << sampler_->error();
    return *static_cast<probe::Table*>(sampler_->object());
  }

  probe::Manager* manager_ = nullptr;
  std::optional<xaf::DirectSampler> sampler_;
};

struct TextCase {
  _IntfOper operation;
  const char* field;
  const char* threshold;
  int met;
};

TEST_F(Rows, TextThresholds) {
  const TextCase cases[] = {
      {IntfOper_Equal, "abc", "abc", 1},
      {IntfOper_Equal, "abc", "ABC", 0},
      {IntfOper_Equal, "abc", "abc   ", 1},
      {IntfOper_Equal, "", "", 1},
      {IntfOper_NotEqual, "abc", "abd", 1},
      {IntfOper_NotEqual, "abc", "abc", 0},
      {IntfOper_Less, "abc", "abd", 1},
      {IntfOper_Less, "abc", "abc", 0},
      {IntfOper_Less, "ab", "abc", 1},
      {IntfOper_LessOrEqual, "abc", "abc", 1},
      {IntfOper_LessOrEqual, "abd", "abc", 0},
      {IntfOper_Greater, "abd", "abc", 1},
      {IntfOper_Greater, "abc", "abc", 0},
      {IntfOper_GreaterOrEqual, "abc", "abc", 1},
      {IntfOper_GreaterOrEqual, "abb", "abc", 0},
      {IntfOper_Contains, "abc", "bc", 1},
      {IntfOper_Contains, "abc", "cb", 0},
      {IntfOper_Contains, "abc", "", 1},
      {IntfOper_NotContains, "abc", "bc", 0},
      {IntfOper_NotContains, "abc", "x", 1},
      {IntfOper_Like, "abc", "a*", 1},
      {IntfOper_Like, "abc", "*c", 1},
      {IntfOper_Like, "abc", "a?c", 1},
      {IntfOper_Like, "abc", "a?", 0},
      {IntfOper_Like, "abc", "*", 1},
      {IntfOper_Like, "", "*", 1},
      {IntfOper_Like, "", "?", 0},
      {IntfOper_Like, "abcbc", "a*bc", 1},
      {IntfOper_Like, "abcbd", "a*bc", 0},
      {IntfOper_Like, "abc", "ABC", 0},
      {IntfOper_Like, "a*c", "a*c", 1},
      {IntfOper_Like, "abc", "", 0},
  };
  probe::Table& object = table();
  for (const TextCase& one : cases) {
    // Blanks and zeros at the end of a field are padding.
    for (const char pad : {' ', '\0'}) {
      std::string field = one.field;
      field.resize(8, pad);
      std::string threshold = one.threshold;
      EXPECT_EQ(object.IsException(one.operation, field.data(), threshold.data(), 8), one.met)
          << one.operation << " '" << one.field << "' '" << one.threshold << "'";
      EXPECT_EQ(object.IsException(one.operation, field.data(), threshold.data(), 8, 12), one.met);
    }
  }
}

TEST_F(Rows, AQuestionMarkStandsForOneCharacterOfUtf8AndForOneByteOfSingleByteText) {
  probe::Table& object = table();
  std::string field = "M\xC3\xBCller";
  std::string one = "M?ller";
  std::string two = "M??ller";
  const int length = static_cast<int>(field.size());
  EXPECT_EQ(object.IsException(IntfOper_Like, field.data(), one.data(), length, 12), 1);
  EXPECT_EQ(object.IsException(IntfOper_Like, field.data(), two.data(), length, 12), 0);
  EXPECT_EQ(object.IsException(IntfOper_Like, field.data(), one.data(), length, 9), 0);
  EXPECT_EQ(object.IsException(IntfOper_Like, field.data(), two.data(), length, 9), 1);
}

TEST_F(Rows, AFieldThatFillsItsWidthNeedsNoZeroEnd) {
  probe::Table& object = table();
  std::string field = "abcdefghTAIL";
  std::string threshold = "abcdefgh";
  EXPECT_EQ(object.IsException(IntfOper_Equal, field.data(), threshold.data(), 8), 1);
  EXPECT_EQ(object.IsException(IntfOper_Equal, field.data(), threshold.data(), 9), 0);
}

struct NumberCase {
  _IntfOper operation;
  long value;
  const char* threshold;
  int met;
};

TEST_F(Rows, NumericThresholds) {
  const NumberCase cases[] = {
      {IntfOper_Equal, 5, "5", 1},
      {IntfOper_Equal, 5, "6", 0},
      {IntfOper_Equal, 5, "05", 1},
      {IntfOper_NotEqual, 5, "6", 1},
      {IntfOper_NotEqual, 5, "5", 0},
      {IntfOper_Less, -2, "-1", 1},
      {IntfOper_Less, -1, "-1", 0},
      {IntfOper_LessOrEqual, -1, "-1", 1},
      {IntfOper_LessOrEqual, 0, "-1", 0},
      {IntfOper_Greater, 10, "9", 1},
      {IntfOper_Greater, 9, "9", 0},
      {IntfOper_GreaterOrEqual, 9, "9", 1},
      {IntfOper_GreaterOrEqual, 8, "9", 0},
      {IntfOper_Greater, 2147483647, "-2147483648", 1},
      {IntfOper_Less, -2147483647 - 1, "2147483647", 1},
      // What is no number, or no question to ask of one, is never met.
      {IntfOper_NotEqual, 5, "six", 0},
      {IntfOper_NotEqual, 5, "", 0},
      {IntfOper_NotEqual, 5, "6 ", 0},
      {IntfOper_Contains, 5, "5", 0},
      {IntfOper_NotContains, 5, "6", 0},
      {IntfOper_Like, 5, "*", 0},
  };
  probe::Table& object = table();
  for (const NumberCase& one : cases) {
    std::string threshold = one.threshold;
    EXPECT_EQ(object.IsException(one.operation, one.value, threshold.data()), one.met)
        << one.operation << " " << one.value << " '" << one.threshold << "'";
    std::int32_t stored = static_cast<std::int32_t>(one.value);
    EXPECT_EQ(
        object.IsException(one.operation, reinterpret_cast<char*>(&stored), threshold.data(), 4, 3),
        one.met);
  }
}

TEST_F(Rows, NothingToCompareIsNeverMet) {
  probe::Table& object = table();
  char text[] = "a";
  EXPECT_EQ(object.IsException(IntfOper_Equal, nullptr, text, 1), 0);
  EXPECT_EQ(object.IsException(IntfOper_Equal, text, nullptr, 1), 0);
  EXPECT_EQ(object.IsException(IntfOper_Equal, text, text, -1), 0);
  EXPECT_EQ(object.IsException(IntfOper_Equal, 1L, nullptr), 0);
  EXPECT_EQ(object.IsException(IntfOper_Equal, text, text, 1, 3), 0);  // too short for a number
}

TEST_F(Rows, WithoutAThresholdEveryRowPasses) {
  probe::Table& object = table();
  EXPECT_EQ(object.add(probe::row("a", 1) + probe::row("b", 2)), 0);
  EXPECT_EQ(object.NumDataItems(), 2u);
}

TEST_F(Rows, AllThresholdsMustBeMetOrAnyOneOfThem) {
  xaf::TableSettings settings;
  settings.thresholds = {{"COUNT", IntfOper_Greater, "10"}, {"title", IntfOper_Like, "h*"}};
  const std::string rows = probe::row("none", 1, "low") + probe::row("one", 11, "low") +
                           probe::row("other", 1, "high") + probe::row("both", 11, "high");
  {
    probe::Table& object = table(settings);
    EXPECT_EQ(object.add(rows), 0);
    ASSERT_EQ(object.NumDataItems(), 1u);
    EXPECT_EQ(std::string(object.Data(0), probe::kRowSize), probe::row("both", 11, "high"));
  }
  settings.match_all = false;
  probe::Table& object = table(settings);
  EXPECT_EQ(object.add(rows), 0);
  EXPECT_EQ(object.NumDataItems(), 3u);
}

TEST_F(Rows, ThresholdsAreShown) {
  xaf::TableSettings settings;
  settings.thresholds = {{"COUNT", IntfOper_GreaterOrEqual, "10"}};
  probe::Table& object = table(settings);
  const trc::Capture capture;
  object.PrintSelf();
  EXPECT_THAT(capture.texts(), ElementsAre("\tthresholds {", "\t\tcount=1, match=all",
                                           "\t\tCOUNT >= \"10\"", "\t}"));
}

TEST_F(Rows, AnUnsuitableThresholdIsNamed) {
  probe::register_table("ROWS", {});
  xaf::TableSettings settings;
  settings.thresholds = {{"COUNT", IntfOper_Equal, "many"}};
  const xaf::DirectSampler sampler("ROWS", settings);
  EXPECT_FALSE(sampler.found());
  EXPECT_EQ(sampler.error(),
            "ROWS: threshold COUNT = \"many\": the column is a number, the value is not a whole "
            "number within 32 bits");
}

TEST_F(Rows, InsertRowCopiesWhatItKeeps) {
  probe::Table& object = table();
  std::string bytes = probe::row("kept", 1);
  EXPECT_EQ(object.InsertRow(bytes.data()), 0u);
  bytes.assign(bytes.size(), '#');
  EXPECT_EQ(std::string(object.Data(0), probe::kRowSize), probe::row("kept", 1));
}

TEST_F(Rows, RoomGrowsByTheAllocationDefaultAtLeast) {
  probe::Table& object = table();
  EXPECT_EQ(object.AllocationDefault(), 2u);
  EXPECT_EQ(object.NumRowsAllocated(), 0u);
  object.add(probe::row("a", 1));
  EXPECT_EQ(object.NumRowsAllocated(), 2u);
  object.add(probe::row("b", 2) + probe::row("c", 3));
  EXPECT_EQ(object.NumRowsAllocated(), 4u);
  object.ClearCount();
  EXPECT_EQ(object.NumDataItems(), 0u);
  EXPECT_EQ(object.NumRowsAllocated(), 4u);  // the room is used again
}

TEST_F(Rows, TheLatestStayAsTheyAreWhileTheNextSampleReusesTheRoomOfTheOneBefore) {
  probe::Table& object = table();
  for (int sample = 0; sample < 5; ++sample) {
    object.add(probe::row("a", sample) + probe::row("b", sample) + probe::row("c", sample));
    EXPECT_EQ(object.NumRowsAllocated(), 4u);
    ASSERT_EQ(object.Dispatch(), 0u);
    object.ClearCount();
    object.add(probe::row("next", -1));
    EXPECT_THAT(
        xaf::latest_rows("ROWS"),
        ElementsAre(probe::row("a", sample), probe::row("b", sample), probe::row("c", sample)));
    object.ClearCount();
  }
}

TEST_F(Rows, ManyRowsKeepTheirOrder) {
  probe::Table& object = table();
  for (int count = 0; count < 10000; ++count) object.add(probe::row("n", count));
  ASSERT_EQ(object.NumDataItems(), 10000u);
  for (int count = 0; count < 10000; ++count) {
    ASSERT_EQ(std::string(object.Data(count), probe::kRowSize), probe::row("n", count));
  }
}

TEST_F(Rows, AnIndexOutsideTheRowsGivesNull) {
  probe::Table& object = table();
  EXPECT_EQ(object.Data(0), nullptr);
  object.add(probe::row("a", 1));
  EXPECT_EQ(object.Data(-1), nullptr);
  EXPECT_NE(object.Data(0), nullptr);
  EXPECT_EQ(object.Data(1), nullptr);
}

TEST_F(Rows, InsertRowRefusesNoRowAndARowBeyondTheLimit) {
  const trc::Capture capture;
  xaf::TableSettings settings;
  settings.row_limit = 3;
  probe::Table& object = table(settings);
  EXPECT_NE(object.InsertRow(nullptr), 0u);
  std::string rows;
  for (int count = 0; count < 5; ++count) rows += probe::row("n", count);
  EXPECT_NE(object.add(rows), 0);
  EXPECT_EQ(object.NumDataItems(), 3u);
  EXPECT_EQ(capture.count("ROWS: row refused with 3 rows held: row limit reached"), 1u);
  object.ClearCount();
  EXPECT_EQ(object.add(probe::row("n", 9)), 0);
}

TEST_F(Rows, WithoutARowSizeNoRowIsTaken) {
  probe::Table& object = table();
  object.SetRowSize(0);
  std::string bytes = probe::row("a", 1);
  EXPECT_NE(object.InsertRow(bytes.data()), 0u);
  EXPECT_EQ(object.NumDataItems(), 0u);
}

TEST_F(Rows, AnObjectKnowsItsNames) {
  xaf::TableSettings settings;
  settings.interval_ms = 1234;
  probe::Table& object = table(settings);
  EXPECT_STREQ(object.TableName(), "ROWS");
  EXPECT_STREQ(object.ApplicationName(), "TST");
  EXPECT_EQ(object._get_interval(), 1234u);
}

TEST_F(Rows, DispatchHandsTheRowsToSinksAndTheyStayUntilCleared) {
  const auto keeper = std::make_shared<probe::Keeper>();
  xaf::add_sink(keeper);
  probe::Table& object = table();
  EXPECT_EQ(object.Dispatch(), 0u);
  EXPECT_TRUE(keeper->all().empty());  // nothing held, nothing sent
  object.add(probe::row("a", 1));
  EXPECT_EQ(object.Dispatch(), 0u);
  EXPECT_EQ(object.NumDataItems(), 1u);
  ASSERT_EQ(keeper->all().size(), 1u);
  EXPECT_EQ(keeper->all()[0].table, "ROWS");
  EXPECT_THAT(keeper->all()[0].rows, ElementsAre(probe::row("a", 1)));
}

TEST_F(Rows, WhatWasDispatchedDoesNotChangeWithLaterRows) {
  probe::Table& object = table();
  object.add(probe::row("a", 1));
  EXPECT_EQ(object.Dispatch(), 0u);
  for (int count = 0; count < 100; ++count) object.add(probe::row("later", count));
  EXPECT_THAT(xaf::latest_rows("ROWS"), ElementsAre(probe::row("a", 1)));
  object.ClearCount();
  object.add(probe::row("other", 7));
  EXPECT_THAT(xaf::latest_rows("ROWS"), ElementsAre(probe::row("a", 1)));
}

TEST_F(Rows, RowsThatArriveAsEventsReachEveryObject) {
  const auto keeper = std::make_shared<probe::Keeper>();
  xaf::add_sink(keeper);
  table();
  {
    const xaf::DirectSampler second("ROWS");
    EXPECT_EQ(manager_->object_count(), 2u);
    std::string rows = probe::row("e", 1) + probe::row("f", 2);
    EXPECT_EQ(manager_->receive_event(rows.data(), 2), 0u);
    EXPECT_EQ(keeper->all().size(), 2u);
    EXPECT_EQ(second.object()->NumDataItems(), 0u);
  }
  EXPECT_EQ(manager_->object_count(), 1u);
}

TEST_F(Rows, AnObjectThatIsHeldLivesUntilItIsDropped) {
  int destroyed = 0;
  probe::register_table("HELD", {}, [&destroyed] { ++destroyed; });
  std::optional<xaf::DirectSampler> sampler;
  sampler.emplace("HELD");
  const std::uint32_t handle = sampler->object()->Handle();
  EXPECT_NE(handle, 0u);
  xaftable* const held = xaftable::UseHandle(handle);
  xaftable* const again = xaftable::UseHandle(handle);
  EXPECT_EQ(held, sampler->object());
  EXPECT_EQ(again, held);
  sampler.reset();
  EXPECT_EQ(destroyed, 0);
  EXPECT_EQ(xaftable::UseHandle(handle), nullptr);  // given up: nobody new may hold it
  held->Drop();
  EXPECT_EQ(destroyed, 0);
  again->Drop();
  EXPECT_EQ(destroyed, 1);
  EXPECT_EQ(xaftable::UseHandle(handle), nullptr);
}

TEST_F(Rows, ADropWithoutAHoldChangesNothing) {
  probe::Table& object = table();
  object.Drop();
  EXPECT_EQ(xaftable::UseHandle(object.Handle()), &object);
  object.Drop();
}

TEST_F(Rows, AWalkSkipsAnObjectThatGoesWhileItIsUnderWay) {
  auto* const manager = probe::register_table("WALK", {});
  std::optional<xaf::DirectSampler> first;
  std::optional<xaf::DirectSampler> second;
  std::optional<xaf::DirectSampler> third;
  first.emplace("WALK");
  second.emplace("WALK");
  third.emplace("WALK");
  EXPECT_EQ(manager->object_count(), 3u);
  second.reset();
  EXPECT_EQ(manager->object_count(), 2u);
  second.emplace("WALK");
  EXPECT_EQ(manager->object_count(), 3u);
}

TEST_F(Rows, ADirectSampleGivesTheRowsOfEachRunAlone) {
  int run = 0;
  table({}, [&run](probe::Table& object) { object.add(probe::row("run", ++run)); });
  EXPECT_THAT(sampler_->sample(), ElementsAre(probe::row("run", 1)));
  EXPECT_THAT(sampler_->sample(), ElementsAre(probe::row("run", 2)));
}

TEST_F(Rows, ATableThatIsNotRegisteredIsNotFound) {
  xaf::DirectSampler sampler("NOSUCH");
  EXPECT_FALSE(sampler.found());
  EXPECT_EQ(sampler.error(), "");
  EXPECT_TRUE(sampler.sample().empty());
}

TEST_F(Rows, TheLatestRegisteredManagerOfANameServes) {
  probe::register_table("TWICE", [](probe::Table& object) { object.add(probe::row("old", 1)); });
  probe::register_table("TWICE", [](probe::Table& object) { object.add(probe::row("new", 2)); });
  EXPECT_THAT(xaf::registered_tables(), ElementsAre("TWICE"));
  EXPECT_THAT(xaf::DirectSampler("TWICE").sample(), ElementsAre(probe::row("new", 2)));
}

TEST(NodeName, FillsTheBufferWithoutAZeroEndWhenItIsTooLong) {
  xaf::Configuration configuration;
  configuration.node_name = "PRIMARY:DC01";
  xaf::configure(configuration);
  char exact[12];
  EXPECT_EQ(DetermineLocalHost(exact, 12), 0);
  EXPECT_EQ(std::string(exact, 12), "PRIMARY:DC01");
  char room[13] = "############";
  EXPECT_EQ(DetermineLocalHost(room, 13), 0);
  EXPECT_STREQ(room, "PRIMARY:DC01");
  char small[4];
  EXPECT_EQ(DetermineLocalHost(small, 4), 0);
  EXPECT_EQ(std::string(small, 4), "PRIM");
  EXPECT_NE(DetermineLocalHost(nullptr, 4), 0);
  xaf::reset();
}

TEST(Agent, AffinitiesAndTheProductAreTaken) {
  EXPECT_EQ(XAF_SetAffinity("0001"), 0);
  EXPECT_EQ(XAF_SetAffinity("000W"), 0);
  EXPECT_THAT(xaf::affinities(), ElementsAre("0001", "000W"));
  char buffer[9] = {};
  EXPECT_EQ(XAF_SetVersionUsingProduct("CW", buffer, sizeof buffer), 0);
  char tiny[2];
  EXPECT_EQ(XAF_SetVersionUsingProduct("LONG", tiny, sizeof tiny), 0);
  EXPECT_EQ(tiny[1], '\0');
  xaf::reset();
}

}  // namespace
