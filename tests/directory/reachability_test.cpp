#include "directory/reachability.h"

#include <gtest/gtest.h>

#include "tests/directory/answering.h"

namespace {

using directory_test::kConfiguration;
using directory_test::kLocator;

constexpr const char* kAnswered =
    "\r\nPinging DC2.corp.example [10.53.1.12] with 32 bytes of data:\r\n"
    "Reply from 10.53.1.12: bytes=32 time=2ms TTL=128\r\n\r\n"
    "Ping statistics for 10.53.1.12:\r\n"
    "    Packets: Sent = 1, Received = 1, Lost = 0 (0% loss),\r\n"
    "Approximate round trip times in milli-seconds:\r\n"
    "    Minimum = 1ms, Maximum = 3ms, Average = 2ms\r\n";
constexpr const char* kLost =
    "Request timed out.\r\n\r\nPing statistics for 10.53.1.12:\r\n"
    "    Packets: Sent = 1, Received = 0, Lost = 1 (100% loss),\r\n";

class Ping : public directory_test::Answering {
 protected:
  Ping() {
    g_pingCount = 1;
    g_pingTimeout = 2000;
    g_pingSize = 32;
  }
  std::int32_t ping_with(const std::string& output) {
    record_command("ping *", output);
    return ping("DC2.corp.example", "", 1, 0, nullptr);
  }
};

TEST_F(Ping, GivesTheAverageOfTheSummaryLine) {
  EXPECT_EQ(2, ping_with(kAnswered));
  EXPECT_TRUE(trace_.contains("DNSHostName: <DC2.corp.example>"));
  EXPECT_TRUE(trace_.contains("-    Packets: Sent = 1, Received = 1, Lost = 0 (0% loss),"));
  EXPECT_TRUE(trace_.contains("-    Minimum = 1ms, Maximum = 3ms, Average = 2ms"));
  EXPECT_TRUE(trace_.contains("pingTime=2"));
  EXPECT_TRUE(trace_.contains("system(ping) return code = 0"));
  EXPECT_TRUE(trace_.contains("ping result: 2ms"));
}

TEST_F(Ping, RunsTheCommandWithTheSettings) {
  g_pingCount = 3;
  g_pingTimeout = 500;
  g_pingSize = 64;
  record_command("ping -n 3 -w 500 -l 64 DC2.corp.example", kAnswered);
  EXPECT_EQ(2, ping("DC2.corp.example", "", 1, 0, nullptr));
  EXPECT_TRUE(trace_.contains("ping -n 3 -w 500 -l 64 DC2.corp.example"));
}

TEST_F(Ping, StopsReadingAtTheMarkOfLoss) {
  EXPECT_EQ(-2,
            ping_with(std::string(kLost) + "    Minimum = 1ms, Maximum = 1ms, Average = 1ms\r\n"));
  EXPECT_TRUE(trace_.contains("ping timeout: slow connection."));
  EXPECT_TRUE(trace_.contains("increase DWA_PING_TIMEOUT(2000) if necessary."));
  EXPECT_FALSE(trace_.contains("pingTime="));
}

TEST_F(Ping, WithoutASummaryLineTellsNothing) {
  EXPECT_EQ(-1, ping_with("    Packets: Sent = 1, Received = 1, Lost = 0 (0% loss),\r\n"));
  EXPECT_TRUE(trace_.contains("ping failed, check results above."));
  EXPECT_EQ(-1, ping_with(""));
}

TEST_F(Ping, TellsNothingWhenTheCommandIsNotThereOrCannotBeStarted) {
  record({{"locator.json", kLocator}});
  EXPECT_EQ(-1, ping("DC2.corp.example", "", 1, 0, nullptr));
  EXPECT_TRUE(trace_.contains("system(ping) return code = 1"));
  record_command("ping *", kAnswered);
  platform::faults::fail("_popen", 1);
  EXPECT_EQ(-1, ping("DC2.corp.example", "", 1, 0, nullptr));
  EXPECT_TRUE(trace_.contains("system(ping) return code = -1"));
}

TEST_F(Ping, DoesNotLookAtTheExitCode) {
  record_command("ping *", kAnswered);
  platform::faults::fail("_pclose", 1);
  EXPECT_EQ(2, ping("DC2.corp.example", "", 1, 0, nullptr));
  EXPECT_TRUE(trace_.contains("system(ping) return code = -1"));
}

TEST_F(Ping, FindsTheFullNameOfAShortOne) {
  record_command("ping -n 1 -w 2000 -l 32 DC2.corp.example", kAnswered);
  EXPECT_EQ(2, ping("dc2", kConfiguration.c_str(), 0, 0, nullptr));
  EXPECT_TRUE(trace_.contains("Finding DNSHost name for: <dc2>."));
}

TEST_F(Ping, OfAShortNameThatNoServerHasRunsNoCommand) {
  record_command("ping *", kAnswered);
  platform::faults::reset_counts();
  EXPECT_EQ(-1, ping("nobody", kConfiguration.c_str(), 0, 1, nullptr));
  EXPECT_TRUE(trace_.contains("GetDNSHostName Failed for <nobody>"));
  for (const auto& [call, times] : platform::faults::reached()) EXPECT_NE(call, "_popen") << times;
}

TEST_F(Ping, BindsAServerThatAnswered) {
  record_command("ping *", kAnswered);
  unsigned char status = 7;
  EXPECT_EQ(2, ping("DC2.corp.example", "", 1, 1, &status));
  EXPECT_EQ(1, status);
  EXPECT_TRUE(trace_.contains("Checking Availibility of server"));
  EXPECT_TRUE(trace_.contains("Performing bind to server: DC2.corp.example"));
  EXPECT_TRUE(trace_.contains("Sucessfully bound to server: DC2.corp.example"));
}

TEST_F(Ping, BindsWithoutAPlaceForTheOutcome) {
  record_command("ping *", kAnswered);
  EXPECT_EQ(2, ping("DC2.corp.example", "", 1, 1, nullptr));
  EXPECT_TRUE(trace_.contains("Bind Status pointer is null"));
}

TEST_F(Ping, DoesNotBindAServerThatIsLost) {
  record_command("ping *", kLost);
  unsigned char status = 7;
  EXPECT_EQ(-2, ping("DC2.corp.example", "", 1, 1, &status));
  EXPECT_EQ(0, status);
  EXPECT_FALSE(trace_.contains("Performing bind to server"));
}

TEST_F(Ping, TellsABindThatFailed) {
  record_command("ping *", kAnswered);
  unsigned char status = 7;
  EXPECT_EQ(2, ping("DC3.corp.example", "", 1, 1, &status));
  EXPECT_EQ(0, status);
  EXPECT_TRUE(trace_.contains("Error while performing bind, Error Code: "));
}

TEST_F(Ping, WithoutABindClearsTheOutcome) {
  record_command("ping *", kAnswered);
  unsigned char status = 7;
  EXPECT_EQ(2, ping("DC2.corp.example", "", 1, 0, &status));
  EXPECT_EQ(0, status);
}

TEST_F(Ping, CutsACommandThatIsTooLong) {
  record_command("ping *", kAnswered);
  EXPECT_EQ(2, ping(std::string(200, 'x').c_str(), "", 1, 0, nullptr));
  EXPECT_TRUE(trace_.contains("Command of 224 characters cut to 111"));
}

TEST_F(Ping, GivesEverythingBackWhicheverCallFails) {
  record_command("ping *", kAnswered);
  sweep(
      [] {
        unsigned char status = 7;
        const std::int32_t result = ping("DC2", kConfiguration.c_str(), 0, 1, &status);
        return std::to_string(result) + " " + std::to_string(status);
      },
      {{"DsBindA", "Error while performing bind, Error Code: "},
       {"ADsGetObject", "GetDNSHostName Failed for <DC2>"}});
}

}  // namespace
