#include "services/service.h"

#include <gmock/gmock.h>

#include <cstring>
#include <string>

#include "services_machine.h"

#if defined(__SANITIZE_ADDRESS__)
#include <sanitizer/asan_interface.h>
#endif

namespace {

using testing::ElementsAre;
using testing_support::kDnsServer;
using testing_support::kTimeServer;
using testing_support::service;
using testing_support::ServicesTest;

constexpr DWORD kNone = static_cast<DWORD>(-1);

std::vector<std::wstring> names(const CService& services) {
  std::vector<std::wstring> result;
  for (std::int32_t i = 0; i < services.GetCount(); ++i) result.emplace_back(services.GetName(i));
  return result;
}
void expect_dummy_status(const ServiceRecord& record) {
  ASSERT_NE(record.status, nullptr);
  DWORD words[7];
  std::memcpy(words, record.status.get(), sizeof words);
  for (const DWORD word : words) EXPECT_EQ(word, kNone);
}
void expect_dummy_config(const ServiceRecord& record) {
  ASSERT_NE(record.config, nullptr);
  const QUERY_SERVICE_CONFIGW& config = record.config[0];
  for (const DWORD number :
       {config.dwServiceType, config.dwStartType, config.dwErrorControl, config.dwTagId}) {
    EXPECT_EQ(number, kNone);
  }
  for (const wchar_t* text :
       {config.lpBinaryPathName, config.lpLoadOrderGroup, config.lpDependencies,
        config.lpServiceStartName, config.lpDisplayName}) {
    EXPECT_EQ(text, config.lpDisplayName);  // one text for all
    EXPECT_STREQ(text, L"");
  }
}

class Services : public ServicesTest {};

TEST(StringArray, AddBeyondTheCapacityStoresNothing) {
  CStrArry array(2);
  EXPECT_STREQ(array.Add(L"one"), L"one");
  EXPECT_STREQ(array.Add(L"two"), L"two");
  EXPECT_EQ(array.Add(L"three"), nullptr);
  EXPECT_EQ(array.GetCount(), 2);
  EXPECT_STREQ(array.GetName(1), L"two");
}

TEST(StringArray, ACapacityUnderOneBecomesOne) {
  CStrArry array(5);
  EXPECT_NE(array.New(0), nullptr);
  EXPECT_EQ(array.GetCapacity(), 1);
  array.New(-7);
  EXPECT_EQ(array.GetCapacity(), 1);
  EXPECT_NE(array.Add(L"one"), nullptr);
  EXPECT_EQ(array.Add(L"two"), nullptr);
}

TEST(StringArray, ClearLeavesTheArray) {
  CStrArry array(2);
  array.Add(L"one");
  array.Clear();
  EXPECT_EQ(array.GetCount(), 0);
  EXPECT_EQ(array.GetCapacity(), 2);
  EXPECT_STREQ(array.Add(L"two"), L"two");
}

TEST(StringArray, HoldsACopy) {
  CStrArry array(1);
  wchar_t text[] = L"text";
  const wchar_t* copy = array.Add(text);
  EXPECT_NE(copy, text);
  EXPECT_EQ(copy, array.GetName(0));
}

TEST_F(Services, AMaskOf48ListsOwnAndSharedProcessesInAllStates) {
  std::vector<std::string> all = {
      service("'Name':'Driver','ServiceType':'Kernel Driver','State':'Running','StartMode':'Boot'"),
      service("'Name':'Shared','ServiceType':32,'State':'Running','StartMode':'Auto'"),
      service("'Name':'User','ServiceType':'Unknown','State':'Stopped','StartMode':'Auto'")};
  for (int state = 1; state <= 7; ++state) {
    all.push_back(
        service("'Name':'Own" + std::to_string(state) +
                "','ServiceType':16,'StartMode':'Manual','State':" + std::to_string(state)));
  }
  install(all);
  EXPECT_THAT(names(CService(SERVICE_WIN32, nullptr)),
              ElementsAre(L"Shared", L"User", L"Own1", L"Own2", L"Own3", L"Own4", L"Own5", L"Own6",
                          L"Own7"));
  EXPECT_THAT(names(CService(SERVICE_DRIVER, nullptr)), ElementsAre(L"Driver"));
}

TEST_F(Services, WithNoServicesAtAllNoNamesAreHeldAndTheUpdateFails) {
  install({});
  CService services(SERVICE_WIN32, nullptr);
  EXPECT_EQ(services.Update(), 0);
  EXPECT_EQ(services.GetCount(), 0);
  EXPECT_EQ(trace_.count("EnumServicesStatus() failed.  Error code: 0 [0x00000000]."), 2u);
  EXPECT_EQ(trace_.count("Exception raised during status enumeration.  Exception text: "
                         "EnumServicesStatus() failed"),
            2u);
  EXPECT_EQ(services.GetData(nullptr), 1);
  EXPECT_EQ(services.GetRowCount(), 0u);
}

TEST_F(Services, GetDataOfAllGivesEachAsThePlatformHasIt) {
  CService services(SERVICE_WIN32, nullptr);
  ASSERT_EQ(services.GetData(nullptr), 1);
  ASSERT_EQ(services.GetRowCount(), 2u);
  const ServiceRecord& dns = services.GetRows()[0];
  EXPECT_STREQ(dns.name.get(), L"DNS");
  EXPECT_EQ(dns.status->dwServiceType, 16u);
  EXPECT_EQ(dns.status->dwCurrentState, 4u);
  EXPECT_EQ(dns.status->dwControlsAccepted, 1u);
  const QUERY_SERVICE_CONFIGW& config = dns.config[0];
  EXPECT_EQ(config.dwServiceType, 16u);
  EXPECT_EQ(config.dwStartType, 2u);
  EXPECT_EQ(config.dwErrorControl, 1u);
  EXPECT_STREQ(config.lpBinaryPathName, L"C:\\Windows\\dns.exe -x");
  EXPECT_STREQ(config.lpLoadOrderGroup, L"NetworkProvider");
  EXPECT_STREQ(config.lpServiceStartName, L"LocalSystem");
  EXPECT_STREQ(config.lpDisplayName, L"DNS Server");
  EXPECT_EQ(std::wstring(config.lpDependencies, 11), std::wstring(L"Tcpip\0Afd\0\0", 11));
  EXPECT_STREQ(services.GetRows()[1].name.get(), L"W32Time");
  EXPECT_EQ(trace_.count("Services list contains 2 entries"), 1u);
  EXPECT_EQ(trace_.count("Processing <DNS>"), 1u);
  EXPECT_EQ(trace_.count("Processing <DNS" + std::string(61, ' ') + ">"), 1u);
}

TEST_F(Services, GetDataOfOneGivesThatOne) {
  CService services(SERVICE_WIN32, nullptr);
  ASSERT_EQ(services.GetData(L"w32time"), 1);
  ASSERT_EQ(services.GetRowCount(), 1u);
  EXPECT_STREQ(services.GetRows()[0].name.get(), L"w32time");
  EXPECT_EQ(services.GetRows()[0].config[0].dwStartType, 3u);
  EXPECT_EQ(trace_.count("Collecting information for specified service <w32time>"), 1u);
}

TEST_F(Services, GetDataOfAnUnknownNameGivesOneDummyOfThatName) {
  CService services(SERVICE_WIN32, nullptr);
  EXPECT_EQ(services.GetData(L"NoSuch"), 1);
  ASSERT_EQ(services.GetRowCount(), 1u);
  const ServiceRecord& record = services.GetRows()[0];
  EXPECT_STREQ(record.name.get(), L"NoSuch");
  expect_dummy_status(record);
  expect_dummy_config(record);
  const std::string padded = "NoSuch" + std::string(58, ' ');
  EXPECT_EQ(trace_.count("OpenService(" + padded + ") failed.  Error code: 1060 [0x00000424]."),
            1u);
  EXPECT_EQ(
      trace_.count("Exception raised during row evaluation.  Exception text: OpenService() failed"),
      1u);
  EXPECT_EQ(trace_.count("Adding dummy row for <" + padded + ">"), 1u);
  EXPECT_EQ(trace_.count("Exception raised GetRow.  Exception text: OpenService() failed"), 1u);
}

TEST_F(Services, AStatusThatCanBeReadStaysBesideADummyConfiguration) {
  install({service("'Name':'A','State':'Paused','StartMode':'Auto','SetupError':5")});
  CService services(SERVICE_WIN32, nullptr);
  EXPECT_EQ(services.GetData(L"A"), 1);
  ASSERT_EQ(services.GetRowCount(), 1u);
  EXPECT_EQ(services.GetRows()[0].status->dwCurrentState, 7u);
  expect_dummy_config(services.GetRows()[0]);
  EXPECT_EQ(trace_.count("QueryServiceConfig() failed.  Error code: 5 [0x00000005]."), 1u);
  EXPECT_EQ(trace_.count("Exception raised during configuration query.  Exception text: "
                         "QueryServiceConfig() failed"),
            1u);
}

TEST_F(Services, AStatusThatCannotBeReadMakesBothPartsDummies) {
  install({service("'Name':'A','State':'Paused','StartMode':'Auto','StateError':5")});
  CService services(SERVICE_WIN32, nullptr);
  EXPECT_EQ(services.GetData(L"A"), 1);
  ASSERT_EQ(services.GetRowCount(), 1u);
  expect_dummy_status(services.GetRows()[0]);
  expect_dummy_config(services.GetRows()[0]);
  EXPECT_EQ(trace_.count("QueryServiceStatus() failed.  Error code: 5 [0x00000005]. "), 1u);
}

TEST_F(Services, AServiceGoneSinceTheEnumerationKeepsItsPlace) {
  install(
      {service("'Name':'Gone','State':'Running','StartMode':'Auto','OpenError':1060"), kDnsServer});
  CService services(SERVICE_WIN32, nullptr);
  EXPECT_EQ(services.GetData(nullptr), 1);
  ASSERT_EQ(services.GetRowCount(), 2u);
  EXPECT_STREQ(services.GetRows()[0].name.get(), L"Gone");
  expect_dummy_status(services.GetRows()[0]);
  EXPECT_EQ(services.GetRows()[1].status->dwCurrentState, 4u);
}

TEST_F(Services, ASecondGetDataReleasesTheFirst) {
  CService services(SERVICE_WIN32, nullptr);
  ASSERT_EQ(services.GetData(nullptr), 1);
  [[maybe_unused]] const void* const first = services.GetRows()[1].status.get();
  ASSERT_EQ(services.GetData(L"DNS"), 1);
  EXPECT_EQ(services.GetRowCount(), 1u);
  EXPECT_STREQ(services.GetRows()[0].name.get(), L"DNS");
#if defined(__SANITIZE_ADDRESS__)
  EXPECT_TRUE(__asan_address_is_poisoned(first));
#endif
}

TEST_F(Services, AManagerThatDoesNotAnswerLeavesNoNamesAndNoRows) {
  install_none();
  CService services(SERVICE_WIN32, nullptr);
  EXPECT_EQ(services.GetCount(), 0);
  EXPECT_EQ(services.GetData(L"DNS"), 0);
  EXPECT_EQ(services.GetRowCount(), 0u);
  EXPECT_EQ(services.GetRows(), nullptr);
  EXPECT_EQ(trace_.count("OpenSCManager() failed.  Error code: 1722 [0x000006ba]."), 2u);
  EXPECT_EQ(trace_.count(
                "Exception raised during data collection.  Exception text: OpenSCManager() failed"),
            2u);
}

TEST_F(Services, AManagerLostAfterASampleTakesItsRowsWithIt) {
  CService services(SERVICE_WIN32, nullptr);
  ASSERT_EQ(services.GetData(nullptr), 1);
  install_none();
  EXPECT_EQ(services.GetData(nullptr), 0);
  EXPECT_EQ(services.GetRowCount(), 0u);
  install({kTimeServer, kDnsServer});
  EXPECT_EQ(services.GetData(nullptr), 1);  // by the names of the first enumeration
  EXPECT_EQ(services.GetRowCount(), 2u);
  EXPECT_STREQ(services.GetRows()[0].name.get(), L"DNS");
}

TEST_F(Services, AnotherMachineThanTheLocalOneDoesNotAnswer) {
  EXPECT_EQ(CService(SERVICE_WIN32, L"\\\\OTHER").GetCount(), 0);
  EXPECT_EQ(CService(SERVICE_WIN32, L"\\\\dc1").GetCount(), 2);
  EXPECT_EQ(CService(SERVICE_WIN32, L"DC1.corp.example").GetCount(), 2);
}

TEST_F(Services, AListThatGrewBetweenTheTwoCallsIsAFailure) {
  platform::faults::fail("EnumServicesStatusW", 2, ERROR_MORE_DATA);
  CService services(SERVICE_WIN32, nullptr);
  EXPECT_EQ(services.GetCount(), 0);
  EXPECT_EQ(trace_.count("EnumServicesStatus() failed.  Error code: 234 [0x000000ea]."), 1u);
  EXPECT_EQ(services.Update(), 1);
  EXPECT_EQ(services.GetCount(), 2);
}

TEST_F(Services, AnEnumerationThatFailsAtOnceIsAFailure) {
  platform::faults::fail("EnumServicesStatusW", 1);
  EXPECT_EQ(CService(SERVICE_WIN32, nullptr).GetCount(), 0);
  EXPECT_EQ(trace_.count("EnumServicesStatus() failed.  Error code: 5 [0x00000005]."), 1u);
}

TEST_F(Services, ASecondConfigurationCallThatFailsMakesADummy) {
  CService services(SERVICE_WIN32, nullptr);
  platform::faults::fail("QueryServiceConfigW", 2, ERROR_INSUFFICIENT_BUFFER);
  EXPECT_EQ(services.GetData(L"DNS"), 1);
  EXPECT_EQ(services.GetRows()[0].status->dwCurrentState, 4u);
  expect_dummy_config(services.GetRows()[0]);
  EXPECT_EQ(trace_.count("QueryServiceConfig() failed.  Error code: 122 [0x0000007a]."), 1u);
}

TEST_F(Services, GiveBackEveryHandleWhateverFails) {
  for (const char* call : {"OpenSCManagerW", "EnumServicesStatusW", "OpenServiceW",
                           "QueryServiceStatus", "QueryServiceConfigW"}) {
    for (std::uint32_t nth = 1; nth <= 4; ++nth) {
      SCOPED_TRACE(call + std::to_string(nth));
      const auto before = platform::accounting::live();
      platform::faults::fail(call, nth);
      {
        CService services(SERVICE_WIN32, nullptr);
        services.GetData(nullptr);
      }
      platform::faults::clear();
      EXPECT_EQ(before, platform::accounting::live());
    }
  }
}

}  // namespace
