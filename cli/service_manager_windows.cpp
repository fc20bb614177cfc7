#include "cli/service_manager_windows.h"

#include <cstdio>

#include "cli/service_host.h"
#include "include/platform/time.h"

namespace cli {
namespace {

constexpr DWORD kPause_ms = 200;
constexpr DWORD kSilence_ms = 60000;
constexpr DWORD kRestartAfter_ms = 60000;
constexpr DWORD kForgetFailuresAfter_s = 86400;

const char* advice(DWORD error) {
  switch (error) {
    case ERROR_ACCESS_DENIED:
      return "this needs an administrator: open the command prompt with 'Run as administrator' and "
             "try again";
    case ERROR_SERVICE_DOES_NOT_EXIST:
      return "it is not installed; 'dirwatch service install' does that";
    case ERROR_SERVICE_MARKED_FOR_DELETE:
      return "it is marked for deletion until nobody holds it open: close the Services window and "
             "the Task Manager, or restart the machine, and try again";
    case ERROR_SERVICE_DISABLED:
      return "it is disabled; 'sc config DirWatcher start= auto' allows it again";
    case ERROR_SERVICE_LOGON_FAILED:
      return "its account cannot log on; give it the right password in the Services window";
    case ERROR_SERVICE_REQUEST_TIMEOUT:
      return "it did not answer in time; the trace file tells how far it came";
    case ERROR_FILE_NOT_FOUND:
    case ERROR_PATH_NOT_FOUND:
      return "its program is no longer there; 'dirwatch service install' from the new folder tells "
             "where it is now";
    default:
      return nullptr;
  }
}

std::string system_text(DWORD error) {
  char text[512];
  const DWORD length =
      FormatMessageA(FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS, nullptr, error, 0,
                     text, static_cast<DWORD>(sizeof text), nullptr);
  std::string line(text, length);
  line.erase(line.find_last_not_of("\r\n .") + 1);
  return line.empty() ? "unknown error" : line;
}

bool describe_service(SC_HANDLE service) {
  char sentence[] = "Monitors Active Directory from this controller's point of view.";
  SERVICE_DESCRIPTIONA description = {sentence};
  if (!ChangeServiceConfig2A(service, SERVICE_CONFIG_DESCRIPTION, &description)) {
    return refuse("its description could not be set", GetLastError());
  }
  SC_ACTION restarts[3] = {};
  for (SC_ACTION& restart : restarts) restart = {SC_ACTION_RESTART, kRestartAfter_ms};
  SERVICE_FAILURE_ACTIONSA failures = {kForgetFailuresAfter_s, nullptr, nullptr, 3, restarts};
  if (!ChangeServiceConfig2A(service, SERVICE_CONFIG_FAILURE_ACTIONS, &failures)) {
    return refuse("its restart after a failure could not be set", GetLastError());
  }
  // An agent that cannot go on says so and stops with an error code; it is to be restarted as well
  // as one that was torn down.
  SERVICE_FAILURE_ACTIONS_FLAG also_after_an_error = {TRUE};
  if (!ChangeServiceConfig2A(service, SERVICE_CONFIG_FAILURE_ACTIONS_FLAG, &also_after_an_error)) {
    std::fprintf(stderr, "dirwatch: it is restarted after a crash only, not after an error: %s\n",
                 system_text(GetLastError()).c_str());
  }
  return true;
}

bool update_service(SC_HANDLE manager, const std::string& command_line) {
  const ServiceHandle service(
      OpenServiceA(manager, kServiceName, SERVICE_CHANGE_CONFIG | SERVICE_START));
  if (!service) return refuse("the service could not be opened", GetLastError());
  if (!ChangeServiceConfigA(service.get(), SERVICE_NO_CHANGE, SERVICE_NO_CHANGE, SERVICE_NO_CHANGE,
                            command_line.c_str(), nullptr, nullptr, nullptr, nullptr, nullptr,
                            nullptr)) {
    return refuse("the service could not be brought up to date", GetLastError());
  }
  std::printf("service %s was there already: brought up to date, its account and start type kept\n",
              kServiceName);
  return describe_service(service.get());
}

}  // namespace

bool refuse(const char* what, DWORD error) {
  std::fprintf(stderr, "dirwatch: %s: %s (%lu)\n", what, system_text(error).c_str(), error);
  if (const char* const next = advice(error)) std::fprintf(stderr, "dirwatch: %s\n", next);
  return false;
}

bool wait_for_state(SC_HANDLE service, DWORD state, SERVICE_STATUS& status) {
  DWORD check_point = 0;
  DWORD previous = 0;
  for (DWORD silent_ms = 0; silent_ms < kSilence_ms; silent_ms += kPause_ms) {
    if (!QueryServiceStatus(service, &status)) {
      return refuse("the service does not tell how it stands", GetLastError());
    }
    if (status.dwCurrentState == state) return true;
    if (status.dwCurrentState == SERVICE_STOPPED) return false;
    if (status.dwCheckPoint != check_point || status.dwCurrentState != previous) silent_ms = 0;
    check_point = status.dwCheckPoint;
    previous = status.dwCurrentState;
    Sleep(kPause_ms);
  }
  return refuse("the service does not come on", ERROR_SERVICE_REQUEST_TIMEOUT);
}

bool may_register_services() {
  const ServiceHandle manager(
      OpenSCManagerA(nullptr, nullptr, SC_MANAGER_CONNECT | SC_MANAGER_CREATE_SERVICE));
  return manager || refuse("the service manager does not let us in", GetLastError());
}

bool register_service(const std::string& program) {
  const ServiceHandle manager(
      OpenSCManagerA(nullptr, nullptr, SC_MANAGER_CONNECT | SC_MANAGER_CREATE_SERVICE));
  if (!manager) return refuse("the service manager does not let us in", GetLastError());
  // Without the quotes a program of another's making in C:\Program.exe would run.
  const std::string command_line = "\"" + program + "\"";
  // LocalSystem: on a controller this is the machine's own account, which may read every counter
  // and every service, write below LostAndFound and into SYSVOL; no lesser account may do the
  // latter.
  const ServiceHandle service(CreateServiceA(
      manager.get(), kServiceName, kServiceName, SERVICE_CHANGE_CONFIG | SERVICE_START,
      SERVICE_WIN32_OWN_PROCESS, SERVICE_AUTO_START, SERVICE_ERROR_NORMAL, command_line.c_str(),
      nullptr, nullptr, nullptr, nullptr, nullptr));
  if (!service) {
    const DWORD error = GetLastError();
    if (error == ERROR_SERVICE_EXISTS) return update_service(manager.get(), command_line);
    return refuse("the service could not be created", error);
  }
  std::printf("service %s created: starts with the machine, as LocalSystem\n", kServiceName);
  return describe_service(service.get());
}

bool remove_service() {
  const ServiceHandle manager(OpenSCManagerA(nullptr, nullptr, SC_MANAGER_CONNECT));
  if (!manager) return refuse("the service manager does not let us in", GetLastError());
  const ServiceHandle service(
      OpenServiceA(manager.get(), kServiceName, SERVICE_STOP | SERVICE_QUERY_STATUS | DELETE));
  if (!service) {
    const DWORD error = GetLastError();
    if (error != ERROR_SERVICE_DOES_NOT_EXIST) {
      return refuse("the service could not be opened", error);
    }
    std::printf("service %s is not installed\n", kServiceName);
    return true;
  }
  SERVICE_STATUS status = {};
  if (ControlService(service.get(), SERVICE_CONTROL_STOP, &status) &&
      wait_for_state(service.get(), SERVICE_STOPPED, status)) {
    std::printf("service %s stopped\n", kServiceName);
  }
  if (!DeleteService(service.get())) {
    return refuse("the service could not be removed", GetLastError());
  }
  std::printf("service %s removed\n", kServiceName);
  return true;
}

bool start_service() {
  const ServiceHandle manager(OpenSCManagerA(nullptr, nullptr, SC_MANAGER_CONNECT));
  if (!manager) return refuse("the service manager does not let us in", GetLastError());
  const ServiceHandle service(
      OpenServiceA(manager.get(), kServiceName, SERVICE_START | SERVICE_QUERY_STATUS));
  if (!service) return refuse("the service could not be opened", GetLastError());
  if (!StartServiceA(service.get(), 0, nullptr)) {
    const DWORD error = GetLastError();
    if (error != ERROR_SERVICE_ALREADY_RUNNING) {
      return refuse("the service could not be started", error);
    }
    std::printf("service %s was started already\n", kServiceName);
  }
  SERVICE_STATUS status = {};
  if (wait_for_state(service.get(), SERVICE_RUNNING, status)) {
    std::printf("service %s runs\n", kServiceName);
    return true;
  }
  if (status.dwCurrentState == SERVICE_STOPPED) {
    std::fprintf(stderr,
                 "dirwatch: the service stopped again, with error %lu; the trace file and the "
                 "system's event log tell why\n",
                 status.dwWin32ExitCode);
  }
  return false;
}

bool stop_service() {
  const ServiceHandle manager(OpenSCManagerA(nullptr, nullptr, SC_MANAGER_CONNECT));
  if (!manager) return refuse("the service manager does not let us in", GetLastError());
  const ServiceHandle service(
      OpenServiceA(manager.get(), kServiceName, SERVICE_STOP | SERVICE_QUERY_STATUS));
  if (!service) return refuse("the service could not be opened", GetLastError());
  SERVICE_STATUS status = {};
  if (!ControlService(service.get(), SERVICE_CONTROL_STOP, &status)) {
    const DWORD error = GetLastError();
    const bool on_its_way = error == ERROR_SERVICE_CANNOT_ACCEPT_CTRL &&
                            QueryServiceStatus(service.get(), &status) != 0 &&
                            status.dwCurrentState == SERVICE_STOP_PENDING;
    if (error != ERROR_SERVICE_NOT_ACTIVE && !on_its_way) {
      return refuse("the service could not be stopped", error);
    }
  }
  if (!wait_for_state(service.get(), SERVICE_STOPPED, status)) return false;
  std::printf("service %s is stopped\n", kServiceName);
  return true;
}

bool show_service_status() {
  const ServiceHandle manager(OpenSCManagerA(nullptr, nullptr, SC_MANAGER_CONNECT));
  if (!manager) return refuse("the service manager does not let us in", GetLastError());
  const ServiceHandle service(OpenServiceA(manager.get(), kServiceName, SERVICE_QUERY_STATUS));
  if (!service) return refuse("the service could not be opened", GetLastError());
  SERVICE_STATUS status = {};
  if (!QueryServiceStatus(service.get(), &status)) {
    return refuse("the service does not tell how it stands", GetLastError());
  }
  constexpr const char* kStates[] = {
      "in an unknown state", "stopped",      "starting", "stopping", "running",
      "continuing",          "being paused", "paused"};
  const DWORD state = status.dwCurrentState <= SERVICE_PAUSED ? status.dwCurrentState : 0;
  std::printf("service %s is %s\n", kServiceName, kStates[state]);
  const bool failed =
      status.dwWin32ExitCode != NO_ERROR && status.dwWin32ExitCode != ERROR_SERVICE_NEVER_STARTED;
  if (state == SERVICE_STOPPED && failed) {
    std::printf("it stopped with error %lu: %s\n", status.dwWin32ExitCode,
                system_text(status.dwWin32ExitCode).c_str());
  }
  return state == SERVICE_RUNNING;
}

}  // namespace cli
