#include "commands/ping_text.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <numeric>

namespace commands {
namespace {

bool read_number(const std::string& text, int lowest, int highest, int& number) {
  const char* end = text.data() + text.size();
  const auto [stop, error] = std::from_chars(text.data(), end, number);
  return error == std::errc() && stop == end && number >= lowest && number <= highest;
}

// "PING dc2 (10.53.1.12) 32(60) bytes of data." tells the address, and every reply a "time=0.123
// ms".
void read_line(std::string_view line, PingAnswers& answers) {
  if (line.starts_with("PING ")) {
    const std::size_t open = line.find('(');
    const std::size_t close = line.find(')', open);
    if (open == line.npos || close == line.npos) return;
    answers.address = line.substr(open + 1, close - open - 1);
    return;
  }
  const std::size_t time = line.find(" time=");
  if (line.find(" bytes from ") == line.npos || time == line.npos) return;
  const double milliseconds = std::atof(std::string(line.substr(time + 6)).c_str());
  if (milliseconds >= 0 && milliseconds < 1e6) answers.times_ms.push_back(milliseconds);
}

std::string format(const char* form, auto... arguments) {
  char text[512];
  std::snprintf(text, sizeof text, form, arguments...);
  return text;
}

}  // namespace

std::optional<PingWish> read_ping_wish(const std::vector<std::string>& words) {
  PingWish wish;
  for (std::size_t i = 0; i < words.size(); ++i) {
    const std::string& word = words[i];
    if (word == "-n" || word == "-w" || word == "-l") {
      if (++i == words.size()) return std::nullopt;
      int& number = word == "-n" ? wish.count : word == "-w" ? wish.timeout_ms : wish.size;
      const int highest = word == "-l" ? 65500 : 1'000'000;
      if (!read_number(words[i], word == "-l" ? 0 : 1, highest, number)) return std::nullopt;
    } else if (word.starts_with('-') || !wish.host.empty()) {
      return std::nullopt;
    } else {
      wish.host = word;
    }
  }
  return wish.host.empty() ? std::nullopt : std::optional(wish);
}

PingAnswers read_ping_answers(std::string_view output) {
  PingAnswers answers;
  while (!output.empty()) {
    const std::size_t end = std::min(output.find('\n'), output.size());
    read_line(output.substr(0, end), answers);
    output.remove_prefix(std::min(end + 1, output.size()));
  }
  return answers;
}

std::string windows_ping_text(const PingWish& wish, const PingAnswers& answers) {
  const char* host = wish.host.c_str();
  if (answers.address.empty()) {
    return format("Ping request could not find host %s. Please check the name and try again.\r\n",
                  host);
  }
  const char* address = answers.address.c_str();
  std::string text =
      format("\r\nPinging %s [%s] with %d bytes of data:\r\n", host, address, wish.size);
  for (const double time : answers.times_ms) {
    text += time < 1
                ? format("Reply from %s: bytes=%d time<1ms\r\n", address, wish.size)
                : format("Reply from %s: bytes=%d time=%dms\r\n", address, wish.size, int(time));
  }
  const int received = std::min(wish.count, static_cast<int>(answers.times_ms.size()));
  const int lost = wish.count - received;
  for (int i = 0; i < lost; ++i) text += "Request timed out.\r\n";
  text += format("\r\nPing statistics for %s:\r\n", address);
  text += format("    Packets: Sent = %d, Received = %d, Lost = %d (%d%% loss),\r\n", wish.count,
                 received, lost, static_cast<int>(100.0 * lost / wish.count));
  if (received == 0) return text;
  const auto [least, most] = std::minmax_element(answers.times_ms.begin(), answers.times_ms.end());
  const double sum = std::accumulate(answers.times_ms.begin(), answers.times_ms.end(), 0.0);
  text += "Approximate round trip times in milli-seconds:\r\n";
  text += format("    Minimum = %dms, Maximum = %dms, Average = %dms\r\n", int(*least), int(*most),
                 int(sum / static_cast<double>(answers.times_ms.size())));
  return text;
}

}  // namespace commands
