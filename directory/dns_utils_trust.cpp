// The trust topology, which a side library computes.

#include <algorithm>
#include <cstring>
#include <string>
#include <string_view>
#include <utility>

#include "directory/dns_utils.h"
#include "directory/patterns.h"
#include "directory/service_binding.h"
#include "directory/side_library.h"

using directory::SideLibrary;
using directory::view;

namespace {

// The library ends its texts with a zero; one that did not would be cut at the field.
void copy_text(char (&target)[256], const char (&source)[256]) {
  const std::size_t length = strnlen(source, sizeof source - 1);
  std::memcpy(target, source, length);
}

void read_nodes(const trace::Scope& trace, GetNextNodeFunction get_next,
                std::vector<TrustTopologyNode>& nodes) {
  TrustTopologyRecord* record = nullptr;
  while (get_next(&record) != 0 && record != nullptr) {
    TrustTopologyNode node{};
    copy_text(node.trustFrom, record->trustFrom);
    copy_text(node.trustTo, record->trustTo);
    node.trustType = record->trustType;
    node.trustDirection = record->trustDirection;
    node.trustAttributes = record->trustAttributes;
    nodes.push_back(node);
    trace.error()("Trust from <%s>. Trust to <%s>", node.trustFrom, node.trustTo);
    record = nullptr;
  }
}

// All failures are deliberately silent: a topology that cannot be had is an empty one.
void ask_library(const trace::Scope& trace, std::vector<TrustTopologyNode>& nodes) {
  const SideLibrary library(LoadLibraryA("DWATrust.dll"));
  if (!library) return;
  const auto get_info = library.find<GetTrustTopologyInfoFunction>("GetTrustTopologyInfo");
  const auto get_next = library.find<GetNextNodeFunction>("GetNextNode");
  if (get_info == nullptr || get_info() != 1 || get_next == nullptr) return;
  read_nodes(trace, get_next, nodes);
  const auto free_memory = library.find<FreeTTMemoryFunction>("FreeTTMemory");
  if (free_memory != nullptr) free_memory();
}

bool is_reverse(const TrustTopologyNode& one, const TrustTopologyNode& other) {
  return std::strcmp(one.trustFrom, other.trustTo) == 0 &&
         std::strcmp(one.trustTo, other.trustFrom) == 0;
}

// Of a trust that is told from both ends the later telling stays.
void drop_reversed(std::vector<TrustTopologyNode>& nodes) {
  std::vector<TrustTopologyNode> kept;
  for (auto node = nodes.begin(); node != nodes.end(); ++node) {
    const bool comes_again = std::any_of(
        node + 1, nodes.end(), [&](const auto& later) { return is_reverse(*node, later); });
    if (!comes_again) kept.push_back(*node);
  }
  nodes = std::move(kept);
}

}  // namespace

int DNSUtils::GetTrustTopologyInfo(std::vector<TrustTopologyNode>& nodes, const char* domainName) {
  DCW_TRACE("GetTrustTopologyInfo");
  const std::string_view name = view(domainName);
  const std::size_t dot = name.find('.');
  const std::string enclosing(dot == name.npos ? std::string_view() : name.substr(dot + 1));
  trace.detail()("DNS Domain Name: <%s>\n", enclosing.c_str());
  // Only a test whether the domain can be reached: the library finds it on its own.
  directory::ServiceBinding binding;
  const DWORD status = binding.bind(domainName, enclosing.c_str());
  if (status != ERROR_SUCCESS) {
    trace.error()("Error: DsBind failed. Error code: <%ld>\n", static_cast<long>(status));
    trace.error()("Error: Can not enumerate trusts, VPN connection must be on");
    return trace.returns(static_cast<int>(status));
  }
  ask_library(trace, nodes);
  drop_reversed(nodes);
  return trace.returns(0);
}
