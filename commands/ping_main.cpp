// ping -n COUNT -w MILLISECONDS -l SIZE HOST, with the answers of this system's own ping.

#include <algorithm>
#include <cstdio>
#include <string>
#include <vector>

#include "commands/ping_text.h"
#include "commands/run_program.h"

int main(int count, char** arguments) {
  const auto wish = commands::read_ping_wish({arguments + 1, arguments + count});
  if (!wish) {
    std::fputs("Usage: ping [-n count] [-w timeout] [-l size] target_name\r\n", stdout);
    return 1;
  }
  // The other's shortest wait is a whole second.
  const int wait_s = std::max(1, (wish->timeout_ms + 999) / 1000);
  const auto ran = commands::run_program({"/usr/bin/ping", "-n", "-c", std::to_string(wish->count),
                                          "-W", std::to_string(wait_s), "-s",
                                          std::to_string(wish->size), "--", wish->host});
  const auto answers = commands::read_ping_answers(ran.output);
  std::fputs(commands::windows_ping_text(*wish, answers).c_str(), stdout);
  return answers.times_ms.empty() ? 1 : 0;
}
