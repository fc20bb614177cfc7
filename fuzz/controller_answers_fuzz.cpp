// Any bytes that a controller sends as a replication link, a netlogon answer or a time packet are
// read or refused.

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string_view>

#include "commands/time_text.h"
#include "platform/directory_services/netlogon_answer.h"
#include "platform/directory_services/reps_from.h"

namespace {

void require(bool holds) {
  if (!holds) std::abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view bytes(reinterpret_cast<const char*>(data), size);
  const auto link = platform::decode_reps_from(bytes);
  require(!link || (size >= 208 && link->source_address.size() <= 2 * size));
  const auto answer = platform::decode_netlogon(bytes);
  require(!answer || answer->controller.name.size() <= 255);
  const auto offset = commands::read_time_packet(bytes, 0, 0);
  require(!offset || std::isfinite(*offset));
  return 0;
}
