#include "agent/session.h"

#include <algorithm>

#include "agent/environment_import.h"
#include "agent/framework_binding.h"
#include "agent/main.h"
#include "agent/startup_settings.h"
#include "collectors/background.h"
#include "counters/globals.h"
#include "include/platform/adsi.h"
#include "include/platform/threads.h"
#include "include/settings.h"
#include "include/trace.h"
#include "tables/ckutil.h"
#include "tables/status_board.h"

namespace agent {
namespace {

unsigned console_main(void* /*argument*/) {
  char program[] = "DirWatcher";
  char mode[] = "TEST";
  char* arguments[] = {program, mode, nullptr};
  return static_cast<unsigned>(Main(2, arguments));
}

unsigned fill_cache(void* table) {
  static_cast<const collectors::CachedTable*>(table)->collect_once();
  return 0;
}

bool has_rows(status::Job job) {
  status::Report report;
  return status::own_board().of(job).read(report) && report.has_rows != 0;
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

void Session::start_filling(const std::vector<std::string>& tables, bool sysvol_is_tested) {
  DCW_TRACE("Session::start_filling");
  for (const collectors::CachedTable& table : collectors::cached_tables()) {
    if (std::find(tables.begin(), tables.end(), table.name) == tables.end()) continue;
    const bool waits =
        table.job == status::Job::kSysvol ? sysvol_is_tested : g_cacheInterval.load() > 0;
    if (!waits) continue;
    auto* const argument = const_cast<collectors::CachedTable*>(&table);
    UniqueHandle thread{_beginthreadex(nullptr, 0, &fill_cache, argument, 0, nullptr)};
    if (!thread) trace.always()("%s: no thread for its collection", argument->name.data());
    fillings_.push_back({&table, std::move(thread)});
  }
}

bool Session::fill_caches(const std::vector<std::string>& tables, HANDLE stop,
                          std::vector<std::string>& unfilled) {
  DCW_TRACE("Session::fill_caches");
  read_cache_interval(trace);
  const bool sysvol_is_tested = read_sysvol_intervals(trace);
  read_forced_replication(trace);
  start_filling(tables, sysvol_is_tested);
  for (Filling& filling : fillings_) {
    if (filling.thread) {
      const HANDLE either[] = {filling.thread.get(), stop};
      const DWORD count = stop != nullptr ? 2 : 1;
      if (WaitForMultipleObjects(count, either, FALSE, INFINITE) == WAIT_OBJECT_0 + 1) {
        return trace.returns(false);
      }
    }
    if (!has_rows(filling.table->job)) unfilled.emplace_back(filling.table->name);
  }
  return trace.returns(true);
}

void Session::abandon() { ClearData(); }

Session::~Session() {
  if (!started_) return;
  for (const Filling& filling : fillings_) {
    if (filling.thread) WaitForSingleObject(filling.thread.get(), INFINITE);
  }
  // The next session reads its own.
  g_cacheInterval = 0;
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
