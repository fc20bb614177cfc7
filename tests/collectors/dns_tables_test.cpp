// The two tables that hold the directory's servers against the SRV records in DNS.

#include <gtest/gtest.h>

#include "collectors/background.h"
#include "include/platform/threads.h"
#include "include/settings.h"
#include "include/unique_handle.h"
#include "tests/collectors/sampling.h"
#include "tests/directory/forest.h"

namespace {

using testing_support::field;
using testing_support::MoreFiles;
using testing_support::number;
using testing_support::Sampling;

// The global catalog of the forest is DC1, its domain controllers DC1 and DC3, its PDC DC1.
const std::string kZone =
    "$ORIGIN corp.example.\n"
    "_ldap._tcp.gc._msdcs  IN SRV 0 100 3268 dc1\n"
    "_ldap._tcp.dc._msdcs  IN SRV 0 100 389 dc1\n"
    "_ldap._tcp.dc._msdcs  IN SRV 0 100 389 dc3\n"
    "_ldap._tcp.pdc._msdcs IN SRV 0 100 389 dc1\n"
    "dc1 IN A 192.0.2.1\n"
    "dc3 IN A 192.0.2.3\n";

class DnsTables : public Sampling {
 protected:
  explicit DnsTables(const std::string& zone = kZone)
      : Sampling(directory_test::forest(), MoreFiles{{"dns.zone", zone}}) {
    g_cacheInterval = 0;  // each sample collects by itself
  }
  static std::vector<std::string> summaries() { return xaf::DirectSampler("DCWNTDSDAI").sample(); }
  static std::vector<std::string> differences() {
    return xaf::DirectSampler("DCWNTDSDAD").sample();
  }
  static std::string name(const std::string& text) {
    return text.empty() ? std::string(64, '\0') : field(text, 64, ' ');
  }
  struct Summary {
    std::int32_t counts[7] = {};
    std::string names[8];
  };
  static std::string row(std::int32_t sample, const Summary& summary) {
    std::string text =
        origin_node() + number(sample) + number(1) + time_stamp() + std::string(128, '\0');
    for (const std::int32_t count : summary.counts) text += number(count);
    text += name("corp.example") + name("DC1.corp.example") + name("corp.example");
    const auto& names = summary.names;
    return text + name(names[0]) + name(names[1]) + name(names[2]) + name(names[3]) +
           name(names[4]) + name(names[5]) + name(names[6]);
  }
  static std::string difference(const std::string& server, std::int32_t type, std::int32_t kind) {
    return origin_node() + time_stamp() + field(server, 256, ' ') + number(type) + number(kind);
  }
};

TEST_F(DnsTables, ThatAgreeGiveARowOfZerosAndNoDifferences) {
  const auto rows = summaries();
  ASSERT_EQ(1u, rows.size());
  EXPECT_EQ(row(1, {}), rows[0]);
  EXPECT_EQ(884u, rows[0].size());
  EXPECT_TRUE(differences().empty());
  EXPECT_EQ(1u, trace_.count("DNSAd Transfer to global buffer complete"));
  EXPECT_EQ(1u, trace_.count("DNSDAd Details Transfer to global buffer complete"));
}

TEST_F(DnsTables, TraceTheirSteps) {
  summaries();
  for (const char* text :
       {"LDAP Forest Name: <DC=corp,DC=example>", "DNS forestName: <corp.example>",
        "GC Index Count: <1>", "DC Index Count: <2>", "PDC Host : <DC1.corp.example>",
        "DnsQuery status : 0 for record : 2"}) {
    EXPECT_EQ(1u, trace_.count(text)) << text;
  }
  EXPECT_TRUE(trace_.contains("sitename: "));
  EXPECT_TRUE(trace_.contains("TIMER: 5 : DNS ADIntegrated : TakeSample"));
}

TEST_F(DnsTables, AskForTheFirstNameOfEachKindAlone) {
  summaries();
  EXPECT_EQ(0u, trace_.count("DnsQuery status : 9003 for record : 0"));
}

class WithAnExtraCatalog : public DnsTables {
 protected:
  WithAnExtraCatalog() : DnsTables(kZone + "_ldap._tcp.gc._msdcs IN SRV 0 100 3268 stray\n") {}
};

TEST_F(WithAnExtraCatalog, DnsTablesCountItAsBogusAndNotAsMissing) {
  Summary expected;
  expected.counts[1] = 1;
  expected.names[1] = "stray.corp.example";
  EXPECT_EQ(row(1, expected), summaries().at(0));
  const auto rows = differences();
  ASSERT_EQ(1u, rows.size());
  EXPECT_EQ(difference("stray.corp.example", 0, 1), rows[0]);
  EXPECT_EQ(344u, rows[0].size());
}

class WithoutAController : public DnsTables {
 protected:
  WithoutAController()
      : DnsTables(
            testing_support::replaced(kZone, "_ldap._tcp.dc._msdcs  IN SRV 0 100 389 dc3\n", "")) {}
};

TEST_F(WithoutAController, DnsTablesCountItAsMissingAndInTheSum) {
  Summary expected;
  expected.counts[2] = 1;
  expected.counts[3] = 1;
  expected.names[2] = "DC3.corp.example";
  expected.names[3] = "DC3.corp.example";
  EXPECT_EQ(row(1, expected), summaries().at(0));
  EXPECT_EQ(difference("DC3.corp.example", 1, 0), differences().at(0));
}

class WithTheOldNames : public DnsTables {
 protected:
  WithTheOldNames()
      : DnsTables(
            "$ORIGIN corp.example.\n"
            "_ldap._tcp.gc  IN SRV 0 100 3268 dc1\n"
            "_ldap._tcp.dc  IN SRV 0 100 389 dc1\n"
            "_ldap._tcp.dc  IN SRV 0 100 389 dc3\n"
            "_ldap._tcp.pdc._msdcs IN TXT none\n"
            "_ldap._tcp.pdc IN SRV 0 100 389 dc1\n") {}
};

TEST_F(WithTheOldNames, DnsTablesFallBackOnANameErrorAndOnNothingElse) {
  // The first name of the PDC exists without records: its second name is not asked for.
  Summary expected;
  expected.counts[2] = 1;
  expected.counts[5] = 1;
  expected.names[2] = "dc1.corp.example";
  expected.names[5] = "dc1.corp.example";
  EXPECT_EQ(row(1, expected), summaries().at(0));
}

TEST_F(DnsTables, WithoutTheHostsFullNameGiveNoRowsAndTheOldSummaryStays) {
  xaf::DirectSampler table("DCWNTDSDAI");
  const auto first = table.sample();
  platform::faults::fail("getaddrinfo", 1);
  EXPECT_EQ(first, table.sample());
  platform::faults::clear();
  platform::faults::fail("getaddrinfo", 1);
  EXPECT_TRUE(differences().empty());
  EXPECT_EQ(2u, trace_.count("getaddrinfo failed: error#:10050") +
                    trace_.count("getaddrinfo failed: error#:11001") +
                    trace_.count("getaddrinfo failed: error#:0"));
}

TEST_F(DnsTables, WithoutThePdcsFullNameGiveNoRowsAndTheOldSummaryStays) {
  xaf::DirectSampler table("DCWNTDSDAI");
  const auto first = table.sample();
  platform::faults::fail("getaddrinfo", 2);
  EXPECT_EQ(first, table.sample());
  EXPECT_TRUE(platform::faults::struck());
  platform::faults::clear();
  platform::faults::fail("DnsQuery_A", 0, 9002);  // so that there would be rows
  platform::faults::fail("getaddrinfo", 2);
  EXPECT_TRUE(differences().empty());
}

// The domain's name answers no directory question here: both lists stay empty.
TEST_F(DnsTables, WithoutTheDirectorysListsSkipTheComparisonWhateverDnsHas) {
  platform::faults::fail("ADsBuildEnumerator", 0);
  EXPECT_EQ(row(1, {}), summaries().at(0));
  EXPECT_EQ(1u, trace_.count("DNSUtils::GetGCList Fails"));
  EXPECT_EQ(1u, trace_.count("DNSUtils::GetDomainControllersList Fails"));
  EXPECT_EQ(0u, trace_.count("DnsQuery status : 0 for record : 0"));
}

class WithoutNameServer : public Sampling {
 protected:
  WithoutNameServer() : Sampling(directory_test::forest()) { g_cacheInterval = 0; }
};

TEST_F(WithoutNameServer, DnsTablesShowEveryServerAsMissing) {
  const auto rows = xaf::DirectSampler("DCWNTDSDAD").sample();
  EXPECT_EQ(4u, rows.size());  // a global catalog, two controllers, the PDC
}

TEST_F(DnsTables, SummaryComesFromItsThreadWhereCachingIsOn) {
  g_cacheInterval = 60000;
  hTerminateEvent = CreateEventA(nullptr, TRUE, FALSE, nullptr);
  EXPECT_TRUE(summaries().empty());
  const UniqueHandle thread{
      _beginthreadex(nullptr, 0, collectandCacheDNSAdData, nullptr, 0, nullptr)};
  Sleep(1);
  platform::faults::reset_counts();
  EXPECT_EQ(row(1, {}), summaries().at(0));
  EXPECT_EQ(row(1, {}), summaries().at(0));
  for (const auto& [call, times] : platform::faults::reached()) EXPECT_NE("DnsQuery_A", call);
  close_now(hTerminateEvent.exchange(nullptr));
  WaitForSingleObject(thread.get(), INFINITE);
  g_cacheInterval = 0;
}

TEST_F(DnsTables, SummarySurvivesEachPlatformCallFailingOnce) {
  sweep("DCWNTDSDAI",
        {{"getaddrinfo", "getaddrinfo failed: error#:"},
         {"DnsQuery_A", "DnsQuery status : 9002 for record : 0"},
         {"ADsBuildEnumerator", "DNSUtils::GetGCList Fails"}},
        numbered_samples());
}

TEST_F(WithAnExtraCatalog, DifferencesSurviveEachPlatformCallFailingOnce) {
  sweep("DCWNTDSDAD", {{"getaddrinfo", "getaddrinfo failed: error#:"},
                       {"DnsQuery_A", "DnsQuery status : 9002 for record : 0"}});
}

}  // namespace
