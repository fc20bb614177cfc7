#include "agent/agent_thread.h"

#include <array>
#include <cstdlib>

#include "agent/environment_import.h"
#include "agent/framework_binding.h"
#include "agent/identity.h"
#include "agent/service.h"
#include "collectors/background.h"
#include "counters/globals.h"
#include "include/platform/messages.h"
#include "include/platform/service_manager.h"
#include "include/platform/threads.h"
#include "include/settings.h"
#include "include/trace.h"
#include "include/unique_handle.h"

std::atomic<std::int32_t> g_frameworkRunning{0};
std::atomic<HANDLE> hThreadHandle{nullptr};

namespace {

constexpr std::size_t kMostHandles = 32;
constexpr DWORD kWatchPeriod_ms = 10000;
constexpr DWORD kAnyInput = 255;
constexpr DWORD kClearEventWait_ms = 5000;
constexpr std::int32_t kNotWaited = -1;

// Handles as numbers for the trace.
unsigned long long number(HANDLE handle) {
  return static_cast<unsigned long long>(reinterpret_cast<std::uintptr_t>(handle));
}

const char* environment(const char* name) {
  const char* value = std::getenv(name);
  return value == nullptr ? "(null)" : value;
}

// What the framework will find in its environment.
void trace_framework_environment(const trace::Scope& trace) {
  trace.always()("TRC_TRC1=%s\n", environment("TRC_TRC1"));
  trace.always()("XCM_FAMILIES=%s\n", environment("XCM_FAMILIES"));
  trace.always()("XCM_GLBSITES=%s\n", environment("XCM_GLBSITES"));
  trace.always()("XAF_CELL_NAME=%s\n", environment("XAF_CELL_NAME"));
  trace.always()("XAF_HOSTNAME=%s\n", environment("XAF_HOSTNAME"));
  trace.always()("XAF_NODETYPE=%s\n", environment("XAF_NODETYPE"));
  trace.always()("XAF_SUBSYSTEM_ID=%s\n", environment("XAF_SUBSYSTEM_ID"));
}

// Takes one message of this thread off its queue. No window exists: this only keeps the queue from
// waking the watch for ever.
void take_message() {
  MSG message{};
  if (GetMessageA(&message, nullptr, 0, 0) != 1) return;
  TranslateMessage(&message);
  DispatchMessageA(&message);
}

// Handles watched and the last wait result of each. The framework thread is the first; the others
// stay empty.
struct Watch {
  std::array<HANDLE, kMostHandles> handles{};
  std::array<std::int32_t, kMostHandles> results{};

  DWORD count() const {
    DWORD n = 0;
    while (n < handles.size() && handles[n] != nullptr) ++n;
    return n;
  }
  bool framework_ended() const {
    return results[0] == static_cast<std::int32_t>(WAIT_OBJECT_0) ||
           results[0] == static_cast<std::int32_t>(WAIT_ABANDONED_0);
  }
};

// Acts on one wait's result; false when the watch is to end.
bool act_on(Watch& watch, DWORD count, DWORD result) {
  if (result == WAIT_FAILED) return false;
  if (result == WAIT_IO_COMPLETION || result == WAIT_TIMEOUT) return true;
  if (result < count) {
    watch.results[result] = static_cast<std::int32_t>(result);
    return true;
  }
  if (result >= WAIT_ABANDONED_0 && result < WAIT_ABANDONED_0 + count) {
    watch.results[result - WAIT_ABANDONED_0] = static_cast<std::int32_t>(result);
    return true;
  }
  if (result != count) return false;
  take_message();
  return true;
}

void start_framework(const trace::Scope& trace, Watch& watch) {
  unsigned identifier = 0;
  // A failed start is deliberately not looked at: the watch then waits for nothing but messages
  // until the process is stopped from outside.
  const std::uintptr_t handle = _beginthreadex(nullptr, 0, &InvokeFW, nullptr, 0, &identifier);
  g_frameworkRunning = 1;
  watch.handles[0] = reinterpret_cast<HANDLE>(handle);
  trace.always()("MwMain: framework thread started.\n");
  trace.always()("InvokeFW will run as thread ID: [%u], Handle: [0x%llx]", identifier,
                 number(watch.handles[0]));
}

// Ends the sysvol thread outside its work with the test files and removes those files.
void stop_sysvol_test(const trace::Scope& trace) {
  trace.error()("Deleting Sysvol Related Files");
  const HANDLE clear_event = g_sysvolClearEvent;
  if (clear_event == nullptr) {
    trace.error()("Sysvol ClearEvent is not initilized");
    return;
  }
  if (WaitForSingleObject(clear_event, kClearEventWait_ms) == WAIT_TIMEOUT) {
    trace.detail()("ClearData Timeout..No file has been created.");
  } else {
    if (ResetEvent(clear_event) && !TerminateThread(g_sysvolThreadHandle, 0)) {
      trace.error()("Terminate Thread failed: %ld", static_cast<long>(GetLastError()));
    }
    if (!SetEvent(clear_event)) {
      trace.detail()("Release cache lock failed: %ld", static_cast<long>(GetLastError()));
    }
  }
  ClearData();
}

}  // namespace

void agent::trace_start_failure(const trace::Scope& trace, std::intptr_t result, int error,
                                int dos_error) {
  constexpr const char* kFirst = "_beginthread failed";
  constexpr const char* kLast = "cannot start service";
  if (result == 0) {
    trace.always()("InitService: %s errno<%d> doserrno<%d>, %s\n", kFirst, error, dos_error, kLast);
  } else if (error == 11) {
    trace.always()("InitService: %s too many threads, %s\n", kFirst, kLast);
  } else if (error == 22) {
    trace.always()("InitService: %s, invalid arg or stack size, %s\n", kFirst, kLast);
  } else {
    trace.always()("InitService: %s RC=%d, %s\n", kFirst, static_cast<int>(result), kLast);
  }
}

std::int32_t InitService() {
  DCW_TRACE("InitService");
  trace.always()("InitService: Attaching a new thread for agent");
  Thread_and_ProcessID_Info();
  unsigned identifier = 0;
  const std::uintptr_t handle = _beginthreadex(nullptr, 0, &ServiceThread, nullptr, 0, &identifier);
  if (handle == 0 || handle == static_cast<std::uintptr_t>(-1)) {
    agent::trace_start_failure(trace, static_cast<std::intptr_t>(handle), errno,
                               static_cast<int>(_doserrno));
    return trace.returns(0);
  }
  hThreadHandle = reinterpret_cast<HANDLE>(handle);
  trace.always()("InitService: Returned from service thread attach.");
  trace.always()("ServiceThread will run as thread ID: [%u] Handle: [0x%llx]", identifier,
                 static_cast<unsigned long long>(handle));
  return trace.returns(1);
}

unsigned ServiceThread(void* /*argument*/) {
  DCW_TRACE("ServiceThread");
  char program[] = "DirWatcher";
  char nothing[] = "";
  char* arguments[] = {program, nothing};
  trace.always()("ServiceThread: Attached.");
  Thread_and_ProcessID_Info();
  trace.always()("ServiceThread: Calling MwMain");
  MwMain(1, arguments);
  trace.always()("ServiceThread: MwMain returned. Calling StopService");
  StopService();
  trace.always()("ServiceThread: EXITING");
  return trace.returns(0u);
}

std::int32_t MwMain(int /*argument_count*/, char** /*arguments*/) {
  DCW_TRACE("MwMain");
  trace.always()("MwMain: Entry\n");
  Thread_and_ProcessID_Info();
  SetEnvFromReg(kRegistryBranch);
  trace.always()("MwMain: Environment Set\n");
  trace_framework_environment(trace);
  Watch watch;
  watch.results.fill(kNotWaited);
  start_framework(trace, watch);
  std::int32_t last = kNotWaited;
  for (bool going = true; going;) {
    const DWORD count = watch.count();
    const DWORD result =
        MsgWaitForMultipleObjects(count, watch.handles.data(), FALSE, kWatchPeriod_ms, kAnyInput);
    last = static_cast<std::int32_t>(result);
    // A wait that fails or gives something unknown leaves g_frameworkRunning set, so that the stop
    // still asks the framework to end.
    going = act_on(watch, count, result);
    if (watch.framework_ended()) {
      going = false;
      g_frameworkRunning = 0;
      trace.always()("MwMain: XAFMAIN thread handle posted\n");
    }
  }
  close_now(watch.handles[0]);
  trace.always()("MwMain: EXITING\n");
  Thread_and_ProcessID_Info();
  return trace.returns(last);
}

void StopService() {
  DCW_TRACE("StopService");
  trace.always()("StopService: Attempting shutdown");
  Thread_and_ProcessID_Info();
  if (g_frameworkRunning != 0) {
    trace.always()("StopService: Terminating MW");
    MwTerminate();
  }
  deleteGlobals();
  stop_sysvol_test(trace);
  trace.always()("StopService: Triggering termination event");
  SetEvent(hTerminateEvent);
}

void terminate(DWORD code) {
  DCW_TRACE("terminate");
  trace.always()("terminate: Terminate request received.");
  Thread_and_ProcessID_Info();
  trace.always()("Termination code: %x(hex)", unsigned(code));
  if (const UniqueHandle event{hTerminateEvent.exchange(nullptr)}; event) {
    trace.always()("Closing hTerminateEvent");
  }
  if (g_serviceStatusHandle != nullptr) {
    trace.always()("Sending SERVICE_STOPPED status to SCM");
    SendStatusToSCM(SERVICE_STOPPED, code, 0, 0, 0);
  }
  if (const UniqueHandle thread{hThreadHandle.exchange(nullptr)}; thread) {
    trace.always()("Closing hThreadHandle");
  }
}
