#include <gmock/gmock.h>

#include <string>

#include "include/platform/messages.h"
#include "services/words.h"
#include "services_machine.h"
#include "tables/catalogue.h"
#include "tables/row.h"

namespace {

using testing::ElementsAre;
using testing_support::field;
using testing_support::kDnsServer;
using testing_support::kTimeServer;
using testing_support::number;
using testing_support::service;
using testing_support::ServicesTest;

std::string blank_field(const std::string& text, std::size_t width) {
  return field(text, width, ' ');
}

class WinServices : public ServicesTest {
 protected:
  static std::vector<std::string> sample() { return xaf::DirectSampler("DCWNTDSSVC").sample(); }
  template <tables::Name kColumn>
  static std::string text(const std::string& row) {
    constexpr auto column = tables::Row<tables::DCWNTDSSVC>::column<kColumn>();
    const std::string padded = row.substr(column.offset, column.width);
    return padded.substr(0, padded.find_last_not_of(' ') + 1);
  }
  static std::string head(std::int32_t row_number) {
    return origin_node() + number(0) + number(row_number) + time_stamp() + std::string(128, '\0');
  }
};

TEST_F(WinServices, GiveARowForEachServiceByteForByte) {
  const std::vector<std::string> rows = sample();
  ASSERT_EQ(rows.size(), 2u);
  EXPECT_EQ(rows[0], head(1) + blank_field("DNS Server", 64) + blank_field("Running", 20) +
                         blank_field("Automatic", 16) + blank_field("C:\\Windows\\dns.exe -x", 64) +
                         blank_field("LocalSystem", 32) + blank_field("NetworkProvider", 20) +
                         blank_field("DNS", 64) + blank_field("DNS Server", 400) +
                         blank_field("C:\\Windows\\dns.exe -x", 392) +
                         blank_field("LocalSystem", 52));
  EXPECT_EQ(rows[1], head(2) + blank_field("Windows Time", 64) + blank_field("Stopped", 20) +
                         blank_field("Manual", 16) + blank_field("svchost.exe", 64) +
                         blank_field("LocalService", 32) + blank_field("", 20) +
                         blank_field("W32Time", 64) + blank_field("Windows Time", 400) +
                         blank_field("svchost.exe", 392) + blank_field("LocalService", 52));
}

TEST_F(WinServices, ShowARunningAutomaticServiceAsSuch) {
  const std::string row = sample().at(0);
  EXPECT_EQ(text<"CURRSTAT">(row), "Running");
  EXPECT_EQ(text<"STARTYPE">(row), "Automatic");
}

TEST_F(WinServices, HaveAWordForEveryStateAndStartType) {
  std::vector<std::string> all;
  for (int value = 0; value < 8; ++value) {
    all.push_back(service("'Name':'S" + std::to_string(value) + "','State':" +
                          std::to_string(value) + ",'StartMode':" + std::to_string(value % 5)));
  }
  install(all);
  std::vector<std::string> states;
  std::vector<std::string> start_types;
  for (const std::string& row : sample()) {
    states.push_back(text<"CURRSTAT">(row));
    start_types.push_back(text<"STARTYPE">(row));
  }
  EXPECT_THAT(states, ElementsAre("Unknown", "Stopped", "Start Pending", "Stop Pending", "Running",
                                  "Continue Pending", "Pause Pending", "Paused"));
  start_types.resize(5);
  EXPECT_THAT(start_types, ElementsAre("Boot", "System", "Automatic", "Manual", "Disabled"));
}

TEST_F(WinServices, ShowStateEightAndStartTypeFiveAsUnknown) {
  install({service("'Name':'A','State':8,'StartMode':5"),
           service("'Name':'B','State':4294967295,'StartMode':4294967295")});
  const std::vector<std::string> rows = sample();
  ASSERT_EQ(rows.size(), 2u);
  for (const std::string& row : rows) {
    EXPECT_EQ(text<"CURRSTAT">(row), "Unknown");
    EXPECT_EQ(text<"STARTYPE">(row), "Unknown");
  }
}

TEST_F(WinServices, CutADisplayNameOf70CharactersInOneColumnAndShowItInFullInTheOther) {
  const std::string name(70, 'n');
  install({service("'Name':'A','DisplayName':'" + name + "','State':1,'StartMode':2")});
  const std::string row = sample().at(0);
  EXPECT_EQ(text<"DISPNAME">(row), std::string(64, 'n'));
  EXPECT_EQ(text<"UDISPNAME">(row), name);
}

TEST_F(WinServices, ShowLettersOutsideAsciiInTheUtf8ColumnsOnly) {
  install(
      {service("'Name':'A','DisplayName':'Gr\xC3\xB6\xC3\x9F"
               "e \xF0\x9F\x98\x80','State':1,'StartMode':2")});
  const std::string row = sample().at(0);
  EXPECT_EQ(text<"DISPNAME">(row), "Gr??e ?");
  EXPECT_EQ(text<"UDISPNAME">(row),
            "Gr\xC3\xB6\xC3\x9F"
            "e \xF0\x9F\x98\x80");
}

TEST_F(WinServices, KeepTheRowCountWhenAServiceIsGoneBetweenEnumerationAndQuery) {
  install(
      {kTimeServer, service("'Name':'Gone','State':4,'StartMode':2,'OpenError':1060"), kDnsServer});
  const std::vector<std::string> rows = sample();
  ASSERT_EQ(rows.size(), 3u);
  EXPECT_EQ(rows[1], head(2) + blank_field("", 64) + blank_field("Unknown", 20) +
                         blank_field("Unknown", 16) + blank_field("", 64 + 32 + 20) +
                         blank_field("Gone", 64) + blank_field("", 400 + 392 + 52));
  EXPECT_EQ(text<"CURRSTAT">(rows[2]), "Running");
}

TEST_F(WinServices, CountTheirRowsFromOneInTheOrderOfTheServiceManager) {
  std::vector<std::string> all;
  std::vector<std::string> names;
  for (const char* name : {"Zebra", "alpha", "Mike"}) {
    all.push_back(service("'Name':'" + std::string(name) + "','State':1,'StartMode':3"));
    names.emplace_back(name);
  }
  install(all);
  const std::vector<std::string> rows = sample();
  ASSERT_EQ(rows.size(), 3u);
  for (std::size_t i = 0; i < rows.size(); ++i) {
    EXPECT_EQ(rows[i].substr(0, 216), head(static_cast<std::int32_t>(i + 1)));
    EXPECT_EQ(text<"SRVCNAME">(rows[i]), names[i]);
  }
}

TEST_F(WinServices, HandOverAnEmptyBufferWhenThereAreNoServices) {
  install({});
  trc::set_flags(1 | 64 | 128);
  const trc::Capture trace;
  EXPECT_TRUE(sample().empty());
  EXPECT_EQ(trace.count("Returned 0 rows."), 1u);
  EXPECT_EQ(trace.count("Sent 0 rows."), 1u);
  EXPECT_TRUE(trace.contains("TIMER: 24 : WinServices : TakeSample : "));
}

TEST_F(WinServices, HaveNoRowsAndReportTheirTimeWhenTheManagerDoesNotAnswer) {
  install_none();
  EXPECT_TRUE(sample().empty());
  EXPECT_EQ(trace_.count("OpenSCManager() failed.  Error code: 1722 [0x000006ba]."), 2u);
  EXPECT_EQ(trace_.count("GetData..."), 0u);
  EXPECT_TRUE(trace_.contains("TIMER: 24 : WinServices : TakeSample : "));
}

TEST_F(WinServices, TraceTheirStepsInOrder) {
  sample();
  std::vector<std::string> steps;
  for (const std::string& text : trace_.texts()) {
    for (const char* step :
         {"GetData...", "memset", "copy data into buffer", "Returned 2 rows.", "Sent 2 rows."}) {
      if (text == step) steps.push_back(text);
    }
  }
  EXPECT_THAT(steps, ElementsAre("GetData...", "memset", "copy data into buffer",
                                 "Returned 2 rows.", "Sent 2 rows."));
}

TEST_F(WinServices, LeaveTheWordEmptyWhenAResourceIsMissing) {
  platform::faults::fail("LoadStringA", 2);  // the first state's word
  EXPECT_EQ(text<"CURRSTAT">(sample().at(0)), "");
}

TEST_F(WinServices, SurviveEachPlatformCallFailingOnce) {
  sweep("DCWNTDSSVC", {{"OpenSCManagerW", "OpenSCManager() failed."},
                       {"EnumServicesStatusW", "EnumServicesStatus() failed."},
                       {"OpenServiceW", ") failed.  Error code: 1060 [0x00000424]."},
                       {"QueryServiceStatus", "QueryServiceStatus() failed."},
                       {"QueryServiceConfigW", "QueryServiceConfig() failed."}});
}

TEST_F(WinServices, OfTheDefaultRecordingAreThoseOfADomainController) {
  platform::install(platform::open_embedded_recording(platform::clock_now_ms));
  std::vector<std::string> names;
  for (const std::string& row : sample()) {
    names.push_back(text<"SRVCNAME">(row));
    EXPECT_NE(text<"UDISPNAME">(row), "") << names.back();
    EXPECT_NE(text<"CURRSTAT">(row), "Unknown") << names.back();
    EXPECT_NE(text<"STARTYPE">(row), "Unknown") << names.back();
  }
  EXPECT_THAT(names, testing::IsSupersetOf({"NTDS", "Netlogon", "Kdc", "DNS", "DFSR", "W32Time",
                                            "DHCPServer", "IsmServ", "ADWS"}));
}

TEST(ServiceWords, UnknownValuesAreComparedWithoutASign) {
  char word[kServiceWordSize] = {};
  EXPECT_STREQ(GetStateWord(0xFFFFFFFF, word), "Unknown");
  EXPECT_STREQ(GetStateWord(0x80000000, word), "Unknown");
  EXPECT_STREQ(GetStateWord(7, word), "Paused");
  EXPECT_STREQ(GetStartTypeWord(4, word), "Disabled");
  EXPECT_STREQ(GetStartTypeWord(5, word), "Unknown");
}

TEST(ServiceWords, StandInTheProgramAsItsResources) {
  const char* const words[] = {
      "8",       "Unknown",          "Stopped",       "Start Pending", "Stop Pending",
      "Running", "Continue Pending", "Pause Pending", "Paused",        "5",
      "Boot",    "System",           "Automatic",     "Manual",        "Disabled",
      "Unknown"};
  for (UINT id = 9000; id < 9016; ++id) {
    char word[64] = {};
    LoadStringA(nullptr, id, word, sizeof word);
    EXPECT_STREQ(word, words[id - 9000]) << id;
  }
}

}  // namespace
