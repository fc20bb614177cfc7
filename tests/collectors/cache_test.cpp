// The cache cycle on virtual time: what a sample sees in each state of a cache, and what each
// failure leaves behind.

#include <gtest/gtest.h>

#include <optional>

#include "tests/collectors/cached_probes.h"

namespace {

using probes::kDCP;
using probes::kRPL;
using probes::kTTP;
using probes::numbers_of;
using Numbers = std::vector<std::int32_t>;
constexpr const char* kTimeout = "TakeSample Timeout..Global buffer is empty.";

class CacheCycle : public probes::CachedProbes {
 protected:
  // Each collection takes that long, then transfers 1, 2, 3 and so on.
  void collect_counting(DWORD work_ms = 0) {
    probes::collect<kDCP> = [this, work_ms](const trace::Scope& trace) {
      began_.push_back(now());
      Sleep(work_ms);
      probes::transfer_number<kDCP>(trace, ++collections_);
    };
  }

  std::int32_t collections_ = 0;
  std::vector<std::int64_t> began_;
};

// ---- what a sample sees, state by state ---------------------------------------------------------

TEST_F(CacheCycle, NeverFilledWhileTheFirstCollectionRunsGivesNoRowsAtOnce) {
  collect_counting(90000);
  start_cache_thread<kDCP>();
  Sleep(1000);
  ASSERT_EQ(1u, began_.size());
  EXPECT_TRUE(sample<kDCP>().empty());
  EXPECT_EQ(1000, now());
  EXPECT_EQ(0u, trace_.count(kTimeout));
  EXPECT_EQ(0u, trace_.count("AddData Global DCP buffer"));
  EXPECT_FALSE(trace_.contains("TIMER: 98"));
}

TEST_F(CacheCycle, NeverFilledAfterAFailedFirstCollectionGivesNoRowsAtOnce) {
  probes::collect<kDCP> = [](const trace::Scope&) {};
  collect_now<kDCP>();
  EXPECT_TRUE(sample<kDCP>().empty());
  EXPECT_EQ(0, now());
  EXPECT_EQ(0u, trace_.count(kTimeout));
}

TEST_F(CacheCycle, FirstTransferIsWaitedForAndItsRowsDelivered) {
  start_slow_transfer<kDCP>(3000, 5);
  Sleep(1000);
  EXPECT_EQ((Numbers{5}), numbers_of(sample<kDCP>()));
  EXPECT_EQ(3000, now());
}

TEST_F(CacheCycle, ReadyRowsAreDeliveredAtOnce) {
  collect_counting();
  collect_now<kDCP>();
  EXPECT_EQ((Numbers{1}), numbers_of(sample<kDCP>()));
  EXPECT_EQ(0, now());
  EXPECT_EQ(1u, trace_.count("AddData Global DCP buffer"));
  EXPECT_TRUE(trace_.contains("TIMER: 98 : Probe : TakeSample"));
}

TEST_F(CacheCycle, ATransferThatEndsWithinTheWaitIsWaitedFor) {
  collect_counting();
  collect_now<kDCP>();
  start_slow_transfer<kDCP>(4999, 6);
  Sleep(0);
  while (WaitForSingleObject(probes::g_DCPEvent.handle(), 0) == WAIT_OBJECT_0) Sleep(0);
  EXPECT_EQ((Numbers{6}), numbers_of(sample<kDCP>()));
  EXPECT_EQ(4999, now());
  EXPECT_EQ(0u, trace_.count(kTimeout));
}

TEST_F(CacheCycle, ATransferOfOverFiveSecondsIsGivenUpAfterExactlyFiveSeconds) {
  collect_counting();
  collect_now<kDCP>();
  start_slow_transfer<kDCP>(8000, 6);
  Sleep(1000);
  EXPECT_TRUE(sample<kDCP>().empty());
  EXPECT_EQ(6000, now());
  EXPECT_EQ(1u, trace_.count(kTimeout));
  EXPECT_FALSE(trace_.contains("TIMER: 98"));
  // And the one after the transfer has its rows.
  Sleep(2000);
  EXPECT_EQ((Numbers{6}), numbers_of(sample<kDCP>()));
}

TEST_F(CacheCycle, ATransferWaitsForASampleAsLongAsItTakes) {
  collect_counting();
  collect_now<kDCP>();
  probes::while_held<kDCP> = [] { Sleep(20000); };
  start([] { sample<kDCP>(); });
  Sleep(1000);
  collect_now<kDCP>();
  EXPECT_EQ(20000, now());
  EXPECT_EQ(2, collections_);
  probes::while_held<kDCP> = nullptr;
  EXPECT_EQ((Numbers{2}), numbers_of(sample<kDCP>()));
}

TEST_F(CacheCycle, ASampleWaitsFiveSecondsForAnotherSample) {
  collect_counting();
  collect_now<kDCP>();
  start_slow_sample<kDCP>(20000);
  Sleep(1000);
  EXPECT_TRUE(sample<kDCP>().empty());
  EXPECT_EQ(6000, now());
  EXPECT_EQ(1u, trace_.count(kTimeout));
}

// ---- the cycle ----------------------------------------------------------------------------------

TEST_F(CacheCycle, TheFirstCollectionRunsAtOnceAndThePauseFollowsEach) {
  collect_counting(7000);
  start_cache_thread<kDCP>();
  Sleep(150000);
  EXPECT_EQ((std::vector<std::int64_t>{0, 67000, 134000}), began_);
}

TEST_F(CacheCycle, OneTablesCollectionDelaysTheOthers) {
  collect_counting(7000);
  std::vector<std::int64_t> other;
  probes::collect<kTTP> = [&](const trace::Scope&) {
    other.push_back(now());
    Sleep(4000);
  };
  start_cache_thread<kDCP>();
  Sleep(1);
  start_cache_thread<kTTP>();
  Sleep(80000);
  // The other waits for the first's lock, and its own pause comes after.
  EXPECT_EQ((std::vector<std::int64_t>{7000, 74000}), other);
  EXPECT_EQ((std::vector<std::int64_t>{0, 67000}), began_);
}

TEST_F(CacheCycle, TheLockIsFreeDuringThePause) {
  collect_counting(1000);
  start_cache_thread<kDCP>();
  Sleep(2000);
  SYS1_GetLock(&g_collectLock);
  EXPECT_EQ(2000, now());
  SYS1_ReleaseLock(&g_collectLock);
}

TEST_F(CacheCycle, TwoSamplesWithinOneIntervalAreIdentical) {
  probes::collect<kDCP> = [](const trace::Scope& trace) {
    static collectors::CollectorState state;
    auto row = probes::row<kDCP>(1);
    collectors::begin_row(row, state);
    collectors::transfer<kDCP>(trace, row);
  };
  start_cache_thread<kDCP>();
  Sleep(10000);
  const auto first = sample<kDCP>();
  Sleep(30000);
  const auto second = sample<kDCP>();
  ASSERT_EQ(1u, first.size());
  EXPECT_EQ(first, second);
  Sleep(30000);
  const auto third = sample<kDCP>();
  ASSERT_EQ(1u, third.size());
  EXPECT_EQ(testing_support::number(2), third[0].substr(64, 4));
  EXPECT_NE(first[0].substr(72, 16), third[0].substr(72, 16));
}

TEST_F(CacheCycle, ACollectionThatFailsLaterLeavesTheRowsAsTheyWere) {
  collect_counting();
  collect_now<kDCP>();
  probes::collect<kDCP> = [](const trace::Scope&) {};
  collect_now<kDCP>();
  EXPECT_EQ((Numbers{1}), numbers_of(sample<kDCP>()));
}

TEST_F(CacheCycle, AHostNameThatFailsForEverLeavesTheOldRows) {
  probes::collect<kDCP> = [this](const trace::Scope& trace) {
    static collectors::CollectorState state;
    collectors::ServerNames names;
    auto row = probes::row<kDCP>(++collections_);
    if (!collectors::begin_collection(trace, row, state, names)) return;
    collectors::transfer<kDCP>(trace, row);
  };
  start_cache_thread<kDCP>();
  Sleep(1000);
  const auto right = sample<kDCP>();
  ASSERT_EQ(1u, right.size());
  platform::faults::fail("getaddrinfo", 0);
  Sleep(10 * kInterval_ms);
  EXPECT_EQ(11, collections_);
  EXPECT_EQ(10u, trace_.count("getaddrinfo failed: error#:11001"));
  EXPECT_EQ(right, sample<kDCP>());
  platform::faults::clear();
  Sleep(kInterval_ms);
  EXPECT_EQ((Numbers{12}), numbers_of(sample<kDCP>()));
}

TEST_F(CacheCycle, WithoutCachingEachSampleCollectsByItselfAndTheFirstHasRows) {
  g_cacheInterval = 0;
  collect_counting(2000);
  EXPECT_EQ((Numbers{1}), numbers_of(sample<kDCP>()));
  EXPECT_EQ((Numbers{2}), numbers_of(sample<kDCP>()));
  EXPECT_EQ(4000, now());
}

TEST_F(CacheCycle, WithoutCachingTheCollectionTakesNoLock) {
  g_cacheInterval = -5;
  collect_counting();
  SYS1_GetLock(&g_collectLock);
  EXPECT_EQ((Numbers{1}), numbers_of(sample<kDCP>()));
  SYS1_ReleaseLock(&g_collectLock);
}

TEST_F(CacheCycle, RowsOfAListAreDeliveredInItsOrder) {
  probes::collect<kRPL> = [](const trace::Scope& trace) {
    collectors::Rows<kRPL> rows = {probes::row<kRPL>(3), probes::row<kRPL>(1),
                                   probes::row<kRPL>(2)};
    collectors::transfer<kRPL>(trace, rows);
    EXPECT_TRUE(rows.empty());
  };
  collect_now<kRPL>();
  EXPECT_EQ((Numbers{3, 1, 2}), numbers_of(sample<kRPL>()));
  EXPECT_EQ((Numbers{3, 1, 2}), numbers_of(sample<kRPL>()));
}

TEST_F(CacheCycle, AListWithoutRowsReplacesTheOldOneAndSamplesAsNoRows) {
  std::size_t rows = 3;
  probes::collect<kRPL> = [&](const trace::Scope& trace) {
    probes::transfer_number<kRPL>(trace, 1, rows);
  };
  collect_now<kRPL>();
  EXPECT_EQ(3u, sample<kRPL>().size());
  rows = 0;
  collect_now<kRPL>();
  EXPECT_EQ(WAIT_OBJECT_0, WaitForSingleObject(probes::g_RPLEvent.handle(), 0));
  EXPECT_TRUE(sample<kRPL>().empty());
  EXPECT_EQ(0u, trace_.count(kTimeout));
  EXPECT_EQ(2u, trace_.count("AddData Global RPL buffer"));
}

TEST_F(CacheCycle, AThreadEndsAfterThePauseInWhichTheAgentEnded) {
  collect_counting();
  const HANDLE thread = start_cache_thread<kDCP>();
  Sleep(10000);
  close_now(hTerminateEvent.exchange(nullptr));
  EXPECT_EQ(WAIT_OBJECT_0, WaitForSingleObject(thread, INFINITE));
  EXPECT_EQ(kInterval_ms, now());
  EXPECT_EQ(1, collections_);
}

TEST_F(CacheCycle, ASignalledShutdownAloneEndsNoThread) {
  collect_counting();
  start_cache_thread<kDCP>();
  SetEvent(hTerminateEvent);
  Sleep(2 * kInterval_ms + 1);
  EXPECT_EQ(3, collections_);
}

// ---- what fails ---------------------------------------------------------------------------------

TEST_F(CacheCycle, AnEventThatCannotBeMadeIsToldAndTriedAgain) {
  collect_counting();
  platform::faults::fail("CreateEventA", 1);
  collect_now<kDCP>();
  EXPECT_EQ(1u, trace_.count("Main: Create DCP Event failed "));
  // The transfer has happened all the same, and there is nothing to signal.
  EXPECT_EQ(1u, trace_.count("DCP Transfer to global buffer complete"));
  EXPECT_EQ(1u, trace_.count("Release cache lock failed: "));
  EXPECT_TRUE(sample<kDCP>().empty());
  collect_now<kDCP>();
  EXPECT_EQ(1u, trace_.count("Main: Create DCP Event failed "));
  EXPECT_EQ((Numbers{2}), numbers_of(sample<kDCP>()));
}

TEST_F(CacheCycle, AFailedReleaseByTheCollectorLosesNothing) {
  collect_counting();
  platform::faults::fail("SetEvent", 1);
  collect_now<kDCP>();
  EXPECT_EQ(1u, trace_.count("Release cache lock failed: "));
  platform::faults::clear();
  EXPECT_EQ((Numbers{1}), numbers_of(sample<kDCP>()));
  collect_now<kDCP>();
  EXPECT_EQ((Numbers{2}), numbers_of(sample<kDCP>()));
  EXPECT_EQ(0, now());
}

TEST_F(CacheCycle, AFailedReleaseByTheCollectorLetsTheNextCollectionTransfer) {
  collect_counting();
  platform::faults::fail("SetEvent", 1);
  collect_now<kDCP>();
  platform::faults::clear();
  collect_now<kDCP>();
  EXPECT_EQ(0, now());
  EXPECT_EQ((Numbers{2}), numbers_of(sample<kDCP>()));
}

TEST_F(CacheCycle, AFailedReleaseByASampleLosesNothing) {
  collect_counting();
  collect_now<kDCP>();
  platform::faults::fail("SetEvent", 1);
  EXPECT_EQ((Numbers{1}), numbers_of(sample<kDCP>()));
  EXPECT_EQ(1u, trace_.count("Release cache lock failed: "));
  platform::faults::clear();
  collect_now<kDCP>();
  EXPECT_EQ(0, now());
  EXPECT_EQ((Numbers{2}), numbers_of(sample<kDCP>()));
}

TEST_F(CacheCycle, AReleaseThatFailsWhileTheCollectorWaitsLetsItThroughAtTheNextSample) {
  collect_counting();
  collect_now<kDCP>();
  probes::while_held<kDCP> = [] {
    Sleep(2000);
    platform::faults::fail("SetEvent", 1);
  };
  start([] { sample<kDCP>(); });
  Sleep(1000);
  std::optional<std::int64_t> transferred;
  start([&] {
    collect_now<kDCP>();
    transferred = now();
  });
  Sleep(9000);
  EXPECT_FALSE(transferred);
  EXPECT_EQ(1u, trace_.count("Release cache lock failed: "));
  platform::faults::clear();
  probes::while_held<kDCP> = nullptr;
  EXPECT_EQ((Numbers{1}), numbers_of(sample<kDCP>()));
  Sleep(1000);
  EXPECT_EQ(10000, transferred);
  EXPECT_EQ((Numbers{2}), numbers_of(sample<kDCP>()));
}

TEST_F(CacheCycle, AFailedResetIsToldByBothSidesAndTheWorkGoesOn) {
  collect_counting();
  collect_now<kDCP>();
  platform::faults::fail("ResetEvent", 0);
  collect_now<kDCP>();
  EXPECT_EQ(1u, trace_.count("Lock cache lock failed: "));
  EXPECT_EQ((Numbers{2}), numbers_of(sample<kDCP>()));
  EXPECT_EQ(2u, trace_.count("Lock cache lock failed: "));
}

TEST_F(CacheCycle, AFailedWaitCountsAsHavingTheCache) {
  collect_counting();
  collect_now<kDCP>();
  platform::faults::fail("WaitForSingleObject", 0);
  EXPECT_EQ((Numbers{1}), numbers_of(sample<kDCP>()));
  EXPECT_EQ(0u, trace_.count(kTimeout));
  collect_now<kDCP>();
  platform::faults::clear();
  EXPECT_EQ((Numbers{2}), numbers_of(sample<kDCP>()));
}

TEST_F(CacheCycle, AFailedCollectionStopsNoThread) {
  probes::collect<kDCP> = [this](const trace::Scope& trace) {
    if (++collections_ % 2 == 1) return;
    probes::transfer_number<kDCP>(trace, collections_);
  };
  start_cache_thread<kDCP>();
  Sleep(3 * kInterval_ms + 1);
  EXPECT_EQ(4, collections_);
  EXPECT_EQ((Numbers{4}), numbers_of(sample<kDCP>()));
}

TEST_F(CacheCycle, ATableWhoseThreadNeverStartedGivesNoRowsAtOnce) {
  collect_counting();
  EXPECT_TRUE(sample<kDCP>().empty());
  Sleep(10 * kInterval_ms);
  EXPECT_TRUE(sample<kDCP>().empty());
  EXPECT_EQ(10 * kInterval_ms, now());
  EXPECT_EQ(0u, trace_.count(kTimeout));
}

TEST_F(CacheCycle, ASampleThatIsLeftByAnExceptionGivesTheCacheUp) {
  collect_counting();
  collect_now<kDCP>();
  probes::while_held<kDCP> = [] { throw std::runtime_error("a row too many"); };
  EXPECT_THROW(sample<kDCP>(), std::runtime_error);
  probes::while_held<kDCP> = nullptr;
  collect_now<kDCP>();
  EXPECT_EQ((Numbers{2}), numbers_of(sample<kDCP>()));
}

// ---- both sides at once -------------------------------------------------------------------------

class CacheRace : public CacheCycle {
 protected:
  static constexpr int kRounds = 300;

  // Whether the rows are those of one collection: number n has n % 50 + 1 rows, all n.
  static bool whole(const Numbers& numbers) {
    if (numbers.empty()) return false;
    const std::size_t rows = static_cast<std::size_t>(numbers[0] % 50) + 1;
    return numbers == Numbers(rows, numbers[0]);
  }
  void sample_often() {
    xaf::DirectSampler sampler(kRPL.name);
    for (int round = 0; round < kRounds; ++round) {
      if (!whole(numbers_of(sampler.sample()))) ++torn_;
    }
  }
  // As a second sample of the table would be.
  void hold_often() {
    DCW_TRACE("holds");
    using Table = collectors::Cached<kRPL>;
    for (int round = 0; round < kRounds; ++round) {
      collectors::CacheHold hold(trace, Table::event, Table::shape.texts);
      if (!hold.take_for_sample(collectors::kSampleWait_ms)) ++torn_;
      Numbers numbers;
      for (const auto& row : Table::buffer) numbers.push_back(row.integer<"PRBNUM">());
      if (!whole(numbers)) ++torn_;
      hold.release(Table::shape.texts.sample_release_failed);
    }
  }

  std::atomic<int> torn_{0};
};

TEST_F(CacheRace, NoSampleSeesRowsOfTwoCollections) {
  std::atomic<std::int32_t> next{0};
  probes::collect<kRPL> = [&](const trace::Scope& trace) {
    const std::int32_t number = ++next;
    probes::transfer_number<kRPL>(trace, number, static_cast<std::size_t>(number % 50) + 1);
  };
  trc::set_flags(0);
  collect_now<kRPL>();
  const HANDLE threads[] = {start([&] { sample_often(); }), start([&] { hold_often(); }),
                            start([&] { hold_often(); }), start([&] {
                              for (int round = 0; round < kRounds; ++round) collect_now<kRPL>();
                            })};
  for (const HANDLE thread : threads) WaitForSingleObject(thread, INFINITE);
  EXPECT_EQ(0, torn_);
  EXPECT_EQ(kRounds + 1, next);
  EXPECT_EQ(WAIT_OBJECT_0, WaitForSingleObject(probes::g_RPLEvent.handle(), 0));
}

}  // namespace
