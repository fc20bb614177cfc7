#include "platform/dns/recorded_dns.h"

#include <map>
#include <set>
#include <vector>

#include "platform/dns/zone_file.h"
#include "platform/recorded/utf8.h"

namespace platform {
namespace {

constexpr std::uint16_t kA = 1;
constexpr std::uint16_t kCname = 5;
constexpr std::uint16_t kAaaa = 28;
constexpr std::uint16_t kSrv = 33;
constexpr int kLongestChain = 8;

std::string_view without_last_dot(std::string_view name) {
  if (name.ends_with('.')) name.remove_suffix(1);
  return name;
}

class RecordedDns : public DnsSource {
 public:
  explicit RecordedDns(std::vector<DnsRecord> records) {
    for (DnsRecord& record : records) {
      const std::string key = fold_case(record.name);
      // Whatever stands above an existing name exists too.
      for (std::string_view above = key;; above.remove_prefix(above.find('.') + 1)) {
        names_.emplace(above);
        if (above.find('.') == above.npos) break;
      }
      records_[key].push_back(std::move(record));
    }
  }

  DnsStatus query(std::string_view name, std::uint16_t type,
                  std::vector<DnsRecord>& records) override {
    std::string key = fold_case(without_last_dot(name));
    for (int link = 0; link < kLongestChain; ++link) {
      if (!names_.contains(key)) return records.empty() ? kDnsNoSuchName : 0;
      const DnsRecord* alias = add(key, type, true, records);
      if (alias == nullptr || type == kCname) break;
      key = fold_case(alias->target);
    }
    if (records.empty()) return kDnsNoRecords;
    if (type == kSrv) add_addresses(records);
    return 0;
  }

 private:
  // Adds the name's records of that type, or else its alias, which it gives.
  const DnsRecord* add(const std::string& key, std::uint16_t type, bool is_answer,
                       std::vector<DnsRecord>& records) const {
    const auto found = records_.find(key);
    if (found == records_.end()) return nullptr;
    const DnsRecord* alias = nullptr;
    for (const DnsRecord& record : found->second) {
      if (record.type != type && record.type != kCname) continue;
      if (record.type == kCname) alias = &record;
      records.push_back(record);
      records.back().is_answer = is_answer;
    }
    return alias;
  }

  void add_addresses(std::vector<DnsRecord>& records) const {
    std::set<std::string> targets;
    for (const DnsRecord& record : records) {
      if (record.type == kSrv) targets.insert(fold_case(record.target));
    }
    for (const std::string& target : targets) {
      add(target, kA, false, records);
      add(target, kAaaa, false, records);
    }
  }

  std::map<std::string, std::vector<DnsRecord>, std::less<>> records_;
  std::set<std::string, std::less<>> names_;
};

}  // namespace

std::unique_ptr<DnsSource> read_dns(std::string_view zone, const std::string& file_name) {
  return std::make_unique<RecordedDns>(read_zone(zone, file_name));
}

}  // namespace platform
