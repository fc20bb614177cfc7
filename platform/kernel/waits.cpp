#include <algorithm>

#include "include/platform/threads.h"
#include "platform/kernel/fault_point.h"
#include "platform/kernel/scheduler.h"

namespace {

using platform::kernel::Lock;
using platform::kernel::scheduler;
using platform::kernel::Waiter;

DWORD fail(DWORD error) {
  SetLastError(error);
  return WAIT_FAILED;
}

// False when one of the handles is not open.
bool collect(Waiter& waiter, DWORD count, const HANDLE* handles, Lock& lock) {
  waiter.objects.reserve(count);
  for (DWORD index = 0; index < count; ++index) {
    auto object = platform::kernel::find_object(handles[index], lock);
    if (object == nullptr) return false;
    waiter.objects.push_back(std::move(object));
  }
  return true;
}

bool has_twins(DWORD count, const HANDLE* handles) {
  for (DWORD index = 1; index < count; ++index) {
    if (std::find(handles, handles + index, handles[index]) != handles + index) return true;
  }
  return false;
}

DWORD wait(const char* call, DWORD count, const HANDLE* handles, bool all, DWORD milliseconds,
           bool messages) {
  if (const auto fault = platform::fault_point(call)) return fail(fault->win32());
  const bool several = count > 1 || messages;
  if (several && handles == nullptr && count > 0) return fail(ERROR_INVALID_PARAMETER);
  if (all && has_twins(count, handles)) return fail(ERROR_INVALID_PARAMETER);

  Lock lock = platform::kernel::lock_scheduler();
  auto& thread = platform::kernel::current_thread(lock);
  Waiter waiter;
  waiter.call = call;
  waiter.all = all;
  waiter.messages = messages;
  waiter.thread = &thread;
  if (!collect(waiter, count, handles, lock)) return fail(ERROR_INVALID_HANDLE);
  if (!platform::kernel::may_wait(thread)) return WAIT_FAILED;
  if (platform::kernel::satisfy(waiter)) return waiter.result;
  if (milliseconds == 0) return WAIT_TIMEOUT;
  waiter.deadline_ns = scheduler().deadline(milliseconds);
  return platform::kernel::block(waiter, lock);
}

}  // namespace

DWORD WaitForSingleObject(HANDLE handle, DWORD milliseconds) {
  return wait("WaitForSingleObject", 1, &handle, false, milliseconds, false);
}

DWORD WaitForMultipleObjects(DWORD count, const HANDLE* handles, BOOL wait_all,
                             DWORD milliseconds) {
  if (count == 0 || count > MAXIMUM_WAIT_OBJECTS || handles == nullptr) {
    return fail(ERROR_INVALID_PARAMETER);
  }
  return wait("WaitForMultipleObjects", count, handles, wait_all != FALSE, milliseconds, false);
}

DWORD MsgWaitForMultipleObjects(DWORD count, const HANDLE* handles, BOOL wait_all,
                                DWORD milliseconds, DWORD wake_mask) {
  if (count > MAXIMUM_WAIT_OBJECTS - 1) return fail(ERROR_INVALID_PARAMETER);
  {
    Lock lock = platform::kernel::lock_scheduler();
    platform::kernel::current_thread(lock).has_queue = true;
  }
  const bool messages = (wake_mask & (QS_POSTMESSAGE | QS_ALLPOSTMESSAGE)) != 0;
  return wait("MsgWaitForMultipleObjects", count, handles, wait_all != FALSE, milliseconds,
              messages);
}

void Sleep(DWORD milliseconds) {
  Lock lock = platform::kernel::lock_scheduler();
  Waiter waiter;
  waiter.call = "Sleep";
  // A sleep of no time lets the others run, so under virtual time it blocks as any other.
  waiter.deadline_ns = scheduler().deadline(milliseconds);
  platform::kernel::block(waiter, lock);
}
