#include "collectors/sysvol_test_files.h"

#include <atomic>
#include <cstdio>
#include <utility>

#include "collectors/background.h"
#include "include/platform/files.h"
#include "include/platform/threads.h"
#include "include/platform/time.h"
#include "include/settings.h"
#include "include/unique_handle.h"

namespace {

constexpr DWORD kForcingWait_ms = 1000;
constexpr DWORD kClearingWait_ms = 5000;

// The test whose files are to be deleted. The clear event tells whose turn it is, but a wait for it
// may fail and its holder go on: the lock keeps the texts whole then, too. It is held only for
// copies, inside the event.
SYS1_Lock identity_lock;
std::string m_strHostName;
std::string m_strServerName;
std::string m_strDomainName;
std::string m_strTempFileContent;
std::vector<std::string> g_sysvolPartners;

class IdentityGuard {
 public:
  IdentityGuard() { SYS1_GetLock(&identity_lock); }
  ~IdentityGuard() { SYS1_ReleaseLock(&identity_lock); }
  IdentityGuard(const IdentityGuard&) = delete;
  IdentityGuard& operator=(const IdentityGuard&) = delete;
};

collectors::SysvolTest remembered_test() {
  const IdentityGuard guard;
  return {m_strHostName, m_strServerName, m_strDomainName, m_strTempFileContent, g_sysvolPartners};
}

long last_error() { return static_cast<long>(GetLastError()); }

// The files were given up, but the event could not be signalled: the next side does not wait.
// Without this one failed call would end all tests for good.
std::atomic<bool> release_owed{false};

DWORD wait_for_clear_event(DWORD timeout_ms) {
  if (release_owed.exchange(false)) return WAIT_OBJECT_0;
  return WaitForSingleObject(g_sysvolClearEvent, timeout_ms);
}

// False, with the system's error, when the event could not be signalled.
bool release_clear_event() {
  if (SetEvent(g_sysvolClearEvent)) return true;
  release_owed = g_sysvolClearEvent != nullptr;
  return false;
}

void take_clear_event(const trace::Scope& trace) {
  if (g_sysvolClearEvent == nullptr) {
    trace.always()("Creating Sysvol ClearEvent");
    // Born not signalled: this thread holds it already.
    g_sysvolClearEvent = CreateEventA(nullptr, TRUE, FALSE, "SYSCLRRPL");
    return;
  }
  wait_for_clear_event(INFINITE);
  if (!ResetEvent(g_sysvolClearEvent)) {
    trace.always()("Lock cache lock failed: %ld", last_error());
  }
}

void delete_file(const trace::Scope& trace, const std::string& path) {
  if (DeleteFileA(path.c_str())) return;
  trace.always()("DeleteFile failed: %ld, \nFile Name: %s", last_error(), path.c_str());
}

}  // namespace

void DWAGetCurrentTime(std::span<char> buffer) {
  DCW_TRACE("DWAGetCurrentTime");
  SYSTEMTIME now;
  GetSystemTime(&now);
  std::snprintf(buffer.data(), buffer.size(), "%04d_%02d_%02d_%02d_%02d_%02d_%03d", int{now.wYear},
                int{now.wMonth}, int{now.wDay}, int{now.wHour}, int{now.wMinute}, int{now.wSecond},
                int{now.wMilliseconds});
}

DWORD GetFileContent(const std::string& path, std::string& content) {
  DCW_TRACE("GetFileContent");
  const HANDLE opened = CreateFileA(path.c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr,
                                    OPEN_EXISTING, FILE_FLAG_SEQUENTIAL_SCAN, nullptr);
  if (opened == INVALID_HANDLE_VALUE) {
    const DWORD error = GetLastError();
    trace.always()("Error opening file %s\nError: %ld", path.c_str(), static_cast<long>(error));
    return trace.returns(error);
  }
  const UniqueHandle file{opened};
  constexpr DWORD kBlockSize = 1024;
  for (;;) {
    char block[kBlockSize + 1] = {};
    DWORD count = 0;
    if (!ReadFile(file.get(), block, kBlockSize, &count, nullptr)) {
      const DWORD error = GetLastError();
      trace.always()("ReadFile failed: %ld", static_cast<long>(error));
      return trace.returns(error);
    }
    if (count == 0) return trace.returns(DWORD{ERROR_SUCCESS});
    content += block;
  }
}

namespace collectors {

std::string SysvolTest::path_on(const std::string& its_server) const {
  return "\\\\" + its_server + "\\SYSVOL\\" + domain + "\\" + stamp + "_" + host + ".txt";
}

void remember_sysvol_test(const trace::Scope& trace, const SysvolTest& test) {
  take_clear_event(trace);
  {
    const IdentityGuard guard;
    m_strHostName = test.host;
    m_strServerName = test.server;
    m_strTempFileContent = test.stamp;
    m_strDomainName = test.domain;
    g_sysvolPartners = test.partners;
  }
  trace.always()("Host Name: %s", test.host.c_str());
  trace.always()("Server Name: %s", test.server.c_str());
  trace.always()("Temp. File Content: %s", test.stamp.c_str());
  trace.always()("Domain Name: %s", test.domain.c_str());
  if (!release_clear_event()) {
    // Deliberately without the number, unlike its kin: people search for the line as it stands.
    trace.always()("Release cache lock failed: ld");
  }
}

ClearEventHold::ClearEventHold(const trace::Scope& trace)
    : trace_(trace), wait_result_(wait_for_clear_event(kForcingWait_ms)) {
  if (wait_result_ != WAIT_OBJECT_0) return;
  is_held_ = ResetEvent(g_sysvolClearEvent) != FALSE;
  if (!is_held_) trace_.always()("Reset Event failed: %ld", last_error());
}

ClearEventHold::~ClearEventHold() { release(); }

void ClearEventHold::release() {
  if (!std::exchange(is_held_, false)) return;
  if (!release_clear_event()) trace_.always()("Set Event failed: %ld", last_error());
}

}  // namespace collectors

void ClearData() {
  DCW_TRACE("ClearData");
  if (g_sysvolClearEvent == nullptr) {
    trace.always()("Event is not initilized");
    return;
  }
  if (wait_for_clear_event(kClearingWait_ms) == WAIT_TIMEOUT) {
    trace.always()("ClearData Timeout..No file has been created.");
    return;
  }
  if (!ResetEvent(g_sysvolClearEvent)) {
    trace.always()("Lock clear lock failed: %ld", last_error());
    return;
  }
  const collectors::SysvolTest test = remembered_test();
  delete_file(trace, test.own_path());
  // Directly on each partner's share: the deletion need not replicate.
  for (const std::string& partner : test.partners) delete_file(trace, test.path_on(partner));
  if (!release_clear_event()) {
    trace.always()("Release cache lock failed: %ld", last_error());
  }
}
