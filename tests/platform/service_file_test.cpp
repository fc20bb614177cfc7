// services.json: what is read, what is refused, and the service manager's calls over it.

#include <gmock/gmock.h>

#include <cstring>
#include <string>

#include "platform/base.h"
#include "platform/control.h"
#include "platform/files.h"
#include "platform/recorded/recording.h"
#include "platform/service_manager.h"
#include "platform/services/recorded_services.h"

namespace {

using platform::ControllerError;
using platform::read_services;
using platform::ServiceListing;
using platform::ServiceSetup;
using platform::ServiceState;

const std::string kLeast = R"("Name":"A","State":"Running","StartMode":"Auto")";

std::string error_of(const std::string& text) {
  try {
    read_services(text, "s.json");
  } catch (const ControllerError& error) {
    return error.what();
  }
  return "no error";
}
std::string error_with(const std::string& more) {
  return error_of("[{" + kLeast + "," + more + "}]");
}

TEST(ServicesFile, HasTheKeysOfTheSystemsOwnInstrumentation) {
  const auto services = read_services(
      R"([{"Name":"B","DisplayName":"Bee","ServiceType":"Share Process","State":"Stop Pending",
          "StartMode":"Disabled","PathName":"b.exe","StartName":"me","ErrorControl":"Severe",
          "TagId":9,"LoadOrderGroup":"G","Dependencies":["C","D"],"AcceptStop":true,
          "AcceptPause":true,"ExitCode":1066,"ServiceSpecificExitCode":8,"CheckPoint":7,
          "WaitHint":6,"ProcessId":5}])",
      "s.json");
  ServiceState state;
  ASSERT_EQ(services->state("B", state), 0u);
  EXPECT_EQ(state.type, 0x20u);
  EXPECT_EQ(state.state, 3u);
  EXPECT_EQ(state.controls_accepted, 3u);
  EXPECT_EQ(state.exit_code, 1066u);
  EXPECT_EQ(state.specific_exit_code, 8u);
  EXPECT_EQ(state.check_point, 7u);
  EXPECT_EQ(state.wait_hint_ms, 6u);
  EXPECT_EQ(state.process_id, 5u);
  ServiceSetup setup;
  ASSERT_EQ(services->setup("b", setup), 0u);
  EXPECT_EQ(setup.type, 0x20u);
  EXPECT_EQ(setup.start_type, 4u);
  EXPECT_EQ(setup.error_control, 2u);
  EXPECT_EQ(setup.tag, 9u);
  EXPECT_EQ(setup.program, "b.exe");
  EXPECT_EQ(setup.load_order_group, "G");
  EXPECT_THAT(setup.dependencies, testing::ElementsAre("C", "D"));
  EXPECT_EQ(setup.account, "me");
  EXPECT_EQ(setup.display_name, "Bee");
}

TEST(ServicesFile, NeedsLittle) {
  const auto services = read_services("[{" + kLeast + R"(,"PathName":null}])", "s.json");
  ServiceSetup setup;
  ASSERT_EQ(services->setup("A", setup), 0u);
  EXPECT_EQ(setup.display_name, "A");
  EXPECT_EQ(setup.type, 0x10u);
  EXPECT_EQ(setup.program, "");
}

TEST(ServicesFile, MayBeUtf16AsTheShellWritesIt) {
  std::string text = "\xFF\xFE";
  for (const char one : "[{" + kLeast + "}]") text += {one, '\0'};
  std::vector<ServiceListing> listed;
  EXPECT_EQ(read_services(text, "s.json")->list(listed), 0u);
  EXPECT_EQ(listed.size(), 1u);
}

TEST(ServicesFile, ErrorsNameTheLine) {
  EXPECT_THAT(error_of("[\n{\"Name\":\n}]"), testing::StartsWith("s.json:3: "));
  EXPECT_THAT(error_of(""), testing::StartsWith("s.json:1: "));
  EXPECT_THAT(error_of("[{" + kLeast + "}"), testing::StartsWith("s.json:1: "));
}

TEST(ServicesFile, ErrorsNameTheServiceAndTheKey) {
  EXPECT_EQ(error_of("{}"), "s.json: is not an array of services");
  EXPECT_EQ(error_of("[7]"), "s.json: service 1: is not an object");
  EXPECT_EQ(error_of("[{}]"), "s.json: service 1: Name: is missing or empty");
  EXPECT_EQ(error_of(R"([{"Name":"A"}])"), "s.json: service 1 (A): State: is missing");
  EXPECT_EQ(error_of(R"([{"Name":"A","State":4,"StartMode":null}])"),
            "s.json: service 1 (A): StartMode: is missing");
  EXPECT_EQ(error_with(R"("Pathname":"x")"),
            "s.json: service 1 (A): Pathname: is not a key of a service");
  EXPECT_EQ(error_with(R"("PathName":7)"), "s.json: service 1 (A): PathName: is not a text");
  EXPECT_EQ(error_with(R"("PathName":"a\u0000b")"),
            "s.json: service 1 (A): PathName: holds a zero character");
  EXPECT_EQ(error_with(R"("Dependencies":"B")"),
            "s.json: service 1 (A): Dependencies: is not an array of texts");
  EXPECT_EQ(error_with(R"("AcceptStop":1)"),
            "s.json: service 1 (A): AcceptStop: is neither true nor false");
  EXPECT_EQ(error_with(R"("ServiceType":"Sharp Process")"),
            "s.json: service 1 (A): ServiceType: \"Sharp Process\" is none of Kernel Driver, File "
            "System Driver, Adapter, Recognizer Driver, Own Process, Share Process, Interactive "
            "Process, Unknown");
  EXPECT_EQ(error_of("[{" + kLeast + "},{" + kLeast + "}]"),
            "s.json: service 2 (A): a service of that name is there already");
  EXPECT_EQ(error_with(R"("Name":"B")"), "s.json: Name: is there twice");
}

TEST(ServicesFile, NumbersOutOfRangeAreErrorsAndNothingWorse) {
  for (const char* number : {"-1", "4294967296", "18446744073709551615", "99999999999999999999999",
                             "1.5", "1e3", "true"}) {
    EXPECT_EQ(error_with("\"ProcessId\":" + std::string(number)),
              "s.json: service 1 (A): ProcessId: is not a whole number from 0 to 4294967295")
        << number;
  }
  EXPECT_THAT(error_with("\"ProcessId\":1e999"), testing::StartsWith("s.json: "));
}

TEST(ServicesFile, ADeepNestIsNoDanger) {
  EXPECT_THAT(error_of(std::string(100000, '[')), testing::StartsWith("s.json:1: "));
  EXPECT_NE(error_with("\"Dependencies\":" + std::string(5000, '[') + std::string(5000, ']')),
            "no error");
}

// The service manager's calls.
class ServiceCalls : public testing::Test {
 protected:
  ServiceCalls() {
    platform::install(platform::make_recording(
        {{"services.json",
          R"([{"Name":"One","DisplayName":"First","State":"Running","StartMode":"Auto"},
              {"Name":"Two","DisplayName":"Second","State":"Stopped","StartMode":"Auto"}])"}},
        "services", platform::clock_now_ms));
    manager_ = OpenSCManagerW(nullptr, nullptr, GENERIC_READ);
    service_ = OpenServiceW(manager_, L"ONE", GENERIC_READ);
  }
  ~ServiceCalls() override {
    CloseServiceHandle(service_);
    CloseServiceHandle(manager_);
    EXPECT_EQ(platform::accounting::live().count("service handle"), 0u);
  }

  BOOL enumerate(DWORD size, DWORD state = SERVICE_STATE_ALL) {
    buffer_.assign(size, '\x5A');
    return EnumServicesStatusW(
        manager_, SERVICE_WIN32, state,
        size == 0 ? nullptr : reinterpret_cast<ENUM_SERVICE_STATUSW*>(buffer_.data()), size,
        &needed_, &returned_, &resume_);
  }
  const ENUM_SERVICE_STATUSW& record(std::size_t index) const {
    return reinterpret_cast<const ENUM_SERVICE_STATUSW*>(buffer_.data())[index];
  }

  SC_HANDLE manager_ = nullptr;
  SC_HANDLE service_ = nullptr;
  std::vector<char> buffer_;
  DWORD needed_ = 0, returned_ = 0, resume_ = 0;
};

TEST_F(ServiceCalls, EnumerationTellsItsSizeAndThenFitsIntoJustThat) {
  EXPECT_FALSE(enumerate(0));
  EXPECT_EQ(GetLastError(), DWORD{ERROR_MORE_DATA});
  // Two records, "One", "First", "Two", "Second", each text with its zero.
  EXPECT_EQ(needed_, 2 * sizeof(ENUM_SERVICE_STATUSW) + (4 + 6 + 4 + 7) * sizeof(wchar_t));
  EXPECT_EQ(returned_, 0u);
  const DWORD size = needed_;
  ASSERT_TRUE(enumerate(size));
  ASSERT_EQ(returned_, 2u);
  EXPECT_STREQ(record(0).lpServiceName, L"One");
  EXPECT_STREQ(record(0).lpDisplayName, L"First");
  EXPECT_EQ(record(0).ServiceStatus.dwCurrentState, DWORD{SERVICE_RUNNING});
  EXPECT_STREQ(record(1).lpServiceName, L"Two");
  EXPECT_STREQ(record(1).lpDisplayName, L"Second");
}

TEST_F(ServiceCalls, EnumerationGoesOnWhereABufferWasTooSmall) {
  enumerate(0);
  const DWORD size = needed_ - 1;
  EXPECT_FALSE(enumerate(size));
  EXPECT_EQ(GetLastError(), DWORD{ERROR_MORE_DATA});
  EXPECT_EQ(returned_, 1u);
  EXPECT_EQ(resume_, 1u);
  ASSERT_TRUE(enumerate(needed_));
  ASSERT_EQ(returned_, 1u);
  EXPECT_STREQ(record(0).lpServiceName, L"Two");
  EXPECT_EQ(resume_, 0u);
}

TEST_F(ServiceCalls, EnumerationHeedsTheStateAndRefusesOthers) {
  ASSERT_TRUE(enumerate(4096, SERVICE_ACTIVE));
  EXPECT_EQ(returned_, 1u);
  EXPECT_STREQ(record(0).lpServiceName, L"One");
  ASSERT_TRUE(enumerate(4096, SERVICE_INACTIVE));
  EXPECT_STREQ(record(0).lpServiceName, L"Two");
  EXPECT_FALSE(enumerate(4096, 4));
  EXPECT_EQ(GetLastError(), DWORD{ERROR_INVALID_PARAMETER});
}

TEST_F(ServiceCalls, AHandleHasTheRightsItWasOpenedWith) {
  const SC_HANDLE plain = OpenSCManagerA(nullptr, "ServicesActive", SC_MANAGER_CONNECT);
  EXPECT_FALSE(EnumServicesStatusW(plain, SERVICE_WIN32, SERVICE_STATE_ALL, nullptr, 0, &needed_,
                                   &returned_, &resume_));
  EXPECT_EQ(GetLastError(), DWORD{ERROR_ACCESS_DENIED});
  const SC_HANDLE status_only = OpenServiceA(plain, "Two", SERVICE_QUERY_STATUS);
  SERVICE_STATUS status = {};
  EXPECT_TRUE(QueryServiceStatus(status_only, &status));
  EXPECT_EQ(status.dwCurrentState, DWORD{SERVICE_STOPPED});
  EXPECT_FALSE(QueryServiceConfigW(status_only, nullptr, 0, &needed_));
  EXPECT_EQ(GetLastError(), DWORD{ERROR_ACCESS_DENIED});
  EXPECT_TRUE(CloseServiceHandle(status_only));
  EXPECT_TRUE(CloseServiceHandle(plain));
}

TEST_F(ServiceCalls, AHandleOfAnotherKindOrAClosedOneIsInvalid) {
  SERVICE_STATUS status = {};
  EXPECT_FALSE(QueryServiceStatus(manager_, &status));
  EXPECT_EQ(GetLastError(), DWORD{ERROR_INVALID_HANDLE});
  EXPECT_EQ(OpenServiceW(service_, L"Two", GENERIC_READ), nullptr);
  EXPECT_EQ(GetLastError(), DWORD{ERROR_INVALID_HANDLE});
  const SC_HANDLE closed = OpenServiceW(manager_, L"Two", GENERIC_READ);
  EXPECT_TRUE(CloseServiceHandle(closed));
  EXPECT_FALSE(CloseServiceHandle(closed));
  EXPECT_EQ(GetLastError(), DWORD{ERROR_INVALID_HANDLE});
}

TEST_F(ServiceCalls, AnotherDatabaseOrMachineIsNotThere) {
  EXPECT_EQ(OpenSCManagerA(nullptr, "ServicesFailed", GENERIC_READ), nullptr);
  EXPECT_EQ(GetLastError(), DWORD{ERROR_DATABASE_DOES_NOT_EXIST});
  EXPECT_EQ(OpenSCManagerA("OTHER", nullptr, GENERIC_READ), nullptr);
  EXPECT_EQ(GetLastError(), DWORD{RPC_S_SERVER_UNAVAILABLE});
}

TEST_F(ServiceCalls, AServiceWithoutANameIsInvalidAndAnUnknownOneIsNotThere) {
  EXPECT_EQ(OpenServiceW(manager_, L"", GENERIC_READ), nullptr);
  EXPECT_EQ(GetLastError(), DWORD{ERROR_INVALID_NAME});
  EXPECT_EQ(OpenServiceW(manager_, L"Three", GENERIC_READ), nullptr);
  EXPECT_EQ(GetLastError(), DWORD{ERROR_SERVICE_DOES_NOT_EXIST});
}

TEST_F(ServiceCalls, TheExtendedStatusNeedsItsLevelAndItsRoom) {
  SERVICE_STATUS_PROCESS status = {};
  auto* const bytes = reinterpret_cast<BYTE*>(&status);
  EXPECT_FALSE(QueryServiceStatusEx(service_, SC_STATUS_PROCESS_INFO, bytes, 35, &needed_));
  EXPECT_EQ(GetLastError(), DWORD{ERROR_INSUFFICIENT_BUFFER});
  EXPECT_EQ(needed_, 36u);
  EXPECT_FALSE(QueryServiceStatusEx(service_, static_cast<SC_STATUS_TYPE>(1), bytes, 36, &needed_));
  EXPECT_EQ(GetLastError(), DWORD{ERROR_INVALID_LEVEL});
  EXPECT_TRUE(QueryServiceStatusEx(service_, SC_STATUS_PROCESS_INFO, bytes, 36, &needed_));
  EXPECT_EQ(status.dwCurrentState, DWORD{SERVICE_RUNNING});
}

}  // namespace
