#pragma once
// How one trust of the forest becomes rows of the trust topology.

#include "collectors/caches.h"
#include "include/trace.h"
#include "include/trust_topology_node.h"

namespace collectors {

// Appends the trust as it is told and, where it has a direction, as it looks from its other end.
// row is that of the node before: what has no text leaves its column as it was there.
void add_trust_edges(const trace::Scope& trace, const TrustTopologyNode& node,
                     tables::Row<tables::DCWNTDSTTP>& row, Rows<tables::DCWNTDSTTP>& rows);

}  // namespace collectors
