// Test equipment, never part of a package: a pdh.dll for Wine, whose own ends the process at the
// calls that list objects. It answers as a machine does that has no performance counters at all.

#include <winsock2.h>
// Windows first: the counter header needs its types.
#include <windows.h>
// Its functions are declared for import; here they are made.
#include <pdh.h>
#include <pdhmsg.h>

#include <cstdio>

extern "C" {

PDH_STATUS WINAPI PdhOpenQueryA(LPCSTR, DWORD_PTR, PDH_HQUERY* query) {
  static int one;
  *query = &one;
  return ERROR_SUCCESS;
}

PDH_STATUS WINAPI PdhCloseQuery(PDH_HQUERY) { return ERROR_SUCCESS; }

PDH_STATUS WINAPI PdhMakeCounterPathA(PDH_COUNTER_PATH_ELEMENTS_A* parts, LPSTR path, LPDWORD size,
                                      DWORD) {
  char text[1024];
  const bool instance = parts->szInstanceName != nullptr;
  const int length = std::snprintf(text, sizeof text, "\\%s%s%s%s\\%s", parts->szObjectName,
                                   instance ? "(" : "", instance ? parts->szInstanceName : "",
                                   instance ? ")" : "", parts->szCounterName);
  const DWORD needed = static_cast<DWORD>(length) + 1;
  const bool fits = path != nullptr && *size >= needed;
  if (fits) std::snprintf(path, *size, "%s", text);
  *size = needed;
  return fits ? ERROR_SUCCESS : PDH_MORE_DATA;
}

PDH_STATUS WINAPI PdhValidatePathA(LPCSTR) { return PDH_CSTATUS_NO_OBJECT; }

PDH_STATUS WINAPI PdhAddCounterA(PDH_HQUERY, LPCSTR, DWORD_PTR, PDH_HCOUNTER*) {
  return PDH_CSTATUS_NO_OBJECT;
}

PDH_STATUS WINAPI PdhCollectQueryData(PDH_HQUERY) { return PDH_NO_DATA; }

PDH_STATUS WINAPI PdhGetFormattedCounterValue(PDH_HCOUNTER, DWORD, LPDWORD, PPDH_FMT_COUNTERVALUE) {
  return PDH_INVALID_HANDLE;
}

PDH_STATUS WINAPI PdhEnumObjectsA(LPCSTR, LPCSTR, LPSTR, LPDWORD size, DWORD, WINBOOL) {
  *size = 0;
  return ERROR_SUCCESS;
}

PDH_STATUS WINAPI PdhEnumObjectItemsA(LPCSTR, LPCSTR, LPCSTR, LPSTR, LPDWORD counters_size, LPSTR,
                                      LPDWORD instances_size, DWORD, DWORD) {
  *counters_size = 0;
  *instances_size = 0;
  return PDH_CSTATUS_NO_OBJECT;
}

PDH_STATUS WINAPI PdhLookupPerfNameByIndexA(LPCSTR, DWORD, LPSTR, LPDWORD) {
  return PDH_STRING_NOT_FOUND;
}
}
