#pragma once
// One value of the attribute repsFrom: an inbound replication link as a controller stores it beside
// its naming context. Values come from the network and may hold any bytes.

#include <optional>
#include <string_view>

#include "platform/directory_services/services.h"

namespace platform {

// Of versions 1 and 2. Naming context and source are left empty: the value does not hold them.
// Nothing for a value of another version or one that is cut short; a source address that lies
// outside the value is left empty.
std::optional<ReplicaNeighbour> decode_reps_from(std::string_view value);

}  // namespace platform
