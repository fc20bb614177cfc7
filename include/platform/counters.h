#pragma once
// Performance counters, by the names of the Performance Data Helper library.

#ifdef _WIN32
// clang-format off
#include "platform/base.h"
#include <pdh.h>
#include <pdhmsg.h>
// clang-format on
#else

#include "platform/base.h"

using PDH_STATUS = LONG;
using PDH_HCOUNTER = HANDLE;
using PDH_HQUERY = HANDLE;

#define PDH_CSTATUS_VALID_DATA ((DWORD)0x00000000)
#define PDH_CSTATUS_NEW_DATA ((DWORD)0x00000001)
#define PDH_CSTATUS_NO_MACHINE ((DWORD)0x800007D0)
#define PDH_CSTATUS_NO_INSTANCE ((DWORD)0x800007D1)
#define PDH_MORE_DATA ((DWORD)0x800007D2)
#define PDH_NO_DATA ((DWORD)0x800007D5)
#define PDH_CSTATUS_NO_OBJECT ((DWORD)0xC0000BB8)
#define PDH_CSTATUS_NO_COUNTER ((DWORD)0xC0000BB9)
#define PDH_CSTATUS_INVALID_DATA ((DWORD)0xC0000BBA)
#define PDH_MEMORY_ALLOCATION_FAILURE ((DWORD)0xC0000BBB)
#define PDH_INVALID_HANDLE ((DWORD)0xC0000BBC)
#define PDH_INVALID_ARGUMENT ((DWORD)0xC0000BBD)
#define PDH_CSTATUS_BAD_COUNTERNAME ((DWORD)0xC0000BC0)
#define PDH_INSUFFICIENT_BUFFER ((DWORD)0xC0000BC2)
#define PDH_INVALID_PATH ((DWORD)0xC0000BC4)
#define PDH_INVALID_DATA ((DWORD)0xC0000BC6)
#define PDH_LOG_FILE_OPEN_ERROR ((DWORD)0xC0000BCA)
#define PDH_STRING_NOT_FOUND ((DWORD)0xC0000BD4)

#define PDH_FMT_LONG ((DWORD)0x00000100)
#define PDH_FMT_DOUBLE ((DWORD)0x00000200)
#define PDH_FMT_LARGE ((DWORD)0x00000400)
#define PDH_FMT_NOSCALE ((DWORD)0x00001000)
#define PDH_FMT_1000 ((DWORD)0x00002000)
#define PDH_FMT_NOCAP100 ((DWORD)0x00008000)

#define PERF_DETAIL_NOVICE 100
#define PERF_DETAIL_ADVANCED 200
#define PERF_DETAIL_EXPERT 300
#define PERF_DETAIL_WIZARD 400
#define PERF_COUNTER_COUNTER 0x10410400
#define PERF_COUNTER_LARGE_RAWCOUNT 0x00010100

// The names are the caller's and writable, as in the SDK.
struct PDH_COUNTER_PATH_ELEMENTS_A {
  char* szMachineName;
  char* szObjectName;
  char* szInstanceName;
  char* szParentInstance;
  DWORD dwInstanceIndex;
  char* szCounterName;
};
using PPDH_COUNTER_PATH_ELEMENTS_A = PDH_COUNTER_PATH_ELEMENTS_A*;

struct PDH_FMT_COUNTERVALUE {
  DWORD CStatus;
  union {
    LONG longValue;
    double doubleValue;
    LONGLONG largeValue;
    const char* AnsiStringValue;
    const WCHAR* WideStringValue;
  };
};
using PPDH_FMT_COUNTERVALUE = PDH_FMT_COUNTERVALUE*;

// All of these may be called from any thread; calls on one query wait for each other. Each gives 0
// or a PDH status. A query belongs to who opened it, and its counters go with it.

// data_source: null for what happens now; log files are not supported.
PDH_STATUS PdhOpenQueryA(const char* data_source, DWORD_PTR user_data, PDH_HQUERY* query);
PDH_STATUS PdhCloseQuery(PDH_HQUERY query);
// A counter whose instance is not there now is added, and has no value until it comes.
PDH_STATUS PdhAddCounterA(PDH_HQUERY query, const char* path, DWORD_PTR user_data,
                          PDH_HCOUNTER* counter);
PDH_STATUS PdhRemoveCounter(PDH_HCOUNTER counter);
// PDH_NO_DATA when the query has no counter, or none of them is there.
PDH_STATUS PdhCollectQueryData(PDH_HQUERY query);
// What the last collection read. A rate needs two collections and gives PDH_INVALID_DATA before.
PDH_STATUS PdhGetFormattedCounterValue(PDH_HCOUNTER counter, DWORD format, DWORD* type,
                                       PDH_FMT_COUNTERVALUE* value);

// \\MACHINE\Object(Parent/Instance#Index)\Counter with what is given of it; an index of 0xFFFFFFFF
// is none. PDH_MORE_DATA and the size needed, with the zero end, when the path does not fit.
PDH_STATUS PdhMakeCounterPathA(PDH_COUNTER_PATH_ELEMENTS_A* elements, char* path, DWORD* size,
                               DWORD flags);
PDH_STATUS PdhValidatePathA(const char* path);

// Lists of zero-ended names, ended by an empty one. A list that does not fit, or whose buffer is
// null, gives PDH_MORE_DATA and the sizes needed.
PDH_STATUS PdhEnumObjectsA(const char* data_source, const char* machine, char* objects, DWORD* size,
                           DWORD detail, BOOL refresh);
PDH_STATUS PdhEnumObjectItemsA(const char* data_source, const char* machine, const char* object,
                               char* counters, DWORD* counters_size, char* instances,
                               DWORD* instances_size, DWORD detail, DWORD flags);

// The name of an index in the machine's own language; size is set to the length with its zero end.
PDH_STATUS PdhLookupPerfNameByIndexA(const char* machine, DWORD index, char* name, DWORD* size);

// The narrow form is the one meant where a name has two, as in a program built without UNICODE.
using PDH_COUNTER_PATH_ELEMENTS = PDH_COUNTER_PATH_ELEMENTS_A;
#define PdhOpenQuery PdhOpenQueryA
#define PdhAddCounter PdhAddCounterA
#define PdhMakeCounterPath PdhMakeCounterPathA
#define PdhValidatePath PdhValidatePathA
#define PdhEnumObjects PdhEnumObjectsA
#define PdhEnumObjectItems PdhEnumObjectItemsA
#define PdhLookupPerfNameByIndex PdhLookupPerfNameByIndexA

#endif
