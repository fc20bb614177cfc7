#pragma once
// The basic types of the platform, the calling thread's last error, and handles. On Windows these
// are the SDK's; elsewhere platform/ implements the subset declared here, with the same names,
// values and calling shape.

#ifdef _WIN32
#include <windows.h>
#include <winsock2.h>
#else

#include <cstddef>
#include <cstdint>
#include <cstring>

#define WINAPI
#define APIENTRY
#define CALLBACK
#define STDMETHODCALLTYPE
#define __stdcall
#define __cdecl

using BOOL = int;
using BYTE = std::uint8_t;
using BOOLEAN = BYTE;
using UCHAR = unsigned char;
using CHAR = char;
using WORD = std::uint16_t;
using USHORT = std::uint16_t;
using SHORT = std::int16_t;
using INT = int;
using UINT = unsigned int;
using DWORD = std::uint32_t;
using LONG = std::int32_t;
using ULONG = std::uint32_t;
using LONGLONG = std::int64_t;
using ULONGLONG = std::uint64_t;
using DWORDLONG = std::uint64_t;
using DWORD64 = std::uint64_t;
using LONG_PTR = std::intptr_t;
using ULONG_PTR = std::uintptr_t;
using UINT_PTR = std::uintptr_t;
using INT_PTR = std::intptr_t;
using DWORD_PTR = std::uintptr_t;
using SIZE_T = std::size_t;
using HRESULT = std::int32_t;
using WCHAR = wchar_t;
using OLECHAR = wchar_t;
using BSTR = wchar_t*;
using PVOID = void*;
using LPVOID = void*;
using LPCVOID = const void*;
using HANDLE = void*;
using HMODULE = void*;
using HINSTANCE = void*;
using HLOCAL = void*;
using HWND = void*;
using HICON = void*;
using HCURSOR = void*;
using HBRUSH = void*;
using HMENU = void*;
using ATOM = WORD;
using LANGID = WORD;
using LCID = DWORD;
using WPARAM = UINT_PTR;
using LPARAM = LONG_PTR;
using LRESULT = LONG_PTR;
using LPSTR = char*;
using PSTR = char*;
using LPCSTR = const char*;
using PCSTR = const char*;
using LPWSTR = wchar_t*;
using PWSTR = wchar_t*;
using LPCWSTR = const wchar_t*;
using PCWSTR = const wchar_t*;
using LPOLESTR = wchar_t*;
using LPCOLESTR = const wchar_t*;
using LPBYTE = BYTE*;
using PBYTE = BYTE*;
using LPBOOL = BOOL*;
using LPDWORD = DWORD*;
using PDWORD = DWORD*;
using LPLONG = LONG*;
using PLONG = LONG*;
using PULONG = ULONG*;
using PHANDLE = HANDLE*;
using errno_t = int;

struct LARGE_INTEGER {
  LONGLONG QuadPart;
};
struct ULARGE_INTEGER {
  ULONGLONG QuadPart;
};

struct GUID {
  std::uint32_t Data1;
  std::uint16_t Data2;
  std::uint16_t Data3;
  std::uint8_t Data4[8];
};
using IID = GUID;
using CLSID = GUID;
using REFGUID = const GUID&;
using REFIID = const IID&;
using REFCLSID = const CLSID&;
inline bool operator==(const GUID& left, const GUID& right) {
  return std::memcmp(&left, &right, sizeof(GUID)) == 0;
}
inline bool IsEqualGUID(REFGUID left, REFGUID right) { return left == right; }

struct SECURITY_ATTRIBUTES {
  DWORD nLength;
  LPVOID lpSecurityDescriptor;
  BOOL bInheritHandle;
};
using LPSECURITY_ATTRIBUTES = SECURITY_ATTRIBUTES*;

#ifndef FALSE
#define FALSE 0
#define TRUE 1
#endif
#define MAX_PATH 260
#define INVALID_HANDLE_VALUE (reinterpret_cast<HANDLE>(static_cast<LONG_PTR>(-1)))

#define LOWORD(value) (static_cast<WORD>(static_cast<DWORD_PTR>(value) & 0xffff))
#define HIWORD(value) (static_cast<WORD>((static_cast<DWORD_PTR>(value) >> 16) & 0xffff))
#define LOBYTE(value) (static_cast<BYTE>(static_cast<DWORD_PTR>(value) & 0xff))
#define HIBYTE(value) (static_cast<BYTE>((static_cast<DWORD_PTR>(value) >> 8) & 0xff))

#define S_OK (static_cast<HRESULT>(0))
#define S_FALSE (static_cast<HRESULT>(1))
#define E_NOTIMPL (static_cast<HRESULT>(0x80004001))
#define E_NOINTERFACE (static_cast<HRESULT>(0x80004002))
#define E_POINTER (static_cast<HRESULT>(0x80004003))
#define E_ABORT (static_cast<HRESULT>(0x80004004))
#define E_FAIL (static_cast<HRESULT>(0x80004005))
#define E_UNEXPECTED (static_cast<HRESULT>(0x8000FFFF))
#define E_ACCESSDENIED (static_cast<HRESULT>(0x80070005))
#define E_OUTOFMEMORY (static_cast<HRESULT>(0x8007000E))
#define E_INVALIDARG (static_cast<HRESULT>(0x80070057))
#define SUCCEEDED(result) (static_cast<HRESULT>(result) >= 0)
#define FAILED(result) (static_cast<HRESULT>(result) < 0)
#define HRESULT_CODE(result) ((result)&0xFFFF)
inline constexpr HRESULT HRESULT_FROM_WIN32(DWORD error) {
  return error == 0 || (error & 0x80000000u) != 0
             ? static_cast<HRESULT>(error)
             : static_cast<HRESULT>((error & 0xFFFFu) | 0x80070000u);
}

#define NO_ERROR 0
#define ERROR_SUCCESS 0
#define ERROR_INVALID_FUNCTION 1
#define ERROR_FILE_NOT_FOUND 2
#define ERROR_PATH_NOT_FOUND 3
#define ERROR_TOO_MANY_OPEN_FILES 4
#define ERROR_ACCESS_DENIED 5
#define ERROR_INVALID_HANDLE 6
#define ERROR_NOT_ENOUGH_MEMORY 8
#define ERROR_OUTOFMEMORY 14
#define ERROR_NO_MORE_FILES 18
#define ERROR_WRITE_FAULT 29
#define ERROR_READ_FAULT 30
#define ERROR_GEN_FAILURE 31
#define ERROR_SHARING_VIOLATION 32
#define ERROR_HANDLE_EOF 38
#define ERROR_NOT_SUPPORTED 50
#define ERROR_BAD_NETPATH 53
#define ERROR_BAD_NET_NAME 67
#define ERROR_FILE_EXISTS 80
#define ERROR_INVALID_PARAMETER 87
#define ERROR_NO_PROC_SLOTS 89
#define ERROR_BROKEN_PIPE 109
#define ERROR_BUFFER_OVERFLOW 111
#define ERROR_DISK_FULL 112
#define ERROR_CALL_NOT_IMPLEMENTED 120
#define ERROR_SEM_TIMEOUT 121
#define ERROR_INSUFFICIENT_BUFFER 122
#define ERROR_INVALID_NAME 123
#define ERROR_INVALID_LEVEL 124
#define ERROR_MOD_NOT_FOUND 126
#define ERROR_PROC_NOT_FOUND 127
#define ERROR_ALREADY_EXISTS 183
#define ERROR_ENVVAR_NOT_FOUND 203
#define ERROR_FILENAME_EXCED_RANGE 206
#define ERROR_MORE_DATA 234
#define WAIT_TIMEOUT 258
#define ERROR_NO_MORE_ITEMS 259
#define ERROR_MR_MID_NOT_FOUND 317
#define ERROR_NOACCESS 998
#define ERROR_INVALID_FLAGS 1004
#define ERROR_KEY_DELETED 1018
#define ERROR_SERVICE_SPECIFIC_ERROR 1066
#define ERROR_SERVICE_DOES_NOT_EXIST 1060
#define ERROR_FAILED_SERVICE_CONTROLLER_CONNECT 1063
#define ERROR_DATABASE_DOES_NOT_EXIST 1065
#define ERROR_SERVICE_NOT_IN_EXE 1083
#define ERROR_NO_UNICODE_TRANSLATION 1113
#define ERROR_INVALID_WINDOW_HANDLE 1400
#define ERROR_CLASS_ALREADY_EXISTS 1410
#define ERROR_INVALID_THREAD_ID 1444
#define ERROR_TIMEOUT 1460
#define RPC_S_SERVER_UNAVAILABLE 1722
#define ERROR_RESOURCE_NAME_NOT_FOUND 1814

// The calling thread's own.
DWORD GetLastError();
void SetLastError(DWORD error);

// False with ERROR_INVALID_HANDLE for anything that is not an open handle.
BOOL CloseHandle(HANDLE handle);

#endif
