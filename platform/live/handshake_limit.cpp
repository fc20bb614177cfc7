#include "platform/live/handshake_limit.h"

#include <sys/socket.h>
#include <unistd.h>

namespace platform::live {

HandshakeLimit::HandshakeLimit(std::chrono::seconds limit)
    : thread_([this, limit] { run(limit); }) {}

HandshakeLimit::~HandshakeLimit() {
  {
    const std::lock_guard guard(lock_);
    over_ = true;
  }
  over_signal_.notify_all();
  thread_.join();
  if (socket_ >= 0) close(socket_);
}

void HandshakeLimit::watch(int socket) {
  const std::lock_guard guard(lock_);
  if (socket_ >= 0) close(socket_);
  socket_ = dup(socket);
}

bool HandshakeLimit::expired() const {
  const std::lock_guard guard(lock_);
  return expired_;
}

void HandshakeLimit::run(std::chrono::seconds limit) {
  std::unique_lock guard(lock_);
  if (over_signal_.wait_for(guard, limit, [this] { return over_; })) return;
  expired_ = true;
  if (socket_ >= 0) shutdown(socket_, SHUT_RDWR);
}

}  // namespace platform::live
