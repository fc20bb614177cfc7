// What every table does through its generated classes, on a small table of the tests' own.

#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <new>
#include <stdexcept>
#include <string>
#include <vector>

#include "framework/trc/control.h"
#include "framework/xaf/control.h"
#include "tests/tables/sample_table.h"

namespace {

// While set, the next allocation that promises not to throw finds no memory.
thread_local bool no_memory = false;

}  // namespace

void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
  if (no_memory) {
    no_memory = false;
    return nullptr;
  }
  try {
    return ::operator new(size);
  } catch (const std::bad_alloc&) {
    return nullptr;
  }
}

namespace {

using Base = tables::Base<tables::DCWSAMPLE>;

// A sample object whose way to the framework is watched and can be made to fail.
class WatchedTable : public Base {
 public:
  WatchedTable() : Base(nullptr, nullptr, nullptr) {}
  ~WatchedTable() override = default;
  void TakeSample() override {}
  using Base::CheckColumnException;

  std::uint32_t InsertRow(char* row) override {
    inserted.push_back(number(row));
    return inserted.size() == fail_at ? 0x77u : Base::InsertRow(row);
  }
  std::uint32_t CheckForException(char* row) override {
    checked.push_back(number(row));
    return Base::CheckForException(row);
  }

  std::size_t fail_at = 0;
  std::vector<std::int32_t> checked;
  std::vector<std::int32_t> inserted;

 private:
  static std::int32_t number(const char* row) {
    std::int32_t value;
    std::memcpy(&value, row + 216, sizeof value);
    return value;
  }
};

class Classes : public testing::Test {
 protected:
  void SetUp() override {
    xaf::reset();
    trc::set_flags(0);
  }
  void TearDown() override {
    tables::g_take_sample = nullptr;
    xaf::reset();
  }
};

TEST_F(Classes, ColumnInfoWithANegativeIndexIsRefused) {
  WatchedTable table;
  ColumnInfo info = {"untouched", 1, 2, 3};
  EXPECT_EQ(table.GetColumnInfo(&info, -1), 0x21060007);
  EXPECT_STREQ(info.name, "untouched");
}

TEST_F(Classes, ColumnInfoOfTheLastColumnIsItsData) {
  WatchedTable table;
  ASSERT_EQ(table.GetColumnCount(), 9u);
  ColumnInfo info = {};
  EXPECT_EQ(table.GetColumnInfo(&info, 8), 0);
  EXPECT_STREQ(info.name, "smputf");
  EXPECT_EQ(info.offset, 225);
  EXPECT_EQ(info.width, 8);
  EXPECT_EQ(info.type, 12);
}

TEST_F(Classes, ColumnInfoJustBehindTheLastColumnIsNoErrorAndLeavesTheRecordUntouched) {
  WatchedTable table;
  ColumnInfo info = {"untouched", 1, 2, 3};
  EXPECT_EQ(table.GetColumnInfo(&info, 9), 0);
  EXPECT_STREQ(info.name, "untouched");
  EXPECT_EQ(info.offset, 1);
  EXPECT_EQ(info.width, 2);
  EXPECT_EQ(info.type, 3);
}

TEST_F(Classes, ColumnInfoTwoBehindTheLastColumnIsRefused) {
  WatchedTable table;
  ColumnInfo info = {"untouched", 1, 2, 3};
  EXPECT_EQ(table.GetColumnInfo(&info, 10), 0x21060007);
  EXPECT_STREQ(info.name, "untouched");
}

TEST_F(Classes, AddDataOfNoRowsDoesNothing) {
  WatchedTable table;
  EXPECT_EQ(table.AddData(nullptr, 0), 0);
  EXPECT_TRUE(table.checked.empty());
  EXPECT_EQ(table.NumDataItems(), 0u);
}

TEST_F(Classes, AddDataHandsRowsOverInOrder) {
  WatchedTable table;
  std::string block = block_of({sample_row(1), sample_row(2), sample_row(3)});
  EXPECT_EQ(table.AddData(block.data(), 3), 0);
  EXPECT_EQ(table.inserted, (std::vector<std::int32_t>{1, 2, 3}));
  const std::string before = block;
  block.assign(block.size(), 'x');  // what was handed over is a copy
  ASSERT_EQ(table.NumDataItems(), 3u);
  EXPECT_EQ(std::string(table.Data(1), SampleRow::kSize),
            before.substr(SampleRow::kSize, SampleRow::kSize));
}

TEST_F(Classes, AddDataStopsAtTheFirstRowThatCannotBeInserted) {
  WatchedTable table;
  table.fail_at = 2;
  std::string block = block_of({sample_row(1), sample_row(2), sample_row(3)});
  EXPECT_EQ(table.AddData(block.data(), 3), 0x77);
  EXPECT_EQ(table.checked, (std::vector<std::int32_t>{1, 2}));
  EXPECT_EQ(table.NumDataItems(), 1u);
}

TEST_F(Classes, AddDataGivesTheFrameworksOwnRefusalToItsCaller) {
  register_sample_table();
  xaf::TableSettings settings;
  settings.row_limit = 1;
  xaf::DirectSampler sampler("DCWSAMPLE", settings);
  ASSERT_TRUE(sampler.found());
  std::int32_t result = 0;
  tables::g_take_sample = [&](auto& table) {
    std::string block = block_of({sample_row(1), sample_row(2), sample_row(3)});
    result = table.AddData(block.data(), 3);
  };
  const auto rows = sampler.sample();
  EXPECT_NE(result, 0);
  ASSERT_EQ(rows.size(), 1u);
  EXPECT_EQ(rows[0], block_of({sample_row(1)}));
}

TEST_F(Classes, ARowThatMeetsNoThresholdIsDroppedWithoutAWord) {
  register_sample_table();
  xaf::TableSettings settings;
  settings.thresholds = {{"SMPNUM", IntfOper_Greater, "5"}};
  xaf::DirectSampler sampler("DCWSAMPLE", settings);
  ASSERT_TRUE(sampler.found());
  std::int32_t result = -1;
  tables::g_take_sample = [&](auto& table) {
    std::string block = block_of({sample_row(1), sample_row(9), sample_row(5)});
    result = table.AddData(block.data(), 3);
  };
  trc::set_flags(trace::kDetail);
  const trc::Capture capture;
  EXPECT_EQ(sampler.sample(), std::vector<std::string>{block_of({sample_row(9)})});
  EXPECT_EQ(result, 0);
  EXPECT_EQ(capture.count("Passing row 1 to InsertRow()."), 1u);
  EXPECT_FALSE(capture.contains("Passing row 0"));
  EXPECT_FALSE(capture.contains("Passing row 2"));
}

TEST_F(Classes, AddDataTellsOfItsRowsAtTheDetailLevelOnly) {
  WatchedTable table;
  std::string block = block_of({sample_row(1)});
  const trc::Capture capture;
  table.AddData(block.data(), 1);
  EXPECT_FALSE(capture.contains("Passing row"));
  trc::set_flags(trace::kDetail);
  table.AddData(block.data(), 1);
  EXPECT_EQ(capture.count("Passing row 0 to InsertRow()."), 1u);
}

TEST_F(Classes, TheExitEventOfAddDataCarriesItsResult) {
  WatchedTable table;
  table.fail_at = 1;
  std::string block = block_of({sample_row(1)});
  trc::set_unit_flags("AddData", trace::kFlow);
  const trc::Capture capture;
  table.AddData(block.data(), 1);
  trc::clear_unit_flags();
  const auto lines = capture.lines();
  ASSERT_EQ(lines.size(), 2u);
  EXPECT_EQ(lines[0].kind, trc::Kind::kEntry);
  EXPECT_EQ(lines[1].kind, trc::Kind::kExit);
  EXPECT_NE((lines[1].text).find("119"), std::string::npos) << lines[1].text;
}

TEST_F(Classes, OnlyUpperCaseColumnNamesAreKnownToThresholds) {
  WatchedTable table;
  SampleRow row = sample_row(7);
  char seven[] = "7";
  EXPECT_EQ(table.CheckColumnException(row.data(), "SMPNUM", IntfOper_Equal, seven), 1);
  EXPECT_EQ(table.CheckColumnException(row.data(), "smpnum", IntfOper_Equal, seven), 0);
  EXPECT_EQ(table.CheckColumnException(row.data(), "SMPNU", IntfOper_Equal, seven), 0);
  EXPECT_EQ(table.CheckColumnException(row.data(), "", IntfOper_Equal, seven), 0);
}

TEST_F(Classes, AThresholdComparesEachColumnByItsType) {
  WatchedTable table;
  SampleRow row = sample_row(-7, "abcde");
  char six[] = "-6";
  char text[] = "abcde";
  char other[] = "abcd";
  char umlaut[] = "\xc3\xbc";
  EXPECT_EQ(table.CheckColumnException(row.data(), "SMPNUM", IntfOper_Less, six), 1);
  EXPECT_EQ(table.CheckColumnException(row.data(), "SMPNUM", IntfOper_Greater, six), 0);
  EXPECT_EQ(table.CheckColumnException(row.data(), "SMPTXT", IntfOper_Equal, text), 1);
  EXPECT_EQ(table.CheckColumnException(row.data(), "SMPTXT", IntfOper_Equal, other), 0);
  EXPECT_EQ(table.CheckColumnException(row.data(), "SMPUTF", IntfOper_Equal, umlaut), 1);
}

TEST_F(Classes, InitMakesAndRegistersTheManager) {
  EXPECT_EQ(tables::g_manager<tables::DCWSAMPLE>, nullptr);
  EXPECT_EQ(tables::init<tables::DCWSAMPLE>(), 0);
  EXPECT_NE(tables::g_manager<tables::DCWSAMPLE>, nullptr);
  EXPECT_EQ(xaf::registered_tables(), std::vector<std::string>{"DCWSAMPLE"});
}

TEST_F(Classes, InitWithoutMemoryForTheManagerFails) {
  no_memory = true;
  EXPECT_EQ(tables::init<tables::DCWSAMPLE>(), 0x21060002);
  EXPECT_FALSE(no_memory);
  EXPECT_EQ(tables::g_manager<tables::DCWSAMPLE>, nullptr);
  EXPECT_TRUE(xaf::registered_tables().empty());
}

TEST_F(Classes, AManagerWithoutMemoryForASampleObjectGivesNone) {
  register_sample_table();
  no_memory = true;
  EXPECT_EQ(tables::g_manager<tables::DCWSAMPLE>->CreateInstance(nullptr, nullptr), nullptr);
  EXPECT_FALSE(no_memory);
}

TEST_F(Classes, AManagerThatIsGoneIsForgotten) {
  register_sample_table();
  xaf::reset();
  EXPECT_EQ(tables::g_manager<tables::DCWSAMPLE>, nullptr);
}

TEST_F(Classes, ATablesOwnConstructorAndDestructorRunWithEachSampleObject) {
  register_sample_table();
  const int made = tables::SampleLives::made;
  const int ended = tables::SampleLives::ended;
  {
    xaf::DirectSampler sampler("DCWSAMPLE");
    ASSERT_TRUE(sampler.found());
    EXPECT_EQ(tables::SampleLives::made, made + 1);
    EXPECT_EQ(tables::SampleLives::ended, ended);
  }
  EXPECT_EQ(tables::SampleLives::ended, ended + 1);
}

// Keeps what reaches it.
class KeepingSink : public xaf::Sink {
 public:
  void deliver(const xaf::Delivery& delivery) override {
    if (failing) throw std::runtime_error("the sink is full");
    blocks.emplace_back(delivery.rows, std::size_t{delivery.count} * delivery.row_size);
  }
  bool failing = false;
  std::vector<std::string> blocks;
};

TEST_F(Classes, AnEventBeforeTheManagerExistsIsDropped) {
  std::string block = block_of({sample_row(1)});
  EXPECT_EQ(tables::event_arrived<tables::DCWSAMPLE>(block.data(), 1), 0);
}

TEST_F(Classes, AnEventReachesEveryLiveObjectAndLeavesNoRowsBehind) {
  register_sample_table();
  const auto sink = std::make_shared<KeepingSink>();
  xaf::add_sink(sink);
  xaf::DirectSampler first("DCWSAMPLE");
  xaf::DirectSampler second("DCWSAMPLE");
  std::string block = block_of({sample_row(1), sample_row(2)});
  EXPECT_EQ(tables::event_arrived<tables::DCWSAMPLE>(block.data(), 2), 0);
  EXPECT_EQ(sink->blocks, (std::vector<std::string>{block, block}));
  EXPECT_EQ(first.object()->NumDataItems(), 0u);
  EXPECT_EQ(second.object()->NumDataItems(), 0u);
}

TEST_F(Classes, AnEventThatCannotBeDispatchedGivesTheFailure) {
  register_sample_table();
  const auto sink = std::make_shared<KeepingSink>();
  sink->failing = true;
  xaf::add_sink(sink);
  xaf::DirectSampler sampler("DCWSAMPLE");
  std::string block = block_of({sample_row(1)});
  EXPECT_NE(tables::event_arrived<tables::DCWSAMPLE>(block.data(), 1), 0);
  EXPECT_EQ(sampler.object()->NumDataItems(), 0u);
}

TEST_F(Classes, AnEventWithNoLiveObjectIsNoFailure) {
  register_sample_table();
  std::string block = block_of({sample_row(1)});
  EXPECT_EQ(tables::event_arrived<tables::DCWSAMPLE>(block.data(), 1), 0);
}

TEST_F(Classes, PrintSelfWritesNothingUnlessObjectDumpsAreOn) {
  WatchedTable table;
  trc::set_flags(trace::kDetail | trace::kError);
  const trc::Capture capture;
  table.PrintSelf();
  EXPECT_TRUE(capture.lines().empty());
}

TEST_F(Classes, PrintSelfWritesTheObjectAndEveryRowItHolds) {
  register_sample_table();
  xaf::TableSettings settings;
  settings.interval_ms = 30000;
  xaf::DirectSampler sampler("DCWSAMPLE", settings);
  ASSERT_TRUE(sampler.found());
  xaftable* const table = sampler.object();
  SampleRow row = sample_row(-3, "abcde");
  row.set<"SAMPLENO">(4);
  row.set<"ROWNO">(1);
  table->AddData(row.data(), 1);
  trc::set_unit_flags("PrintSelf", trace::kDump);
  const trc::Capture capture;
  table->PrintSelf();
  trc::clear_unit_flags();
  std::vector<std::string> texts;
  for (const trc::Line& line : capture.lines()) {
    if (line.function == "PrintSelf") texts.push_back(line.text);
  }
  char first[100];
  std::snprintf(first, sizeof first, "dcw_dcwsample_base @%p <%u,%u>", static_cast<void*>(table),
                table->Handle(), 1u);
  const std::string blanks(61, ' ');
  EXPECT_EQ(texts, (std::vector<std::string>{
                       first,
                       "\t::appl=DCW,table=DCWSAMPLE,interval=30000,samptype=1",
                       "\t_data {",
                       "\t\tcount=1, allocated=2, allocSize=2",
                       "\t\t{",
                       "\t\toriginnode=\"DC1" + blanks + "\"",
                       "\t\tsampleno=4",
                       "\t\trowno=1",
                       "\t\ttimestamp=\"1110102030405000\"",
                       "\t\tzattrib=\"\"",
                       "\t\tzvalue=\"\"",
                       "\t\tsmpnum=-3",
                       "\t\tsmptxt=\"abcde\"",
                       "\t\tsmputf=\"\xc3\xbc      \"",
                       "\t\t}",
                       "}",
                   }));
}

}  // namespace
