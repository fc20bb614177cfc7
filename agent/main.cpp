#include "agent/main.h"

#include <array>
#include <cstdlib>
#include <cstring>
#include <iostream>

#include "agent/agent_thread.h"
#include "agent/environment_import.h"
#include "agent/framework_binding.h"
#include "agent/identity.h"
#include "agent/service.h"
#include "agent/startup_settings.h"
#include "collectors/background.h"
#include "counters/globals.h"
#include "include/platform/adsi.h"
#include "include/platform/messages.h"
#include "include/platform/text.h"
#include "include/platform/threads.h"
#include "include/settings.h"
#include "include/trace.h"
#include "include/unique_handle.h"
#include "tables/ckutil.h"
#include "tables/status_board.h"

namespace {

constexpr const char* kShutdownEvent = "DCWSHUTDOWN";
constexpr std::size_t kArgumentSize = 128;

// How start-up was left.
enum _Rstate {
  Rstate_Normal = 0,
  Rstate_Error = 1,
  Rstate_Abnormal = 2,
  Rstate_Handler = 3,
};

// A background thread that Main keeps the handle and the identifier of.
struct StartedThread {
  HANDLE handle = nullptr;
  unsigned identifier = 0;
};

struct CacheThread {
  _beginthreadex_proc_type entry;
  const char* failure;
};
constexpr std::array kCacheThreads = {
    CacheThread{&collectandCacheDCAData, "Main: collectandCacheDCAData() Thread failed "},
    CacheThread{&collectandCacheDNSAdData, "Main: collectandCacheDNSAdData() Thread failed "},
    CacheThread{&collectandCacheDRAData, "Main: collectandCacheDRAData() Thread failed "},
    CacheThread{&collectandCacheDCPData, "Main: collectandCacheDCPData() Thread failed "},
    CacheThread{&collectandCacheRLTData, "Main: collectandCacheRLTData() Thread failed "},
    CacheThread{&collectandCacheRPLData, "Main: collectandCacheRPLData() Thread failed "},
    CacheThread{&collectandCacheTRSData, "Main: collectandCacheTRSData() Thread failed "},
    CacheThread{&collectandCacheTTPData, "Main: collectandCacheTTPData() Thread failed "},
};

struct StartUp {
  int argument_count;
  char** arguments;
  DWORD saved_error = 0;
  StartedThread object_count;
  std::array<StartedThread, kCacheThreads.size()> caches;
};

LRESULT CALLBACK ForwardWndProc(HWND window, UINT message, WPARAM w, LPARAM l) {
  return DefWindowProcA(window, message, w, l);
}

// Registers a nameless class; the result does not matter, since no window is ever created.
void register_window_class() {
  WNDCLASSA window_class;
  std::memset(&window_class, 0, sizeof window_class);
  window_class.lpfnWndProc = &ForwardWndProc;
  RegisterClassA(&window_class);
}

StartedThread start_thread(const trace::Scope& trace, _beginthreadex_proc_type entry,
                           const char* failure) {
  StartedThread thread;
  const std::uintptr_t handle = _beginthreadex(nullptr, 0, entry, nullptr, 0, &thread.identifier);
  if (handle == 0) {
    thread.identifier = 0;
    trace.always()("%s", failure);
  }
  thread.handle = reinterpret_cast<HANDLE>(handle);
  return thread;
}

void create_shutdown_event(const trace::Scope& trace) {
  hTerminateEvent = CreateEventA(nullptr, TRUE, FALSE, kShutdownEvent);
  if (hTerminateEvent == nullptr) {
    const DWORD error = GetLastError();
    trace.always()("Main: Shutdown event [%s] creation failed", kShutdownEvent);
    terminate(error);
    throw Rstate_Error;
  }
  trace.always()("Main: Shutdown event [%s] created", kShutdownEvent);
}

// Builds the counter collectors beside the rest of start-up. Waits only until that thread holds
// g_collectLock, so that no thread started later can be ahead of it there.
void start_allocation(const trace::Scope& trace) {
  g_allocateGlobalsEvent = CreateEventA(nullptr, TRUE, FALSE, nullptr);
  if (g_allocateGlobalsEvent == nullptr) {
    trace.always()("Main: AllocateGlobals event creation failed");
  }
  const UniqueHandle has_lock{CreateEventA(nullptr, TRUE, FALSE, nullptr)};
  g_allocationHasLock = has_lock.get();
  const UniqueHandle thread{
      start_thread(trace, &allocateGlobals, "Main: AllocateGlobal() Thread failed ").handle};
  if (thread) {
    // The thread's own end is as good: it never comes without the lock's having been held. Without
    // the event there is only that to wait for, which is the slower way.
    const HANDLE either[] = {thread.get(), has_lock.get()};
    WaitForMultipleObjects(has_lock ? 2 : 1, either, FALSE, INFINITE);
  }
  g_allocationHasLock = nullptr;
}

// The order of reading settings and starting threads is what each thread relies on: its own
// settings are final before it starts, save the two yield and force flags that follow theirs.
void start_background_threads(const trace::Scope& trace, StartUp& start) {
  start_allocation(trace);
  agent::read_object_count_period(trace);
  start.object_count = start_thread(trace, &collectNumberOfObjectsInDomain,
                                    "Main: collectNumberOfObjectsInDomain() Thread failed ");
  agent::read_iteration_yield(trace);
  agent::read_cache_interval(trace);
  if (g_cacheInterval > 0) {
    for (std::size_t i = 0; i < kCacheThreads.size(); ++i) {
      start.caches[i] = start_thread(trace, kCacheThreads[i].entry, kCacheThreads[i].failure);
    }
  }
  const bool sysvol_is_tested = agent::read_sysvol_intervals(trace);
  if (sysvol_is_tested) {
    g_sysvolThreadHandle =
        start_thread(trace, &CollectAndCacheSPRLData, "Main: CollectSysVolRplData() Thread failed ")
            .handle;
  }
  agent::read_forced_replication(trace);
  status::announce_own_board(sysvol_is_tested);
}

void configure_and_launch(const trace::Scope& trace, StartUp& start) {
  trace.always()("Main: Entry");
  Thread_and_ProcessID_Info();
  CKUtil::setOSVersion();
  InitializeCriticalSection(&g_statusLock);
  trace.always()("Main: CriticalSection intialized");
  agent::read_ping_settings(trace);
  [[maybe_unused]] const HRESULT apartment = CoInitializeEx(nullptr, 0);
  create_shutdown_event(trace);
  Call_XAF_RegisterAgent();
  Call_XAF_SetProduct();
  status::share_own_board();
  start_background_threads(trace, start);
}

void print_usage(const char* program) {
  std::cout << "use:\n\t" << program
            << " TEST - To run as a console application for debugging.'\n\t" << program
            << " - With no arguments to run as a service under the Service Control Manager\n\n"
               "StartServiceCtrlDispatcher being called.\n"
               "This may take several seconds.  Please wait...\n"
            << std::endl;
}

void run_as_service(const trace::Scope& trace, StartUp& start,
                    const SERVICE_TABLE_ENTRYA* dispatch_table) {
  print_usage(start.argument_count > 0 ? start.arguments[0] : "");
  trace.always()("Main: Register with the SCM.");
  trace.always()("Service Control Dispatcher ");
  Thread_and_ProcessID_Info();
  if (!StartServiceCtrlDispatcherA(dispatch_table)) {
    start.saved_error = GetLastError();
    trace.always()("Main: Error from StartServiceCtrlDispatcher [%u] EXITING",
                   unsigned(start.saved_error));
    throw Rstate_Handler;
  }
  trace.always()("Main: StartServiceCtrlDispatcher returns TRUE");
  Thread_and_ProcessID_Info();
}

void check_argument(const trace::Scope& trace, char* argument) {
  char text[kArgumentSize + 1] = {};
  std::strncpy(text, argument, kArgumentSize);
  if (_stricmp(text, "TEST") != 0) {
    trace.always()("Main: Illegal startup option");
    throw Rstate_Abnormal;
  }
  trace.always()("Main: Console Mode");
  // What else looks at the arguments must not meet the word.
  argument[0] = '\0';
}

// Ends the calling thread, whichever thread is meant: since the object count has always started, a
// console run's main thread normally ends here, at the first thread of the walk, and the process
// lives on with its other threads. Deliberate: a console run is left and killed by hand.
void end_thread(const StartedThread& thread) {
  if (thread.identifier != 0) _endthreadex(thread.identifier);
  close_now(thread.handle);
}

void run_as_console(const trace::Scope& trace, StartUp& start) {
  check_argument(trace, start.arguments[1]);
  trace.always()("Main: Going to InitService");
  if (InitService() == 0) {
    terminate(GetLastError());
    trace.always()("Main: InitService returned FAILURE");
    throw Rstate_Error;
  }
  trace.always()("Main: Dropping into main wait");
  WaitForSingleObject(hTerminateEvent, INFINITE);
  trace.always()("Main: Returned from main wait");
  if (g_numberOfObjectsInterval > 0) end_thread(start.object_count);
  if (g_cacheInterval > 0) {
    for (const StartedThread& cache : start.caches) end_thread(cache);
  }
  Thread_and_ProcessID_Info();
  terminate(0);
}

[[noreturn]] void finish(const trace::Scope& trace, _Rstate state, DWORD saved_error) {
  DeleteCriticalSection(&g_statusLock);
  trace.always()("Main: CriticalSection deleted");
  CoUninitialize();
  switch (state) {
    case Rstate_Normal:
      trace.always()("Main: TERMINATION");
      break;
    case Rstate_Error:
      trace.always()("Main: ERROR TERMINATION");
      break;
    case Rstate_Abnormal:
      trace.always()("Main: ABNORMAL TERMINATION");
      std::exit(1);
    case Rstate_Handler:
      ErrorHandler(saved_error);
      trace.always()("Main: Error Handler did not terminate the process");
      break;
  }
  Thread_and_ProcessID_Info();
  ExitProcess(0);
}

}  // namespace

int Main(int argument_count, char** arguments) {
  DCW_TRACE("Main");
  char branch[64] = {};
  std::strncpy(branch, kRegistryBranch, sizeof branch - 1);
  SetEnvFromReg(branch);
  register_window_class();
  const SERVICE_TABLE_ENTRYA dispatch_table[] = {{ServiceName, &ServiceMain}, {nullptr, nullptr}};
  StartUp start{argument_count, arguments, 0, {}, {}};
  _Rstate state = Rstate_Normal;
  try {
    configure_and_launch(trace, start);
    if (argument_count < 2) {
      run_as_service(trace, start, dispatch_table);
    } else {
      run_as_console(trace, start);
    }
  } catch (_Rstate left) {
    state = left;
  }
  finish(trace, state, start.saved_error);
}
