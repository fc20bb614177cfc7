#pragma once
// How the trusts that a forest's domains have become the nodes of its topology. No access to
// anything: what was read goes in, nodes come out.

#include <cstdint>
#include <string>
#include <vector>

#include "include/trust_topology_node.h"

namespace trust_topology {

// A trusted-domain object as the directory holds it.
struct TrustedDomain {
  std::string partner;          // the other domain's name
  std::uint32_t type = 0;       // the directory's numbers, 1 to 4
  std::uint32_t direction = 0;  // bit 1 inbound: the partner trusts us; bit 2 outbound
  std::uint32_t attributes = 0;
};

// One node. A trust in both directions, and one that is disabled, is told from the domain's side.
TrustTopologyRecord make_node(const std::string& domain, const TrustedDomain& trust);

// "corp.example" for "DC=corp,DC=example".
std::wstring domain_name(const std::wstring& distinguished_name);

}  // namespace trust_topology
