#include "platform/kernel/fault_point.h"

#include <algorithm>
#include <mutex>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "include/platform/base.h"
#include "platform/control.h"

namespace platform::faults {

namespace {

// What each call of the kernel fails with when nothing else is asked for.
struct UsualFailure {
  std::string_view call;
  std::int64_t code;
};
constexpr UsualFailure kUsualFailures[] = {
    {"CreateEventA", ERROR_NOT_ENOUGH_MEMORY},
    {"SetEvent", ERROR_INVALID_HANDLE},
    {"ResetEvent", ERROR_INVALID_HANDLE},
    {"CloseHandle", ERROR_INVALID_HANDLE},
    {"WaitForSingleObject", ERROR_INVALID_HANDLE},
    {"WaitForMultipleObjects", ERROR_INVALID_HANDLE},
    {"MsgWaitForMultipleObjects", ERROR_INVALID_HANDLE},
    {"_beginthreadex", 11},  // an errno value: too many threads
    {"TerminateThread", ERROR_ACCESS_DENIED},
    {"CreateFileA", ERROR_ACCESS_DENIED},
    {"ReadFile", ERROR_READ_FAULT},
    {"WriteFile", ERROR_DISK_FULL},
    {"DeleteFileA", ERROR_ACCESS_DENIED},
    {"GetFileAttributesA", ERROR_FILE_NOT_FOUND},
    {"CreateFileMappingA", ERROR_ACCESS_DENIED},
    {"OpenFileMappingA", ERROR_FILE_NOT_FOUND},
    {"MapViewOfFile", ERROR_NOT_ENOUGH_MEMORY},
    {"UnmapViewOfFile", ERROR_INVALID_PARAMETER},
    {"_access", 2},   // an errno value: no such file
    {"_popen", 24},   // an errno value: too many open files
    {"_pclose", 10},  // an errno value: no such child
    {"system", 12},   // an errno value: no memory
    {"_putenv", 12},  // an errno value: no memory
    {"ExpandEnvironmentStringsA", ERROR_NOT_ENOUGH_MEMORY},
    {"GetVersionExA", ERROR_INSUFFICIENT_BUFFER},
    {"FormatMessageA", ERROR_MR_MID_NOT_FOUND},
    {"LocalAlloc", ERROR_NOT_ENOUGH_MEMORY},
    {"LocalFree", ERROR_INVALID_HANDLE},
    {"GetModuleHandleA", ERROR_MOD_NOT_FOUND},
    {"GetModuleFileNameA", ERROR_INSUFFICIENT_BUFFER},
    {"GetComputerNameA", ERROR_BUFFER_OVERFLOW},
    {"GetComputerNameExA", ERROR_MORE_DATA},
    {"RegisterClassA", ERROR_NOT_ENOUGH_MEMORY},
    {"PostThreadMessageA", ERROR_INVALID_THREAD_ID},
    {"GetMessageA", ERROR_INVALID_WINDOW_HANDLE},
    {"LoadStringA", ERROR_RESOURCE_NAME_NOT_FOUND},
    {"WSAStartup", 10091},   // WSASYSNOTREADY
    {"gethostname", 10050},  // WSAENETDOWN
    {"getaddrinfo", 11001},  // WSAHOST_NOT_FOUND
    {"GetSystemDirectoryA", ERROR_NOT_ENOUGH_MEMORY},
    {"LoadLibraryA", ERROR_MOD_NOT_FOUND},
    {"FreeLibrary", ERROR_INVALID_HANDLE},
    {"GetProcAddress", ERROR_PROC_NOT_FOUND},
    {"StartServiceCtrlDispatcherA", ERROR_FAILED_SERVICE_CONTROLLER_CONNECT},
    {"RegisterServiceCtrlHandlerA", ERROR_SERVICE_NOT_IN_EXE},
    {"SetServiceStatus", ERROR_INVALID_HANDLE},
    {"OpenSCManagerA", ERROR_ACCESS_DENIED},
    {"OpenSCManagerW", ERROR_ACCESS_DENIED},
    {"OpenServiceA", ERROR_SERVICE_DOES_NOT_EXIST},
    {"OpenServiceW", ERROR_SERVICE_DOES_NOT_EXIST},
    {"EnumServicesStatusW", ERROR_ACCESS_DENIED},
    {"QueryServiceConfigW", ERROR_ACCESS_DENIED},
    {"QueryServiceStatus", ERROR_ACCESS_DENIED},
    {"QueryServiceStatusEx", ERROR_ACCESS_DENIED},
    {"MultiByteToWideChar", ERROR_NO_UNICODE_TRANSLATION},
    {"WideCharToMultiByte", ERROR_NO_UNICODE_TRANSLATION},
    {"SystemTimeToFileTime", ERROR_INVALID_PARAMETER},
    {"FileTimeToSystemTime", ERROR_INVALID_PARAMETER},
    {"SystemTimeToTzSpecificLocalTime", ERROR_INVALID_PARAMETER},
    {"VariantTimeToSystemTime", ERROR_INVALID_PARAMETER},
    {"SystemTimeToVariantTime", ERROR_INVALID_PARAMETER},
};

struct Plan {
  std::string call;
  std::uint32_t remaining;  // calls until it strikes; 0 strikes every time
  bool every;
  std::int64_t code;
};

std::mutex lock;
// Guarded by lock, like everything below. Never destroyed: threads may outlive main.
std::vector<Plan>& plans = *new std::vector<Plan>;
std::vector<std::pair<std::string, std::uint32_t>>& counts =
    *new std::vector<std::pair<std::string, std::uint32_t>>;
bool counting = false;
bool has_struck = false;

std::int64_t usual_failure(std::string_view call) {
  for (const auto& usual : kUsualFailures) {
    if (usual.call == call) return usual.code;
  }
  return ERROR_GEN_FAILURE;
}

void count(const char* call) {
  const auto known = std::find_if(counts.begin(), counts.end(),
                                  [&](const auto& one) { return one.first == call; });
  if (known == counts.end()) {
    counts.emplace_back(call, 1);
  } else {
    ++known->second;
  }
}

}  // namespace

namespace detail {

std::atomic<bool> armed{false};

std::optional<Fault> reach(const char* call, std::int64_t usual_code) {
  const std::lock_guard guard(lock);
  if (counting) count(call);
  for (auto& plan : plans) {
    if (plan.call != call) continue;
    if (!plan.every && (plan.remaining == 0 || --plan.remaining > 0)) continue;
    has_struck = true;
    std::int64_t code = plan.code;
    if (code == 0) code = usual_code;
    if (code == 0) code = usual_failure(call);
    return Fault{code};
  }
  return std::nullopt;
}

}  // namespace detail

void fail(const std::string& call, std::uint32_t nth, std::int64_t code) {
  const std::lock_guard guard(lock);
  plans.push_back({call, nth, nth == 0, code});
  detail::armed = true;
}

void clear() {
  const std::lock_guard guard(lock);
  plans.clear();
  has_struck = false;
  detail::armed = counting;
}

std::vector<std::pair<std::string, std::uint32_t>> reached() {
  const std::lock_guard guard(lock);
  return counts;
}

void reset_counts() {
  const std::lock_guard guard(lock);
  counts.clear();
  counting = true;
  detail::armed = true;
}

bool struck() {
  const std::lock_guard guard(lock);
  return has_struck;
}

}  // namespace platform::faults
