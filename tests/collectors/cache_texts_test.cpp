// What each cached table says at each step of its cycle: the lines that people search traces for.

#include <gtest/gtest.h>

#include "tests/collectors/cached_probes.h"

namespace {

using Texts = std::vector<std::string>;

class CacheTexts : public probes::CachedProbes {
 protected:
  // The lines of one collection of that many rows, and of the samples after it.
  template <const auto& kTable>
  Texts collected(std::size_t rows = 1) {
    probes::collect<kTable> = [rows](const trace::Scope& trace) {
      probes::transfer_number<kTable>(trace, 1, rows);
    };
    const trc::Capture lines;
    collect_now<kTable>();
    return lines.texts();
  }
  template <const auto& kTable>
  static Texts sampled() {
    const trc::Capture lines;
    sample<kTable>();
    Texts texts;
    for (const trc::Line& line : lines.lines()) {
      if (line.kind == trc::Kind::kText && line.function == "TakeSample")
        texts.push_back(line.text);
    }
    return texts;
  }
  // Collections and samples in which every call of that name fails.
  template <const auto& kTable>
  Texts collected_without(const char* call) {
    platform::faults::fail(call, 0);
    const Texts texts = collected<kTable>();
    platform::faults::clear();
    return texts;
  }
  template <const auto& kTable>
  static Texts sampled_without(const char* call) {
    platform::faults::fail(call, 0);
    const Texts texts = sampled<kTable>();
    platform::faults::clear();
    return texts;
  }
};

TEST_F(CacheTexts, OfDomainControllerAvailability) {
  using probes::kDCA;
  const Texts transfer = {"DCA Data collection complete.Transfer to global buffer",
                          "DCA Transfer to global buffer complete"};
  EXPECT_EQ((Texts{"Main: Create DCA Event failed ", transfer[0], transfer[1],
                   "Release cache lock failed: "}),
            collected_without<kDCA>("CreateEventA"));
  EXPECT_EQ((Texts{"CA instance number: <7>"}), sampled<kDCA>());
  EXPECT_EQ(transfer, collected<kDCA>());
  const Texts sample = {"CA instance number: <7>", "instance (7) has locked the cache.",
                        "AddData Global DCA buffer", "instance (7) has unlocked the cache."};
  EXPECT_EQ(sample, sampled<kDCA>());
  // Neither side looks at what its reset came to.
  EXPECT_EQ(transfer, collected_without<kDCA>("ResetEvent"));
  EXPECT_EQ(sample, sampled_without<kDCA>("ResetEvent"));
  EXPECT_EQ((Texts{transfer[0], transfer[1], "Release cache lock failed: "}),
            collected_without<kDCA>("SetEvent"));
  EXPECT_EQ((Texts{sample[0], sample[1], sample[2], "Release cache lock failed: ", sample[3]}),
            sampled_without<kDCA>("SetEvent"));
}

TEST_F(CacheTexts, OfDomainControllerAvailabilityThatWaitsInVain) {
  using probes::kDCA;
  collected<kDCA>();
  start_slow_transfer<kDCA>(9000, 1);
  Sleep(1000);
  EXPECT_EQ((Texts{"CA instance number: <7>", "TakeSample Timeout..Global buffer is empty.",
                   "instance (7) has unlocked the cache."}),
            sampled<kDCA>());
}

TEST_F(CacheTexts, OfDnsRecords) {
  using probes::kDNSAd;
  EXPECT_EQ("Main: Create DNSAd Event failed ", collected_without<kDNSAd>("CreateEventA")[0]);
  EXPECT_EQ((Texts{"DNSAd Data collection complete.Transfer to global buffer",
                   "DNSAd Transfer to global buffer complete"}),
            collected<kDNSAd>());
  EXPECT_EQ((Texts{"DA instance number: <7>", "AddData Global DNSAd buffer"}), sampled<kDNSAd>());
}

TEST_F(CacheTexts, OfReplication) {
  using probes::kDRA;
  const Texts transfer = {"DRA Data collection complete. Transfer to global buffer",
                          "DRA Transfer to global buffer complete"};
  EXPECT_EQ((Texts{"Main: Create DRA Event failed ", transfer[0], transfer[1],
                   "Unlock cache lock failed: "}),
            collected_without<kDRA>("CreateEventA"));
  EXPECT_EQ(transfer, collected<kDRA>());
  EXPECT_EQ((Texts{"AddData Global DRA buffer"}), sampled<kDRA>());
  EXPECT_EQ((Texts{"Lock cache lock failed: ", transfer[0], transfer[1]}),
            collected_without<kDRA>("ResetEvent"));
  EXPECT_EQ((Texts{transfer[0], transfer[1], "Unlock cache lock failed: "}),
            collected_without<kDRA>("SetEvent"));
  // The sample says the same of both failures.
  EXPECT_EQ((Texts{"Lock cache lock failed: ", "AddData Global DRA buffer"}),
            sampled_without<kDRA>("ResetEvent"));
  EXPECT_EQ((Texts{"AddData Global DRA buffer", "Lock cache lock failed: "}),
            sampled_without<kDRA>("SetEvent"));
}

TEST_F(CacheTexts, OfDomainControllerPerformance) {
  using probes::kDCP;
  const Texts transfer = {"DCP Data collection complete.Transfer to global buffer",
                          "DCP Transfer to global buffer complete"};
  EXPECT_EQ("Main: Create DCP Event failed ", collected_without<kDCP>("CreateEventA")[0]);
  EXPECT_EQ(transfer, collected<kDCP>());
  EXPECT_EQ((Texts{"AddData Global DCP buffer"}), sampled<kDCP>());
  EXPECT_EQ((Texts{"Lock cache lock failed: ", transfer[0], transfer[1]}),
            collected_without<kDCP>("ResetEvent"));
  EXPECT_EQ((Texts{"AddData Global DCP buffer", "Release cache lock failed: "}),
            sampled_without<kDCP>("SetEvent"));
}

TEST_F(CacheTexts, OfReplicationLatency) {
  using probes::kRLT;
  EXPECT_EQ("Main: Create RLT Event failed ", collected_without<kRLT>("CreateEventA")[0]);
  EXPECT_EQ((Texts{"RLT Transfer to global buffer complete"}), collected<kRLT>());
  EXPECT_EQ((Texts{"LA instance number: <7>", "AddData Global RLT buffer"}), sampled<kRLT>());
}

TEST_F(CacheTexts, OfReplicationPartner) {
  using probes::kRPL;
  EXPECT_EQ("Main: Create RPL Event failed ", collected_without<kRPL>("CreateEventA")[0]);
  EXPECT_EQ((Texts{"RPL Transfer to global buffer complete"}), collected<kRPL>());
  EXPECT_EQ((Texts{"AddData Global RPL buffer"}), sampled<kRPL>());
}

TEST_F(CacheTexts, OfTrusts) {
  using probes::kTRS;
  EXPECT_EQ("Main: Create TRS Event failed ", collected_without<kTRS>("CreateEventA")[0]);
  EXPECT_EQ((Texts{"TRS Data writing to global buffer ", "TRS Transfer to global buffer complete"}),
            collected<kTRS>());
  EXPECT_EQ((Texts{"TR instance number: <7>", "AddData Global TRS buffer"}), sampled<kTRS>());
}

TEST_F(CacheTexts, OfTrustTopology) {
  using probes::kTTP;
  EXPECT_EQ("Main: Create TTP Event failed ", collected_without<kTTP>("CreateEventA")[0]);
  EXPECT_EQ((Texts{"TTP Data writing to global buffer ", "TTP Transfer to global buffer complete"}),
            collected<kTTP>());
  EXPECT_EQ((Texts{"AddData Global TTL buffer"}), sampled<kTTP>());
}

TEST_F(CacheTexts, OfTheSysvolTest) {
  using probes::ksysvol;
  g_cacheInterval = 0;  // it does not count for this table
  EXPECT_EQ((Texts{"Event is not initilized"}), sampled<ksysvol>());
  EXPECT_EQ((Texts{"Creaeting Event", "Sysvol Replication partner Count: 1",
                   "RPL Transfer to global buffer complete", "Release cache lock failed: 6"}),
            collected_without<ksysvol>("CreateEventA"));
  EXPECT_EQ(
      (Texts{"Creaeting Event", "Error No Data in global vector1",
             "Sysvol Replication partner Count: 0", "RPL Transfer to global buffer complete"}),
      collected<ksysvol>(0));
  EXPECT_EQ((Texts{"AddData Global RPL buffer", "Sysvol Replication partner Count: 0"}),
            sampled<ksysvol>());
  EXPECT_EQ((Texts{"Lock cache lock failed: 6", "Sysvol Replication partner Count: 2",
                   "RPL Transfer to global buffer complete"}),
            [&] {
              platform::faults::fail("ResetEvent", 0);
              const Texts texts = collected<ksysvol>(2);
              platform::faults::clear();
              return texts;
            }());
  EXPECT_EQ((Texts{"AddData Global RPL buffer", "Sysvol Replication partner Count: 2",
                   "Release cache lock failed: 6"}),
            sampled_without<ksysvol>("SetEvent"));
}

// The real tables' labels and the names of their events.
TEST_F(CacheTexts, TheTimersLabelsAreTheTables) {
  struct Expected {
    tables::Timing timing;
    int index;
    const char* word;
  };
  for (const Expected& one : {
           Expected{tables::DCWNTDSDCA.timing, 2, "DomainControllerAvailability"},
           Expected{tables::DCWNTDSDCP.timing, 4, "DomainControllerPerformance"},
           Expected{tables::DCWNTDSDAI.timing, 5, "DNS ADIntegrated"},
           Expected{tables::DCWNTDSRLT.timing, 15, "ReplicationLatency"},
           Expected{tables::DCWNTDSRPL.timing, 21, "ReplicationPartner"},
           Expected{tables::DCWSYSRPL.timing, 21, "ReplicationPartner"},
           Expected{tables::DCWNTDSDRA.timing, 22, "Replication"},
           Expected{tables::DCWNTDSTTP.timing, 21, "TrustTopology"},
           Expected{tables::DCWNTDSTRS.timing, 25, "Trusts"},
       }) {
    EXPECT_EQ(one.index, one.timing.index);
    EXPECT_STREQ(one.word, one.timing.word);
  }
}

TEST_F(CacheTexts, TheEventsHaveTheirNames) {
  Texts names;
#define DCW_NAME(definition, word, kind, suffix) \
  names.emplace_back(collectors::Cached<tables::definition>::shape.event_name);
  DCW_FOR_EACH_CACHE(DCW_NAME)
#undef DCW_NAME
  EXPECT_EQ((Texts{"DCA", "DNS", "DRA", "DCP", "RLT", "RPL", "TRS", "TTP", "SYSRPL"}), names);
  // A name leads to the very event.
  collected<probes::kDCP>();
  const UniqueHandle other{CreateEventA(nullptr, TRUE, FALSE, "DCP")};
  EXPECT_EQ(DWORD{ERROR_ALREADY_EXISTS}, GetLastError());
  EXPECT_EQ(WAIT_OBJECT_0, WaitForSingleObject(other.get(), 0));
}

}  // namespace
