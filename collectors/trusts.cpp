// Trusts: the trusts of this domain, each verified by a command, and what came and went since the
// sample before.

#include <algorithm>
#include <atomic>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "collectors/cache.h"
#include "collectors/prologue.h"
#include "directory/dsf_utils.h"
#include "include/command_pipe.h"

namespace {

using tables::DCWNTDSTRS;
using TrustRow = tables::Row<DCWNTDSTRS>;

constexpr const char* kNotAvailable = "NOT_AVAILABLE";
constexpr ULONG kInboundOnly = DS_DOMAIN_DIRECT_INBOUND;

collectors::CollectorState collector_state;

// The domain that the collection before found, empty at first. Written by the table's collection.
std::string last_domain;

// How many trusts the last collection found. Written before the trusts are verified, long before
// their rows reach the cache: a sample may meet it with the rows of the collection before.
std::atomic<std::int32_t> g_trustCount{0};

// What the samples of the process keep for the next one, whichever object takes it; deliberately
// without a lock: the framework never runs two samples of one table at once.
std::vector<std::string> prevTrustList;  // NetBIOS names of the last sample
std::int32_t prevTrustIndex = -1;        // of the list's last entry; -1 means no sample yet
std::uint32_t rowCounter = 1;            // the next row's number; never starts over
TrustRow last_row;                       // the last trust handed over

const char* direction_of(ULONG flags) {
  // Compared as a whole: any further flag makes another value of it, and receivers know that.
  switch (flags) {
    case kInboundOnly:
      return "INBOUND_TRUST";
    case DS_DOMAIN_DIRECT_OUTBOUND:
      return "OUTBOUND_TRUST";
    case 34:
    case 35:
    case 39:
      return "TWO_WAY_TRUST";
    default:
      return "DISABLED";
  }
}

const char* type_of(ULONG type) {
  switch (type) {
    case 1:
      return "DOWNLEVEL";
    case 2:
      return "UPLEVEL";
    case 3:
      return "MIT";
    default:
      return "UNKNOWN";
  }
}

struct FreeTrusts {
  void operator()(DS_DOMAIN_TRUSTSA* trusts) const { NetApiBufferFree(trusts); }
};

// Leaves the status as it is when the command says nothing at all.
void verify(const char* host, const char* netbios_name, TrustRow& row) {
  CommandPipe pipe(std::string("netdom verify ") + host + " /DOMAIN:" + netbios_name);
  char line[128];
  while (pipe.read_line(line)) {
    // In small letters only, whatever else the command prints.
    const bool failed = std::string_view(line).find("failed") != std::string_view::npos;
    row.set<"TRSSTAT">(failed ? "Failed" : "Success");
    if (failed) break;
  }
}

void fill(const trace::Scope& trace, const char* host, const DS_DOMAIN_TRUSTSA& trust,
          TrustRow& row) {
  const char* netbios_name =
      trust.NetbiosDomainName == nullptr ? kNotAvailable : trust.NetbiosDomainName;
  const char* dns_name = trust.DnsDomainName == nullptr ? kNotAvailable : trust.DnsDomainName;
  const char* direction = direction_of(trust.Flags);
  const char* type = type_of(trust.TrustType);
  trace.always()("NetBIOSName: <%s>, DomainName: <%s>, Direction: <%s>, Type: <%s>", netbios_name,
                 dns_name, direction, type);
  row.set<"TRSNBNAM">(netbios_name);
  row.set<"TRSDOMNAM">(dns_name);
  row.set<"TRSDIR">(direction);
  row.set<"TRSTYP">(type);
  if (trust.Flags == kInboundOnly) {
    row.set<"TRSSTAT">(kNotAvailable);  // only the other side can verify it
  } else {
    verify(host, netbios_name, row);
  }
}

// The column's text without its padding, at most that many characters.
std::string name_in(const TrustRow& row, std::size_t limit) {
  const std::string_view name = row.text<"TRSNBNAM">().substr(0, limit);
  return std::string(name.substr(0, name.find_last_not_of(' ') + 1));
}

// The first place of that name among the names of the last sample; -1 when it is not there.
std::int32_t getTrustIndex(const std::string& name) {
  const auto found = std::find(prevTrustList.begin(), prevTrustList.end(), name);
  return found == prevTrustList.end() ? -1
                                      : static_cast<std::int32_t>(found - prevTrustList.begin());
}

// The rows of one sample: the trusts with what is new among them, then a row for each that is gone.
class HandOverTrusts {
 public:
  void rows(const trace::Scope& trace, tables::Agent<DCWNTDSTRS>& agent,
            const collectors::Rows<DCWNTDSTRS>& all) {
    seen_.assign(prevTrustList.size(), false);
    capacity_ = static_cast<std::size_t>(std::max(g_trustCount.load(), 0));
    for (const TrustRow& one : all) {
      TrustRow row = one;
      row.set<"TRSDRP">("FALSE");
      row.set<"TRSADD">("FALSE");
      compare(trace, row);
      deliver(agent, row);
      last_row = row;
    }
    // Of a list that is empty there is no row to go on from: the time at least is this sample's.
    if (all.empty()) CKUtil::getMWTimeStamp(last_row.field<"TIMESTAMP">());
    report_dropped(trace, agent);
  }

  void released(const trace::Scope& trace) {
    prevTrustList = std::move(curTrustList_);
    prevTrustIndex = static_cast<std::int32_t>(prevTrustList.size()) - 1;
    for (const std::string& name : prevTrustList) trace.always()("curTrustList: %s", name.c_str());
  }

 private:
  static constexpr std::size_t kKeySize = 63;

  void compare(const trace::Scope& trace, TrustRow& row) {
    const std::string name = name_in(row, kKeySize);
    if (curTrustList_.size() < capacity_) {
      trace.always()("curTrustList[%d]: <%s>\n", static_cast<int>(curTrustList_.size()),
                     name.c_str());
      curTrustList_.push_back(name);
    } else {
      // The list holds as many as the last collection found, and these rows are of the one before.
      trace.always()("Trust beyond the last count of %d is not kept for the next sample: <%s>",
                     static_cast<int>(capacity_), name.c_str());
    }
    if (prevTrustIndex < 0) return;
    const std::int32_t index = getTrustIndex(name);
    trace.always()("prevIndex: %d\n", int{index});
    if (index >= 0) {
      seen_[static_cast<std::size_t>(index)] = true;
      return;
    }
    row.set<"TRSADD">("TRUE");
    trace.always()("Trust added: <%s>\n", name.c_str());
  }

  void report_dropped(const trace::Scope& trace, tables::Agent<DCWNTDSTRS>& agent) const {
    TrustRow row = last_row;
    row.set<"TRSDOMNAM">("");
    row.set<"TRSDIR">("");
    row.set<"TRSTYP">("");
    row.set<"TRSADD">("FALSE");
    row.set<"TRSDRP">("TRUE");
    row.set<"TRSSTAT">("None");
    for (std::size_t i = 0; i < prevTrustList.size(); ++i) {
      if (seen_[i]) continue;
      trace.always()("Trust dropped: <%s>\n", prevTrustList[i].c_str());
      row.set<"TRSNBNAM">(prevTrustList[i]);
      deliver(agent, row);
    }
  }

  static void deliver(tables::Agent<DCWNTDSTRS>& agent, TrustRow& row) {
    row.set<"ROWNO">(static_cast<std::int32_t>(rowCounter));
    agent.AddData(row.data(), 1);
    ++rowCounter;
  }

  std::vector<bool> seen_;  // by the place among the names of the last sample
  std::vector<std::string> curTrustList_;
  std::size_t capacity_ = 0;
};

}  // namespace

template <>
void collectors::CollectData<DCWNTDSTRS>() {
  DCW_TRACE("CollectData");
  TrustRow row;
  ServerNames names;
  if (!begin_collection(trace, row, collector_state, names)) return;
  row.set<"TRSHN">(names.server);
  // Deliberately the domain of the collection before: the first rows of a process have none.
  row.set<"TRSLDOM">(last_domain);
  last_domain = names.domain;
  PDS_DOMAIN_TRUSTSA array = nullptr;
  ULONG count = 0;
  DSFUtils::GetDomainTrustRelationships(names.host, &array, count);
  const std::unique_ptr<DS_DOMAIN_TRUSTSA, FreeTrusts> owner(array);
  trace.always()("Trust Index: <%ld>\n", static_cast<long>(count));
  g_trustCount = static_cast<std::int32_t>(count);
  Rows<DCWNTDSTRS> rows;
  for (ULONG i = 0; i < count; ++i) {
    // The row is not cleared in between: a trust whose verification says nothing shows the status
    // of the one before, which receivers know.
    fill(trace, names.host, array[i], row);
    rows.push_back(row);
  }
  transfer<DCWNTDSTRS>(trace, rows);
}

template <>
void tables::Agent<DCWNTDSTRS>::TakeSample() {
  DCW_TRACE("TakeSample");
  collectors::take_sample(trace, *this, HandOverTrusts{});
}
