#include "collectors/prologue.h"

#include <algorithm>
#include <cstring>
#include <iterator>
#include <string_view>

#include "include/platform/sockets.h"

namespace collectors {

void ServerNames::find_host() {
  if (gethostname(host, int{sizeof host}) != 0) host[0] = '\0';
}

bool ServerNames::find_server(const trace::Scope& trace) {
  std::fill(std::begin(server), std::end(server), '\0');
  if (CKUtil::getCanonicalHostname(host, server, kServerSize) == 0) return true;
  trace.always()("getaddrinfo failed: error#:%ld", static_cast<long>(WSAGetLastError()));
  return false;
}

void ServerNames::find_domain(const trace::Scope& trace) {
  std::fill(std::begin(domain), std::end(domain), '\0');
  const char* const dot = std::strchr(server, '.');
  if (dot == nullptr) return;
  const std::string_view whole = dot + 1;
  const std::size_t length = std::min(whole.size(), sizeof domain - 1);
  if (length < whole.size()) {
    trace.always()("The domain name is cut at %d characters: <%s>", static_cast<int>(length),
                   whole.data());
  }
  std::copy_n(whole.data(), length, domain);
}

}  // namespace collectors
