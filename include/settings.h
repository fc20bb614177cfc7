#pragma once
// Process-wide settings and signals. Main writes them during start-up, before or just after it
// starts the threads that read them; nothing writes a setting after that. They are atomics only so
// that the two that are written after their reader has started are no race; no order is implied.

#include <atomic>
#include <cstdint>

#include "include/platform/base.h"
#include "include/trc.h"

extern std::atomic<std::int32_t> g_pingCount;    // echo requests per ping command
extern std::atomic<std::int32_t> g_pingSize;     // payload bytes per echo request
extern std::atomic<std::int32_t> g_pingTimeout;  // milliseconds to wait for each reply

// Non-zero: long enumeration loops yield now and then.
extern std::atomic<std::int32_t> g_sleepWhileIterating;

extern std::atomic<std::int32_t> g_cacheInterval;  // milliseconds; not positive: caching off
extern std::atomic<std::int32_t> g_numberOfObjectsInterval;     // milliseconds
extern std::atomic<std::int32_t> g_sysvolTestInterval;          // milliseconds
extern std::atomic<std::int32_t> g_sysvolVerificationInterval;  // milliseconds
extern std::atomic<std::int32_t> g_fileCreationGap;             // milliseconds
extern std::atomic<std::uint8_t> g_forceReplication;

// The operating system's version, set once by CKUtil::setOSVersion.
extern std::atomic<std::int32_t> g_osMajorVersion;
extern std::atomic<std::int32_t> g_osMinorVersion;

// The one shutdown signal; its value doubles as the keep-running test of the background threads,
// non-null meaning keep looping.
extern std::atomic<HANDLE> hTerminateEvent;
// Signalled when the counter collectors exist.
extern std::atomic<HANDLE> g_allocateGlobalsEvent;
// Signalled when the thread that builds them holds g_collectLock; null when nobody waits for that.
// Main starts no thread that takes the lock before: nothing but the lock keeps the first cached
// collection behind the counter collectors that it reads.
extern std::atomic<HANDLE> g_allocationHasLock;

// Serialises the expensive jobs: building the collectors, each cached collection, the object count.
extern SYS1_Lock g_collectLock;

// The sysvol test's handles, for the stop sequence; null while the test is not set up.
extern std::atomic<HANDLE> g_sysvolClearEvent;
extern std::atomic<HANDLE> g_sysvolThreadHandle;
