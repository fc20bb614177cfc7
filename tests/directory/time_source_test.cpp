#include "directory/time_source.h"

#include <gtest/gtest.h>

#include <string>

#include "tests/directory/answering.h"

namespace {

using testing_support::replaced;

class TimeServer : public directory_test::Answering {
 protected:
  // "name flag" of the answer, or "none" with what was in the buffers before.
  std::string ask(const char* forest, const char* computer) {
    char server[64] = "before";
    std::int32_t is_good = 7;
    const bool found = GetTimeServer(forest, computer, server, is_good);
    return (found ? "" : "none ") + std::string(server) + " " + std::to_string(is_good);
  }
  void record_locator(const std::string& controllers) {
    record(
        {{"locator.json", R"({"forest": "corp.example", "controllers": [)" + controllers + "]}"}});
  }
};

TEST_F(TimeServer, IsTheGoodOneThatTheComputersLocatorKnows) {
  record_locator(R"({"name": "DC1.corp.example", "flags": ["PDC"]},
                    {"name": "DC2.corp.example", "flags": ["GOOD_TIMESERV"]})");
  EXPECT_EQ("DC2.corp.example 1", ask("corp.example", "DC1"));
  EXPECT_TRUE(trace_.contains("Good Time Server flag is set on server: DC2.corp.example"));
  EXPECT_FALSE(trace_.contains("Getting Time Server from forest"));
}

TEST_F(TimeServer, IsElseTheForestsGoodOne) {
  record_locator(R"({"name": "DC1.child.corp.example", "flags": ["PDC"]},
                    {"name": "DC2.corp.example", "flags": ["GOOD_TIMESERV"]})");
  EXPECT_EQ("DC2.corp.example 1", ask("corp.example", "DC1.child.corp.example"));
  EXPECT_TRUE(trace_.contains("Getting Time Server from forest: corp.example"));
}

TEST_F(TimeServer, IsElseTheEmulatorOfThePrimaryController) {
  record_locator(R"({"name": "DC1.corp.example", "flags": ["PDC", "TIMESERV"]})");
  EXPECT_EQ("DC1.corp.example 0", ask("corp.example", "DC1"));
  EXPECT_TRUE(trace_.contains("PDC flag is set on server: DC1.corp.example"));
}

TEST_F(TimeServer, WithNeitherFlagIsNoneAndLeavesTheBufferUnwritten) {
  record_locator(R"({"name": "DC1.corp.example", "flags": ["TIMESERV", "LDAP"]})");
  EXPECT_EQ("none before 7", ask("corp.example", "DC1"));
}

TEST_F(TimeServer, IsLookedForInTheForestWhenTheComputerDoesNotAnswer) {
  record_locator(R"({"name": "DC1.corp.example", "flags": ["PDC"]},
                    {"name": "DC3.corp.example", "answers": false})");
  EXPECT_EQ("DC1.corp.example 0", ask("corp.example", "DC3"));
  EXPECT_TRUE(trace_.contains("DsGetDcName failed for computer:DC3, Error code: "));
}

TEST_F(TimeServer, IsNoneWhenTheForestIsNotThere) {
  record_locator(R"({"name": "DC1.corp.example", "flags": ["PDC"]})");
  EXPECT_EQ("none before 7", ask("elsewhere.example", "DC1"));
  EXPECT_TRUE(
      trace_.contains("DsGetDcName failed for forest: elsewhere.example, Error code: 1355"));
}

TEST_F(TimeServer, GivesEverythingBackWhicheverCallFails) {
  record_locator(R"({"name": "DC1.corp.example", "flags": ["PDC"]})");
  sweep([this] { return ask("corp.example", "DC1"); },
        {{"DsGetDcNameA", "DsGetDcName failed for computer:DC1, Error code: "}});
}

constexpr const char* kMonitored =
    "dc1.corp.example[10.53.1.11:123]:\r\n    ICMP: 0ms delay\r\n"
    "    NTP: +0.0123456s offset from dc2.corp.example\r\n"
    "        RefID: dc2.corp.example [10.53.1.12]\r\n        Stratum: 3\r\n"
    "dc2.corp.example *** [10.53.1.12:123]:\r\n    ICMP: 0ms delay\r\n"
    "    NTP: +0.0000000s offset from dc2.corp.example\r\n";

class TimeDifference : public directory_test::Answering {
 protected:
  std::string ask(const char* computer = "DC1", const char* server = "DC2") {
    double offset = -77;
    const bool told = GetTimeDiffernece(computer, server, offset);
    char text[64];
    std::snprintf(text, sizeof text, "%d %.7f", told ? 1 : 0, offset);
    return text;
  }
  std::string ask_with(const std::string& output) {
    record_command("w32tm /monitor /computers:DC1,*DC2", output);
    return ask();
  }
};

TEST_F(TimeDifference, DropsTheLastDigitOfTheNumber) {
  EXPECT_EQ("1 0.0123450", ask_with(kMonitored));
  EXPECT_TRUE(trace_.contains("Command: w32tm /monitor /computers:DC1,*DC2"));
  EXPECT_TRUE(trace_.contains("Starting W32TM command execution, Data:"));
  EXPECT_TRUE(trace_.contains("NTP found"));
  EXPECT_TRUE(trace_.contains("Time Offset:  +0.012345"));
}

TEST_F(TimeDifference, KeepsTheSign) {
  EXPECT_EQ("1 -12.2500000", ask_with("    NTP: -12.250s offset from x\r\n"));
}

TEST_F(TimeDifference, WithAnErrorInTheFirstSuchLineIsNotTold) {
  const std::string failed = "    NTP: error ERROR_TIMEOUT - no response from server in 1000ms\r\n";
  EXPECT_EQ("0 -77.0000000", ask_with(failed + "    NTP: +0.0123456s offset from x\r\n"));
  EXPECT_TRUE(trace_.contains("Time_Error:     NTP: error ERROR_TIMEOUT"));
  EXPECT_FALSE(trace_.contains("Time Offset:"));
}

TEST_F(TimeDifference, WithoutAUnitOrWithoutTheMarkIsNotTold) {
  EXPECT_EQ("0 -77.0000000", ask_with("    NTP: +0.01\r\n"));
  EXPECT_EQ("0 -77.0000000", ask_with("    ICMP: 0ms delay\r\n"));
  EXPECT_EQ("0 -77.0000000", ask_with(""));
}

TEST_F(TimeDifference, OfAMachineWithItselfIsNothingAndRunsNoCommand) {
  record_command("w32tm *", kMonitored);
  platform::faults::reset_counts();
  EXPECT_EQ("1 0.0000000", ask("dc1.corp.EXAMPLE", "DC1.Corp.example"));
  EXPECT_TRUE(trace_.contains("Good time server name and local machine name are same"));
  for (const auto& [call, times] : platform::faults::reached()) EXPECT_NE(call, "_popen") << times;
}

TEST_F(TimeDifference, IsNotToldWhenThePipeCannotBeOpened) {
  record_command("w32tm *", kMonitored);
  platform::faults::fail("_popen", 1);
  EXPECT_EQ("0 -77.0000000", ask());
  EXPECT_TRUE(trace_.contains("Error while opening the pipe"));
}

TEST_F(TimeDifference, GivesEverythingBackWhicheverCallFails) {
  record_command("w32tm *", kMonitored);
  sweep([this] { return ask(); }, {{"_popen", "Error while opening the pipe"}});
}

}  // namespace
