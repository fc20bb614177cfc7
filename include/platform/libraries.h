#pragma once
// Libraries that the program loads while it runs, and the functions in them.

#include "platform/base.h"
#ifdef _WIN32
#else

#include <cstdint>

using FARPROC = std::intptr_t (*)();

// The path without a backslash at its end; gives its length, or the size needed with the zero end
// when that is more than there is room for, or 0 on failure.
UINT GetSystemDirectoryA(char* path, UINT size);

// A name or a path, with or without ".dll". Each successful call needs a FreeLibrary. Null on
// failure. Here only the system's own libraries that somebody asks for are there; their folder does
// not count.
HMODULE LoadLibraryA(const char* path);
BOOL FreeLibrary(HMODULE library);
// Null with ERROR_PROC_NOT_FOUND; letter case counts.
FARPROC GetProcAddress(HMODULE library, const char* name);

#endif
