// Names of counters, from their indexes and from a list in the program's string table.

#include <gtest/gtest.h>

#include <array>
#include <memory>
#include <string>
#include <vector>

#include "framework/trc/control.h"
#include "include/trace.h"
#include "platform/control.h"
#include "platform/counters/recorded_counters.h"
#include "tables/ckutil.h"

namespace {

// A machine whose counters have the indexes 2 ("Object"), 4 ("First") and 6 ("Second").
class NamedMachine : public platform::Controller {
 public:
  std::string description() const override { return "names of a test"; }
  const platform::MachineFacts& machine() const override { return facts_; }
  platform::Directory* directory() override { return nullptr; }
  platform::CounterSource* counters() override { return counters_.get(); }
  platform::RegistryHive* registry() override { return nullptr; }

 private:
  platform::MachineFacts facts_;
  std::unique_ptr<platform::CounterSource> counters_ = platform::read_counters(
      "\"(PDH-CSV 4.0) (UTC)(0)\",\"\\Object\\First\",\"\\Object\\Second\"\n"
      "\"01/02/2011 03:04:05.000\",\"1\",\"2\"\n",
      "counters.csv", [] { return 0; });
};

class NamesByIndex : public testing::Test {
 protected:
  NamesByIndex() {
    trc::set_flags(trace::kError);
    platform::install(std::make_shared<NamedMachine>());
  }
  ~NamesByIndex() override { platform::faults::clear(); }

  platform::VirtualTime time_;
  trc::Capture trace_;
  std::array<const char*, 3> names_{};
};

TEST_F(NamesByIndex, BeginWithThePrefix) {
  const std::uint32_t indexes[] = {4, 2, 6};
  EXPECT_EQ(CKUtil::PerfIndexToName("\\\\DC1\\", 3, indexes, names_.data()), 1);
  EXPECT_STREQ(names_[0], "\\\\DC1\\First");
  EXPECT_STREQ(names_[1], "\\\\DC1\\Object");
  EXPECT_STREQ(names_[2], "\\\\DC1\\Second");
}

TEST_F(NamesByIndex, EndAtTheFirstThatHasNone) {
  const std::uint32_t indexes[] = {4, 5, 6};
  EXPECT_EQ(CKUtil::PerfIndexToName("", 3, indexes, names_.data()), 0);
  EXPECT_STREQ(names_[0], "First");
  EXPECT_EQ(names_[1], nullptr);
  EXPECT_EQ(trace_.count("Error: PdhLookupPerfNameByIndex() failed"), 1u);
  EXPECT_TRUE(trace_.contains("PDH error message text <"));
}

TEST_F(NamesByIndex, AreCutAtTheSizeOfTheirPlaces) {
  const std::uint32_t indexes[] = {4};
  const std::string prefix(4094, 'p');
  EXPECT_EQ(CKUtil::PerfIndexToName(prefix.c_str(), 1, indexes, names_.data()), 1);
  EXPECT_EQ(names_[0], prefix + "F");
  EXPECT_EQ(trace_.count("Counter name cut to 4095 characters"), 1u);
}

TEST_F(NamesByIndex, AreAtMost128) {
  const std::vector<std::uint32_t> indexes(130, 4);
  std::vector<const char*> names(130);
  EXPECT_EQ(CKUtil::PerfIndexToName("", 130, indexes.data(), names.data()), 1);
  EXPECT_STREQ(names[127], "First");
  EXPECT_EQ(names[128], nullptr);
  EXPECT_EQ(trace_.count("Counter indexes cut to 128 of 130"), 1u);
}

constexpr std::uint32_t kResource = 9500;

class NamesOfAList : public testing::Test {
 protected:
  NamesOfAList() { trc::set_flags(trace::kError); }
  ~NamesOfAList() override {
    platform::faults::clear();
    platform::register_string_table({});
  }
  // The result and the names.
  std::int32_t parse(const std::string& text, std::int32_t count = 10) {
    platform::register_string_table({{kResource, text}});
    std::vector<const char*> places(static_cast<std::size_t>(count), nullptr);
    const std::int32_t result = CKUtil::parseCounterList(kResource, "p:", count, places.data());
    names_.clear();
    for (const char* name : places) {
      if (name != nullptr) names_.emplace_back(name);
    }
    return result;
  }
  using Names = std::vector<std::string>;

  trc::Capture trace_;
  Names names_;
};

TEST_F(NamesOfAList, AreThoseBetweenItsParentheses) {
  EXPECT_EQ(parse("counters = ( Cache % Hit , Log Writes/sec , Sessions In Use )"), 1);
  EXPECT_EQ(names_, (Names{"p:Cache % Hit", "p:Log Writes/sec", "p:Sessions In Use"}));
  EXPECT_TRUE(trace_.texts().empty());
}

TEST_F(NamesOfAList, BeginAtTheFirstLetter) {
  EXPECT_EQ(parse("(  %7 Hits )"), 1);
  EXPECT_EQ(names_, Names{"p:Hits"});
}

TEST_F(NamesOfAList, LeaveOutTheLastOneWithoutABlankBehindIt) {
  EXPECT_EQ(parse("(First , Second)"), 1);
  EXPECT_EQ(names_, Names{"p:First"});
}

TEST_F(NamesOfAList, LeaveOutThoseOfInstances) {
  EXPECT_EQ(parse("(First , Per INSTANCE , Third )"), 1);
  EXPECT_EQ(names_, (Names{"p:First", "p:Third"}));
}

TEST_F(NamesOfAList, AreNoMoreThanAskedFor) {
  EXPECT_EQ(parse("(First , Second , Third )", 2), 1);
  EXPECT_EQ(names_, (Names{"p:First", "p:Second"}));
  EXPECT_EQ(trace_.count("Counter list cut to 2 names"), 1u);
}

TEST_F(NamesOfAList, EndWithAParenthesisOfTheirOwn) {
  EXPECT_EQ(parse("(First , Bytes (Total) , Third )"), 1);
  EXPECT_EQ(names_, Names{"p:First"});
}

TEST_F(NamesOfAList, AreAFailureWithoutTheResource) {
  platform::register_string_table({});
  std::array<const char*, 1> names{};
  EXPECT_EQ(CKUtil::parseCounterList(kResource, "", 1, names.data()), 0);
  EXPECT_EQ(trace_.count("Unable to load resource string 9500, error: 1814"), 1u);
}

TEST_F(NamesOfAList, AreAFailureWithoutItsParentheses) {
  EXPECT_EQ(parse("First , Second )"), 0);
  EXPECT_EQ(trace_.count("Unable to find '(' character, resource string is invalid"), 1u);
  EXPECT_EQ(parse("(First , Second "), 0);
  EXPECT_EQ(parse("("), 0);
  EXPECT_EQ(parse("()"), 0);
  EXPECT_EQ(trace_.count("Unable to find ')' character, resource string is invalid"), 3u);
}

}  // namespace
