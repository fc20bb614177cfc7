// What the lines of ping and w32tm tell, on literal outputs in several languages.

#include "directory/command_output.h"

#include <gtest/gtest.h>

namespace {

using directory::PingOutput;

std::int32_t read_ping(std::string_view output) {
  PingOutput ping;
  while (!output.empty()) {
    const std::size_t end = std::min(output.find('\n'), output.size() - 1) + 1;
    if (ping.take(output.substr(0, end)).is_last) break;
    output.remove_prefix(end);
  }
  return ping.result();
}

TEST(PingOutput, IsReadInEnglish) {
  EXPECT_EQ(2, read_ping("Reply from 10.0.0.1: bytes=32 time=2ms TTL=128\r\n\r\n"
                         "    Packets: Sent = 1, Received = 1, Lost = 0 (0% loss),\r\n"
                         "    Minimum = 1ms, Maximum = 3ms, Average = 2ms\r\n"));
}

TEST(PingOutput, IsReadInGermanOfAnyCodePage) {
  // "fuer" with the umlaut of code page 850.
  EXPECT_EQ(13, read_ping("Antwort von 10.0.0.1: Bytes=32 Zeit=13ms TTL=128\n"
                          "Ping-Statistik f\x81r 10.0.0.1:\n"
                          "    Pakete: Gesendet = 1, Empfangen = 1, Verloren = 0\n"
                          "    (0% Verlust),\nCa. Zeitangaben in Millisek.:\n"
                          "    Minimum = 13ms, Maximum = 13ms, Mittelwert = 13ms\n"));
  EXPECT_EQ(-2, read_ping("Zeit\x81"
                          "berschreitung der Anforderung.\r\n"
                          "    Pakete: Gesendet = 1, Empfangen = 0, Verloren = 1\r\n"
                          "    (100% Verlust),\r\n"));
}

TEST(PingOutput, IsReadInFrench) {
  EXPECT_EQ(4, read_ping("R\x82ponse de 10.0.0.1 : octets=32 temps=4 ms TTL=128\r\n"
                         "    Paquets : envoy\x82s = 1, re\x87us = 1, perdus = 0 (perte 0%),\r\n"
                         "    Minimum = 4ms, Maximum = 4ms, Moyenne = 4ms\r\n"));
  // There the number of losses does not follow the bracket, so that a loss tells nothing.
  EXPECT_EQ(-1,
            read_ping("    Paquets : envoy\x82s = 1, re\x87us = 0, perdus = 1 (perte 100%),\r\n"));
}

TEST(PingOutput, CountsEachMarkOnceUntilItsEnd) {
  PingOutput ping;
  EXPECT_EQ(1, ping.take("(0% loss),").marks);
  EXPECT_EQ(0, ping.take("(0% loss),").marks);
  const auto last = ping.take("(100% loss)");
  EXPECT_EQ(1, last.marks);
  EXPECT_TRUE(last.is_last);
}

TEST(PingOutput, TakesTheNumberBehindTheLastEqualsSign) {
  EXPECT_EQ(7, read_ping("1ms, = 7"));
  EXPECT_EQ(17, read_ping(" 1ms, 7"));
  EXPECT_EQ(7, read_ping("1ms, 7")) << "the first character is never looked at";
  EXPECT_EQ(1, read_ping("1ms, = 1:30ms")) << "a colon is collected, and ends the number";
  PingOutput none;
  EXPECT_TRUE(none.take("ms, Average = ms").is_last);
  EXPECT_EQ(-1, none.result());
  EXPECT_FALSE(none.has_time());
}

TEST(PingOutput, CutsANumberThatHasNoRoom) {
  PingOutput ping;
  ping.take("1ms, = 12345678901");
  EXPECT_TRUE(ping.was_cut());
  EXPECT_EQ(345678901, ping.result());
  PingOutput fits;
  fits.take("1ms, = 123456789");
  EXPECT_FALSE(fits.was_cut());
  EXPECT_EQ(123456789, fits.result());
}

TEST(TimeOffset, IsTheNumberWithoutItsLastDigit) {
  EXPECT_EQ(" +0.012345", *directory::read_time_offset("NTP: +0.0123456s offset").text);
  EXPECT_EQ(" -3", *directory::read_time_offset("    NTP: -3.s").text);
  EXPECT_EQ("", *directory::read_time_offset("NTP:s").text);
  EXPECT_EQ("", *directory::read_time_offset("NTP: s").text);
  // German: the unit follows there, too.
  EXPECT_EQ(" +00.004567",
            *directory::read_time_offset("    NTP: +00.0045678s Offset von dc2\r\n").text);
}

TEST(TimeOffset, IsNotThereWithoutAUnitOrWithAnError) {
  EXPECT_FALSE(directory::read_time_offset("NTP: +0.01").text);
  EXPECT_FALSE(directory::read_time_offset("s ICMP: 0ms").text);
  const auto failed = directory::read_time_offset("error before NTP: +0.01s");
  EXPECT_TRUE(failed.is_error);
  EXPECT_FALSE(failed.text);
}

}  // namespace
