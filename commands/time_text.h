#pragma once
// How far the clocks of several machines are from one of them, asked by the simple network time
// protocol and told in the form of w32tm's monitor.

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace commands {

struct Watched {
  std::string name;
  bool is_reference = false;
};
// The words behind "w32tm": /monitor and /computers:A,*B, the star before the machine that the
// others are compared with, which is else the first. Nothing for others.
std::optional<std::vector<Watched>> read_monitor_wish(const std::vector<std::string>& words);

// Times of the protocol: seconds since 1900 and their fractions of 2^32.
using NtpTime = std::uint64_t;

// Offset in seconds of the answering clock, from a packet and when the question left and the answer
// came by our clock. Nothing for a packet that is no answer or not to this question, and for one
// from a clock that says of itself that it is not set.
std::optional<double> read_time_packet(std::string_view packet, NtpTime sent, NtpTime received);
std::string time_question(NtpTime sent);

struct WatchedClock {
  Watched machine;
  std::string address;             // empty: the name is unknown
  std::optional<double> offset_s;  // of its clock from ours; nothing when it did not answer
};
// Lines end as Windows ends them.
std::string monitor_text(const std::vector<WatchedClock>& clocks);

}  // namespace commands
