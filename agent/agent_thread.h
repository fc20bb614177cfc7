#pragma once
// The agent thread, from its start over the watch on the framework to the orderly stop. A console
// run and a service run share all of it.

#include <atomic>
#include <cstdint>

#include "include/platform/base.h"
#include "include/trace.h"

// 1 while the framework thread runs; tells StopService whether there is a framework to stop.
extern std::atomic<std::int32_t> g_frameworkRunning;
// The thread that carries the agent; null when it has not been started or terminate has run.
extern std::atomic<HANDLE> hThreadHandle;

// Starts ServiceThread. 1 on success, 0 on failure with the last error left as it was.
std::int32_t InitService();

namespace agent {
// Why a thread did not start, by the result of _beginthreadex and the two error words.
void trace_start_failure(const trace::Scope& trace, std::intptr_t result, int error, int dos_error);
}  // namespace agent

// Runs MwMain, and StopService when the framework has ended.
unsigned ServiceThread(void* argument);

// Starts the framework on a thread of its own and watches it until it ends; the last wait result.
std::int32_t MwMain(int argument_count, char** arguments);

// The orderly stop. Runs on ServiceTerminationThread and again on ServiceThread: a second run finds
// the framework stopped and the collectors gone. Takes no lock.
void StopService();

// The last step of a stop: closes the shutdown event, whose null value ends the background threads'
// loops, and reports the service as stopped. Named as the protocol names it.
void terminate(DWORD code);
