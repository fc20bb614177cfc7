#pragma once
// Turns a message of the LDAP library into an entry of ours.

#include <ldap.h>

#include <vector>

#include "platform/controller.h"

namespace platform::live {

// Appends the message's entry. False when the message is broken; nothing is appended then.
bool decode_entry(LDAP* handle, LDAPMessage* message, std::vector<Entry>& entries);

}  // namespace platform::live
