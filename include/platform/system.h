#pragma once
// What kind of machine this is, the system's message texts, and memory handed out with them.

#include "platform/base.h"
#ifdef _WIN32
#else

#include <cstdarg>

#define VER_PLATFORM_WIN32s 0
#define VER_PLATFORM_WIN32_WINDOWS 1
#define VER_PLATFORM_WIN32_NT 2

struct OSVERSIONINFOA {
  DWORD dwOSVersionInfoSize;
  DWORD dwMajorVersion;
  DWORD dwMinorVersion;
  DWORD dwBuildNumber;
  DWORD dwPlatformId;
  CHAR szCSDVersion[128];
};
static_assert(sizeof(OSVERSIONINFOA) == 148);
using LPOSVERSIONINFOA = OSVERSIONINFOA*;

#define FORMAT_MESSAGE_ALLOCATE_BUFFER 0x100u
#define FORMAT_MESSAGE_IGNORE_INSERTS 0x200u
#define FORMAT_MESSAGE_FROM_STRING 0x400u
#define FORMAT_MESSAGE_FROM_HMODULE 0x800u
#define FORMAT_MESSAGE_FROM_SYSTEM 0x1000u
#define FORMAT_MESSAGE_ARGUMENT_ARRAY 0x2000u
#define FORMAT_MESSAGE_MAX_WIDTH_MASK 0xFFu

#define LMEM_FIXED 0
#define LMEM_ZEROINIT 0x40
#define LPTR 0x40

enum COMPUTER_NAME_FORMAT {
  ComputerNameNetBIOS,
  ComputerNameDnsHostname,
  ComputerNameDnsDomain,
  ComputerNameDnsFullyQualified,
  ComputerNamePhysicalNetBIOS,
  ComputerNamePhysicalDnsHostname,
  ComputerNamePhysicalDnsDomain,
  ComputerNamePhysicalDnsFullyQualified,
  ComputerNameMax
};

// Low byte major version, next byte minor version, high word build number.
DWORD GetVersion();
// False with ERROR_INSUFFICIENT_BUFFER for a record whose size field is not the record's.
BOOL GetVersionExA(OSVERSIONINFOA* version);
LANGID GetSystemDefaultLangID();

// The length of the text without its zero end; 0 with the last error on failure.
DWORD FormatMessageA(DWORD flags, const void* source, DWORD message, DWORD language, char* buffer,
                     DWORD size, va_list* arguments);

DWORD FormatMessageW(DWORD flags, const void* source, DWORD message, DWORD language,
                     wchar_t* buffer, DWORD size, va_list* arguments);

HLOCAL LocalAlloc(UINT flags, SIZE_T size);
// Null when the memory has been freed, otherwise the argument.
HLOCAL LocalFree(HLOCAL memory);

// Null asks for the program itself. Nothing to release.
HMODULE GetModuleHandleA(const char* name);
DWORD GetModuleFileNameA(HMODULE module, char* path, DWORD size);
BOOL GetComputerNameA(char* name, DWORD* size);
BOOL GetComputerNameExA(COMPUTER_NAME_FORMAT format, char* name, DWORD* size);

#endif
