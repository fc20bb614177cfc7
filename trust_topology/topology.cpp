#include "trust_topology/topology.h"

#include <algorithm>
#include <cstring>

namespace trust_topology {
namespace {

// A name longer than the field is cut: domain names have at most 255 characters.
void copy_name(char (&target)[256], const std::string& name) {
  std::memcpy(target, name.data(), std::min(name.size(), sizeof target - 1));
}

}  // namespace

TrustTopologyRecord make_node(const std::string& domain, const TrustedDomain& trust) {
  TrustTopologyRecord node{};
  const bool partner_trusts_us = trust.direction == kTrustDirectionInbound;
  copy_name(node.trustFrom, partner_trusts_us ? trust.partner : domain);
  copy_name(node.trustTo, partner_trusts_us ? domain : trust.partner);
  node.trustType = trust.type >= kTrustTypeDownlevel && trust.type <= kTrustTypeDce
                       ? static_cast<std::int32_t>(trust.type)
                       : kTrustTypeUnknown;
  node.trustDirection = trust.direction <= kTrustDirectionBoth
                            ? static_cast<std::int32_t>(trust.direction)
                            : kTrustDirectionUnknown;
  node.trustAttributes = trust.attributes;
  return node;
}

std::wstring domain_name(const std::wstring& distinguished_name) {
  std::wstring name;
  std::size_t at = 0;
  while (at < distinguished_name.size()) {
    const std::size_t comma =
        std::min(distinguished_name.find(L',', at), distinguished_name.size());
    const std::wstring part = distinguished_name.substr(at, comma - at);
    const std::size_t equals = part.find(L'=');
    if (equals != part.npos) name += (name.empty() ? L"" : L".") + part.substr(equals + 1);
    at = comma + 1;
  }
  return name;
}

}  // namespace trust_topology
