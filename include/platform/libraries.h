#pragma once
// Libraries that the program loads while it runs, and the functions in them.

#include "platform/base.h"
#ifdef _WIN32
#else

#include <cstdint>

using FARPROC = std::intptr_t (*)();

#define LOAD_LIBRARY_AS_DATAFILE 0x2u

// The path without a backslash at its end; gives its length, or the size needed with the zero end
// when that is more than there is room for, or 0 on failure.
UINT GetSystemDirectoryA(char* path, UINT size);

// A name or a path, with or without ".dll". Each successful call needs a FreeLibrary. Null on
// failure. Here those of the system's own libraries are there that somebody asks for, and the
// program's own side libraries: NAME.so beside the program or in the folder libraries there or one
// up. The folder of the path does not count.
HMODULE LoadLibraryA(const char* path);
// As a data file a library gives its message texts, and no functions.
HMODULE LoadLibraryExA(const char* path, HANDLE file, DWORD flags);
BOOL FreeLibrary(HMODULE library);
// Null with ERROR_PROC_NOT_FOUND; letter case counts.
FARPROC GetProcAddress(HMODULE library, const char* name);

#endif
