#include "platform/directory_services/netlogon_answer.h"

#include "platform/directory_services/byte_reader.h"

namespace platform {
namespace {

constexpr std::uint32_t kExtendedAnswer = 23;
constexpr std::uint32_t kExtendedPaused = 24;
constexpr std::size_t kFlags = 4;
constexpr std::size_t kDomainGuid = 8;
constexpr std::size_t kNames = 24;
constexpr std::size_t kLongestName = 255;

// A name in the form of the domain name system: labels behind their lengths, or a pointer back to
// where it goes on. Moves at behind the name. Each pointer must lead back, so that it ends.
std::optional<std::string> read_name(const ByteReader& reader, std::size_t& at) {
  std::string name;
  std::size_t place = at;
  std::size_t earliest = at;
  bool jumped = false;
  while (true) {
    if (!reader.holds(place, 1)) return std::nullopt;
    const std::size_t length = reader.number(place, 1);
    if (length == 0) {
      if (!jumped) at = place + 1;
      return name;
    }
    if ((length & 0xC0) == 0xC0) {
      if (!reader.holds(place, 2)) return std::nullopt;
      if (!jumped) at = place + 2;
      jumped = true;
      place = (length & 0x3F) << 8 | reader.number(place + 1, 1);
      if (place >= earliest) return std::nullopt;
      earliest = place;
      continue;
    }
    if (length > 63 || !reader.holds(place + 1, length)) return std::nullopt;
    if (!name.empty()) name += '.';
    name += reader.bytes(place + 1, length);
    if (name.size() > kLongestName) return std::nullopt;
    place += 1 + length;
  }
}

}  // namespace

std::optional<NetlogonAnswer> decode_netlogon(std::string_view bytes) {
  const ByteReader reader(bytes);
  const std::uint64_t kind = reader.number(0, 2);
  if (!reader.holds(0, kNames) || (kind != kExtendedAnswer && kind != kExtendedPaused)) {
    return std::nullopt;
  }
  NetlogonAnswer answer;
  answer.controller.flags = reader.number32(kFlags);
  answer.controller.domain_guid = reader.guid(kDomainGuid);
  std::string flat_domain;
  std::string flat_name;
  std::string user;
  std::size_t at = kNames;
  for (std::string* target :
       {&answer.controller.forest, &answer.controller.domain, &answer.controller.name, &flat_domain,
        &flat_name, &user, &answer.controller.site, &answer.client_site}) {
    std::optional<std::string> name = read_name(reader, at);
    if (!name) return std::nullopt;
    *target = std::move(*name);
  }
  return answer;
}

}  // namespace platform
