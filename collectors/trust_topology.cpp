// TrustTopology: the forest's trust graph as directed edges. Each trust comes once from the side
// library; where a direction is known, a mirror row shows it from its other end.

#include "collectors/trust_topology.h"

#include <algorithm>
#include <string>
#include <string_view>
#include <vector>

#include "collectors/cache.h"
#include "collectors/prologue.h"
#include "directory/dns_utils.h"

namespace {

using tables::DCWNTDSTTP;
using EdgeRow = tables::Row<DCWNTDSTTP>;

collectors::CollectorState collector_state;

// Of trustAttributes.
constexpr std::uint32_t kWithinForest = 0x20;
constexpr std::uint32_t kOutOfForest = 0x4 | 0x8 | 0x40;

constexpr const char* kInbound = "INBOUND_TRUST";
constexpr const char* kOutbound = "OUTBOUND_TRUST";
constexpr const char* kTwoWay = "TWO_WAY_TRUST";

// Null for a type without a text.
const char* type_of(std::int32_t type) {
  switch (type) {
    case kTrustTypeDownlevel:
      return "DOWNLEVEL";
    case kTrustTypeUplevel:
      return "UPLEVEL";
    case kTrustTypeMit:
      return "MIT";
    case kTrustTypeDce:
      return "DCE";
    case kTrustTypeUnknown:
      return "UNKNOWN";
    default:
      return nullptr;
  }
}

// A direction as it is told, and as it looks from the other end; null for no such row, and both for
// a direction without a text.
struct Direction {
  const char* told;
  const char* mirrored;
};
Direction direction_of(std::int32_t direction) {
  switch (direction) {
    case kTrustDirectionUnknown:
      return {"UNKNOWN", nullptr};
    case kTrustDirectionDisabled:
      return {"DISABLED", nullptr};
    case kTrustDirectionInbound:
      return {kInbound, kOutbound};
    case kTrustDirectionOutbound:
      return {kOutbound, kInbound};
    case kTrustDirectionBoth:
      return {kTwoWay, kTwoWay};
    default:
      return {nullptr, nullptr};
  }
}

std::string upper(const char* name) {
  std::string text = name;
  CKUtil::upper(text.data(), static_cast<std::int32_t>(text.size()));
  return text;
}

// The host by which the framework knows this node: what stands before the first colon of its name.
void take_host(const trace::Scope& trace, std::string_view origin_node,
               collectors::ServerNames& names) {
  const std::string node(origin_node.substr(0, origin_node.find_last_not_of(' ') + 1));
  trace.always()("DetermineLocalHost : szHostName:%s", node.c_str());
  const std::string host = node.substr(0, node.find(':'));
  const std::size_t length = std::min(host.size(), sizeof names.host - 1);
  std::copy_n(host.data(), length, names.host);
  names.host[length] = '\0';
  trace.always()("tempHostName:%s", names.host);
}

}  // namespace

void collectors::add_trust_edges(const trace::Scope& trace, const TrustTopologyNode& node,
                                 EdgeRow& row, Rows<DCWNTDSTTP>& rows) {
  const std::string to = upper(node.trustTo);
  const std::string from = upper(node.trustFrom);
  row.set<"TRSTPDMNM">(to);
  row.set<"TRSTPFRM">(from);
  trace.always()("Trust from <%s>. Trust to <%s>", from.c_str(), to.c_str());
  if (const char* type = type_of(node.trustType)) row.set<"TRSTPTYP">(type);
  const Direction direction = direction_of(
      node.trustType == kTrustTypeUnknown ? kTrustDirectionUnknown : node.trustDirection);
  if (direction.told != nullptr) row.set<"TRSTPDIR">(direction.told);
  const bool is_external =
      (node.trustAttributes & kWithinForest) == 0 && (node.trustAttributes & kOutOfForest) != 0;
  row.set<"TRSTPRLN">(is_external ? "EXTERNAL" : "INTERNAL");
  rows.push_back(row);
  if (direction.mirrored == nullptr) return;
  row.set<"TRSTPDMNM">(from);
  row.set<"TRSTPFRM">(to);
  row.set<"TRSTPDIR">(direction.mirrored);
  rows.push_back(row);
}

template <>
void collectors::CollectData<DCWNTDSTTP>() {
  DCW_TRACE("CollectData");
  EdgeRow row;
  ServerNames names;
  begin_row(row, collector_state);
  take_host(trace, row.text<"ORIGINNODE">(), names);
  if (!names.find_server(trace)) return;
  names.find_domain(trace);
  trace.always()("<TT> domainName: %s\n", names.domain);
  std::vector<TrustTopologyNode> nodes;
  status::step("asks for the trusts of every domain");
  const int result = DNSUtils::GetTrustTopologyInfo(nodes, names.domain);
  if (result != 0) {
    trace.always()("GetTrustTopologyInfo failed: error#:%x", static_cast<unsigned>(result));
    return;
  }
  Rows<DCWNTDSTTP> rows;
  for (const TrustTopologyNode& node : nodes) add_trust_edges(trace, node, row, rows);
  transfer<DCWNTDSTTP>(trace, rows);
}

template <>
void tables::Agent<DCWNTDSTTP>::TakeSample() {
  DCW_TRACE("TakeSample");
  collectors::take_sample(trace, *this);
}
