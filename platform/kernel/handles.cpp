// The handle table. Handle values are never used twice, so that a handle used after it was closed
// is noticed.

#include "platform/kernel/fault_point.h"
#include "platform/kernel/process.h"
#include "platform/kernel/scheduler.h"

namespace {
thread_local DWORD last_error = 0;
}

DWORD GetLastError() { return last_error; }
void SetLastError(DWORD error) { last_error = error; }

namespace platform::kernel {

namespace {

accounting::Counter& counter_of(Kind kind) {
  static accounting::Counter events{"event"};
  static accounting::Counter threads{"thread"};
  static accounting::Counter processes{"process"};
  static accounting::Counter files{"file"};
  static accounting::Counter mappings{"file mapping"};
  switch (kind) {
    case Kind::kEvent:
      return events;
    case Kind::kThread:
      return threads;
    case Kind::kProcess:
      return processes;
    case Kind::kMapping:
      return mappings;
    case Kind::kFile:
      break;
  }
  return files;
}

}  // namespace

HANDLE open_handle(std::shared_ptr<Object> object, Lock&) {
  auto& state = scheduler();
  const auto value = state.next_handle;
  state.next_handle += 4;
  account(counter_of(object->kind), current_process(), 1);
  state.handles.emplace(value, HandleEntry{std::move(object), current_process()});
  return reinterpret_cast<HANDLE>(value);
}

std::shared_ptr<Object> find_object(HANDLE handle, Lock&) {
  const auto& handles = scheduler().handles;
  const auto entry = handles.find(reinterpret_cast<std::uintptr_t>(handle));
  return entry == handles.end() ? nullptr : entry->second.object;
}

void close_handles_of(const Process& process, Lock&) {
  std::erase_if(scheduler().handles, [&](const auto& one) {
    if (one.second.owner != &process) return false;
    account(counter_of(one.second.object->kind), one.second.owner, -1);
    return true;
  });
}

namespace {

std::shared_ptr<Object> take_handle(HANDLE handle) {
  const Lock lock = lock_scheduler();
  auto& handles = scheduler().handles;
  const auto entry = handles.find(reinterpret_cast<std::uintptr_t>(handle));
  if (entry == handles.end()) return nullptr;
  auto object = std::move(entry->second.object);
  account(counter_of(object->kind), entry->second.owner, -1);
  handles.erase(entry);
  return object;
}

}  // namespace
}  // namespace platform::kernel

BOOL CloseHandle(HANDLE handle) {
  const auto fault = platform::fault_point("CloseHandle");
  // The object goes after the lock does: closing a file may take its time.
  // A close that fails on purpose still closes: the caller has no second try.
  const bool was_open = platform::kernel::take_handle(handle) != nullptr;
  if (!fault && was_open) return TRUE;
  SetLastError(fault ? fault->win32() : ERROR_INVALID_HANDLE);
  return FALSE;
}
