#pragma once
// What an LDAP result code is called on the other side of ADSI, and what a person can do about it.

#include <string>

#include "platform/controller.h"

namespace platform::live {

// The HRESULT that ADSI gives for an LDAP result code.
DirectoryResult directory_result(int ldap_code);

// Whether the code tells that the connection itself is of no more use.
bool connection_is_lost(int ldap_code);

// The library's text of the code, the server's or the security layer's own words where they add
// something, and the next thing to try.
std::string explain(int ldap_code, const std::string& diagnostic, const std::string& address);

}  // namespace platform::live
