#pragma once
// Memory shared between processes under a name. It lives as long as any process has a handle to it;
// with the last one the name is gone, however the process ended.

#include "platform/base.h"
#ifdef _WIN32
#else

#define PAGE_READWRITE 4
#define FILE_MAP_WRITE 2
#define FILE_MAP_READ 4

// Only memory of the system's own: the file is INVALID_HANDLE_VALUE and the protection
// PAGE_READWRITE. New memory is zero. A name that exists already gives a handle to that memory,
// with last error ERROR_ALREADY_EXISTS; otherwise last error is 0. Null on failure.
//
// "Global\\NAME" is one for the whole machine, though only the user who made it and the
// administrator may open it; any other name is the user's own. Under virtual time every name stays
// inside the program: the machine is a simulated one, and tests run side by side.
HANDLE CreateFileMappingA(HANDLE file, SECURITY_ATTRIBUTES* security, DWORD protection,
                          DWORD size_high, DWORD size_low, const char* name);
// Null with ERROR_FILE_NOT_FOUND when nobody has memory of that name.
HANDLE OpenFileMappingA(DWORD access, BOOL inherit, const char* name);
// Null on failure. Size 0 is all of it; the offset must be 0. Reading beyond what was asked for,
// and writing to a view for reading, ends the process.
LPVOID MapViewOfFile(HANDLE mapping, DWORD access, DWORD offset_high, DWORD offset_low,
                     SIZE_T size);
BOOL UnmapViewOfFile(LPCVOID view);

#endif
