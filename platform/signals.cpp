// Signals as console control events, or as whatever a listener makes of them. The signal handler
// only writes a byte to a pipe; a thread of our own reads it and asks the registered handlers, so
// that they may do what they like.

#include "platform/signals.h"

#include <fcntl.h>
#include <signal.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <functional>
#include <iterator>
#include <mutex>
#include <thread>
#include <utility>
#include <vector>

#include "platform/signal_delivery.h"

namespace {

struct Registry {
  std::mutex mutex;
  // Guarded by mutex.
  std::vector<PHANDLER_ROUTINE> handlers;
  std::function<void(int)> listener;  // goes before the handlers
  int pipe[2] = {-1, -1};             // made once, before the first signal can be caught
};

Registry& registry() {
  static Registry* const instance = new Registry;
  return *instance;
}

// What the signal handler may use: both are set before it is installed.
std::atomic<int> write_end{-1};
std::atomic<bool> listened{false};

void restore_defaults() {
  ::signal(SIGINT, SIG_DFL);
  ::signal(SIGTERM, SIG_DFL);
}

void on_signal(int number) {
  const int saved = errno;
  if (!listened) restore_defaults();  // the next one ends the process
  const char byte = static_cast<char>(number);
  [[maybe_unused]] const ssize_t written = ::write(write_end, &byte, 1);
  errno = saved;
}

void tell_console(int number, const std::vector<PHANDLER_ROUTINE>& handlers) {
  const DWORD event = number == SIGINT ? CTRL_C_EVENT : CTRL_CLOSE_EVENT;
  const bool handled =
      std::any_of(handlers.rbegin(), handlers.rend(),
                  [event](PHANDLER_ROUTINE handler) { return handler(event) != 0; });
  // The defaults are back already, so this ends the process as if nobody had caught the signal.
  if (!handled) ::kill(::getpid(), number);
}

void serve(int read_end) {
  char number = 0;
  while (true) {
    const ssize_t got = ::read(read_end, &number, 1);
    if (got < 0 && errno == EINTR) continue;
    if (got != 1) return;
    std::vector<PHANDLER_ROUTINE> handlers;
    std::function<void(int)> listener;
    {
      const std::lock_guard hold(registry().mutex);
      handlers = registry().handlers;
      listener = registry().listener;
    }
    if (listener != nullptr) {
      listener(number);
    } else {
      tell_console(number, handlers);
    }
  }
}

// The caller holds the registry's mutex.
bool start_serving(Registry& state) {
  if (state.pipe[0] >= 0) return true;
  if (::pipe2(state.pipe, O_CLOEXEC) != 0) return false;
  write_end = state.pipe[1];
  // This thread takes no signals, so that none interrupts its read, and lives as long as the
  // process.
  sigset_t all;
  sigset_t before;
  sigfillset(&all);
  pthread_sigmask(SIG_SETMASK, &all, &before);
  std::thread(serve, state.pipe[0]).detach();
  pthread_sigmask(SIG_SETMASK, &before, nullptr);
  return true;
}

bool catch_signals(std::initializer_list<int> numbers) {
  struct sigaction action = {};
  action.sa_handler = on_signal;
  action.sa_flags = SA_RESTART;
  sigemptyset(&action.sa_mask);
  return std::all_of(numbers.begin(), numbers.end(),
                     [&](int number) { return ::sigaction(number, &action, nullptr) == 0; });
}

}  // namespace

BOOL SetConsoleCtrlHandler(PHANDLER_ROUTINE handler, BOOL add) {
  Registry& state = registry();
  const std::lock_guard hold(state.mutex);
  if (add != 0) {
    if (!start_serving(state)) return 0;
    state.handlers.push_back(handler);
    if (state.handlers.size() == 1 && !listened) catch_signals({SIGINT, SIGTERM});
    return 1;
  }
  const auto found = std::find(state.handlers.rbegin(), state.handlers.rend(), handler);
  if (found == state.handlers.rend()) return 0;
  state.handlers.erase(std::next(found).base());
  if (state.handlers.empty() && !listened) restore_defaults();
  return 1;
}

bool platform::deliver_signals(std::function<void(int number)> listener) {
  Registry& state = registry();
  const std::lock_guard hold(state.mutex);
  if (!start_serving(state)) return false;
  state.listener = std::move(listener);
  listened = true;
  return catch_signals({SIGTERM, SIGINT, SIGHUP, SIGPWR});
}
