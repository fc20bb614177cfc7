// The look-up functions of ws2_32: the full names of this machine and of those that the
// controller's name server knows, which is all that anybody asks.

#include <memory>
#include <string>

#include "platform/control.h"
#include "platform/kernel/accounting.h"
#include "platform/kernel/fault_point.h"
#include "platform/kernel/libraries.h"
#include "platform/kernel/local_machine.h"
#include "platform/sockets.h"

namespace {

platform::accounting::Counter lists{"address list"};

struct Answer {
  ADDRINFOA info{};
  std::string name;
};

int look_up(const char* node, const char* /*service*/, const ADDRINFOA* hints, ADDRINFOA** result) {
  if (const auto fault = platform::fault_point("getaddrinfo")) {
    return static_cast<int>(fault->code);
  }
  if (node == nullptr || result == nullptr) return WSAHOST_NOT_FOUND;
  const auto holder = platform::controller();
  auto answer = std::make_unique<Answer>();
  answer->name = platform::full_name(*holder, node);
  if (answer->name.empty()) return WSAHOST_NOT_FOUND;
  if (hints != nullptr && (hints->ai_flags & AI_CANONNAME) != 0) {
    answer->info.ai_flags = AI_CANONNAME;
    answer->info.ai_canonname = answer->name.data();
  }
  lists.add();
  *result = &answer.release()->info;
  return 0;
}

// No address was ever handed out, so that none has a name.
int name_of(const sockaddr*, int, char*, DWORD, char*, DWORD, int) { return WSAHOST_NOT_FOUND; }

void give_back(ADDRINFOA* result) {
  if (result == nullptr) return;
  // The record is the answer's first member.
  const std::unique_ptr<Answer> owner{reinterpret_cast<Answer*>(result)};
  lists.remove();
}

}  // namespace

const platform::kernel::SystemLibrary& platform::kernel::sockets_library() {
  static const Export exports[] = {{"getaddrinfo", as_export(&look_up)},
                                   {"getnameinfo", as_export(&name_of)},
                                   {"freeaddrinfo", as_export(&give_back)}};
  static const SystemLibrary library{"ws2_32", exports};
  return library;
}
