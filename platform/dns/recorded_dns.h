#pragma once
// A name server that answers from a zone file.
//
// A name that has records, or that stands above one that has, exists; any other name is answered as
// one that does not. An alias is followed, and its record is part of the answer. With SRV records
// the addresses of their targets come along, as name servers send them.

#include <memory>
#include <string>
#include <string_view>

#include "platform/controller.h"

namespace platform {

// Throws ControllerError, with the file and the line.
std::unique_ptr<DnsSource> read_dns(std::string_view zone, const std::string& file_name);

}  // namespace platform
