#pragma once
// Files by handle, file attributes, and commands through a pipe. Streams (fopen and its kin) and
// the command whose output goes to our own (system) are the C library's on every system.

#include "platform/base.h"
#ifdef _WIN32
#include <io.h>
#include <stdio.h>
#else

#include <cstdio>

#define GENERIC_READ 0x80000000u
#define GENERIC_WRITE 0x40000000u
#define FILE_SHARE_READ 1u
#define FILE_SHARE_WRITE 2u
#define FILE_SHARE_DELETE 4u
#define CREATE_NEW 1
#define CREATE_ALWAYS 2
#define OPEN_EXISTING 3
#define OPEN_ALWAYS 4
#define TRUNCATE_EXISTING 5
#define FILE_ATTRIBUTE_READONLY 0x1u
#define FILE_ATTRIBUTE_DIRECTORY 0x10u
#define FILE_ATTRIBUTE_ARCHIVE 0x20u
#define FILE_ATTRIBUTE_NORMAL 0x80u
#define FILE_FLAG_SEQUENTIAL_SCAN 0x08000000u  // a hint, nothing more
#define INVALID_FILE_ATTRIBUTES 0xFFFFFFFFu

struct OVERLAPPED;

// Backslashes in paths are folder separators, as slashes are.
HANDLE CreateFileA(const char* path, DWORD access, DWORD share, SECURITY_ATTRIBUTES* security,
                   DWORD disposition, DWORD attributes, HANDLE template_file);
BOOL ReadFile(HANDLE file, void* buffer, DWORD size, DWORD* read, OVERLAPPED* overlapped);
BOOL WriteFile(HANDLE file, const void* buffer, DWORD size, DWORD* written, OVERLAPPED* overlapped);
BOOL DeleteFileA(const char* path);
DWORD GetFileAttributesA(const char* path);

// 0 when the file may be used so (0 exists, 2 write, 4 read, 6 both), else -1 with errno.
int _access(const char* path, int mode);

// Runs a command with the system's interpreter; null on failure. "r" and "w", with "t" or "b".
FILE* _popen(const char* command, const char* mode);
// The command's exit code, or -1 with errno.
int _pclose(FILE* stream);

#endif
