// Questions to the service manager, answered from the controller's. With a controller that has none
// the manager cannot be reached, as on a machine that is being shut down.

#include <cstring>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "include/platform/files.h"
#include "include/platform/service_manager.h"
#include "platform/adsi/wide_text.h"
#include "platform/control.h"
#include "platform/kernel/accounting.h"
#include "platform/kernel/fault_point.h"
#include "platform/kernel/local_machine.h"
#include "platform/recorded/utf8.h"

namespace {

using platform::fault_point;
using platform::narrow_text;
using platform::ServiceListing;
using platform::ServiceState;
using platform::wide_text;

constexpr DWORD kGenericAll = 0x10000000, kMaximumAllowed = 0x02000000;
constexpr DWORD kAllTypes = 0x1FF;

platform::accounting::Counter live_handles{"service handle"};

struct OpenHandle {
  std::shared_ptr<platform::Controller> controller;  // whose manager it is; never without one
  std::optional<std::string> service;                // none: the manager's own
  DWORD access = 0;

  platform::ServiceManager& manager() const { return *controller->services(); }
};

// Handles are numbers that never come again, so that a stale one is found out.
class Handles {
 public:
  SC_HANDLE add(OpenHandle handle) {
    const std::lock_guard guard(lock_);
    const std::uintptr_t number = next_++ * 8;
    handles_.emplace(number, std::make_shared<const OpenHandle>(std::move(handle)));
    live_handles.add();
    return reinterpret_cast<SC_HANDLE>(number);
  }
  std::shared_ptr<const OpenHandle> find(SC_HANDLE handle) {
    const std::lock_guard guard(lock_);
    const auto found = handles_.find(reinterpret_cast<std::uintptr_t>(handle));
    return found == handles_.end() ? nullptr : found->second;
  }
  bool remove(SC_HANDLE handle) {
    const std::lock_guard guard(lock_);
    if (handles_.erase(reinterpret_cast<std::uintptr_t>(handle)) == 0) return false;
    live_handles.remove();
    return true;
  }

 private:
  std::mutex lock_;
  // guarded by lock_
  std::uintptr_t next_ = 1;
  std::map<std::uintptr_t, std::shared_ptr<const OpenHandle>> handles_;
};
Handles& handles() {
  static auto& all = *new Handles;
  return all;
}

BOOL fail(DWORD error) {
  SetLastError(error);
  return FALSE;
}

bool grants(DWORD access, DWORD right) {
  return (access & (right | GENERIC_READ | kGenericAll | kMaximumAllowed)) != 0;
}

// The open handle of that kind with that right, or null with the last error set.
std::shared_ptr<const OpenHandle> find(SC_HANDLE handle, bool service, DWORD right) {
  auto found = handles().find(handle);
  if (found == nullptr || found->service.has_value() != service) {
    SetLastError(ERROR_INVALID_HANDLE);
    return nullptr;
  }
  if (!grants(found->access, right)) {
    SetLastError(ERROR_ACCESS_DENIED);
    return nullptr;
  }
  return found;
}

SC_HANDLE open_manager(const char* call, const std::string& machine, const std::string& database,
                       DWORD access) {
  if (const auto fault = fault_point(call)) {
    SetLastError(fault->win32());
    return nullptr;
  }
  if (!database.empty() && !platform::equal_without_case(database, "ServicesActive")) {
    SetLastError(ERROR_DATABASE_DOES_NOT_EXIST);
    return nullptr;
  }
  auto controller = platform::controller();
  const bool reachable = controller != nullptr && controller->services() != nullptr &&
                         platform::is_local_machine(controller.get(), machine);
  const DWORD error = reachable ? controller->services()->connect() : RPC_S_SERVER_UNAVAILABLE;
  if (error != 0) {
    SetLastError(error);
    return nullptr;
  }
  return handles().add({std::move(controller), std::nullopt, access});
}

SC_HANDLE open_service(const char* call, SC_HANDLE manager, std::string name, DWORD access) {
  if (const auto fault = fault_point(call)) {
    SetLastError(fault->win32());
    return nullptr;
  }
  const auto open = find(manager, false, SC_MANAGER_CONNECT | SC_MANAGER_ENUMERATE_SERVICE);
  if (open == nullptr) return nullptr;
  const DWORD error = name.empty() ? DWORD{ERROR_INVALID_NAME} : open->manager().open(name);
  if (error != 0) {
    SetLastError(error);
    return nullptr;
  }
  return handles().add({open->controller, std::move(name), access});
}

SERVICE_STATUS status_of(const ServiceState& state) {
  return {state.type,
          state.state,
          state.controls_accepted,
          state.exit_code,
          state.specific_exit_code,
          state.check_point,
          state.wait_hint_ms};
}

// Strings at the end of a caller's buffer, the last one hindmost.
class Strings {
 public:
  Strings(void* buffer, std::size_t size)
      : end_(static_cast<char*>(buffer) + size - size % sizeof(wchar_t)) {}
  wchar_t* put(const std::wstring& text) {
    const std::size_t bytes = bytes_of(text);
    end_ -= bytes;
    std::memcpy(end_, text.c_str(), bytes);
    return reinterpret_cast<wchar_t*>(end_);
  }
  static std::size_t bytes_of(const std::wstring& text) {
    return (text.size() + 1) * sizeof(wchar_t);
  }

 private:
  char* end_;
};

bool is_wanted(const ServiceListing& service, DWORD type, DWORD state) {
  const bool active = service.state.state != SERVICE_STOPPED;
  return (service.state.type & type) != 0 &&
         (state & (active ? DWORD{SERVICE_ACTIVE} : DWORD{SERVICE_INACTIVE})) != 0;
}

std::string narrow_or_empty(const wchar_t* text) {
  return text == nullptr ? std::string() : narrow_text(text);
}
std::string text_or_empty(const char* text) { return text == nullptr ? "" : text; }

}  // namespace

SC_HANDLE OpenSCManagerA(const char* machine, const char* database, DWORD access) {
  return open_manager("OpenSCManagerA", text_or_empty(machine), text_or_empty(database), access);
}

SC_HANDLE OpenSCManagerW(const wchar_t* machine, const wchar_t* database, DWORD access) {
  return open_manager("OpenSCManagerW", narrow_or_empty(machine), narrow_or_empty(database),
                      access);
}

SC_HANDLE OpenServiceA(SC_HANDLE manager, const char* name, DWORD access) {
  return open_service("OpenServiceA", manager, text_or_empty(name), access);
}

SC_HANDLE OpenServiceW(SC_HANDLE manager, const wchar_t* name, DWORD access) {
  return open_service("OpenServiceW", manager, narrow_or_empty(name), access);
}

BOOL CloseServiceHandle(SC_HANDLE handle) {
  return handles().remove(handle) ? TRUE : fail(ERROR_INVALID_HANDLE);
}

BOOL EnumServicesStatusW(SC_HANDLE manager, DWORD type, DWORD state, ENUM_SERVICE_STATUSW* records,
                         DWORD size, DWORD* bytes_needed, DWORD* returned, DWORD* resume) {
  if (const auto fault = fault_point("EnumServicesStatusW")) return fail(fault->win32());
  const auto open = find(manager, false, SC_MANAGER_ENUMERATE_SERVICE);
  if (open == nullptr) return FALSE;
  if (bytes_needed == nullptr || returned == nullptr || resume == nullptr ||
      (records == nullptr && size != 0) || type == 0 || (type & ~kAllTypes) != 0 || state == 0 ||
      state > SERVICE_STATE_ALL) {
    return fail(ERROR_INVALID_PARAMETER);
  }
  std::vector<ServiceListing> services;
  if (const DWORD error = open->manager().list(services)) return fail(error);
  std::erase_if(services, [&](const auto& one) { return !is_wanted(one, type, state); });
  *returned = 0;
  *bytes_needed = 0;
  Strings strings(records, size);
  std::size_t room = size - size % sizeof(wchar_t);
  for (std::size_t i = *resume; i < services.size(); ++i) {
    const std::wstring name = wide_text(services[i].name);
    const std::wstring display_name = wide_text(services[i].display_name);
    const std::size_t bytes =
        sizeof *records + Strings::bytes_of(name) + Strings::bytes_of(display_name);
    if (*bytes_needed == 0 && bytes <= room) {
      room -= bytes;
      ENUM_SERVICE_STATUSW& record = records[(*returned)++];
      record.lpDisplayName = strings.put(display_name);
      record.lpServiceName = strings.put(name);
      record.ServiceStatus = status_of(services[i].state);
    } else {
      *bytes_needed += static_cast<DWORD>(bytes);
    }
  }
  if (*bytes_needed == 0) {
    *resume = 0;
    return TRUE;
  }
  *resume += *returned;
  return fail(ERROR_MORE_DATA);
}

BOOL QueryServiceConfigW(SC_HANDLE service, QUERY_SERVICE_CONFIGW* record, DWORD size,
                         DWORD* bytes_needed) {
  if (const auto fault = fault_point("QueryServiceConfigW")) return fail(fault->win32());
  const auto open = find(service, true, SERVICE_QUERY_CONFIG);
  if (open == nullptr) return FALSE;
  if (bytes_needed == nullptr || (record == nullptr && size != 0)) {
    return fail(ERROR_INVALID_PARAMETER);
  }
  platform::ServiceSetup setup;
  if (const DWORD error = open->manager().setup(*open->service, setup)) return fail(error);
  std::wstring dependencies;
  for (const std::string& name : setup.dependencies) {
    dependencies += wide_text(name);
    dependencies += L'\0';
  }
  const std::wstring texts[] = {wide_text(setup.program), wide_text(setup.load_order_group),
                                dependencies, wide_text(setup.account),
                                wide_text(setup.display_name)};
  std::size_t bytes = sizeof *record;
  for (const std::wstring& text : texts) bytes += Strings::bytes_of(text);
  *bytes_needed = static_cast<DWORD>(bytes);
  if (size - size % sizeof(wchar_t) < bytes) return fail(ERROR_INSUFFICIENT_BUFFER);
  Strings strings(record, size);
  record->dwServiceType = setup.type;
  record->dwStartType = setup.start_type;
  record->dwErrorControl = setup.error_control;
  record->dwTagId = setup.tag;
  record->lpBinaryPathName = strings.put(texts[0]);
  record->lpLoadOrderGroup = strings.put(texts[1]);
  record->lpDependencies = strings.put(texts[2]);
  record->lpServiceStartName = strings.put(texts[3]);
  record->lpDisplayName = strings.put(texts[4]);
  return TRUE;
}

BOOL QueryServiceStatus(SC_HANDLE service, SERVICE_STATUS* status) {
  if (const auto fault = fault_point("QueryServiceStatus")) return fail(fault->win32());
  const auto open = find(service, true, SERVICE_QUERY_STATUS);
  if (open == nullptr) return FALSE;
  if (status == nullptr) return fail(ERROR_INVALID_PARAMETER);
  ServiceState state;
  if (const DWORD error = open->manager().state(*open->service, state)) return fail(error);
  *status = status_of(state);
  return TRUE;
}

BOOL QueryServiceStatusEx(SC_HANDLE service, SC_STATUS_TYPE level, BYTE* buffer, DWORD size,
                          DWORD* bytes_needed) {
  if (const auto fault = fault_point("QueryServiceStatusEx")) return fail(fault->win32());
  const auto open = find(service, true, SERVICE_QUERY_STATUS);
  if (open == nullptr) return FALSE;
  if (level != SC_STATUS_PROCESS_INFO) return fail(ERROR_INVALID_LEVEL);
  if (bytes_needed == nullptr) return fail(ERROR_INVALID_PARAMETER);
  *bytes_needed = sizeof(SERVICE_STATUS_PROCESS);
  if (buffer == nullptr || size < *bytes_needed) return fail(ERROR_INSUFFICIENT_BUFFER);
  ServiceState state;
  if (const DWORD error = open->manager().state(*open->service, state)) return fail(error);
  const SERVICE_STATUS_PROCESS status = {state.type,
                                         state.state,
                                         state.controls_accepted,
                                         state.exit_code,
                                         state.specific_exit_code,
                                         state.check_point,
                                         state.wait_hint_ms,
                                         state.process_id,
                                         0};
  std::memcpy(buffer, &status, sizeof status);
  return TRUE;
}
