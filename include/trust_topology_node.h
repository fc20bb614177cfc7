#pragma once
// One trust, as the side library for the trust topology hands it over, and as the program keeps it.

#include <cstddef>
#include <cstdint>

inline constexpr std::int32_t kTrustTypeDownlevel = 1;
inline constexpr std::int32_t kTrustTypeUplevel = 2;
inline constexpr std::int32_t kTrustTypeMit = 3;
inline constexpr std::int32_t kTrustTypeDce = 4;
inline constexpr std::int32_t kTrustTypeUnknown = 5;

inline constexpr std::int32_t kTrustDirectionUnknown = -1;
inline constexpr std::int32_t kTrustDirectionDisabled = 0;
inline constexpr std::int32_t kTrustDirectionInbound = 1;
inline constexpr std::int32_t kTrustDirectionOutbound = 2;
inline constexpr std::int32_t kTrustDirectionBoth = 3;

// The library's record. Its layout is the boundary between the two and never changes.
struct TrustTopologyRecord {
  char trustFrom[256];  // the domain that trusts; ends in a zero
  char trustTo[256];    // the domain that is trusted
  std::int32_t trustType;
  std::int32_t trustDirection;
  std::uint32_t trustAttributes;
};
static_assert(offsetof(TrustTopologyRecord, trustTo) == 256);
static_assert(offsetof(TrustTopologyRecord, trustType) == 512);
static_assert(offsetof(TrustTopologyRecord, trustDirection) == 516);
static_assert(offsetof(TrustTopologyRecord, trustAttributes) == 520);
static_assert(sizeof(TrustTopologyRecord) == 524);

// The program's own copy.
struct TrustTopologyNode : TrustTopologyRecord {
  std::uint8_t ownSpace[12];  // zeros
};
static_assert(sizeof(TrustTopologyNode) == 536);

// What the library exports, under these names.
extern "C" {
// 1 when the topology is ready to be read.
using GetTrustTopologyInfoFunction = int (*)();
// Non-zero with the next node, which the library owns; 0 after the last.
using GetNextNodeFunction = int (*)(TrustTopologyRecord** node);
// Called once, after the last node.
using FreeTTMemoryFunction = void (*)();
}
