// Whether the SRV records in DNS agree with the servers that the directory knows.

#include <algorithm>
#include <string_view>

#include "directory/dns_utils.h"
#include "directory/text.h"
#include "include/collection_status.h"
#include "include/platform/dns.h"
#include "include/platform/text.h"

using directory::view;
using tables::DCWNTDSDAD;
using tables::Name;

namespace {

// What a query gave; freed from its first record.
class Records {
 public:
  Records() = default;
  ~Records() { DnsRecordListFree(first_, DnsFreeRecordList); }
  Records(const Records&) = delete;
  Records& operator=(const Records&) = delete;

  // Bypasses the cache, so that a server tells what stands there now.
  DNS_STATUS query(const char* name) {
    DnsRecordListFree(first_, DnsFreeRecordList);
    first_ = nullptr;
    status::step("asks name servers for", name);
    return DnsQuery_A(name, DNS_TYPE_SRV, DNS_QUERY_BYPASS_CACHE, nullptr, &first_, nullptr);
  }
  bool empty() const { return first_ == nullptr; }

  // Calls each(target) for the SRV records until it gives true; whether it did. Records that came
  // along, such as the targets' addresses, are skipped.
  template <typename Each>
  bool any(Each&& each) const {
    for (PDNS_RECORD record = first_; record != nullptr; record = record->pNext) {
      if (record->wType != DNS_TYPE_SRV) continue;
      const auto& target = record->Data.SRV.pNameTarget;
      if (each(target == nullptr ? "" : target)) return true;
    }
    return false;
  }

 private:
  PDNS_RECORD first_ = nullptr;
};

// The columns of the summary for one type of record.
struct SummaryColumns {
  void (*set_missing)(SRVSummary& row, std::int32_t count, std::string_view last);
  std::int32_t (*missing)(const SRVSummary& row);
  void (*set_bogus)(SRVSummary& row, std::int32_t count, std::string_view last);
  std::int32_t (*bogus)(const SRVSummary& row);
};

template <Name kMissing, Name kLastMissing, Name kBogus, Name kLastBogus>
constexpr SummaryColumns columns() {
  return {[](SRVSummary& row, std::int32_t count, std::string_view last) {
            row.set<kMissing>(count);
            row.set<kLastMissing>(last);
          },
          [](const SRVSummary& row) { return row.integer<kMissing>(); },
          [](SRVSummary& row, std::int32_t count, std::string_view last) {
            row.set<kBogus>(count);
            row.set<kLastBogus>(last);
          },
          [](const SRVSummary& row) { return row.integer<kBogus>(); }};
}
constexpr SummaryColumns kColumns[] = {columns<"DAIGCM", "DAIMGC", "DAIGCB", "DAIBGC">(),
                                       columns<"DAIDCM", "DAIMDC", "DAIDCB", "DAIBDC">(),
                                       columns<"DAIPDCM", "DAIMPDC", "DAIPDCB", "DAIBPDC">()};

// Where differences go: to rows or into the summary.
class Outcome {
 public:
  Outcome(SRVDifferences* rows, SRVSummary* summary, SRVCompareMode mode, SRVRecordType type)
      : rows_(mode == SRVCompareMode::kRows ? rows : nullptr),
        summary_(mode == SRVCompareMode::kSummary ? summary : nullptr),
        type_(static_cast<std::int32_t>(type)) {}

  void all_missing(const std::vector<std::string>& names) {
    if (names.empty()) return;
    if (rows_ != nullptr) {
      for (const std::string& name : names) add_row(name, kMissing);
    } else if (const SummaryColumns* of_type = summary_columns()) {
      const auto count = static_cast<std::int32_t>(names.size());
      of_type->set_missing(*summary_, count, names.back());
      add_to_total(count, names.back());
    }
  }
  void missing(std::string_view name) {
    if (rows_ != nullptr) {
      add_row(name, kMissing);
    } else if (const SummaryColumns* of_type = summary_columns()) {
      of_type->set_missing(*summary_, of_type->missing(*summary_) + 1, name);
      add_to_total(1, name);
    }
  }
  void bogus(std::string_view name) {
    if (rows_ != nullptr) {
      add_row(name, kBogus);
    } else if (const SummaryColumns* of_type = summary_columns()) {
      of_type->set_bogus(*summary_, of_type->bogus(*summary_) + 1, name);
    }
  }

 private:
  static constexpr std::int32_t kMissing = 0;
  static constexpr std::int32_t kBogus = 1;

  void add_row(std::string_view name, std::int32_t difference) {
    tables::Row<DCWNTDSDAD>& row = rows_->emplace_back();
    row.set<"DADSRM">(name);
    row.set<"DADTOR">(type_);
    row.set<"DADT">(difference);
  }
  // Null for a type that has no columns, or with no summary to write into.
  const SummaryColumns* summary_columns() const {
    const bool known = type_ >= 0 && type_ < static_cast<std::int32_t>(std::size(kColumns));
    return summary_ != nullptr && known ? &kColumns[type_] : nullptr;
  }
  // Over the calls for all types: the caller zeroes the row before the first.
  void add_to_total(std::int32_t count, std::string_view last) {
    summary_->set<"DAINDM">(summary_->integer<"DAINDM">() + count);
    summary_->set<"DAIMNR">(last);
  }

  SRVDifferences* const rows_;
  SRVSummary* const summary_;
  const std::int32_t type_;
};

bool is_same(const trace::Scope& trace, const std::string& name, const char* target) {
  trace.error()("Comparing: ADSI: <%s>, DNS: <%s>\n", name.c_str(), target);
  return _stricmp(name.c_str(), target) == 0;
}

void compare(const trace::Scope& trace, const Records& records,
             const std::vector<std::string>& names, Outcome& outcome) {
  records.any([&](const char* target) {
    const bool known = std::any_of(names.begin(), names.end(), [&](const std::string& name) {
      if (!is_same(trace, name, target)) return false;
      trace.error()("Match\n");
      return true;
    });
    if (!known) outcome.bogus(target);
    return false;
  });
  for (const std::string& name : names) {
    if (!records.any([&](const char* target) { return is_same(trace, name, target); })) {
      outcome.missing(name);
    }
  }
}

}  // namespace

int DNSUtils::CompareSRV(SRVDifferences* rows, SRVSummary* summary, const char* primaryName,
                         const char* fallbackName, const std::vector<std::string>& directoryNames,
                         SRVCompareMode mode, SRVRecordType recordType) {
  DCW_TRACE("CompareSRV");
  trace.error()("Index:%ld", static_cast<long>(directoryNames.size()));
  Records records;
  DNS_STATUS status = records.query(primaryName);
  if (status == DNS_ERROR_RCODE_NAME_ERROR) status = records.query(fallbackName);
  const auto type = static_cast<int>(recordType);
  trace.error()("DnsQuery status : %d for record : %d\n", static_cast<int>(status), type);
  if (status < 0) {
    trace.error()("DnsQuery Failed with status : %d for record : %d\n", static_cast<int>(status),
                  type);
  }
  Outcome outcome(rows, summary, mode, recordType);
  if (status < 0 || records.empty()) {
    outcome.all_missing(directoryNames);
  } else {
    compare(trace, records, directoryNames, outcome);
  }
  return trace.returns(0);
}
