#pragma once
// The trusts of all domains of this machine's forest, read from the directory.

#include <vector>

#include "include/trust_topology_node.h"

namespace trust_topology {

// False when this machine's own domain cannot be read. Another domain that does not answer adds
// nothing. The calling thread is in an apartment.
bool read_forest_trusts(std::vector<TrustTopologyRecord>& nodes);

}  // namespace trust_topology
