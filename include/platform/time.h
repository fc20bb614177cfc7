#pragma once
// Clocks and calendar conversions. All clocks are the platform's, so that virtual time holds.

#include "platform/base.h"
#ifdef _WIN32
#include <oleauto.h>
#include <sys/timeb.h>
#include <time.h>
#else

#include <cstdint>
#include <ctime>

using __time64_t = std::int64_t;
using DATE = double;  // days since 30 December 1899; the day part may be negative

struct __timeb64 {
  __time64_t time;
  unsigned short millitm;
  short timezone;  // minutes west of Greenwich, without daylight saving
  short dstflag;
};
#define _timeb __timeb64

struct SYSTEMTIME {
  WORD wYear;
  WORD wMonth;
  WORD wDayOfWeek;  // 0 is Sunday
  WORD wDay;
  WORD wHour;
  WORD wMinute;
  WORD wSecond;
  WORD wMilliseconds;
};
using LPSYSTEMTIME = SYSTEMTIME*;

struct FILETIME {
  DWORD dwLowDateTime;
  DWORD dwHighDateTime;  // 100 ns since 1601, universal time
};

struct TIME_ZONE_INFORMATION {
  LONG Bias;  // minutes: universal time = local time + bias
  WCHAR StandardName[32];
  SYSTEMTIME StandardDate;
  LONG StandardBias;
  WCHAR DaylightName[32];
  SYSTEMTIME DaylightDate;
  LONG DaylightBias;
};

#define TIME_ZONE_ID_INVALID 0xFFFFFFFFu
#define TIME_ZONE_ID_UNKNOWN 0
#define TIME_ZONE_ID_STANDARD 1
#define TIME_ZONE_ID_DAYLIGHT 2

__time64_t _time64(__time64_t* seconds);
void _ftime64(__timeb64* now);

void GetLocalTime(SYSTEMTIME* time);
void GetSystemTime(SYSTEMTIME* time);
void GetSystemTimeAsFileTime(FILETIME* time);
ULONGLONG GetTickCount64();
BOOL QueryPerformanceCounter(LARGE_INTEGER* count);
BOOL QueryPerformanceFrequency(LARGE_INTEGER* frequency);

// Target first, as the Microsoft run-time has it; 0 or an errno value.
errno_t localtime_s(std::tm* local, const std::time_t* seconds);
errno_t _localtime64_s(std::tm* local, const __time64_t* seconds);
errno_t gmtime_s(std::tm* universal, const std::time_t* seconds);
errno_t asctime_s(char* text, std::size_t size, const std::tm* time);

BOOL SystemTimeToFileTime(const SYSTEMTIME* time, FILETIME* file_time);
BOOL FileTimeToSystemTime(const FILETIME* file_time, SYSTEMTIME* time);
BOOL FileTimeToLocalFileTime(const FILETIME* universal, FILETIME* local);

DWORD GetTimeZoneInformation(TIME_ZONE_INFORMATION* zone);
// A null zone is the machine's own.
BOOL SystemTimeToTzSpecificLocalTime(const TIME_ZONE_INFORMATION* zone, const SYSTEMTIME* universal,
                                     SYSTEMTIME* local);
BOOL TzSpecificLocalTimeToSystemTime(const TIME_ZONE_INFORMATION* zone, const SYSTEMTIME* local,
                                     SYSTEMTIME* universal);

// Rounded to the nearest second, as OLE does it; false outside the years 100 to 9999.
int VariantTimeToSystemTime(DATE time, SYSTEMTIME* system_time);
int SystemTimeToVariantTime(const SYSTEMTIME* system_time, DATE* time);

#endif
