#pragma once
// What this system's ping prints, told again in the form of Windows, which the agent reads.

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace commands {

struct PingWish {
  int count = 4;
  int timeout_ms = 4000;
  int size = 32;
  std::string host;
};
// The words behind "ping": -n, -w and -l with their numbers, and a host. Nothing for others.
std::optional<PingWish> read_ping_wish(const std::vector<std::string>& words);

struct PingAnswers {
  std::string address;           // empty: the name is unknown
  std::vector<double> times_ms;  // of the replies that came
};
// Output of iputils' ping in the C locale.
PingAnswers read_ping_answers(std::string_view output);

// Lines end as Windows ends them.
std::string windows_ping_text(const PingWish& wish, const PingAnswers& answers);

}  // namespace commands
