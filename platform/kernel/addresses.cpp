// The look-up functions of ws2_32: the full name of this machine, which is all that anybody asks.

#include <strings.h>

#include <cstring>
#include <memory>
#include <string>

#include "platform/control.h"
#include "platform/kernel/accounting.h"
#include "platform/kernel/fault_point.h"
#include "platform/kernel/libraries.h"
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
  const auto holder = platform::controller();
  const auto& machine = holder->machine();
  std::string full = machine.host_name;
  if (!machine.dns_suffix.empty()) full += "." + machine.dns_suffix;
  // As Windows has it, an empty name is the machine's own.
  const bool own =
      node != nullptr && (*node == '\0' || strcasecmp(node, machine.host_name.c_str()) == 0 ||
                          strcasecmp(node, full.c_str()) == 0);
  if (!own || result == nullptr) return WSAHOST_NOT_FOUND;
  auto answer = std::make_unique<Answer>();
  answer->name = full;
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
