#pragma once
// Control signals from outside: the interrupt key, a polite request to end.

#include "platform/base.h"

#if !defined(_WIN32)
inline constexpr DWORD CTRL_C_EVENT = 0;      // SIGINT
inline constexpr DWORD CTRL_BREAK_EVENT = 1;  // never sent here
inline constexpr DWORD CTRL_CLOSE_EVENT = 2;  // SIGTERM

using PHANDLER_ROUTINE = BOOL (*)(DWORD control);

// The handler runs on a thread of the platform's own that virtual time does not know. Handlers are
// asked last added first until one returns TRUE. Only the first signal is handed out: a second one
// ends the process as usual, so that a stop that hangs can still be ended from the keyboard. In a
// service none is handed out: there its signals are controls.
BOOL SetConsoleCtrlHandler(PHANDLER_ROUTINE handler, BOOL add);
#endif
