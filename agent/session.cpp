#include "agent/session.h"

#include "agent/environment_import.h"
#include "agent/framework_binding.h"
#include "agent/main.h"
#include "agent/startup_settings.h"
#include "counters/globals.h"
#include "include/platform/adsi.h"
#include "include/platform/threads.h"
#include "include/settings.h"
#include "include/trace.h"
#include "tables/ckutil.h"

namespace agent {
namespace {

unsigned console_main(void* /*argument*/) {
  char program[] = "DirWatcher";
  char mode[] = "TEST";
  char* arguments[] = {program, mode, nullptr};
  return static_cast<unsigned>(Main(2, arguments));
}

}  // namespace

bool Session::start(std::string& error) {
  DCW_TRACE("Session::start");
  SetEnvFromReg(kRegistryBranch);
  CKUtil::setOSVersion();
  read_ping_settings(trace);
  read_iteration_yield(trace);
  CoInitializeEx(nullptr, COINIT_MULTITHREADED);
  started_ = true;
  g_allocateGlobalsEvent = CreateEventA(nullptr, TRUE, FALSE, nullptr);
  if (g_allocateGlobalsEvent == nullptr) {
    error = "the event of the counter collectors could not be created";
    return trace.returns(false);
  }
  unsigned identifier = 0;
  allocation_ = reinterpret_cast<HANDLE>(
      _beginthreadex(nullptr, 0, &allocateGlobals, nullptr, 0, &identifier));
  if (allocation_ == nullptr) {
    // Counter tables would wait for the collectors for ever.
    error = "the thread that builds the counter collectors could not be started";
    return trace.returns(false);
  }
  Call_XAF_RegisterAgent();
  Call_XAF_SetProduct();
  return trace.returns(true);
}

Session::~Session() {
  if (!started_) return;
  if (allocation_ != nullptr) {
    WaitForSingleObject(allocation_, INFINITE);
    CloseHandle(allocation_);
  }
  deleteGlobals();
  if (const HANDLE event = g_allocateGlobalsEvent.exchange(nullptr); event != nullptr) {
    CloseHandle(event);
  }
  CoUninitialize();
}

int run_on_console() {
  unsigned identifier = 0;
  const std::uintptr_t handle = _beginthreadex(nullptr, 0, &console_main, nullptr, 0, &identifier);
  if (handle == 0) return 1;
  WaitForSingleObject(reinterpret_cast<HANDLE>(handle), INFINITE);
  CloseHandle(reinterpret_cast<HANDLE>(handle));
  return 0;
}

}  // namespace agent
