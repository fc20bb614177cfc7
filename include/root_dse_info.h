#pragma once
// What the root object of a directory server tells of itself; filled by DNSUtils::GetRootDSEInfo
// and owned by the caller. Text fields are zero padded.

#include <cstdint>

struct RootDSEInfo {
  std::int32_t dcFunctionality = -1;  // -1: could not be read
  std::int32_t domainFunctionality = -1;
  std::int32_t forestFunctionality = -1;
  char rootDomainName[128] = {};  // the forest root's naming context
  char rootFQDN[128] = {};        // the same value, for the caller to convert
};
