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
  allocation_ = UniqueHandle{_beginthreadex(nullptr, 0, &allocateGlobals, nullptr, 0, &identifier)};
  if (!allocation_) {
    // Counter tables would wait for the collectors for ever.
    error = "the thread that builds the counter collectors could not be started";
    return trace.returns(false);
  }
  // Tables that collect in the background do not wait for the counter collectors themselves: the
  // lock under which they collect does that, and here nothing collects under it.
  WaitForSingleObject(allocation_.get(), INFINITE);
  Call_XAF_RegisterAgent();
  Call_XAF_SetProduct();
  return trace.returns(true);
}

Session::~Session() {
  if (!started_) return;
  if (allocation_) WaitForSingleObject(allocation_.get(), INFINITE);
  deleteGlobals();
  close_now(g_allocateGlobalsEvent.exchange(nullptr));
  CoUninitialize();
}

int run_on_console() {
  unsigned identifier = 0;
  const UniqueHandle thread{_beginthreadex(nullptr, 0, &console_main, nullptr, 0, &identifier)};
  if (!thread) return 1;
  WaitForSingleObject(thread.get(), INFINITE);
  return 0;
}

}  // namespace agent
