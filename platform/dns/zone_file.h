#pragma once
// Zone files (RFC 1035, chapter 5), as name servers read and write them.

#include <string>
#include <string_view>
#include <vector>

#include "platform/controller.h"

namespace platform {

// The records in the file's order. Known are A, AAAA, CNAME, NS, PTR and SRV; records of other
// types are read over with their name kept, since it then exists. $ORIGIN and $TTL are known,
// $INCLUDE is refused: a recording stands for itself. Throws ControllerError with the file, the
// line and what is wrong with it.
std::vector<DnsRecord> read_zone(std::string_view text, const std::string& file_name);

}  // namespace platform
