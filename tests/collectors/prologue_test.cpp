// What every collection begins with.

#include "collectors/prologue.h"

#include <gtest/gtest.h>

#include "tests/collectors/cached_probes.h"

namespace {

using testing_support::field;
using testing_support::number;
using testing_support::Sampling;

class Prologue : public Sampling {
 protected:
  template <const auto& kTable>
  bool begin(tables::Row<kTable>& row) {
    DCW_TRACE("begin");
    return collectors::begin_collection(trace, row, state_, names_);
  }
  template <const auto& kTable>
  static std::string head(const tables::Row<kTable>& row, std::size_t size) {
    return {row.data(), size};
  }
  static void rename_node(const std::string& name) {
    xaf::Configuration configuration;
    configuration.node_name = name;
    xaf::configure(configuration);
  }

  collectors::CollectorState state_;
  collectors::ServerNames names_;
};

TEST_F(Prologue, FillsTheHeadOfAOneRowTableAndTheNames) {
  tables::Row<tables::DCWNTDSDCP> row;
  ASSERT_TRUE(begin(row));
  EXPECT_EQ(origin_node() + number(1) + number(1) + time_stamp() + std::string(128, '\0'),
            head(row, 216));
  EXPECT_STREQ("DC1", names_.host);
  EXPECT_STREQ("DC1.corp.example", names_.server);
  EXPECT_STREQ("corp.example", names_.domain);
}

TEST_F(Prologue, CountsEachCollectionAlsoOneThatEndsHere) {
  tables::Row<tables::DCWNTDSDCP> row;
  begin(row);
  platform::faults::fail("getaddrinfo", 1);
  EXPECT_FALSE(begin(row));
  EXPECT_EQ(1u, trace_.count("getaddrinfo failed: error#:11001"));
  platform::faults::clear();
  ASSERT_TRUE(begin(row));
  EXPECT_EQ(3, row.integer<"SAMPLENO">());
}

TEST_F(Prologue, LeavesTheRowNumberOfAListToItsTable) {
  tables::Row<tables::DCWNTDSRPL> row;
  ASSERT_TRUE(begin(row));
  EXPECT_EQ(1, row.integer<"SAMPLENO">());
  EXPECT_EQ(0, row.integer<"ROWNO">());
}

TEST_F(Prologue, NumbersNoCollectionOfTrusts) {
  tables::Row<tables::DCWNTDSTRS> row;
  ASSERT_TRUE(begin(row));
  EXPECT_EQ(0, row.integer<"SAMPLENO">());
}

TEST_F(Prologue, FillsTheShortHead) {
  tables::Row<tables::DCWNTDSTTP> row;
  ASSERT_TRUE(begin(row));
  EXPECT_EQ(origin_node() + time_stamp() + std::string(512, '\0'), head(row, 592));
}

TEST_F(Prologue, KeepsTheNodeNameWhereTheTableDoes) {
  tables::Row<tables::DCWNTDSDCP> row;
  begin(row);
  rename_node("NODE2");
  begin(row);
  EXPECT_EQ(origin_node(), row.text<"ORIGINNODE">());
}

TEST_F(Prologue, AsksForTheNodeNameAnewWhereTheTableDoes) {
  tables::Row<tables::DCWNTDSDRA> row;
  begin(row);
  EXPECT_EQ(origin_node(), row.text<"ORIGINNODE">());
  rename_node("NODE2");
  begin(row);
  EXPECT_EQ(field("NODE2", 64, ' '), row.text<"ORIGINNODE">());
}

TEST_F(Prologue, SaysForEachTableWhichStepsItTakes) {
  using collectors::Cached;
  std::string kept;
  std::string numbered;
#define DCW_STEPS(definition, word, kind, suffix)                                      \
  if (Cached<tables::definition>::shape.prologue.keeps_origin_node) kept += #word " "; \
  if (Cached<tables::definition>::shape.prologue.numbers_samples) numbered += #word " ";
  DCW_FOR_EACH_CACHE(DCW_STEPS)
#undef DCW_STEPS
  EXPECT_EQ("DNSAd DCP RLT RPL TRS ", kept);
  EXPECT_EQ("DCA DNSAd DRA DCP RLT RPL ", numbered);
}

TEST_F(Prologue, GoesOnWithoutTheShortNameSinceTheMachineKnowsItselfWithout) {
  platform::faults::fail("gethostname", 1);
  tables::Row<tables::DCWNTDSDCP> row;
  ASSERT_TRUE(begin(row));
  EXPECT_STREQ("", names_.host);
  EXPECT_STREQ("DC1.corp.example", names_.server);
}

class Names : public Sampling {
 protected:
  static std::string domain_of(const std::string& server) {
    DCW_TRACE("domain_of");
    collectors::ServerNames names;
    std::copy(server.begin(), server.end(), names.server);
    names.find_domain(trace);
    return names.domain;
  }
};

TEST_F(Names, WithoutADotHaveAnEmptyDomain) { EXPECT_EQ("", domain_of("dc1")); }

TEST_F(Names, HaveEverythingBehindTheFirstDotAsDomain) {
  EXPECT_EQ("a.b.c", domain_of("dc1.a.b.c"));
  EXPECT_EQ("", domain_of("dc1."));
}

TEST_F(Names, OfSeventyOneCharactersFitTheDomain) {
  EXPECT_EQ(std::string(71, 'd'), domain_of("h." + std::string(71, 'd')));
  EXPECT_FALSE(trace_.contains("is cut"));
}

TEST_F(Names, ThatAreLongerAreCutAndTold) {
  EXPECT_EQ(std::string(71, 'd'), domain_of("h." + std::string(72, 'd')));
  EXPECT_EQ(
      1u, trace_.count("The domain name is cut at 71 characters: <" + std::string(72, 'd') + ">"));
}

TEST_F(Names, OfTheWholeSizeStillEnd) {
  EXPECT_EQ(std::string(71, 'd'), domain_of("h." + std::string(198, 'd')));
}

}  // namespace
