#include "agent/identity.h"

#include "include/platform/threads.h"
#include "include/trace.h"

void Thread_and_ProcessID_Info() {
  DCW_TRACE("Thread_and_ProcessID_Info");
  const unsigned process = GetCurrentProcessId();
  const unsigned thread = GetCurrentThreadId();
  trace.always()("Process ID = [%u,%x] and Thread ID = [%u,%x]", process, process, thread, thread);
}

void ErrorHandler(DWORD code) {
  DCW_TRACE("ErrorHandler");
  trace.always()("ErrorHandler: Error code: [0x%x]", unsigned(code));
  Thread_and_ProcessID_Info();
  trace.always()("ErrorHandler: TERMINATION\n");
  Thread_and_ProcessID_Info();
  ExitProcess(code);
}
