#include "commands/time_text.h"

#include <algorithm>
#include <cstdio>

namespace commands {
namespace {

constexpr std::size_t kPacketSize = 48;
constexpr std::size_t kOriginTime = 24;
constexpr std::size_t kReceiveTime = 32;
constexpr std::size_t kTransmitTime = 40;
constexpr unsigned kServer = 4;
constexpr unsigned kNotSet = 3;

NtpTime time_at(std::string_view packet, std::size_t at) {
  NtpTime time = 0;
  for (std::size_t i = 0; i < 8; ++i) time = time << 8 | static_cast<unsigned char>(packet[at + i]);
  return time;
}

// Differences are signed: two clocks may stand on either side of each other.
double seconds_between(NtpTime from, NtpTime to) {
  return static_cast<double>(static_cast<std::int64_t>(to - from)) / 4294967296.0;
}

std::string clock_text(const WatchedClock& clock, const WatchedClock& reference) {
  const std::string& name = clock.machine.name;
  std::string text =
      name + (clock.machine.is_reference ? " *** " : "") + "[" + clock.address + ":123]:\r\n";
  if (!clock.offset_s) {
    return text + "    NTP: error ERROR_TIMEOUT - no response from server in 1000ms\r\n";
  }
  if (!reference.offset_s) return text;
  char line[512];
  std::snprintf(line, sizeof line, "    NTP: %+.7fs offset from %s\r\n",
                *clock.offset_s - *reference.offset_s, reference.machine.name.c_str());
  return text + line;
}

}  // namespace

std::optional<std::vector<Watched>> read_monitor_wish(const std::vector<std::string>& words) {
  constexpr std::string_view kComputers = "/computers:";
  if (words.size() != 2 || words[0] != "/monitor" || !words[1].starts_with(kComputers)) {
    return std::nullopt;
  }
  std::vector<Watched> machines;
  std::string_view rest = std::string_view(words[1]).substr(kComputers.size());
  bool has_reference = false;
  while (!rest.empty()) {
    std::string_view name = rest.substr(0, rest.find(','));
    rest.remove_prefix(std::min(name.size() + 1, rest.size()));
    const bool starred = name.starts_with('*');
    if (starred) name.remove_prefix(1);
    if (name.empty()) return std::nullopt;
    machines.push_back({std::string(name), starred && !has_reference});
    has_reference |= starred;
  }
  if (machines.empty()) return std::nullopt;
  if (!has_reference) machines.front().is_reference = true;
  return machines;
}

std::string time_question(NtpTime sent) {
  std::string packet(kPacketSize, '\0');
  packet[0] = 0x23;  // version 4, from a client
  for (std::size_t i = 0; i < 8; ++i) {
    packet[kTransmitTime + i] = static_cast<char>(sent >> (56 - 8 * i));
  }
  return packet;
}

std::optional<double> read_time_packet(std::string_view packet, NtpTime sent, NtpTime received) {
  if (packet.size() < kPacketSize) return std::nullopt;
  const auto first = static_cast<unsigned char>(packet[0]);
  const auto stratum = static_cast<unsigned char>(packet[1]);
  if ((first & 7u) != kServer || (first >> 6) == kNotSet || stratum == 0) return std::nullopt;
  if (time_at(packet, kOriginTime) != sent) return std::nullopt;
  return (seconds_between(sent, time_at(packet, kReceiveTime)) +
          seconds_between(received, time_at(packet, kTransmitTime))) /
         2;
}

std::string monitor_text(const std::vector<WatchedClock>& clocks) {
  const auto reference = std::find_if(clocks.begin(), clocks.end(), [](const WatchedClock& one) {
    return one.machine.is_reference;
  });
  std::string text;
  if (reference == clocks.end()) return text;
  for (const WatchedClock& clock : clocks) text += clock_text(clock, *reference);
  return text;
}

}  // namespace commands
