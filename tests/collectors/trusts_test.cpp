#include <gtest/gtest.h>

#include <optional>

#include "collectors/background.h"
#include "collectors/cache.h"
#include "include/platform/threads.h"
#include "include/settings.h"
#include "include/unique_handle.h"
#include "tests/collectors/recorded_commands.h"

namespace {

using namespace testing_support;

struct Trust {
  std::string netbios_name;
  std::string dns_name = "";
  std::string flags = R"("DIRECT_OUTBOUND")";
  int type = 2;
};

constexpr const char* kOutbound = R"("DIRECT_OUTBOUND")";
constexpr const char* kInbound = R"("DIRECT_INBOUND")";
constexpr const char* kBoth = R"("DIRECT_OUTBOUND", "DIRECT_INBOUND")";

std::string trusts_json(const std::vector<Trust>& trusts) {
  std::string text;
  for (const Trust& trust : trusts) {
    text += std::string(text.empty() ? "" : ",\n") + R"({"netbios_name": ")" + trust.netbios_name +
            R"(", "dns_name": ")" + trust.dns_name + R"(", "flags": [)" + trust.flags +
            R"(], "type": )" + std::to_string(trust.type) + "}";
  }
  return R"({"servers": {"*": {"trusts": [)" + text + "]}}}";
}

const std::vector<Command> kAllWell = {
    {"netdom verify *", {"The trust was verified.", "The command completed successfully."}}};

MoreFiles files(const std::vector<Trust>& trusts, const std::vector<Command>& commands = kAllWell) {
  return {{"trusts.json", trusts_json(trusts)}, {"commands.json", commands_json(commands)}};
}

// What a row of a trust shows beside its numbers and times.
struct Shown {
  std::string name;
  std::string domain = "NOT_AVAILABLE";
  std::string direction = "OUTBOUND_TRUST";
  std::string type = "UPLEVEL";
  std::string status = "Success";
  std::string added = "FALSE";
  std::string dropped = "FALSE";
};

class Trusts : public Sampling {
 protected:
  explicit Trusts(const MoreFiles& more = files({})) : Sampling(kSmallForest, more) {}
  void TearDown() override { g_cacheInterval = 0; }

  void record(const std::vector<Trust>& trusts, const std::vector<Command>& commands = kAllWell) {
    next_.emplace(kSmallForest, "", files(trusts, commands));
  }
  static std::vector<std::string> sample() { return xaf::DirectSampler("DCWNTDSTRS").sample(); }
  static std::string row(std::int32_t number, const Shown& shown, const std::string& local_domain,
                         const std::string& stamp = time_stamp()) {
    return head(0, number, stamp) + padded(shown.name, 64) + padded(shown.domain, 64) +
           padded(shown.direction, 16) + padded(shown.type, 16) + padded(shown.status, 16) +
           padded(shown.added, 16) + padded(shown.dropped, 16) + padded(local_domain, 64) +
           padded("DC1.corp.example", 64);
  }
  static Shown dropped(const std::string& name) {
    return {name, "", "", "", "None", "FALSE", "TRUE"};
  }
  static Shown with_flag(Shown shown) {
    shown.added = "TRUE";
    return shown;
  }
  // The status column of a row without its padding.
  static std::string status(const std::string& row) {
    const std::string text = row.substr(216 + 160, 16);
    return text.substr(0, text.find_last_not_of(std::string(" \0", 2)) + 1);
  }

  std::optional<SmallRecording> next_;
};

TEST_F(Trusts, GiveARowForEachTrustByteForByte) {
  record({{"PARTNER", "partner.example", kOutbound, 2}, {"LEGACY", "", kInbound, 1}});
  const auto rows = sample();
  ASSERT_EQ(2u, rows.size());
  EXPECT_EQ(552u, rows[0].size());
  EXPECT_EQ(row(1, {"PARTNER", "partner.example"}, ""), rows[0]);
  EXPECT_EQ(row(2, {"LEGACY", "NOT_AVAILABLE", "INBOUND_TRUST", "DOWNLEVEL", "NOT_AVAILABLE"}, ""),
            rows[1]);
}

TEST_F(Trusts, OfTheFirstCollectionShowNoLocalDomainAndOfLaterOnesThatOfTheOneBefore) {
  record({{"PARTNER"}});
  EXPECT_EQ(row(1, {"PARTNER"}, ""), sample().at(0));
  EXPECT_EQ(row(2, {"PARTNER"}, "corp.example"), sample().at(0));
}

TEST_F(Trusts, OfAllTypesHaveTheirTexts) {
  record({{"A", "", kOutbound, 1},
          {"B", "", kOutbound, 2},
          {"C", "", kOutbound, 3},
          {"D", "", kOutbound, 4},
          {"E", "", kOutbound, 0}});
  std::vector<std::string> types;
  for (const std::string& one : sample()) types.push_back(one.substr(216 + 144, 16));
  EXPECT_EQ(
      (std::vector<std::string>{padded("DOWNLEVEL", 16), padded("UPLEVEL", 16), padded("MIT", 16),
                                padded("UNKNOWN", 16), padded("UNKNOWN", 16)}),
      types);
}

TEST_F(Trusts, OfAllDirectionsHaveTheirTexts) {
  record({{"A", "", kInbound},
          {"B", "", kOutbound},
          {"C", "", kBoth},
          {"D", "", std::string(R"("IN_FOREST", )") + kBoth},
          {"E", "", std::string(R"("IN_FOREST", "TREE_ROOT", )") + kBoth},
          {"F", "", std::string(R"("TREE_ROOT", )") + kBoth}});
  std::vector<std::string> directions;
  for (const std::string& one : sample()) directions.push_back(one.substr(216 + 128, 16));
  EXPECT_EQ((std::vector<std::string>{padded("INBOUND_TRUST", 16), padded("OUTBOUND_TRUST", 16),
                                      padded("TWO_WAY_TRUST", 16), padded("TWO_WAY_TRUST", 16),
                                      padded("TWO_WAY_TRUST", 16), padded("DISABLED", 16)}),
            directions);
}

TEST_F(Trusts, OnlyInboundAreNotVerified) {
  record({{"PARTNER", "", kInbound}});
  platform::faults::reset_counts();
  const auto rows = sample();
  ASSERT_EQ(1u, rows.size());
  EXPECT_EQ("NOT_AVAILABLE", status(rows[0]));
  EXPECT_EQ(0u, times_reached("_popen"));
}

TEST_F(Trusts, OfFlagsThatAreInNoTableAreDisabledAndVerifiedAllTheSame) {
  record({{"PARTNER", "", R"("IN_FOREST", "DIRECT_OUTBOUND")"}});
  platform::faults::reset_counts();
  EXPECT_EQ(row(1, {"PARTNER", "NOT_AVAILABLE", "DISABLED"}, ""), sample().at(0));
  EXPECT_EQ(1u, times_reached("_popen"));
}

TEST_F(Trusts, AreVerifiedWithTheShortHostNameAndTheNetBiosName) {
  record({{"PARTNER"}, {"OTHER"}}, {{"netdom verify DC1 /DOMAIN:PARTNER", {"verified"}},
                                    {"netdom verify DC1 /DOMAIN:OTHER", {"It failed."}}});
  const auto rows = sample();
  ASSERT_EQ(2u, rows.size());
  EXPECT_EQ("Success", status(rows[0]));
  EXPECT_EQ("Failed", status(rows[1]));
}

TEST_F(Trusts, WhoseVerificationFailedInItsSecondLineOfThreeHaveFailed) {
  record({{"PARTNER"}}, {{"netdom *", {"Verifying", "The verification failed", "Completed"}}});
  EXPECT_EQ("Failed", status(sample().at(0)));
}

TEST_F(Trusts, WhoseVerificationSaysTheWordInCapitalsOnlyAreASuccess) {
  record({{"PARTNER"}}, {{"netdom *", {"The verification FAILED", "Failed"}}});
  EXPECT_EQ("Success", status(sample().at(0)));
}

TEST_F(Trusts, WhoseCommandSaysNothingShowTheStatusOfTheTrustBefore) {
  record({{"FIRST"}, {"PARTNER"}, {"OTHER"}}, {{"netdom * /DOMAIN:PARTNER", {"failed"}}});
  const auto rows = sample();
  ASSERT_EQ(3u, rows.size());
  EXPECT_EQ("", status(rows[0]));
  EXPECT_EQ("Failed", status(rows[1]));
  EXPECT_EQ("Failed", status(rows[2]));
}

TEST_F(Trusts, WhoseCommandCannotBeStartedShowTheStatusOfTheTrustBefore) {
  record({{"PARTNER"}, {"OTHER"}});
  platform::faults::fail("_popen", 2);
  const auto rows = sample();
  ASSERT_EQ(2u, rows.size());
  EXPECT_EQ("Success", status(rows[0]));
  EXPECT_EQ("Success", status(rows[1]));
  platform::faults::fail("_popen", 1);
  EXPECT_EQ("", status(sample().at(0)));
}

TEST_F(Trusts, ThatComeAndGoOverThreeSamplesAreFlaggedOnce) {
  record({{"A"}, {"B"}, {"C"}});
  auto rows = sample();
  ASSERT_EQ(3u, rows.size());
  EXPECT_EQ(row(1, {"A"}, ""), rows[0]);
  EXPECT_EQ(row(2, {"B"}, ""), rows[1]);
  EXPECT_EQ(row(3, {"C"}, ""), rows[2]);

  record({{"A"}, {"D"}, {"B"}, {"C"}});
  rows = sample();
  ASSERT_EQ(4u, rows.size());
  EXPECT_EQ(row(4, {"A"}, "corp.example"), rows[0]);
  EXPECT_EQ(row(5, with_flag({"D"}), "corp.example"), rows[1]);
  EXPECT_EQ(row(6, {"B"}, "corp.example"), rows[2]);
  EXPECT_EQ(row(7, {"C"}, "corp.example"), rows[3]);
  EXPECT_EQ(1u, trace_.count("Trust added: <D>"));

  record({{"A"}, {"B"}, {"C"}});
  rows = sample();
  ASSERT_EQ(4u, rows.size());
  EXPECT_EQ(row(8, {"A"}, "corp.example"), rows[0]);
  EXPECT_EQ(row(9, {"B"}, "corp.example"), rows[1]);
  EXPECT_EQ(row(10, {"C"}, "corp.example"), rows[2]);
  EXPECT_EQ(row(11, dropped("D"), "corp.example"), rows[3]);
  EXPECT_EQ(1u, trace_.count("Trust dropped: <D>"));
}

TEST_F(Trusts, ThatAreAllGoneEachHaveOneLastRow) {
  record({{"A"}, {"B"}});
  sample();
  record({});
  Sleep(60000);
  const auto rows = sample();
  ASSERT_EQ(2u, rows.size());
  // They keep what the last row had, with the time of this sample.
  const std::string now = "1110102030505000";
  EXPECT_EQ(row(3, dropped("A"), "", now), rows[0]);
  EXPECT_EQ(row(4, dropped("B"), "", now), rows[1]);
  EXPECT_TRUE(sample().empty());
}

TEST_F(Trusts, AfterASampleWithoutAnyAreNotFlagged) {
  record({{"A"}});
  sample();
  record({});
  sample();
  record({{"B"}});
  EXPECT_EQ(row(3, {"B"}, "corp.example"), sample().at(0));
}

TEST_F(Trusts, ThatCannotBeListedAreAllDropped) {
  record({{"A"}});
  sample();
  platform::faults::fail("DsEnumerateDomainTrustsA", 1);
  const auto rows = sample();
  ASSERT_EQ(1u, rows.size());
  EXPECT_EQ("None", status(rows[0]));
  EXPECT_EQ(1u, trace_.count("Trust Index: <0>"));
}

TEST_F(Trusts, WithoutNamesAreNotAvailableAndMatchEachOther) {
  record({{""}, {"A"}});
  EXPECT_EQ(row(1, {"NOT_AVAILABLE"}, ""), sample().at(0));
  record({{"A"}, {"", "other.example"}});
  const auto rows = sample();
  ASSERT_EQ(2u, rows.size());
  EXPECT_EQ(row(4, {"NOT_AVAILABLE", "other.example"}, "corp.example"), rows[1]);
}

TEST_F(Trusts, AreComparedByTheFirst63CharactersOfTheirName) {
  const std::string same(63, 'N');
  record({{same + "1"}});
  EXPECT_EQ(row(1, {same + "1"}, ""), sample().at(0));
  record({{same + "2"}});
  EXPECT_EQ(row(2, {same + "2"}, "corp.example"), sample().at(0));
  record({{same.substr(1)}});
  const auto rows = sample();
  ASSERT_EQ(2u, rows.size());
  EXPECT_EQ(row(3, with_flag({same.substr(1)}), "corp.example"), rows[0]);
  EXPECT_EQ(row(4, dropped(same), "corp.example"), rows[1]);
}

TEST_F(Trusts, AreComparedInTheProcessAndNotInTheSampleObject) {
  record({{"A"}});
  xaf::DirectSampler one("DCWNTDSTRS");
  xaf::DirectSampler other("DCWNTDSTRS");
  one.sample();
  record({{"A"}, {"B"}});
  EXPECT_EQ(row(3, with_flag({"B"}), "corp.example"), other.sample().at(1));
  EXPECT_EQ(row(5, {"B"}, "corp.example"), one.sample().at(1));
}

TEST_F(Trusts, WhoseHostIsUnknownKeepTheirRows) {
  record({{"A"}});
  sample();
  record({{"B"}});
  Sleep(60000);
  platform::faults::fail("getaddrinfo", 1);
  EXPECT_EQ(row(2, {"A"}, ""), sample().at(0));
  EXPECT_EQ(1u, trace_.count("getaddrinfo failed: error#:11001"));
}

TEST_F(Trusts, TellTheirSteps) {
  record({{"PARTNER", "partner.example", kBoth}});
  sample();
  const trc::Capture lines;
  sample();
  for (const char* text :
       {"Trust Index: <1>",
        "NetBIOSName: <PARTNER>, DomainName: <partner.example>, Direction: <TWO_WAY_TRUST>, Type: "
        "<UPLEVEL>",
        "TRS Data writing to global buffer ", "TRS Transfer to global buffer complete",
        "AddData Global TRS buffer", "curTrustList[0]: <PARTNER>", "prevIndex: 0",
        "curTrustList: PARTNER"}) {
    EXPECT_EQ(1u, lines.count(text)) << text;
  }
  EXPECT_TRUE(lines.contains("TR instance number: <"));
  EXPECT_TRUE(lines.contains("TIMER: 25 : Trusts : TakeSample"));
}

// With caching on.
class CachedTrusts : public Trusts {
 protected:
  CachedTrusts() : Trusts(files({{"A"}, {"B"}, {"C"}})) {
    g_cacheInterval = 60000;
    hTerminateEvent = CreateEventA(nullptr, TRUE, FALSE, nullptr);
  }
  void TearDown() override {
    close_now(hTerminateEvent.exchange(nullptr));
    if (thread_) WaitForSingleObject(thread_.get(), INFINITE);
    Trusts::TearDown();
  }
  void start() {
    thread_ =
        UniqueHandle{_beginthreadex(nullptr, 0, &collectandCacheTRSData, nullptr, 0, nullptr)};
  }

  UniqueHandle thread_;
};

TEST_F(CachedTrusts, ReportAChangeInTheFirstSampleThatSeesItOnly) {
  EXPECT_TRUE(sample().empty());
  start();
  Sleep(30000);
  EXPECT_EQ(row(1, {"A"}, ""), sample().at(0));
  record({{"A"}, {"B"}});
  Sleep(60000);
  const std::string second = "1110102030505000";
  auto rows = sample();
  ASSERT_EQ(3u, rows.size());
  EXPECT_EQ(row(4, {"A"}, "corp.example", second), rows[0]);
  EXPECT_EQ(row(6, dropped("C"), "corp.example", second), rows[2]);
  rows = sample();
  ASSERT_EQ(2u, rows.size());
  EXPECT_EQ(row(7, {"A"}, "corp.example", second), rows[0]);
}

// A sample between the count and the rows of a collection meets more rows than were counted. Here
// the collection never comes to its rows.
TEST_F(CachedTrusts, OfASampleThatMeetsAnOlderListAreKeptUpToTheLaterCount) {
  start();
  Sleep(30000);
  EXPECT_EQ(3u, sample().size());
  record({{"A"}});
  {
    DCW_TRACE("test");
    collectors::CacheHold hold(trace, g_TRSEvent, collectors::kTRSCache.texts);
    ASSERT_TRUE(hold.take_for_sample(0));
    Sleep(60000);
    EXPECT_EQ(1u, trace_.count("Trust Index: <1>"));
    ASSERT_TRUE(TerminateThread(thread_.get(), 0));
    EXPECT_EQ(WAIT_OBJECT_0, WaitForSingleObject(thread_.get(), INFINITE));
  }
  EXPECT_EQ(3u, sample().size());
  for (const char* name : {"B", "C"}) {
    EXPECT_EQ(1u,
              trace_.count("Trust beyond the last count of 1 is not kept for the next sample: <" +
                           std::string(name) + ">"));
  }
  // Without caching a sample collects by itself.
  g_cacheInterval = 0;
  EXPECT_EQ(row(7, {"A"}, "corp.example", "1110102030535000"), sample().at(0));
  EXPECT_FALSE(trace_.contains("Trust dropped: "));
}

TEST_F(Trusts, SurviveEachPlatformCallFailingOnce) {
  record({{"PARTNER", "partner.example", kBoth}, {"LEGACY", "", kInbound}});
  sample();
  // Row numbers go on from sample to sample.
  sweep("DCWNTDSTRS",
        {{"getaddrinfo", "getaddrinfo failed: error#:11001"},
         {"DsEnumerateDomainTrustsA", "Error:DsEnumerateDomainTrusts failed. Error code: "},
         {"ResetEvent", "Lock cache lock failed: "},
         {"SetEvent", "Release cache lock failed: "}},
        {{{68, 4}, {72, 16}}, {}});
}

}  // namespace
