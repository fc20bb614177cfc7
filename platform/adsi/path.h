#pragma once
// ADSI paths of the LDAP provider: LDAP://server:port/dn, with the server, the port or the dn left
// out as the caller likes, and rootDSE in the place of a dn.

#include <optional>
#include <string>
#include <string_view>

namespace platform {

struct AdsPath {
  std::string server;  // without its port; empty for the one that the locator chooses
  std::string dn;      // without the backslashes that ADSI wants before a slash
  bool is_root = false;
  bool has_dn() const { return !dn.empty(); }
};

// Nothing for what is not such a path. The provider's name is in capitals; rootDSE may be written
// in any case. The first segment is a dn when it holds "=", else a server.
std::optional<AdsPath> parse_path(std::string_view utf8);

// "LDAP://dc1/CN=a\/b,DC=x", and "LDAP://dc1/rootDSE" for the root.
std::string path_text(const AdsPath& path);

}  // namespace platform
