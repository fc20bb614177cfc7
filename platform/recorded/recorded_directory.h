#pragma once
// A directory that answers from an LDIF file.
//
// - The entry with the empty dn is the root object. Its namingContexts bound every search: like a
//   domain controller, a search does not walk from one naming context into another.
// - Several servers in one file: "whenChanged;x-server-dc2: ..." gives the values as DC2 sees them,
//   in place of those without the option. An empty value there takes the attribute away from that
//   server, and an empty objectClass the whole entry.
// - Which servers answer: the recorded machine, and each server that an option names. A server is
//   named short or full, case aside; the domain's own name stands for the recorded machine.
// - Constructed attributes are given only when they are asked for by name; canonicalName is worked
//   out where it is not recorded.
// - What is written stays in the process. It reaches every server at once, save the attributes of
//   which a server has a view of its own: there the server is one that the change has not reached.

#include <memory>
#include <string>
#include <string_view>

#include "platform/controller.h"

namespace platform {

// host_name and dns_suffix tell which server the recorded machine is; with an empty host_name it is
// the one that the root object's dnsHostName names. clock tells when objects are written. Throws
// ControllerError.
std::unique_ptr<Directory> read_directory(std::string_view text, const std::string& file_name,
                                          const std::string& host_name = {},
                                          const std::string& dns_suffix = {}, Clock clock = {});

// True for attributes that a directory works out at the time of asking.
bool is_constructed(std::string_view attribute);

}  // namespace platform
