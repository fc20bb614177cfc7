#pragma once
// Helpers that put values into the fields of rows, render the agent's times, and a few small
// services that collectors and table agents share. A text field of a row has a fixed width, is
// padded with blanks and has no zero end.
//
// All are static, work on the caller's memory and may run on any thread, save setOriginNode and
// setOSVersion, which change state of the class without a lock. None of them throws. Where a result
// is given, 0 is success and 4 means that the target is too small or that memory ran out; the
// target is then left unwritten.

#include <cstdint>
#include <string_view>

#include "include/platform/base.h"
#include "include/platform/text.h"
#include "include/platform/time.h"

class CKUtil {
 public:
  // Forgets the origin node and the system's version.
  ~CKUtil();

  // Times.
  // Writes the local time now as the 16 characters of a time stamp, years since 1900 to
  // milliseconds, these always "000". Always 0.
  static std::int32_t getMWTimeStamp(char* target);
  // Likewise the given time with its milliseconds; a target size under 16 is refused.
  static std::int32_t systimeToMWString(char* target, const SYSTEMTIME& time,
                                        std::int32_t target_size);
  // Writes hours and minutes as "02:05" with a zero end; a target size under 6 is refused, and a
  // text that is longer for its many hours is cut at the target's size.
  static std::int32_t minutesToString(char* target, std::int32_t minutes, std::int32_t target_size);

  // Fields. A null pointer leaves the target alone.
  // Copies size bytes; when the text then in the target ends before, blanks follow it.
  static void mwmemcpy(char* target, const char* source, std::int32_t size);
  // Copies the text, cut at size or padded with blanks.
  static void mwstrncpy(char* target, const char* source, std::int32_t size);
  // Likewise, converted to UTF-8; what cannot be converted leaves blanks.
  static void mwUTF16toUTF8cpy(char* target, const Utf16* source, std::int32_t size);
  // Likewise, converted to ASCII; with the flag every blank at the field's end becomes a "0".
  static void mwUTF16toASCIIcpy(char* target, const Utf16* source, std::int32_t size,
                                std::int32_t zeros_at_end);
  // Blanks the field from length on. A text longer than its field comes out as an empty one,
  // deliberately.
  static void blanksTrails(std::int32_t length, std::int32_t size, char* field);

  // Names.
  // The host's full name, "dc1" to "dc1.corp.example": at most size characters, zeros behind a
  // shorter one, and no zero end for one of that size or more. 0; 1 when the name cannot be looked
  // up, with the reason in WSAGetLastError, or when it has no full name.
  static std::int32_t getCanonicalHostname(const char* host, char* canonical, std::int32_t size);
  // "DOMAIN\host" to "host"; the target is 64 characters, zeroed behind the name. Always true.
  static bool trimHostname(const char* source, char* target);
  // "Site1\rest" to "Site1"; the target is as large as the source. Always true.
  static bool trimSitename(const char* source, char* target);
  // Change the first length characters in place; give back the text.
  static char* lower(char* text, std::int32_t length);
  static char* upper(char* text, std::int32_t length);

  // The node's name as the class keeps it: a copy of size characters.
  static std::int32_t setOriginNode(const char* name, std::int32_t size);
  static std::string_view originNode();

  // The system.
  // Keeps the system's version in g_osMajorVersion and g_osMinorVersion; called once, at start.
  static void setOSVersion();
  // 1 on the NT platform, else 0; on a platform unknown to it the build number is left unwritten.
  static std::int32_t GetOSVersionInfo(std::int32_t* version, std::int32_t* major,
                                       std::int32_t* minor, std::int32_t* build);
  // True only when the local machine's service of that key name is in the running state.
  static bool IsServiceRunning(const char* name);
  // Writes the system's text for a status of the counter library to the trace.
  static void DisplayPDHError(std::int32_t status);
  // Rounded percentage in 32-bit arithmetic that wraps; 0 for a total of 0. Nothing is limited:
  // results above 100 and below 0 pass through.
  static std::int32_t calculatePdhPercent(std::int32_t value, std::int32_t total);

  // Names of counters. 1 is success, 0 a failure, which the trace tells. Each text begins with the
  // prefix, is cut at 4095 characters and stays good until the thread's next call of either; at
  // most 128 of them are made.
  // The local names of count indexes, up to the first that has none.
  static std::int32_t PerfIndexToName(const char* prefix, std::int32_t count,
                                      const std::uint32_t* indexes, const char** names);
  // The names of the program's string resource of that number, "(name , name , name )": at most
  // count, leaving out those with the word INSTANCE. What is left of the array stays as it is.
  static std::int32_t parseCounterList(std::uint32_t resource, const char* prefix,
                                       std::int32_t count, const char** names);
};
