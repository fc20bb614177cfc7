// SIGINT and SIGTERM as console control events. The signal handler only writes a byte to a pipe; a
// thread of our own reads it and asks the registered handlers, so that they may do what they like.

#include "platform/signals.h"

#include <fcntl.h>
#include <signal.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <mutex>
#include <thread>
#include <vector>

namespace {

struct Registry {
  std::mutex mutex;
  std::vector<PHANDLER_ROUTINE> handlers;  // guarded by mutex
  int pipe[2] = {-1, -1};                  // made once, before the first signal can be caught
};

Registry& registry() {
  static Registry* const instance = new Registry;
  return *instance;
}

int write_end = -1;  // what the signal handler may use: set before it is installed

void restore_defaults() {
  ::signal(SIGINT, SIG_DFL);
  ::signal(SIGTERM, SIG_DFL);
}

void on_signal(int number) {
  const int saved = errno;
  restore_defaults();  // the next one ends the process
  const char event =
      number == SIGINT ? static_cast<char>(CTRL_C_EVENT) : static_cast<char>(CTRL_CLOSE_EVENT);
  [[maybe_unused]] const ssize_t written = ::write(write_end, &event, 1);
  errno = saved;
}

void serve(int read_end) {
  char event = 0;
  while (true) {
    const ssize_t got = ::read(read_end, &event, 1);
    if (got < 0 && errno == EINTR) continue;
    if (got != 1) return;
    std::vector<PHANDLER_ROUTINE> handlers;
    {
      const std::lock_guard hold(registry().mutex);
      handlers = registry().handlers;
    }
    const bool handled = std::any_of(
        handlers.rbegin(), handlers.rend(),
        [event](PHANDLER_ROUTINE handler) { return handler(static_cast<DWORD>(event)) != 0; });
    // The defaults are back already, so this ends the process as if nobody had caught the signal.
    if (!handled) ::kill(::getpid(), event == CTRL_C_EVENT ? SIGINT : SIGTERM);
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

void catch_signals() {
  struct sigaction action = {};
  action.sa_handler = on_signal;
  action.sa_flags = SA_RESTART;
  sigemptyset(&action.sa_mask);
  ::sigaction(SIGINT, &action, nullptr);
  ::sigaction(SIGTERM, &action, nullptr);
}

}  // namespace

BOOL SetConsoleCtrlHandler(PHANDLER_ROUTINE handler, BOOL add) {
  Registry& state = registry();
  const std::lock_guard hold(state.mutex);
  if (add != 0) {
    if (!start_serving(state)) return 0;
    state.handlers.push_back(handler);
    if (state.handlers.size() == 1) catch_signals();
    return 1;
  }
  const auto found = std::find(state.handlers.rbegin(), state.handlers.rend(), handler);
  if (found == state.handlers.rend()) return 0;
  state.handlers.erase(std::next(found).base());
  if (state.handlers.empty()) restore_defaults();
  return 1;
}
