#pragma once
// The machine's own name as the sockets library gives it.

#include "platform/base.h"
#ifdef _WIN32
#include <ws2tcpip.h>
#else

#define SOCKET_ERROR (-1)
#define WSAEFAULT 10014
#define WSANOTINITIALISED 10093
#define WSAENETDOWN 10050

// 0, or SOCKET_ERROR with the reason in WSAGetLastError. An overload beside the C library's own,
// which takes a size_t: pass an int, or the C library may answer instead.
int gethostname(char* name, int size);
int WSAGetLastError();

#endif
