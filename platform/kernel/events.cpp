#include <algorithm>
#include <string>

#include "include/platform/threads.h"
#include "platform/kernel/fault_point.h"
#include "platform/kernel/scheduler.h"

namespace {

using platform::kernel::Event;
using platform::kernel::Kind;
using platform::kernel::Lock;
using platform::kernel::scheduler;

// 0, or the error that the name deserves.
DWORD check_name(const std::string& name) {
  if (name.size() > MAX_PATH) return ERROR_FILENAME_EXCED_RANGE;
  std::string_view rest = name;
  for (const std::string_view prefix : {"Global\\", "Local\\"}) {
    if (rest.starts_with(prefix)) rest.remove_prefix(prefix.size());
  }
  return rest.find('\\') == std::string_view::npos ? 0 : ERROR_PATH_NOT_FOUND;
}

HANDLE create_event(bool manual_reset, bool initial_state, const std::string& name) {
  Lock lock = platform::kernel::lock_scheduler();
  auto& named = scheduler().named_events;
  if (!name.empty()) {
    if (const auto known = named.find(name); known != named.end()) {
      if (auto event = known->second.lock()) {
        SetLastError(ERROR_ALREADY_EXISTS);
        return platform::kernel::open_handle(std::move(event), lock);
      }
      named.erase(known);  // its last handle is closed
    }
  }
  auto event = std::make_shared<Event>();
  event->auto_reset = !manual_reset;
  event->signalled = initial_state;
  event->name = name;
  if (!name.empty()) named[name] = event;
  SetLastError(ERROR_SUCCESS);
  return platform::kernel::open_handle(std::move(event), lock);
}

BOOL set_state(HANDLE handle, bool signalled) {
  Lock lock = platform::kernel::lock_scheduler();
  platform::kernel::current_thread(lock);
  const auto event = platform::kernel::find_object<Event>(handle, Kind::kEvent, lock);
  if (event == nullptr) {
    SetLastError(ERROR_INVALID_HANDLE);
    return FALSE;
  }
  event->signalled = signalled;
  if (signalled) platform::kernel::let_go(lock);
  return TRUE;
}

}  // namespace

HANDLE CreateEventA(SECURITY_ATTRIBUTES*, BOOL manual_reset, BOOL initial_state, const char* name) {
  if (const auto fault = platform::fault_point("CreateEventA")) {
    SetLastError(fault->win32());
    return nullptr;
  }
  const std::string text = name == nullptr ? "" : name;
  if (const DWORD error = check_name(text); error != 0) {
    SetLastError(error);
    return nullptr;
  }
  return create_event(manual_reset != FALSE, initial_state != FALSE, text);
}

BOOL SetEvent(HANDLE event) {
  if (const auto fault = platform::fault_point("SetEvent")) {
    SetLastError(fault->win32());
    return FALSE;
  }
  return set_state(event, true);
}

BOOL ResetEvent(HANDLE event) {
  if (const auto fault = platform::fault_point("ResetEvent")) {
    SetLastError(fault->win32());
    return FALSE;
  }
  return set_state(event, false);
}
