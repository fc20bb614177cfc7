// What our own commands read, and what they print in the form of Windows.

#include <gtest/gtest.h>

#include <string>

#include "commands/ping_text.h"
#include "commands/run_program.h"
#include "commands/time_text.h"
#include "directory/command_output.h"

namespace {

using commands::PingAnswers;
using commands::PingWish;

TEST(PingCommand, ReadsItsWordsOrRefusesThem) {
  const auto wish = commands::read_ping_wish({"-n", "3", "-w", "500", "-l", "64", "dc2"});
  ASSERT_TRUE(wish);
  EXPECT_EQ(3, wish->count);
  EXPECT_EQ(500, wish->timeout_ms);
  EXPECT_EQ(64, wish->size);
  EXPECT_EQ("dc2", wish->host);
  using Words = std::vector<std::string>;
  for (const Words& words : {Words{},
                             {"-n"},
                             {"-n", "0", "a"},
                             {"-n", "1x", "a"},
                             {"a", "b"},
                             {"-t", "a"},
                             {"-l", "65501", "a"}}) {
    EXPECT_FALSE(commands::read_ping_wish(words));
  }
}

constexpr const char* kAnswered =
    "PING dc2.corp.example (10.53.1.12) 32(60) bytes of data.\n"
    "40 bytes from 10.53.1.12: icmp_seq=1 ttl=64 time=1.52 ms\n"
    "40 bytes from 10.53.1.12: icmp_seq=2 ttl=64 time=0.043 ms\n"
    "40 bytes from 10.53.1.12: icmp_seq=3 ttl=64 time=12 ms\n\n"
    "--- dc2.corp.example ping statistics ---\n"
    "3 packets transmitted, 3 received, 0% packet loss, time 2003ms\n"
    "rtt min/avg/max/mdev = 0.043/4.521/12.000/5.3 ms\n";

TEST(PingCommand, TellsTheAnswersInTheFormOfWindows) {
  const PingWish wish{3, 1000, 32, "dc2.corp.example"};
  EXPECT_EQ(
      "\r\nPinging dc2.corp.example [10.53.1.12] with 32 bytes of data:\r\n"
      "Reply from 10.53.1.12: bytes=32 time=1ms\r\n"
      "Reply from 10.53.1.12: bytes=32 time<1ms\r\n"
      "Reply from 10.53.1.12: bytes=32 time=12ms\r\n"
      "\r\nPing statistics for 10.53.1.12:\r\n"
      "    Packets: Sent = 3, Received = 3, Lost = 0 (0% loss),\r\n"
      "Approximate round trip times in milli-seconds:\r\n"
      "    Minimum = 0ms, Maximum = 12ms, Average = 4ms\r\n",
      commands::windows_ping_text(wish, commands::read_ping_answers(kAnswered)));
}

TEST(PingCommand, TellsLossAndNamesThatAreUnknown) {
  const auto lost = commands::read_ping_answers(
      "PING 10.0.0.9 (10.0.0.9) 32(60) bytes of data.\n\n--- 10.0.0.9 ping statistics ---\n"
      "2 packets transmitted, 0 received, 100% packet loss, time 1001ms\n");
  const std::string text = commands::windows_ping_text({2, 1000, 32, "10.0.0.9"}, lost);
  EXPECT_NE(text.npos, text.find("Request timed out.\r\nRequest timed out.\r\n"));
  EXPECT_NE(text.npos, text.find("Lost = 2 (100% loss),"));
  EXPECT_EQ(text.npos, text.find("Average"));
  EXPECT_EQ("Ping request could not find host nobody. Please check the name and try again.\r\n",
            commands::windows_ping_text(
                {1, 1000, 32, "nobody"},
                commands::read_ping_answers("ping: nobody: Name or service not known\n")));
}

// 10 seconds, and a quarter.
constexpr commands::NtpTime kTen = 10ull << 32;
constexpr commands::NtpTime kQuarter = 1ull << 30;

std::string time_packet(char first, char stratum, commands::NtpTime origin,
                        commands::NtpTime received, commands::NtpTime sent) {
  std::string packet(48, '\0');
  packet[0] = first;
  packet[1] = stratum;
  const commands::NtpTime times[] = {origin, received, sent};
  for (std::size_t t = 0; t < 3; ++t) {
    for (std::size_t i = 0; i < 8; ++i) {
      packet[24 + 8 * t + i] = static_cast<char>(times[t] >> (56 - 8 * i));
    }
  }
  return packet;
}

TEST(TimeCommand, WorksOutAnOffsetFromFourTimes) {
  // Asked at 10, there at 12.25, answered at 12.5, back at 10.75: 2 seconds ahead.
  const std::string packet = time_packet(0x24, 2, kTen, kTen + 9 * kQuarter, kTen + 10 * kQuarter);
  EXPECT_DOUBLE_EQ(2.0, *commands::read_time_packet(packet, kTen, kTen + 3 * kQuarter));
  const std::string behind = time_packet(0x24, 2, kTen, kTen - 4 * kQuarter, kTen - 4 * kQuarter);
  EXPECT_DOUBLE_EQ(-1.0, *commands::read_time_packet(behind, kTen, kTen));
}

TEST(TimeCommand, TakesNoAnswerThatIsNotToItsQuestionOrFromAClockThatIsNotSet) {
  const std::string good = time_packet(0x24, 2, kTen, kTen, kTen);
  EXPECT_TRUE(commands::read_time_packet(good, kTen, kTen));
  EXPECT_FALSE(commands::read_time_packet(good.substr(0, 47), kTen, kTen));
  EXPECT_FALSE(commands::read_time_packet(good, kTen + 1, kTen));
  EXPECT_FALSE(commands::read_time_packet(time_packet(0x23, 2, kTen, kTen, kTen), kTen, kTen));
  EXPECT_FALSE(commands::read_time_packet(time_packet('\xE4', 2, kTen, kTen, kTen), kTen, kTen));
  EXPECT_FALSE(commands::read_time_packet(time_packet(0x24, 0, kTen, kTen, kTen), kTen, kTen));
  EXPECT_EQ(0x23, commands::time_question(kTen)[0]);
  EXPECT_EQ(10, commands::time_question(kTen)[43]);
}

TEST(TimeCommand, ReadsItsWordsOrRefusesThem) {
  const auto wish = commands::read_monitor_wish({"/monitor", "/computers:DC1,*DC2"});
  ASSERT_TRUE(wish);
  ASSERT_EQ(2u, wish->size());
  EXPECT_EQ("DC2", (*wish)[1].name);
  EXPECT_TRUE((*wish)[1].is_reference);
  EXPECT_FALSE((*wish)[0].is_reference);
  EXPECT_TRUE(commands::read_monitor_wish({"/monitor", "/computers:A"})->front().is_reference);
  EXPECT_FALSE(commands::read_monitor_wish({"/monitor", "/computers:A,,B"}));
  EXPECT_FALSE(commands::read_monitor_wish({"/monitor", "/computers:"}));
  EXPECT_FALSE(commands::read_monitor_wish({"/resync"}));
}

TEST(TimeCommand, TellsOffsetsThatTheAgentReads) {
  const std::string text = commands::monitor_text(
      {{{"DC1", false}, "10.53.1.11", 0.25}, {{"DC2", true}, "10.53.1.12", 0.2376544}});
  EXPECT_EQ(
      "DC1[10.53.1.11:123]:\r\n    NTP: +0.0123456s offset from DC2\r\n"
      "DC2 *** [10.53.1.12:123]:\r\n    NTP: +0.0000000s offset from DC2\r\n",
      text);
  EXPECT_EQ(" +0.012345", *directory::read_time_offset(text.substr(text.find("    NTP"))).text);
}

TEST(TimeCommand, TellsAMachineThatDoesNotAnswer) {
  const std::string text = commands::monitor_text(
      {{{"DC1", false}, "", std::nullopt}, {{"DC2", true}, "10.53.1.12", 0.5}});
  EXPECT_TRUE(directory::read_time_offset(text.substr(text.find("    NTP"))).is_error);
}

TEST(RunProgram, PassesWordsAsTheyAre) {
  const auto ran = commands::run_program({"printf", "%s|", "a b", "$(c)", "'"});
  EXPECT_EQ("a b|$(c)|'|", ran.output);
  EXPECT_EQ(0, ran.exit_code);
  EXPECT_EQ(127, commands::run_program({"/nowhere/at/all"}).exit_code);
  EXPECT_EQ(1, commands::run_program({"false"}).exit_code);
}

}  // namespace
