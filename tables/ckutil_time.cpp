#include <algorithm>
#include <cstdio>
#include <cstring>
#include <ctime>

#include "include/trace.h"
#include "tables/ckutil.h"

namespace {

constexpr std::size_t kTimeStampSize = 16;
constexpr std::int32_t kTooSmall = 4;
constexpr std::int32_t kHoursAndMinutesSize = 6;  // "hh:mm" and its end

struct TimeStamp {
  // Room for every number that a field can hold, so that the text itself is never cut.
  char text[96];
};

TimeStamp time_stamp(int year, int month, int day, int hour, int minute, int second,
                     int milliseconds) {
  TimeStamp stamp;
  std::snprintf(stamp.text, sizeof stamp.text, "%03d%02d%02d%02d%02d%02d%03d", year, month, day,
                hour, minute, second, milliseconds);
  stamp.text[kTimeStampSize] = '\0';
  return stamp;
}

void guarded_copy(char* target, const char* source, std::size_t size) {
  if (target != nullptr && source != nullptr) std::memcpy(target, source, size);
}

}  // namespace

std::int32_t CKUtil::getMWTimeStamp(char* target) {
  DCW_TRACE("getMWTimeStamp");
  const __time64_t now = _time64(nullptr);
  std::tm local = {};
  _localtime64_s(&local, &now);
  const TimeStamp stamp = time_stamp(local.tm_year, local.tm_mon + 1, local.tm_mday, local.tm_hour,
                                     local.tm_min, local.tm_sec, 0);
  guarded_copy(target, stamp.text, kTimeStampSize);
  return trace.returns(0);
}

std::int32_t CKUtil::systimeToMWString(char* target, const SYSTEMTIME& time,
                                       std::int32_t target_size) {
  DCW_TRACE("systimeToMWString");
  if (target_size < static_cast<std::int32_t>(kTimeStampSize)) {
    trace.error()("Input buffer too small.  iTargetSize = %d", target_size);
    return trace.returns(kTooSmall);
  }
  const TimeStamp stamp = time_stamp(time.wYear - 1900, time.wMonth, time.wDay, time.wHour,
                                     time.wMinute, time.wSecond, time.wMilliseconds);
  guarded_copy(target, stamp.text, kTimeStampSize);
  trace.detail()("Resulting timestamp = %s", stamp.text);
  return trace.returns(0);
}

std::int32_t CKUtil::minutesToString(char* target, std::int32_t minutes, std::int32_t target_size) {
  DCW_TRACE("minutesToString");
  if (target_size < kHoursAndMinutesSize) {
    trace.error()("Input buffer too small.  iTargetSize = %d", target_size);
    return trace.returns(kTooSmall);
  }
  char text[32];
  const int length = std::snprintf(text, sizeof text, "%02d:%02d", minutes / 60, minutes % 60);
  // A hundred hours or more pass the test above and need more room than it asks for.
  if (length >= target_size) {
    trace.error()("Time %s cut at the target's size of %d", text, target_size);
    text[target_size - 1] = '\0';
  }
  guarded_copy(target, text, std::strlen(text) + 1);
  trace.detail()("Resulting time = %s", text);
  return trace.returns(0);
}
