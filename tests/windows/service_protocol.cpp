// service_protocol.exe PROGRAM ROWS: plays the administrator of the service "DirWatcher" before the
// machine's own service manager. Says each step and what it saw; the exit code is the number of
// steps that went wrong. ROWS is the file that the service's rows go to.

#include <cstdarg>
#include <cstdio>
#include <set>
#include <string>

#include "include/platform/service_manager.h"
#include "include/platform/threads.h"

namespace {

constexpr const char* kName = "DirWatcher";
constexpr DWORD kStartLimit_ms = 60000;
constexpr DWORD kStopLimit_ms = 10000;

int failures = 0;

void check(bool right, const char* format, ...) {
  va_list arguments;
  va_start(arguments, format);
  std::printf("windows: service: %s", right ? "" : "FAILED: ");
  std::vprintf(format, arguments);
  std::printf("\n");
  std::fflush(stdout);
  va_end(arguments);
  if (!right) ++failures;
}

SERVICE_STATUS_PROCESS query(SC_HANDLE service) {
  SERVICE_STATUS_PROCESS status{};
  DWORD needed = 0;
  if (!QueryServiceStatusEx(service, SC_STATUS_PROCESS_INFO, reinterpret_cast<BYTE*>(&status),
                            sizeof status, &needed)) {
    check(false, "QueryServiceStatusEx: error %lu", GetLastError());
  }
  return status;
}

// The states seen until it is in this one, or until the time is up; ms is how long that took.
std::set<DWORD> watch(SC_HANDLE service, DWORD state, DWORD limit_ms, DWORD& ms) {
  std::set<DWORD> seen;
  const DWORD began = GetTickCount();
  while (true) {
    const DWORD now = query(service).dwCurrentState;
    seen.insert(now);
    ms = GetTickCount() - began;
    if (now == state || ms > limit_ms) return seen;
    Sleep(5);
  }
}

bool all_of(const std::set<DWORD>& seen, const std::set<DWORD>& allowed) {
  for (const DWORD state : seen) {
    if (allowed.count(state) == 0) return false;
  }
  return true;
}

void start(SC_HANDLE service, const char* argument) {
  const char* arguments[] = {argument};
  if (!StartServiceA(service, argument == nullptr ? 0 : 1, arguments)) {
    check(false, "StartService: error %lu", GetLastError());
    return;
  }
  DWORD ms = 0;
  const auto seen = watch(service, SERVICE_RUNNING, kStartLimit_ms, ms);
  const auto status = query(service);
  check(status.dwCurrentState == SERVICE_RUNNING &&
            all_of(seen, {SERVICE_START_PENDING, SERVICE_RUNNING}),
        "running after %lu ms, process %lu", ms, status.dwProcessId);
  check(status.dwControlsAccepted == (SERVICE_ACCEPT_STOP | SERVICE_ACCEPT_SHUTDOWN),
        "takes stop and shutdown: %lu", status.dwControlsAccepted);
}

DWORD control(SC_HANDLE service, DWORD code) {
  SERVICE_STATUS status{};
  return ControlService(service, code, &status) ? 0 : GetLastError();
}

void wait_for_rows(const char* path) {
  for (DWORD waited = 0; waited < kStartLimit_ms; waited += 50) {
    const HANDLE file = CreateFileA(path, GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr,
                                    OPEN_EXISTING, 0, nullptr);
    if (file != INVALID_HANDLE_VALUE) {
      const DWORD size = GetFileSize(file, nullptr);
      CloseHandle(file);
      if (size > 0) return check(true, "rows arrive");
    }
    Sleep(50);
  }
  check(false, "no row arrives");
}

void try_controls(SC_HANDLE service) {
  for (const DWORD code : {SERVICE_CONTROL_PAUSE, SERVICE_CONTROL_CONTINUE}) {
    const DWORD error = control(service, code);
    check(
        error == ERROR_INVALID_SERVICE_CONTROL && query(service).dwCurrentState == SERVICE_RUNNING,
        "control %lu is not accepted: error %lu, still running", code, error);
  }
  for (const DWORD code : {DWORD{SERVICE_CONTROL_INTERROGATE}, DWORD{0x80}}) {
    const DWORD error = control(service, code);
    check(error == 0 && query(service).dwCurrentState == SERVICE_RUNNING,
          "control %lu changes nothing: error %lu, still running", code, error);
  }
}

struct Stop {
  SC_HANDLE service;
  DWORD error;
};

unsigned __stdcall stop(void* argument) {
  auto& self = *static_cast<Stop*>(argument);
  self.error = control(self.service, SERVICE_CONTROL_STOP);
  return 0;
}

void wait_until_stopped(SC_HANDLE service) {
  DWORD ms = 0;
  const auto seen = watch(service, SERVICE_STOPPED, kStopLimit_ms, ms);
  const auto status = query(service);
  check(status.dwCurrentState == SERVICE_STOPPED && ms <= kStopLimit_ms &&
            all_of(seen, {SERVICE_STOP_PENDING, SERVICE_STOPPED}),
        "stopped after %lu ms, stop pending %s", ms,
        seen.count(SERVICE_STOP_PENDING) != 0 ? "seen" : "not seen");
  check(status.dwWin32ExitCode == 0, "exit code %lu", status.dwWin32ExitCode);
}

void stop_twice_at_once(SC_HANDLE service) {
  Stop stops[2] = {{service, 77}, {service, 77}};
  HANDLE threads[2];
  for (int i = 0; i < 2; ++i) {
    threads[i] = reinterpret_cast<HANDLE>(_beginthreadex(nullptr, 0, &stop, &stops[i], 0, nullptr));
  }
  WaitForMultipleObjects(2, threads, TRUE, INFINITE);
  for (const HANDLE thread : threads) CloseHandle(thread);
  int taken = 0;
  bool refused_rightly = true;
  for (const Stop& one : stops) {
    taken += one.error == 0 ? 1 : 0;
    refused_rightly = refused_rightly && (one.error == 0 || one.error == ERROR_SERVICE_NOT_ACTIVE ||
                                          one.error == ERROR_SERVICE_CANNOT_ACCEPT_CTRL ||
                                          one.error == ERROR_INVALID_SERVICE_CONTROL);
  }
  check(taken >= 1 && refused_rightly, "of two stops at once %d taken: errors %lu and %lu", taken,
        stops[0].error, stops[1].error);
  wait_until_stopped(service);
}

// A stop may come too early to be taken; then it is sent again when the service runs.
void stop_during_the_start(SC_HANDLE service) {
  if (!StartServiceA(service, 0, nullptr)) {
    return check(false, "StartService: error %lu", GetLastError());
  }
  const DWORD state = query(service).dwCurrentState;
  const DWORD error = control(service, SERVICE_CONTROL_STOP);
  check(error == 0 || error == ERROR_SERVICE_CANNOT_ACCEPT_CTRL ||
            error == ERROR_INVALID_SERVICE_CONTROL,
        "stop during the start, in state %lu: error %lu", state, error);
  if (error != 0) {
    DWORD ms = 0;
    watch(service, SERVICE_RUNNING, kStartLimit_ms, ms);
    const DWORD second = control(service, SERVICE_CONTROL_STOP);
    check(second == 0, "stop after the start: error %lu", second);
  }
  wait_until_stopped(service);
}

void remove(SC_HANDLE manager) {
  const SC_HANDLE service = OpenServiceA(manager, kName, SERVICE_ALL_ACCESS);
  if (service == nullptr) return;
  DeleteService(service);
  CloseServiceHandle(service);
}

}  // namespace

int main(int count, char** arguments) {
  if (count != 3) return 99;
  const SC_HANDLE manager = OpenSCManagerA(nullptr, nullptr, SC_MANAGER_ALL_ACCESS);
  remove(manager);
  const SC_HANDLE service = CreateServiceA(
      manager, kName, kName, SERVICE_ALL_ACCESS, SERVICE_WIN32_OWN_PROCESS, SERVICE_DEMAND_START,
      SERVICE_ERROR_NORMAL, arguments[1], nullptr, nullptr, nullptr, nullptr, nullptr);
  if (service == nullptr) {
    check(false, "CreateService: error %lu", GetLastError());
    return failures;
  }
  start(service, "REREG");
  try_controls(service);
  wait_for_rows(arguments[2]);
  stop_twice_at_once(service);
  const DWORD late = control(service, SERVICE_CONTROL_STOP);
  check(late == ERROR_SERVICE_NOT_ACTIVE, "stop of the stopped service: error %lu", late);
  stop_during_the_start(service);
  start(service, nullptr);
  const DWORD shutdown = control(service, SERVICE_CONTROL_SHUTDOWN);
  check(true, "shutdown, which is the system's alone to send: error %lu", shutdown);
  if (shutdown != 0) check(control(service, SERVICE_CONTROL_STOP) == 0, "stop of the third start");
  wait_until_stopped(service);
  check(DeleteService(service) != 0, "deleted");
  CloseServiceHandle(service);
  const SC_HANDLE again = OpenServiceA(manager, kName, SERVICE_QUERY_STATUS);
  check(again == nullptr && GetLastError() == ERROR_SERVICE_DOES_NOT_EXIST, "gone");
  CloseServiceHandle(manager);
  return failures;
}
