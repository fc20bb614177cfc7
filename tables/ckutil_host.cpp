#include <cstring>
#include <memory>

#include "include/platform/system.h"
#include "include/trace.h"
#include "tables/address_functions.h"
#include "tables/ckutil.h"

namespace {

struct FreeAddresses {
  void operator()(ADDRINFOA* addresses) const {
    tables::address_functions().freeaddrinfo(addresses);
  }
};

// The system's text for a failed look-up, in one line. Empty when it has none.
struct ErrorText {
  explicit ErrorText(int error) {
    FormatMessageA(
        FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS | FORMAT_MESSAGE_MAX_WIDTH_MASK,
        nullptr, static_cast<DWORD>(error), 0, text, DWORD{sizeof text}, nullptr);
  }
  char text[1024] = {};
};

}  // namespace

std::int32_t CKUtil::getCanonicalHostname(const char* host, char* canonical, std::int32_t size) {
  DCW_TRACE("getCanonicalHostname");
  trace.detail()("HostName: %s\n", host);
  ADDRINFOA hints = {};
  hints.ai_flags = AI_CANONNAME;
  ADDRINFOA* found = nullptr;
  const int result = tables::look_up_address(host, hints, &found);
  if (result != 0) {
    trace.detail()("error using getaddrinfo: %s\n", ErrorText(result).text);
    // Asking for the text has an error word of its own on Windows, and callers report this one.
    WSASetLastError(result);
    return trace.returns(1);
  }
  const std::unique_ptr<ADDRINFOA, FreeAddresses> addresses{found};
  if (found == nullptr || found->ai_canonname == nullptr) {
    trace.error()("Error: Canonical name not found for host %s.\n", host);
    return trace.returns(1);
  }
  trace.detail()("Canonical name found: %s.\n", found->ai_canonname);
  if (size > 0) std::strncpy(canonical, found->ai_canonname, static_cast<std::size_t>(size));
  return trace.returns(0);
}
