// What the program calls in this library. Its calls do not overlap, so that the state needs no
// lock.

#include <cstddef>
#include <exception>
#include <vector>

#include "trust_topology/forest_trusts.h"

namespace {

std::vector<TrustTopologyRecord> nodes;
std::size_t next_node = 0;

}  // namespace

extern "C" {

void FreeTTMemory() {
  nodes = {};
  next_node = 0;
}

int GetTrustTopologyInfo() {
  FreeTTMemory();
  try {
    if (trust_topology::read_forest_trusts(nodes)) return 1;
  } catch (const std::exception&) {
    // Nothing may be thrown over the border; a topology that is not ready is the answer.
  }
  FreeTTMemory();
  return 0;
}

int GetNextNode(TrustTopologyRecord** node) {
  if (node == nullptr || next_node == nodes.size()) return 0;
  *node = &nodes[next_node++];
  return 1;
}

}  // extern "C"
