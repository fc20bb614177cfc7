#pragma once
// What the calls share: names as callers write them, and identifiers.

#include <cstring>
#include <string_view>

#include "include/platform/base.h"
#include "platform/directory_services/services.h"

namespace platform {

// Without the backslashes that callers may write before it; null is empty.
inline std::string_view bare_name(const char* name) {
  std::string_view bare = name == nullptr ? "" : name;
  while (bare.starts_with('\\')) bare.remove_prefix(1);
  return bare;
}

inline GUID guid_of(const GuidBytes& bytes) {
  GUID guid;
  static_assert(sizeof guid == sizeof bytes);
  std::memcpy(&guid, bytes.data(), sizeof guid);
  return guid;
}

}  // namespace platform
