#include <gtest/gtest.h>

#include "tests/collectors/replicating.h"

namespace {

using directory_test::forest;
using directory_test::kConfiguration;
using directory_test::kDomain;
using directory_test::object;
using testing_support::field;
using testing_support::kSchemaContext;
using testing_support::neighbour;
using testing_support::number;
using testing_support::replaced;
using testing_support::Replicating;
using Numbers = std::vector<std::int32_t>;
using Texts = std::vector<std::string>;

constexpr std::size_t kPartner = 216;
constexpr std::size_t kClock = 344;
constexpr std::size_t kLatency = 348;
constexpr std::size_t kClockChange = 352;
constexpr std::int32_t kUnknown = -1;

const std::string kObject = "CN=DC1,CN=LostAndFound," + kDomain;
const std::string kFromDC2 = neighbour(kSchemaContext, "Hub", "DC2");
const std::string kFromDC3 = neighbour(kSchemaContext, "Branch", "DC3");
constexpr const char* kTryingUpdate =
    "CreateConsistencyObject failed(-2) (probably already exists), trying update...";

// DC1's object as DC1 sees it, changed at 03:00:00, and what others see differently.
std::string own_object(const std::string& differences = "") {
  return object(kObject, "applicationEntity",
                "description: one\nwhenChanged: 20110102030000.0Z\n" + differences);
}
// At DC2 the change arrived 300 seconds later.
std::string arrived_at_dc2() {
  return own_object("whenChanged;x-server-dc2: 20110102030500.0Z\ndescription;x-server-dc2: one\n");
}
// Further lines of the root object: clocks. All show 03:04:05 otherwise.
std::string forest_with_root(const std::string& lines) {
  return replaced(forest(), "currentTime: 20110102030405.0Z\n",
                  "currentTime: 20110102030405.0Z\n" + lines);
}
std::string clock_of(const std::string& server, const std::string& time) {
  return "currentTime;x-server-" + server + ": 20110102" + time + ".0Z\n";
}

class ReplicationLatency : public Replicating {
 protected:
  ReplicationLatency() : Replicating({kFromDC2}, forest() + arrived_at_dc2()) {
    setenv("ACTIVATE_REPL_LATENCY", "ENABLED", 1);
  }
  static Texts sample() { return xaf::DirectSampler("DCWNTDSRLT").sample(); }
  static Numbers column(const Texts& rows, std::size_t offset) {
    Numbers numbers;
    for (const std::string& row : rows) numbers.push_back(integer(row, offset));
    return numbers;
  }
  // The partners, with these clocks beside a change that all have.
  void record_clocks(const Texts& neighbours, const std::string& clocks) {
    record(neighbours, forest_with_root(clocks) + own_object());
  }
};

TEST_F(ReplicationLatency, GivesOneRowAPartnerByteForByte) {
  record({neighbour(kDomain, "Hub", "DC2"), kFromDC2, neighbour(kConfiguration, "Branch", "DC3"),
          kFromDC3},
         forest_with_root(clock_of("dc3", "030355")) + arrived_at_dc2());
  const Texts rows = sample();
  ASSERT_EQ(2u, rows.size());
  const std::string server = field("DC1.corp.example", 64, ' ');
  EXPECT_EQ(head(1, 1) + field("DC2", 64, ' ') + field("Hub", 64, ' ') + number(0) + number(300) +
                number(0) + server + field("DC2.corp.example", 256, ' '),
            rows[0]);
  EXPECT_EQ(head(1, 2) + field("DC3", 64, ' ') + field("Branch", 64, ' ') + number(-10) +
                number(10) + number(0) + server + field("DC3.corp.example", 256, ' '),
            rows[1]);
}

TEST_F(ReplicationLatency, TellsItsStepsInOrder) {
  const trc::Capture lines;
  ASSERT_EQ(1u, sample().size());
  EXPECT_EQ((Texts{"LA instance number: <1>",
                   "ACTIVATE_REPL_LATENCY is set to 'ENABLED'.Collecting Replication Latency data.",
                   "ConObj->Name=DC1", "ConObj->When_Changed=Sun Jan 02 03:00:00 2011\n",
                   "ConObj->Description=one", "partnerIndex: <1>", "remoteDSETime_RC = 0",
                   "local time : Sun Jan 02 04:04:05 2011", "remote time: Sun Jan 02 04:04:05 2011",
                   "System Differential: 0.000000", "partnerHost: DC2",
                   "local obj  : Sun Jan 02 03:00:00 2011", "remote obj : Sun Jan 02 03:05:00 2011",
                   "Object Differential: 300.000000", "RLT Transfer to global buffer complete",
                   "AddData Global RLT buffer", "partnerHost: DC2", "prevClockDeltaIndex: 0",
                   "prevClockDeltaIndex: 1"}),
            texts_of(lines, "replication_latency.cpp"));
  EXPECT_TRUE(lines.contains("TIMER: 15 : ReplicationLatency : TakeSample"));
}

// ---- the latency --------------------------------------------------------------------------------

TEST_F(ReplicationLatency, OfAChangeThatArrivedAfter300SecondsByEqualClocksIs300) {
  const Texts rows = sample();
  EXPECT_EQ((Numbers{0}), column(rows, kClock));
  EXPECT_EQ((Numbers{300}), column(rows, kLatency));
}

TEST_F(ReplicationLatency, IsCorrectedByThePartnersClock) {
  record({kFromDC2}, forest_with_root(clock_of("dc2", "030415")) + arrived_at_dc2());
  const Texts rows = sample();
  EXPECT_EQ((Numbers{10}), column(rows, kClock));
  EXPECT_EQ((Numbers{290}), column(rows, kLatency));
}

TEST_F(ReplicationLatency, IsUnknownWhileThePartnerHasAnOlderCopy) {
  record({kFromDC2}, forest() + own_object("description;x-server-dc2: older\n"));
  EXPECT_EQ((Numbers{kUnknown}), column(sample(), kLatency));
}

TEST_F(ReplicationLatency, IsUnknownWhenThePartnerHasNoCopy) {
  record({kFromDC2},
         forest_with_root(clock_of("dc2", "030415")) + own_object("objectClass;x-server-dc2:\n"));
  const Texts rows = sample();
  EXPECT_EQ((Numbers{10}), column(rows, kClock));
  EXPECT_EQ((Numbers{kUnknown}), column(rows, kLatency));
  EXPECT_EQ(1u, trace_.count("Error resolving remote consistency object."));
}

TEST_F(ReplicationLatency, ComparesTheTextsOverTheLengthOfItsOwn) {
  record({kFromDC2}, forest() + own_object("description;x-server-dc2: one and more\n"));
  EXPECT_EQ((Numbers{0}), column(sample(), kLatency));
}

TEST_F(ReplicationLatency, OfAPartnerWithoutAClockIsThePlainDifference) {
  record({kFromDC2}, forest_with_root("currentTime;x-server-dc2:\n") + arrived_at_dc2());
  const Texts rows = sample();
  EXPECT_EQ((Numbers{0}), column(rows, kClock));
  EXPECT_EQ((Numbers{300}), column(rows, kLatency));
  EXPECT_EQ(1u, trace_.count("remoteDSETime_RC = -2"));
}

TEST_F(ReplicationLatency, OfAPartnerThatIsDownIsUnknown) {
  record({neighbour(kSchemaContext, "Hub", "OLD")}, forest() + own_object());
  const Texts rows = sample();
  ASSERT_EQ(1u, rows.size());
  EXPECT_EQ((Numbers{0}), column(rows, kClock));
  EXPECT_EQ((Numbers{kUnknown}), column(rows, kLatency));
}

// The system's time stands in for the directory's clock, which is read an hour ahead.
TEST_F(ReplicationLatency, WithoutAClockOfItsOwnTakesTheSystemsTime) {
  record({kFromDC2}, forest_with_root("currentTime;x-server-dc1:\n" + clock_of("dc2", "030415")) +
                         own_object());
  EXPECT_EQ((Numbers{3610}), column(sample(), kClock));
}

// ---- the switch ---------------------------------------------------------------------------------

TEST_F(ReplicationLatency, IsEnabledInSmallLettersToo) {
  setenv("ACTIVATE_REPL_LATENCY", "enabled", 1);
  EXPECT_EQ(1u, sample().size());
  EXPECT_TRUE(trace_.contains("ACTIVATE_REPL_LATENCY is set to 'ENABLED'.Collecting"));
}

TEST_F(ReplicationLatency, ThatIsDisabledLeavesTheTableEmptyAndTheDirectoryAlone) {
  setenv("ACTIVATE_REPL_LATENCY", "DISABLED", 1);
  EXPECT_TRUE(sample().empty());
  EXPECT_EQ(1u, trace_.count("ACTIVATE_REPL_LATENCY is set as DISABLED. No data will be collected. "
                             "Please change it to 'ENABLED' for collecting Replication Latency "
                             "data"));
  EXPECT_EQ(nullptr, g_RLTEvent.handle());
  EXPECT_FALSE(trace_.contains("Consistency Object"));
}

TEST_F(ReplicationLatency, ThatBecomesDisabledLosesItsRowsAtOnce) {
  ASSERT_EQ(1u, sample().size());
  setenv("ACTIVATE_REPL_LATENCY", "Disabled", 1);
  EXPECT_TRUE(sample().empty());
  EXPECT_EQ(2u, trace_.count("AddData Global RLT buffer"));
  EXPECT_EQ(1u, trace_.count("RLT Transfer to global buffer complete"));
}

TEST_F(ReplicationLatency, WithAnyOtherSettingIsCollectedWithoutAWord) {
  setenv("ACTIVATE_REPL_LATENCY", "off", 1);
  EXPECT_EQ(1u, sample().size());
  EXPECT_FALSE(trace_.contains("ACTIVATE_REPL_LATENCY"));
}

TEST_F(ReplicationLatency, WithoutASettingIsCollectedLikewise) {
  unsetenv("ACTIVATE_REPL_LATENCY");
  EXPECT_EQ(1u, sample().size());
  EXPECT_FALSE(trace_.contains("ACTIVATE_REPL_LATENCY"));
}

// ---- the object ---------------------------------------------------------------------------------

TEST_F(ReplicationLatency, WithoutAnObjectMakesOneAndMeasuresIt) {
  record({kFromDC2});
  EXPECT_EQ((Numbers{0}), column(sample(), kLatency));
  EXPECT_FALSE(trace_.contains("ConObj->Name"));
  EXPECT_FALSE(trace_.contains("trying update"));
  sample();
  EXPECT_EQ(1u, trace_.count("ConObj->Name=DC1"));
  EXPECT_EQ(1u, trace_.count("ConObj->When_Changed=Sun Jan 02 03:04:05 2011\n"));
}

// Twice: as an object that is there and cannot be read, and as one that is too old.
TEST_F(ReplicationLatency, UpdatesAnObjectThatCannotBeReadAndMeasuresFromNoTime) {
  platform::faults::fail("IADsContainer::GetObject", 1);
  const Texts rows = sample();
  EXPECT_EQ(2u, trace_.count(kTryingUpdate));
  EXPECT_FALSE(trace_.contains("UpdateConsistencyObject failed"));
  // 03:05:00 of that day, and the second by which no time lies before all.
  EXPECT_EQ((Numbers{1293937500 + 1}), column(rows, kLatency));
}

TEST_F(ReplicationLatency, TellsThatItsObjectCanNeitherBeMadeNorUpdated) {
  platform::faults::fail("IADsContainer::GetObject", 0);
  EXPECT_EQ((Numbers{kUnknown}), column(sample(), kLatency));
  EXPECT_EQ(2u, trace_.count(kTryingUpdate));
  EXPECT_EQ(2u, trace_.count("UpdateConsistencyObject failed(-2)."));
}

TEST_F(ReplicationLatency, RefreshesItsObjectAfterMoreThanSixHoursAndUntilItArrivesKnowsNothing) {
  // The object changed at 03:00:00 and it is 03:04:05.
  const DWORD until_six_hours_ms = (21600 - 245) * 1000;
  Sleep(until_six_hours_ms);
  EXPECT_EQ((Numbers{300}), column(sample(), kLatency));
  EXPECT_EQ(0u, trace_.count(kTryingUpdate));
  Sleep(1000);
  // This collection still measures the change before.
  EXPECT_EQ((Numbers{300}), column(sample(), kLatency));
  EXPECT_EQ(1u, trace_.count(kTryingUpdate));
  EXPECT_EQ((Numbers{kUnknown}), column(sample(), kLatency));
  Sleep(60000);
  EXPECT_EQ((Numbers{kUnknown}), column(sample(), kLatency));
  EXPECT_EQ(1u, trace_.count(kTryingUpdate));
  // Now it arrives. The recording keeps the time of the last change for both.
  const auto controller = platform::controller();
  ASSERT_EQ(platform::kDirectoryOk,
            controller->directory()->modify("dc2", kObject,
                                            {{"description", {"Sun Jan 02 09:00:01 2011\n"}}}));
  EXPECT_EQ((Numbers{0}), column(sample(), kLatency));
}

// ---- the rows between collections ---------------------------------------------------------------

TEST_F(ReplicationLatency, KeepsItsRowsWhenTheHostIsUnknown) {
  const Texts right = sample();
  ASSERT_EQ(1u, right.size());
  platform::faults::fail("getaddrinfo", 1);
  EXPECT_EQ(right, sample());
  EXPECT_EQ(1u, trace_.count("getaddrinfo failed: error#:11001"));
}

TEST_F(ReplicationLatency, HasNoRowsWhenNobodyAnswersNotTheOldOnes) {
  ASSERT_EQ(1u, sample().size());
  platform::faults::fail("DsReplicaGetInfoW", 1);
  EXPECT_TRUE(sample().empty());
  EXPECT_EQ(2u, trace_.count("RLT Transfer to global buffer complete"));
}

TEST_F(ReplicationLatency, NumbersItsRowsOnFromCollectionToCollection) {
  ASSERT_EQ(1u, sample().size());
  const Texts rows = sample();
  ASSERT_EQ(1u, rows.size());
  EXPECT_EQ(number(2) + number(2), rows[0].substr(64, 8));
}

TEST_F(ReplicationLatency, IsCollectedByItsThreadAndSampledFromTheCache) {
  record_clocks({kFromDC2}, clock_of("dc2", "030415"));
  // Before the thread has started: a sample does not collect by itself.
  g_cacheInterval = 60000;
  EXPECT_TRUE(sample().empty());
  while_cached(&collectandCacheRLTData, [this] {
    Sleep(30000);
    const Texts first = sample();
    ASSERT_EQ(1u, first.size());
    record_clocks({kFromDC2}, clock_of("dc2", "030418"));
    Sleep(60000);
    EXPECT_EQ((Numbers{3}), column(sample(), kClockChange));
    // Nothing has changed within the interval.
    EXPECT_EQ((Numbers{0}), column(sample(), kClockChange));
    EXPECT_EQ(90000, time_->elapsed_ms());
  });
}

// ---- how clocks move ----------------------------------------------------------------------------

using ClockChange = ReplicationLatency;

TEST_F(ClockChange, IsNoneInTheFirstSampleAndTheDifferenceInTheNext) {
  record_clocks({kFromDC2}, clock_of("dc2", "030415"));
  EXPECT_EQ((Numbers{0}), column(sample(), kClockChange));
  record_clocks({kFromDC2}, clock_of("dc2", "030411"));
  EXPECT_EQ((Numbers{-4}), column(sample(), kClockChange));
  EXPECT_EQ(1u, trace_.count("prevClockDeltaName[0]=DC2"));
  EXPECT_EQ(1u, trace_.count("prevClockDeltaValue[0]=10"));
  EXPECT_EQ((Numbers{0}), column(sample(), kClockChange));
}

TEST_F(ClockChange, IsNoneForAnyPartnerWhenTheSetShrinksAndThereAgainInTheSampleAfter) {
  record_clocks({kFromDC2, kFromDC3}, clock_of("dc2", "030415") + clock_of("dc3", "030425"));
  sample();
  record_clocks({kFromDC3}, clock_of("dc3", "030427"));
  EXPECT_EQ((Numbers{0}), column(sample(), kClockChange));
  record_clocks({kFromDC3}, clock_of("dc3", "030430"));
  EXPECT_EQ((Numbers{3}), column(sample(), kClockChange));
}

TEST_F(ClockChange, IsThereForThePartnersOfBeforeWhenTheSetGrows) {
  record_clocks({kFromDC2}, clock_of("dc2", "030415"));
  sample();
  record_clocks({kFromDC3, kFromDC2}, clock_of("dc2", "030417") + clock_of("dc3", "030425"));
  // The entry of DC2 has given its place to DC3 before DC2's row comes.
  EXPECT_EQ((Numbers{0, 0}), column(sample(), kClockChange));
  record_clocks({kFromDC3, kFromDC2}, clock_of("dc2", "030418") + clock_of("dc3", "030427"));
  EXPECT_EQ((Numbers{2, 1}), column(sample(), kClockChange));
}

TEST_F(ClockChange, IsThereForThePartnersOfBeforeWhenANewOneComesLast) {
  record_clocks({kFromDC2}, clock_of("dc2", "030415"));
  sample();
  record_clocks({kFromDC2, kFromDC3}, clock_of("dc2", "030417") + clock_of("dc3", "030425"));
  EXPECT_EQ((Numbers{2, 0}), column(sample(), kClockChange));
}

TEST_F(ClockChange, OfLaterRowsIsTakenAgainstWhatIsLeftOfTheLastSample) {
  record_clocks({kFromDC2, kFromDC3}, clock_of("dc2", "030415") + clock_of("dc3", "030425"));
  sample();
  record_clocks({kFromDC3, kFromDC2}, clock_of("dc2", "030417") + clock_of("dc3", "030430"));
  EXPECT_EQ((Numbers{5, 0}), column(sample(), kClockChange));
}

TEST_F(ClockChange, IsTakenAgainstTheLastEntryOfThatName) {
  record_clocks({kFromDC2, kFromDC2}, clock_of("dc2", "030415"));
  sample();
  record_clocks({kFromDC2, kFromDC2}, clock_of("dc2", "030418"));
  EXPECT_EQ((Numbers{3, 3}), column(sample(), kClockChange));
}

TEST_F(ClockChange, StartsOverAfterASampleWithoutRows) {
  record_clocks({kFromDC2}, clock_of("dc2", "030415"));
  sample();
  record_clocks({}, "");
  EXPECT_TRUE(sample().empty());
  record_clocks({kFromDC2}, clock_of("dc2", "030418"));
  EXPECT_EQ((Numbers{0}), column(sample(), kClockChange));
}

class ManyPartners : public ReplicationLatency {
 protected:
  // That many partners, whose clocks are that far ahead.
  void record_many(int partners, int ahead_s) {
    std::string root;
    std::string servers;
    Texts neighbours;
    for (int i = 1; i <= partners; ++i) {
      const std::string name = "P" + std::to_string(i);
      root += clock_of(name, "03040" + std::to_string(5 + ahead_s));
      servers += directory_test::server("Hub", name) + directory_test::settings("Hub", name, "");
      neighbours.push_back(neighbour(kSchemaContext, "Hub", name));
    }
    record(neighbours, forest_with_root(root) + servers + own_object());
  }
};

TEST_F(ManyPartners, UpTo128HaveRoomForTheirClocks) {
  record_many(128, 1);
  ASSERT_EQ(128u, sample().size());
  record_many(128, 4);
  EXPECT_EQ(Numbers(128, 3), column(sample(), kClockChange));
  // At the end of both samples, and at each row of the second.
  EXPECT_EQ(130u, trace_.count("prevClockDeltaIndex: 128"));
  EXPECT_FALSE(trace_.contains("is not kept"));
}

TEST_F(ManyPartners, BeyondThemTheClockIsNotKeptAndThatIsTold) {
  record_many(129, 1);
  ASSERT_EQ(129u, sample().size());
  EXPECT_EQ(1u, trace_.count("The clock of P129 is not kept: there is room for 128 partners"));
  record_many(129, 4);
  Numbers expected(128, 3);
  expected.push_back(0);
  const Texts rows = sample();
  EXPECT_EQ(expected, column(rows, kClockChange));
  ASSERT_EQ(129u, rows.size());
  EXPECT_EQ("P129", text(rows[128], kPartner, 64));
  EXPECT_EQ(4, integer(rows[128], kClock));
}

TEST_F(ManyPartners, ThatBecomeFewerThanTheyWereStartOver) {
  record_many(129, 1);
  sample();
  record_many(127, 4);
  EXPECT_EQ(Numbers(127, 0), column(sample(), kClockChange));
  record_many(127, 2);
  EXPECT_EQ(Numbers(127, -2), column(sample(), kClockChange));
}

// ---- faults and threads -------------------------------------------------------------------------

TEST_F(ReplicationLatency, SurvivesEachPlatformCallFailingOnce) {
  // One copy for all: whatever is written reaches the partner with it.
  record({kFromDC2}, forest_with_root(clock_of("dc2", "030415")) + own_object());
  auto tolerance = testing_support::of_replication();
  tolerance.changing.push_back({kClockChange, 4});
  sweep("DCWNTDSRLT",
        {{"getaddrinfo", "getaddrinfo failed: error#:11001"},
         {"ADsGetObject", "ERROR: ADsGetObject failed for container: "},
         {"IADsContainer::GetObject",
          "ERROR: Container->GetObject failed for applicationEntity object: cn=DC1"},
         {"IADs::Get", "ERROR: pObj->Get(\"name\") failed."},
         {"DsReplicaGetInfoW", "Error: DsReplicaGetInfoW failed. Error Code: <1722>"},
         {"ResetEvent", "Lock cache lock failed: "},
         {"SetEvent", "Release cache lock failed: "}},
        tolerance);
}

// Rows are emptied without the cache being taken: no sample may see them half gone.
class LatencyRace : public ReplicationLatency {
 protected:
  LatencyRace() { time_.reset(); }
};

TEST_F(LatencyRace, NoSampleSeesRowsThatAreBeingEmptied) {
  trc::set_flags(0);
  collectors::CollectData<tables::DCWNTDSRLT>();
  g_cacheInterval = 60000;
  constexpr int kRounds = 50;
  const UniqueHandle collector{_beginthreadex(
      nullptr, 0,
      [](void*) -> unsigned {
        CoInitializeEx(nullptr, COINIT_MULTITHREADED);
        for (int round = 0; round < kRounds; ++round) collectors::CollectData<tables::DCWNTDSRLT>();
        CoUninitialize();
        return 0;
      },
      nullptr, 0, nullptr)};
  xaf::DirectSampler sampler("DCWNTDSRLT");
  for (int round = 0; round < 20 * kRounds; ++round) {
    const Texts rows = sampler.sample();
    EXPECT_LE(rows.size(), 1u);
    for (const std::string& row : rows) EXPECT_EQ("DC2", text(row, kPartner, 64));
  }
  EXPECT_EQ(WAIT_OBJECT_0, WaitForSingleObject(collector.get(), INFINITE));
}

}  // namespace
