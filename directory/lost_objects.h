#pragma once
// The walk over what has lost its place in the directory: the LostAndFound container of a domain.
//
//   int result = 0;
//   LostObjectsEnum lost(server, domain, result);
//   while (result == 0 && LostObjectsEnum::GetObject(object) != ADSI_ENUM_END) ...
//   LostObjectsEnum::FreeLostObject();
//
// One enumerator serves the whole process, without a lock: only one walk can run at a time, and its
// one caller runs a walk from end to end within a call.

// The platform first: a system header may give GetObject another name.
#include "include/lost_object.h"
#include "include/platform/adsi.h"

class LostObjectsEnum {
 public:
  // Opens the walk; the enumerator of one left open is freed. domain: its distinguished name.
  // result: 0, ADSI_CONTAINER_ERR or ADSI_ENUM_ERR.
  LostObjectsEnum(const char* server, const char* domain, int& result);
  ~LostObjectsEnum();  // frees the enumerator
  LostObjectsEnum(const LostObjectsEnum&) = delete;
  LostObjectsEnum& operator=(const LostObjectsEnum&) = delete;

  // 0, or ADSI_ENUM_END, also after a failure and when no walk is open. What cannot be read of an
  // object leaves its field as it was, with result 0.
  static int GetObject(LostObject& object);
  // 0.
  static int FreeLostObject();
};
