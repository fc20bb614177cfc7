// The locator, trust and replication calls: what they hand out, and that it comes back.

#include "include/platform/directory_services.h"

#include <gtest/gtest.h>

#include <map>
#include <string>

#include "platform/control.h"
#include "tests/support/two_sites.h"

namespace {

using testing_support::SmallRecording;

constexpr const char* kNeighbours = R"({"servers": {"DC2": {"neighbours": [
  {"naming_context": "DC=corp,DC=example", "source_dsa": "CN=NTDS Settings,CN=DC1",
   "last_success": "2026-11-01T08:55:00Z", "last_result": 1722, "failures": 2},
  {"naming_context": "CN=Konfiguration Gr\u00f6\u00dfe", "source_dsa": "CN=NTDS Settings,CN=DC3",
   "transport": "CN=IP"}]}, "DC1": {"status": 8453}}})";

class DirectoryServiceCalls : public ::testing::Test {
 protected:
  DirectoryServiceCalls()
      : before_(platform::accounting::live()),
        recording_(testing_support::kSmallForest, "",
                   {{"locator.json", testing_support::kTwoSitesLocator},
                    {"replication.json", kNeighbours}}) {}
  ~DirectoryServiceCalls() override {
    platform::faults::clear();
    EXPECT_EQ(before_, platform::accounting::live());
  }
  std::map<std::string, std::int64_t> before_;
  SmallRecording recording_;
};

TEST_F(DirectoryServiceCalls, LocateAControllerWithAllThatIsKnownOfIt) {
  PDOMAIN_CONTROLLER_INFOA info = nullptr;
  ASSERT_EQ(0u,
            DsGetDcNameA("\\\\DC1", nullptr, nullptr, nullptr, DS_GOOD_TIMESERV_PREFERRED, &info));
  EXPECT_STREQ("\\\\DC2.corp.example", info->DomainControllerName);
  EXPECT_STREQ("\\\\10.53.1.12", info->DomainControllerAddress);
  EXPECT_EQ(DS_INET_ADDRESS, info->DomainControllerAddressType);
  EXPECT_EQ(0x01020304u, info->DomainGuid.Data1);
  EXPECT_STREQ("corp.example", info->DomainName);
  EXPECT_STREQ("corp.example", info->DnsForestName);
  EXPECT_EQ(DS_GOOD_TIMESERV_FLAG, info->Flags & DS_GOOD_TIMESERV_FLAG);
  EXPECT_EQ(DS_DNS_CONTROLLER_FLAG, info->Flags & DS_DNS_CONTROLLER_FLAG);
  EXPECT_EQ(0u, info->Flags & DS_PDC_FLAG);
  EXPECT_STREQ("Branch", info->DcSiteName);
  EXPECT_STREQ("Head-Office", info->ClientSiteName);
  EXPECT_EQ(0u, NetApiBufferFree(info));
}

TEST_F(DirectoryServiceCalls, HandOutNothingWhenTheyFail) {
  auto* info = reinterpret_cast<PDOMAIN_CONTROLLER_INFOA>(&recording_);
  EXPECT_EQ(DWORD{ERROR_NO_SUCH_DOMAIN},
            DsGetDcNameA(nullptr, "nowhere.example", nullptr, nullptr, 0, &info));
  EXPECT_EQ(nullptr, info);
  HANDLE binding = &recording_;
  EXPECT_EQ(DWORD{RPC_S_SERVER_UNAVAILABLE}, DsBindA("DC9", nullptr, &binding));
  EXPECT_EQ(nullptr, binding);
  void* neighbours = &recording_;
  EXPECT_EQ(DWORD{ERROR_INVALID_HANDLE},
            DsReplicaGetInfoW(nullptr, DS_REPL_INFO_NEIGHBORS, nullptr, nullptr, &neighbours));
  EXPECT_EQ(nullptr, neighbours);
}

TEST_F(DirectoryServiceCalls, TellTheNeighboursOfTheServerThatWasBound) {
  HANDLE binding = nullptr;
  ASSERT_EQ(0u, DsBindA("\\\\dc2.corp.example", "corp.example", &binding));
  EXPECT_EQ(1, platform::accounting::live()["directory service binding"]);
  void* info = nullptr;
  ASSERT_EQ(0u, DsReplicaGetInfoW(binding, DS_REPL_INFO_NEIGHBORS, nullptr, nullptr, &info));
  EXPECT_EQ(0u, DsUnBindA(&binding));
  EXPECT_EQ(nullptr, binding);
  const auto* neighbours = static_cast<const DS_REPL_NEIGHBORSW*>(info);
  ASSERT_EQ(2u, neighbours->cNumNeighbors);
  const DS_REPL_NEIGHBORW* first = neighbours->rgNeighbor;
  EXPECT_STREQ(L"DC=corp,DC=example", first->pszNamingContext);
  EXPECT_STREQ(L"CN=NTDS Settings,CN=DC1", first->pszSourceDsaDN);
  EXPECT_EQ(nullptr, first->pszAsyncIntersiteTransportDN);
  EXPECT_EQ(1722u, first->dwLastSyncResult);
  EXPECT_EQ(2u, first->cNumConsecutiveSyncFailures);
  EXPECT_EQ(134379969000000000u, std::uint64_t{first->ftimeLastSyncSuccess.dwHighDateTime} << 32 |
                                     first->ftimeLastSyncSuccess.dwLowDateTime);
  EXPECT_STREQ(L"CN=Konfiguration Gr\u00f6\u00dfe", first[1].pszNamingContext);
  EXPECT_STREQ(L"CN=IP", first[1].pszAsyncIntersiteTransportDN);
  DsReplicaFreeInfo(DS_REPL_INFO_NEIGHBORS, info);
}

TEST_F(DirectoryServiceCalls, GiveTheStatusThatAServerAnswersWith) {
  HANDLE binding = nullptr;
  ASSERT_EQ(0u, DsBindA("DC1", nullptr, &binding));
  void* info = nullptr;
  EXPECT_EQ(8453u, DsReplicaGetInfoW(binding, DS_REPL_INFO_NEIGHBORS, nullptr, nullptr, &info));
  EXPECT_EQ(nullptr, info);
  DsUnBindA(&binding);
}

TEST_F(DirectoryServiceCalls, EachFailOnPurposeAndHandOutNothing) {
  for (const char* call :
       {"DsGetDcNameA", "DsGetSiteNameA", "DsBindA", "DsEnumerateDomainTrustsA"}) {
    platform::faults::fail(call, 1, 1234);
  }
  PDOMAIN_CONTROLLER_INFOA info = nullptr;
  LPSTR site = nullptr;
  HANDLE binding = nullptr;
  PDS_DOMAIN_TRUSTSA trusts = nullptr;
  ULONG count = 7;
  EXPECT_EQ(1234u, DsGetDcNameA(nullptr, nullptr, nullptr, nullptr, 0, &info));
  EXPECT_EQ(1234u, DsGetSiteNameA(nullptr, &site));
  EXPECT_EQ(1234u, DsBindA("DC1", nullptr, &binding));
  EXPECT_EQ(1234u, DsEnumerateDomainTrustsA(nullptr, 0xff, &trusts, &count));
  EXPECT_EQ(0u, count);
  EXPECT_EQ(nullptr, info);
  EXPECT_EQ(nullptr, site);
  EXPECT_EQ(nullptr, binding);
  EXPECT_EQ(nullptr, trusts);
}

TEST_F(DirectoryServiceCalls, RefuseToFreeWhatTheyDidNotHandOut) {
  std::uint64_t stranger[8] = {};
  EXPECT_EQ(DWORD{ERROR_INVALID_PARAMETER}, NetApiBufferFree(stranger + 4));
  EXPECT_EQ(0u, NetApiBufferFree(nullptr));
}

TEST_F(DirectoryServiceCalls, OnAMachineOfNoDomainKnowNothing) {
  const SmallRecording alone;
  PDOMAIN_CONTROLLER_INFOA info = nullptr;
  LPSTR site = nullptr;
  HANDLE binding = nullptr;
  PDS_DOMAIN_TRUSTSA trusts = nullptr;
  ULONG count = 7;
  EXPECT_EQ(DWORD{ERROR_NO_SUCH_DOMAIN},
            DsGetDcNameA(nullptr, nullptr, nullptr, nullptr, 0, &info));
  EXPECT_EQ(DWORD{ERROR_NO_SITENAME}, DsGetSiteNameA(nullptr, &site));
  EXPECT_EQ(DWORD{RPC_S_SERVER_UNAVAILABLE}, DsGetSiteNameA("DC1", &site));
  EXPECT_EQ(DWORD{RPC_S_SERVER_UNAVAILABLE}, DsBindA("DC1", nullptr, &binding));
  EXPECT_EQ(DWORD{ERROR_NO_SUCH_DOMAIN}, DsEnumerateDomainTrustsA(nullptr, 0xff, &trusts, &count));
}

}  // namespace
