#pragma once
// Tells the collection that runs on this thread, if one does, which server it is about to ask.

#include <string_view>

namespace directory {

// path: of the directory interface, "LDAP://dc2.corp.example/CN=..." or without a server.
void tell_asking(std::wstring_view path);

}  // namespace directory
