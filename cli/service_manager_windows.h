#pragma once
// The service manager's side of the agent's service: what is asked of it, and what its refusals
// mean to a person.

#include <string>

#include "include/platform/service_manager.h"

namespace cli {

inline constexpr const char* kServiceName = "DirWatcher";

// An open handle of the service manager, or of one of its services.
class ServiceHandle {
 public:
  explicit ServiceHandle(SC_HANDLE handle) : handle_(handle) {}
  ~ServiceHandle() {
    if (handle_ != nullptr) CloseServiceHandle(handle_);
  }
  ServiceHandle(const ServiceHandle&) = delete;
  ServiceHandle& operator=(const ServiceHandle&) = delete;
  explicit operator bool() const { return handle_ != nullptr; }
  SC_HANDLE get() const { return handle_; }

 private:
  const SC_HANDLE handle_;
};

// What went wrong and what to do next, on standard error. Always false.
bool refuse(const char* what, DWORD error);

// Whether the service reached the state. It is given a minute of silence: each new check point that
// it reports starts the minute anew. Status holds what it said last.
bool wait_for_state(SC_HANDLE service, DWORD state, SERVICE_STATUS& status);

// Whether the service manager lets this program make services; when not, it has been told.
bool may_register_services();

// Creates the service, or brings the one that is there up to date: its program, and what happens
// when it fails. Its account and its start type stay as they are then.
bool register_service(const std::string& program);

// True as well when there was none.
bool remove_service();

}  // namespace cli
