#pragma once
// Who runs here, for the trace, and the end of a process that cannot go on.

#include "include/platform/base.h"

// Traces the identity of the calling thread and its process, each in decimal and hexadecimal.
void Thread_and_ProcessID_Info();

// Ends the process with the system error as its exit code. Any thread.
void ErrorHandler(DWORD code);
