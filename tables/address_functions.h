#pragma once
// The look-up functions of the sockets library, found while the program runs: systems differ in
// which library has them.

#include "include/platform/sockets.h"

namespace tables {

// All three from one library, or all three our own.
struct AddressFunctions {
  LPFN_GETADDRINFO getaddrinfo;
  LPFN_GETNAMEINFO getnameinfo;
  LPFN_FREEADDRINFO freeaddrinfo;
};

// Looks in the system directory for ws2_32 and then for wship6. The library stays loaded. Without
// either the functions are the program's own, which know the full name of this machine and nothing
// else.
AddressFunctions choose_address_functions();

// The choice of the process, made at the first call. Any thread.
const AddressFunctions& address_functions();

// Looks a name up through the process's choice. The result, 0 or an error number, is also left in
// WSAGetLastError; *addresses, which the caller gives to freeaddrinfo, is null on failure.
int look_up_address(const char* node, const ADDRINFOA& hints, ADDRINFOA** addresses);

}  // namespace tables
