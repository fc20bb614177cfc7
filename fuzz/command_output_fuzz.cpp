// Any output of the commands is read without a fault: by the agent, and by our own commands, whose
// output the agent then reads.

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>

#include "commands/ping_text.h"
#include "commands/time_text.h"
#include "directory/command_output.h"

namespace {

void require(bool holds) {
  if (!holds) std::abort();
}

std::int32_t read_ping(std::string_view output) {
  directory::PingOutput ping;
  while (!output.empty()) {
    const std::size_t end = std::min(output.find('\n'), output.size() - 1) + 1;
    const auto taken = ping.take(output.substr(0, end));
    require(taken.marks <= 2);
    if (taken.is_last) break;
    output.remove_prefix(end);
  }
  require(ping.result() >= directory::kPingLost);
  return ping.result();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string text(reinterpret_cast<const char*>(data), size);
  read_ping(text);
  const auto offset = directory::read_time_offset(text);
  require(!offset.text || offset.text->size() < size);
  const auto answers = commands::read_ping_answers(text);
  const std::string told = commands::windows_ping_text({4, 1000, 32, "host"}, answers);
  if (!answers.address.empty() && answers.address.find_first_of("=m(\r\n") == std::string::npos) {
    require((read_ping(told) >= 0) == !answers.times_ms.empty());
  }
  commands::read_monitor_wish({"/monitor", "/computers:" + text});
  return 0;
}
