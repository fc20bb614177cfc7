#pragma once
// The reading of addresses stands in the sockets header of this system.
#include <winsock2.h>
// Windows sockets first.
#include <ws2tcpip.h>
