#include "directory/repl_utils.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/directory/answering.h"

namespace {

using directory_test::forest;
using directory_test::joined;
using directory_test::kConfiguration;
using directory_test::kDomain;
using directory_test::kLocator;
using directory_test::object;
using directory_test::server_dn;
using directory_test::settings_dn;

std::string neighbour(const std::string& context, const std::string& source) {
  return R"({"naming_context": ")" + context + R"(", "source_dsa": ")" + source + R"("})";
}

class Replication : public directory_test::Answering {
 protected:
  void record_neighbours(const std::string& neighbours, const std::string& text = forest()) {
    record({{"locator.json", kLocator},
            {"replication.json", R"({"servers": {"DC1": {"neighbours": [)" + neighbours +
                                     R"(]}, "DC2": {"status": 8453}}})"}},
           text);
  }
  // "status ok count" of the answer.
  std::string ask(const char* server) {
    DS_REPL_NEIGHBORSW* neighbours = nullptr;
    unsigned char ok = 7;
    const DWORD status = ReplUtils::GetReplicationPartnersInfo(server, 0, &neighbours, ok);
    std::string text = std::to_string(status) + " " + std::to_string(ok);
    if (ok != 0) text += " " + std::to_string(neighbours->cNumNeighbors);
    if (neighbours != nullptr) DsReplicaFreeInfo(DS_REPL_INFO_NEIGHBORS, neighbours);
    return text;
  }
};

using PartnersInfo = Replication;

TEST_F(PartnersInfo, IsTheServersOwnAnswer) {
  record_neighbours(neighbour(kDomain, "a") + "," + neighbour(kConfiguration, "b"));
  EXPECT_EQ("0 1 2", ask("DC1.corp.example"));
  EXPECT_TRUE(trace_.contains("DNS Domain Name: <corp.example>"));
}

TEST_F(PartnersInfo, OfAServerThatIsDownIsTriedOnceMoreOverThisMachine) {
  record_neighbours(neighbour(kDomain, "a"));
  EXPECT_EQ("0 1 1", ask("DC3.corp.example"));
  EXPECT_EQ(1u, trace_.count("Error: DsBind failed. Error code: <1722>"));
  EXPECT_FALSE(trace_.contains("2nd Error"));
}

TEST_F(PartnersInfo, IsTriedTwiceAndNoMore) {
  record_neighbours(neighbour(kDomain, "a"));
  platform::faults::reset_counts();
  platform::faults::fail("DsBindA", 0, 1355);
  EXPECT_EQ("1355 0", ask("DC1.corp.example"));
  EXPECT_TRUE(trace_.contains("2nd Error: DsBind failed. Error code: <1355>"));
  for (const auto& [call, times] : platform::faults::reached()) {
    if (call == "DsBindA") {
      EXPECT_EQ(2u, times);
    }
  }
}

TEST_F(PartnersInfo, ThatTheServerRefusesIsToldByItsStatus) {
  record_neighbours("");
  EXPECT_EQ("8453 0", ask("DC2.corp.example"));
  EXPECT_TRUE(trace_.contains("Error: DsReplicaGetInfoW failed. Error Code: <8453>"));
}

TEST_F(PartnersInfo, GoesOnWithoutThisMachinesName) {
  record_neighbours(neighbour(kDomain, "a"));
  platform::faults::fail("GetComputerNameExA", 1, 234);
  EXPECT_EQ("0 1 1", ask("DC1.corp.example"));
  EXPECT_TRUE(trace_.contains("GetComputerNameEx Failed, Error Code: 234"));
}

TEST_F(PartnersInfo, GivesEverythingBackWhicheverCallFails) {
  record_neighbours(neighbour(kDomain, "a"));
  sweep([this] { return ask("DC1.corp.example"); },
        {{"DsBindA", "Error: DsBind failed. Error code: <1722>"},
         {"DsReplicaGetInfoW", "Error: DsReplicaGetInfoW failed. Error Code: <1722>"},
         {"GetComputerNameExA", "GetComputerNameEx Failed, Error Code: "}});
}

class PartnersInDomain : public Replication {
 protected:
  std::string ask_partners() {
    std::vector<std::string> partners;
    ReplUtils::GetReplicationPartnerInDomain("DC1.corp.example", partners);
    return joined(partners);
  }
};

TEST_F(PartnersInDomain, AreThoseThatReplicateTheConfiguration) {
  record_neighbours(neighbour(kDomain, settings_dn("Hub", "DC2")) + "," +
                    neighbour(kConfiguration, settings_dn("Hub", "DC2")) + "," +
                    neighbour("CN=Schema," + kConfiguration, settings_dn("Branch", "DC3")) + "," +
                    neighbour(kConfiguration, settings_dn("Branch", "DC3")));
  EXPECT_EQ("DC2.corp.example;DC3.corp.example;", ask_partners());
  EXPECT_TRUE(trace_.contains(" DCName: DC1.corp.example"));
  EXPECT_TRUE(trace_.contains(" dnsDomainName: corp.example"));
  EXPECT_TRUE(trace_.contains(" partner Index = 4"));
  EXPECT_TRUE(trace_.contains("partner FQDN: DC2.corp.example"));
  EXPECT_TRUE(trace_.contains("partner Added: DC3.corp.example"));
}

TEST_F(PartnersInDomain, LeaveOutOneOfAChildDomainAndOneWithoutADomain) {
  const std::string others =
      object(server_dn("Hub", "KID"), "server", "dNSHostName: KID.child.corp.example\n") +
      object(settings_dn("Hub", "KID"), "nTDSDSA") +
      object(server_dn("Hub", "BARE"), "server", "dNSHostName: BARE\n") +
      object(settings_dn("Hub", "BARE"), "nTDSDSA") +
      object(server_dn("Hub", "LOUD"), "server", "dNSHostName: LOUD.CORP.Example\n") +
      object(settings_dn("Hub", "LOUD"), "nTDSDSA");
  record_neighbours(neighbour(kConfiguration, settings_dn("Hub", "KID")) + "," +
                        neighbour(kConfiguration, settings_dn("Hub", "BARE")) + "," +
                        neighbour(kConfiguration, "CN=nowhere") + "," +
                        neighbour(kConfiguration, settings_dn("Hub", "LOUD")),
                    forest() + others);
  EXPECT_EQ("LOUD.CORP.Example;", ask_partners());
}

TEST_F(PartnersInDomain, AreNoneWhenThePartnersCannotBeHad) {
  record_neighbours(neighbour(kConfiguration, settings_dn("Hub", "DC2")));
  platform::faults::fail("DsReplicaGetInfoW", 1);
  EXPECT_EQ("", ask_partners());
  EXPECT_FALSE(trace_.contains("partner Index"));
}

TEST_F(PartnersInDomain, GiveEverythingBackWhicheverCallFails) {
  record_neighbours(neighbour(kConfiguration, settings_dn("Hub", "DC2")));
  sweep([this] { return ask_partners(); }, {});
}

class ErrorText : public directory_test::Answering {
 protected:
  std::wstring ask(DWORD code) {
    wchar_t text[512] = L"before";
    EXPECT_EQ(0, ReplUtils::GetErrorText(code, text));
    return text;
  }
  // Whether the question loads the library of the network's messages.
  bool loads_library(DWORD code) {
    platform::faults::reset_counts();
    ask(code);
    for (const auto& [call, times] : platform::faults::reached()) {
      if (call == "LoadLibraryExA") return times == 1;
    }
    return false;
  }
};

TEST_F(ErrorText, IsTheSystemsWithItsLineEnd) {
  EXPECT_EQ(L"Access is denied.\r\n", ask(5));
  EXPECT_EQ(L"The RPC server is unavailable.\r\n", ask(1722));
}

TEST_F(ErrorText, LooksInTheNetworksLibraryFrom2100To2999) {
  EXPECT_TRUE(loads_library(2100));
  EXPECT_TRUE(loads_library(2999));
  EXPECT_FALSE(loads_library(2099));
  EXPECT_FALSE(loads_library(3000));
  EXPECT_EQ(L"The Server service is not started.\r\n", ask(2114));
}

TEST_F(ErrorText, IsEmptyWhereThereIsNone) {
  EXPECT_EQ(L"", ask(2114000));
  EXPECT_TRUE(trace_.contains("No message found"));
}

TEST_F(ErrorText, DoesWithoutALibraryThatCannotBeLoaded) {
  platform::faults::fail("LoadLibraryExA", 1);
  EXPECT_EQ(L"", ask(2114));
}

TEST_F(ErrorText, IsCutAtItsBuffer) {
  wchar_t text[7];
  EXPECT_EQ(0, ReplUtils::GetErrorText(5, text));
  EXPECT_EQ(std::wstring(L"Access"), text);
  EXPECT_TRUE(trace_.contains("Text of 19 characters cut to 6"));
}

TEST_F(ErrorText, GivesEverythingBackWhicheverCallFails) {
  // What cannot be given back is lost by definition, so these two are not made to fail.
  platform::faults::reset_counts();
  const std::wstring right = ask(2114);
  const auto before = platform::accounting::live();
  for (const char* call : {"LoadLibraryExA", "FormatMessageW", "LocalAlloc"}) {
    platform::faults::fail(call, 1);
    EXPECT_EQ(L"", ask(2114));
    EXPECT_TRUE(platform::faults::struck());
    platform::faults::clear();
    EXPECT_EQ(before, platform::accounting::live());
    EXPECT_EQ(right, ask(2114));
  }
}

}  // namespace
