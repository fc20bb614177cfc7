#include "platform/directory_services/reps_from.h"

#include <string>

#include "platform/directory_services/byte_reader.h"
#include "platform/recorded/utf8.h"

namespace platform {
namespace {

// Where the fields lie, from the start of the value.
constexpr std::size_t kVersion = 0;
constexpr std::size_t kFailures = 12;
constexpr std::size_t kLastSuccess = 16;
constexpr std::size_t kLastAttempt = 24;
constexpr std::size_t kLastResult = 32;
constexpr std::size_t kAddressOffset = 36;
constexpr std::size_t kAddressSize = 40;
constexpr std::size_t kReplicaFlags = 44;
constexpr std::size_t kSyncedUsn = 136;
constexpr std::size_t kFilterUsn = 152;
constexpr std::size_t kSource = 160;
constexpr std::size_t kInvocation = 176;
constexpr std::size_t kTransport = 192;
constexpr std::size_t kFixedSize = 208;

// Times there are seconds since 1601.
constexpr std::uint64_t kTicksPerSecond = 10'000'000;
std::uint64_t ticks(std::uint64_t seconds) {
  return seconds > UINT64_MAX / kTicksPerSecond ? 0 : seconds * kTicksPerSecond;
}

// Version 1: the length of the name with its zero end, and the name.
std::string narrow_address(const ByteReader& block) {
  const std::string_view name = block.bytes(4, block.number32(0));
  return std::string(name.substr(0, name.find('\0')));
}

// Version 2: the size of the block, then the place of the name in it, which is UTF-16.
std::string wide_address(const ByteReader& block) {
  std::string name;
  for (std::size_t at = block.number32(4); block.holds(at, 2); at += 2) {
    const auto unit = static_cast<char32_t>(block.number(at, 2));
    if (unit == 0) break;
    // Host names have no characters beyond the first plane.
    append_utf8(name, unit >= 0xD800 && unit < 0xE000 ? U'\uFFFD' : unit);
  }
  return name;
}

}  // namespace

std::optional<ReplicaNeighbour> decode_reps_from(std::string_view value) {
  const ByteReader reader(value);
  const std::uint32_t version = reader.number32(kVersion);
  if (!reader.holds(0, kFixedSize) || (version != 1 && version != 2)) return std::nullopt;
  ReplicaNeighbour link;
  link.failures = reader.number32(kFailures);
  link.last_success = ticks(reader.number(kLastSuccess, 8));
  link.last_attempt = ticks(reader.number(kLastAttempt, 8));
  link.last_result = reader.number32(kLastResult);
  link.flags = reader.number32(kReplicaFlags);
  link.synced_usn = static_cast<std::int64_t>(reader.number(kSyncedUsn, 8));
  link.filter_usn = static_cast<std::int64_t>(reader.number(kFilterUsn, 8));
  link.source_guid = reader.guid(kSource);
  link.source_invocation = reader.guid(kInvocation);
  link.transport_guid = reader.guid(kTransport);
  const ByteReader address(
      reader.bytes(reader.number32(kAddressOffset), reader.number32(kAddressSize)));
  link.source_address = version == 1 ? narrow_address(address) : wide_address(address);
  return link;
}

}  // namespace platform
