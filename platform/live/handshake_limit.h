#pragma once
// Ends a TLS handshake that takes too long. The LDAP library asks the server again and again there,
// whatever time-outs are set; only a socket that is shut down makes it give up.

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <thread>

namespace platform::live {

class HandshakeLimit {
 public:
  explicit HandshakeLimit(std::chrono::seconds limit);
  ~HandshakeLimit();  // lets the connection live
  HandshakeLimit(const HandshakeLimit&) = delete;
  HandshakeLimit& operator=(const HandshakeLimit&) = delete;

  // The socket it is about. Kept as a duplicate, so that what is shut down can be nothing else.
  void watch(int socket);
  bool expired() const;

 private:
  void run(std::chrono::seconds limit);

  mutable std::mutex lock_;
  std::condition_variable over_signal_;
  bool over_ = false;     // guarded by lock_
  bool expired_ = false;  // guarded by lock_
  int socket_ = -1;       // guarded by lock_
  std::thread thread_;
};

}  // namespace platform::live
