#pragma once
// The system's texts for status codes, without their line end.

#include "platform/base.h"

namespace platform::kernel {

// Null when there is none.
const char* system_message(DWORD code);
const char* counter_message(DWORD code);  // of PDH.DLL
const char* network_message(DWORD code);  // of NETMSG.DLL

}  // namespace platform::kernel
