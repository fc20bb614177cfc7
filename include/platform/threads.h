#pragma once
// Threads, events, waits, critical sections and the end of the process. Everything here blocks in
// the platform's own clock: under virtual time a wait ends when its time has come there.

#include "platform/base.h"
#ifdef _WIN32
#include <process.h>
#else

#include <cerrno>
#include <cstdint>
#include <cstdlib>

#define INFINITE 0xFFFFFFFFu
#define WAIT_OBJECT_0 0u
#define WAIT_ABANDONED 0x80u
#define WAIT_ABANDONED_0 0x80u
#define WAIT_IO_COMPLETION 0xC0u
#define WAIT_FAILED 0xFFFFFFFFu
#define MAXIMUM_WAIT_OBJECTS 64
#define STILL_ACTIVE 259
#define QS_POSTMESSAGE 0x0008
#define QS_ALLPOSTMESSAGE 0x0100
#define QS_ALLEVENTS 0x04BF
#define QS_ALLINPUT 0x04FF

// The C run-time's second error word, kept for each thread.
unsigned long* __doserrno();
#define _doserrno (*__doserrno())

using _beginthreadex_proc_type = unsigned (*)(void*);

// The new thread's handle, which the caller closes; 0 on failure, with errno 11 (too many threads)
// or 22 (bad argument) and _doserrno set. Stack size 0 is the default; the flags must be 0.
std::uintptr_t _beginthreadex(void* security, unsigned stack_size, _beginthreadex_proc_type start,
                              void* argument, unsigned flags, unsigned* thread_id);
// Ends the calling thread, whichever it is. On a process's main thread the process lives on until
// its other threads have ended. Here the calling frames of other threads are unwound first.
[[noreturn]] void _endthreadex(unsigned exit_code);

// Ends another thread. The difference from Windows: a thread that is blocked in a wait or a sleep
// is unwound from there at once, its destructors run and nothing else of its own code; a thread
// that is computing goes on to its next wait or sleep. A critical section it owns stays taken,
// unless a destructor gives it up.
BOOL TerminateThread(HANDLE thread, DWORD exit_code);
BOOL GetExitCodeThread(HANDLE thread, DWORD* exit_code);

DWORD GetCurrentThreadId();
DWORD GetCurrentProcessId();

// Ends the process at once, after flushing standard output and error: no destructors, no waiting
// for other threads. `exit` is the C library's; the platform sees to it at link time that it, too,
// ends only a simulated process when it is called inside one.
[[noreturn]] void ExitProcess(UINT exit_code);

// A name that exists already gives a handle to that event, with last error ERROR_ALREADY_EXISTS;
// otherwise last error is 0. Null on failure.
HANDLE CreateEventA(SECURITY_ATTRIBUTES* security, BOOL manual_reset, BOOL initial_state,
                    const char* name);
BOOL SetEvent(HANDLE event);
BOOL ResetEvent(HANDLE event);

DWORD WaitForSingleObject(HANDLE handle, DWORD milliseconds);
DWORD WaitForMultipleObjects(DWORD count, const HANDLE* handles, BOOL wait_all, DWORD milliseconds);
// WAIT_OBJECT_0 + count when a message for this thread has arrived since it last looked.
DWORD MsgWaitForMultipleObjects(DWORD count, const HANDLE* handles, BOOL wait_all,
                                DWORD milliseconds, DWORD wake_mask);
void Sleep(DWORD milliseconds);

struct CRITICAL_SECTION {
  void* DebugInfo;
  LONG LockCount;       // 0 free, 1 taken, 2 taken and wanted
  LONG RecursionCount;  // the owner's
  HANDLE OwningThread;  // the owner's thread identifier
  HANDLE LockSemaphore;
  ULONG_PTR SpinCount;
};
using LPCRITICAL_SECTION = CRITICAL_SECTION*;

// Waiters get the section in the order in which they came. Waiting here is never cut short: a
// thread that is being ended goes on to its next wait for an object or its next sleep.
void InitializeCriticalSection(CRITICAL_SECTION* section);
void DeleteCriticalSection(CRITICAL_SECTION* section);
void EnterCriticalSection(CRITICAL_SECTION* section);
BOOL TryEnterCriticalSection(CRITICAL_SECTION* section);
void LeaveCriticalSection(CRITICAL_SECTION* section);

#endif
