#include "platform/sockets.h"

#include <cstring>

#include "platform/control.h"
#include "platform/kernel/fault_point.h"

namespace {
thread_local int last_socket_error = 0;

int fail(int error) {
  last_socket_error = error;
  SetLastError(static_cast<DWORD>(error));
  return SOCKET_ERROR;
}
}  // namespace

// The names come from the controller, which is always ready.
int WSAStartup(WORD version, WSADATA* data) {
  if (const auto fault = platform::fault_point("WSAStartup")) return static_cast<int>(fault->code);
  *data = {version, version};
  return 0;
}

int gethostname(char* name, int size) {
  if (const auto fault = platform::fault_point("gethostname")) {
    return fail(static_cast<int>(fault->code));
  }
  const auto holder = platform::controller();
  const auto& host = holder->machine().host_name;
  if (name == nullptr || size <= 0 || host.size() >= static_cast<std::size_t>(size)) {
    return fail(WSAEFAULT);
  }
  std::memcpy(name, host.c_str(), host.size() + 1);
  return 0;
}

int WSAGetLastError() { return last_socket_error; }

void WSASetLastError(int error) {
  last_socket_error = error;
  SetLastError(static_cast<DWORD>(error));
}
