#pragma once
// One group policy object; filled by DNSUtils::GetAllGPOList. Text fields are zero padded, and the
// table's columns are copied from them at full width.

#include <cstdint>

struct GPOInfo {
  char name[64] = {};  // for people
  char guid[64] = {};  // in braces
  std::int32_t version = 0;
  std::int32_t sysvolVersion = -1;  // of the policy's folder; -1: could not be read
  std::int32_t status = 0;          // -1: nothing is switched off; 0: could not be read
  char created[64] = {};            // local time, as month/day/year  hours:minutes
  char modified[64] = {};           // likewise
};
