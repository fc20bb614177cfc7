#include "platform/messages.h"

#include <algorithm>
#include <cctype>
#include <cstring>
#include <map>
#include <mutex>
#include <set>
#include <string>

#include "platform/control.h"
#include "platform/kernel/clock.h"
#include "platform/kernel/fault_point.h"
#include "platform/kernel/process.h"
#include "platform/kernel/scheduler.h"

namespace {

using platform::fault_point;
using platform::kernel::Lock;
using platform::kernel::scheduler;
using platform::kernel::Thread;
using platform::kernel::Waiter;

constexpr ATOM kFirstAtom = 0xC001;

// Guarded by the scheduler's lock; the classes of simulated processes stand in their records.
auto& host_window_classes = *new std::set<std::string>;
ATOM next_atom = kFirstAtom;

// Programs register their strings before main, in no order with what is made here.
struct Strings {
  std::mutex lock;
  std::map<std::uint32_t, std::string> table;  // guarded by lock
};
Strings& strings() {
  static auto& all = *new Strings;
  return all;
}

bool matches(const MSG& message, UINT first, UINT last) {
  if (message.message == WM_QUIT || (first == 0 && last == 0)) return true;
  return message.message >= first && message.message <= last;
}

// Looking for a message is what makes the messages there no longer new.
bool take_message(Thread& thread, MSG* message, UINT first, UINT last, bool remove) {
  thread.has_queue = true;
  thread.new_message = false;
  const auto found = std::find_if(thread.messages.begin(), thread.messages.end(),
                                  [&](const MSG& one) { return matches(one, first, last); });
  if (found == thread.messages.end()) return false;
  *message = *found;
  if (remove) thread.messages.erase(found);
  return true;
}

BOOL fail(DWORD error, BOOL result) {
  SetLastError(error);
  return result;
}

}  // namespace

ATOM RegisterClassA(const WNDCLASSA* window_class) {
  if (const auto fault = fault_point("RegisterClassA")) {
    SetLastError(fault->win32());
    return 0;
  }
  const char* name = window_class == nullptr ? nullptr : window_class->lpszClassName;
  if (name == nullptr || *name == '\0') {
    SetLastError(ERROR_INVALID_PARAMETER);
    return 0;
  }
  std::string folded = name;
  std::transform(folded.begin(), folded.end(), folded.begin(),
                 [](unsigned char one) { return static_cast<char>(std::tolower(one)); });
  const Lock lock = platform::kernel::lock_scheduler();
  auto* process = platform::kernel::current_process();
  auto& classes = process != nullptr ? process->window_classes : host_window_classes;
  if (!classes.insert(folded).second) {
    SetLastError(ERROR_CLASS_ALREADY_EXISTS);
    return 0;
  }
  return next_atom++;
}

LRESULT DefWindowProcA(HWND, UINT, WPARAM, LPARAM) { return 0; }

BOOL PostThreadMessageA(DWORD thread_id, UINT message, WPARAM w, LPARAM l) {
  if (const auto fault = fault_point("PostThreadMessageA")) return fail(fault->win32(), FALSE);
  Lock lock = platform::kernel::lock_scheduler();
  platform::kernel::current_thread(lock);
  const auto& threads = scheduler().threads;
  const auto target = std::find_if(threads.begin(), threads.end(),
                                   [&](const auto& one) { return one->id == thread_id; });
  if (target == threads.end() || !(*target)->has_queue) {
    return fail(ERROR_INVALID_THREAD_ID, FALSE);
  }
  const auto time =
      static_cast<DWORD>(scheduler().now_ns() / platform::kernel::kNanosecondsInMillisecond);
  (*target)->messages.push_back({nullptr, message, w, l, time, {0, 0}});
  (*target)->new_message = true;
  platform::kernel::let_go(lock);
  return TRUE;
}

BOOL GetMessageA(MSG* message, HWND window, UINT first, UINT last) {
  if (const auto fault = fault_point("GetMessageA")) return fail(fault->win32(), -1);
  if (window != nullptr && window != INVALID_HANDLE_VALUE) {
    return fail(ERROR_INVALID_WINDOW_HANDLE, -1);
  }
  Lock lock = platform::kernel::lock_scheduler();
  Thread& thread = platform::kernel::current_thread(lock);
  while (!take_message(thread, message, first, last, true)) {
    Waiter waiter;
    waiter.call = "GetMessageA";
    waiter.messages = true;
    if (platform::kernel::block(waiter, lock) == WAIT_FAILED) return -1;
  }
  return message->message != WM_QUIT;
}

BOOL PeekMessageA(MSG* message, HWND window, UINT first, UINT last, UINT remove) {
  if (window != nullptr && window != INVALID_HANDLE_VALUE) {
    return fail(ERROR_INVALID_WINDOW_HANDLE, FALSE);
  }
  Lock lock = platform::kernel::lock_scheduler();
  Thread& thread = platform::kernel::current_thread(lock);
  return take_message(thread, message, first, last, (remove & PM_REMOVE) != 0);
}

// Only key strokes are translated, and without a window there are none.
BOOL TranslateMessage(const MSG*) { return FALSE; }

// A message to the thread itself belongs to no window, and nothing is done with it.
LRESULT DispatchMessageA(const MSG*) { return 0; }

int LoadStringA(HINSTANCE, UINT id, char* buffer, int size) {
  if (const auto fault = fault_point("LoadStringA")) return fail(fault->win32(), 0);
  if (buffer == nullptr || size <= 0) return fail(ERROR_INVALID_PARAMETER, 0);
  const std::lock_guard guard(strings().lock);
  const auto found = strings().table.find(id);
  if (found == strings().table.end()) {
    buffer[0] = '\0';
    return fail(ERROR_RESOURCE_NAME_NOT_FOUND, 0);
  }
  const auto copied = std::min(found->second.size(), static_cast<std::size_t>(size - 1));
  std::memcpy(buffer, found->second.data(), copied);
  buffer[copied] = '\0';
  return static_cast<int>(copied);
}

namespace platform {

void register_string_table(std::map<std::uint32_t, std::string> table) {
  const std::lock_guard guard(strings().lock);
  strings().table = std::move(table);
}

}  // namespace platform
