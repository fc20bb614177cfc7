#pragma once
// The sockets library's start, and the machine's own name as it gives it, short and in full.

#include "platform/base.h"
#ifdef _WIN32
#include <ws2tcpip.h>
#else

#include <cstddef>

#define SOCKET_ERROR (-1)
#define WSAEFAULT 10014
#define WSANOTINITIALISED 10093
#define WSAENETDOWN 10050
#define WSAHOST_NOT_FOUND 11001
#define AI_CANONNAME 0x2

#define WSAAPI

struct sockaddr;

// One answer of a look-up. Here the list has one element and no address: the only question that is
// asked is for the full name.
struct ADDRINFOA {
  int ai_flags;
  int ai_family;
  int ai_socktype;
  int ai_protocol;
  std::size_t ai_addrlen;
  char* ai_canonname;
  sockaddr* ai_addr;
  ADDRINFOA* ai_next;
};

// What a library that answers look-ups exports, under the names getaddrinfo, getnameinfo and
// freeaddrinfo. The first two give 0 or an error number.
using LPFN_GETADDRINFO = int (*)(const char* node, const char* service, const ADDRINFOA* hints,
                                 ADDRINFOA** result);
using LPFN_GETNAMEINFO = int (*)(const sockaddr* address, int address_size, char* host,
                                 DWORD host_size, char* service, DWORD service_size, int flags);
using LPFN_FREEADDRINFO = void (*)(ADDRINFOA* result);

// What the start of the sockets library tells; nothing here reads it.
struct WSADATA {
  WORD wVersion;
  WORD wHighVersion;
};

// Before the first other call. 0, or the error number itself.
int WSAStartup(WORD version, WSADATA* data);

// 0, or SOCKET_ERROR with the reason in WSAGetLastError. An overload beside the C library's own,
// which takes a size_t: pass an int, or the C library may answer instead.
int gethostname(char* name, int size);
int WSAGetLastError();
void WSASetLastError(int error);

#endif
