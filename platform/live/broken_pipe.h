#pragma once
// Keeps the broken-pipe signal away from the thread while it lives: the LDAP library writes to
// sockets whose other end may be gone, and an agent must not end for that. What the process has
// chosen to do about the signal elsewhere stays as it is.

#include <signal.h>
#include <time.h>

namespace platform::live {

class BrokenPipeGuard {
 public:
  BrokenPipeGuard() {
    sigemptyset(&pipe_);
    sigaddset(&pipe_, SIGPIPE);
    sigset_t pending;
    sigpending(&pending);
    was_pending_ = sigismember(&pending, SIGPIPE) == 1;
    pthread_sigmask(SIG_BLOCK, &pipe_, &before_);
  }
  ~BrokenPipeGuard() {
    // One that came meanwhile is taken off before signals are let through again.
    const timespec at_once{0, 0};
    if (!was_pending_) sigtimedwait(&pipe_, nullptr, &at_once);
    pthread_sigmask(SIG_SETMASK, &before_, nullptr);
  }
  BrokenPipeGuard(const BrokenPipeGuard&) = delete;
  BrokenPipeGuard& operator=(const BrokenPipeGuard&) = delete;

 private:
  sigset_t pipe_;
  sigset_t before_;
  bool was_pending_ = false;
};

}  // namespace platform::live
