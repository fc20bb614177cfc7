#include "platform/recorded/recorded_directory.h"

#include <algorithm>
#include <chrono>
#include <map>
#include <optional>
#include <utility>

#include "platform/recorded/distinguished_name.h"
#include "platform/recorded/entry_store.h"
#include "platform/recorded/filter.h"
#include "platform/recorded/ldif.h"
#include "platform/recorded/utf8.h"

namespace platform {
namespace {

constexpr DirectoryResult kInvalidFilter = static_cast<DirectoryResult>(0x80005014);

constexpr std::string_view kConstructed[] = {
    "allowedAttributes",
    "allowedAttributesEffective",
    "allowedChildClasses",
    "allowedChildClassesEffective",
    "canonicalName",
    "createTimeStamp",
    "fromEntry",
    "modifyTimeStamp",
    "msDS-Approx-Immed-Subordinates",
    "msDS-Auxiliary-Classes",
    "msDS-isGC",
    "msDS-isRODC",
    "msDS-isUserCachableAtRodc",
    "msDS-KeyVersionNumber",
    "msDS-LocalEffectiveDeletionTime",
    "msDS-LocalEffectiveRecycleTime",
    "msDS-NCReplCursors",
    "msDS-NCReplInboundNeighbors",
    "msDS-NCReplOutboundNeighbors",
    "msDS-PrincipalName",
    "msDS-QuotaEffective",
    "msDS-QuotaUsed",
    "msDS-ReplAllInboundNeighbors",
    "msDS-ReplAllOutboundNeighbors",
    "msDS-ReplAttributeMetaData",
    "msDS-ReplConnectionFailures",
    "msDS-ReplLinkFailures",
    "msDS-ReplPendingOps",
    "msDS-ReplQueueStatistics",
    "msDS-ReplValueMetaData",
    "msDS-ResultantPSO",
    "msDS-SiteName",
    "msDS-TopQuotaUsage",
    "msDS-User-Account-Control-Computed",
    "msDS-UserPasswordExpiryTimeComputed",
    "parentGUID",
    "possibleInferiors",
    "primaryGroupToken",
    "sDRightsEffective",
    "structuralObjectClass",
    "subSchemaSubEntry",
    "tokenGroups",
    "tokenGroupsGlobalAndUniversal",
    "tokenGroupsNoGCAcceptable",
};

std::string short_name(std::string_view server) {
  return fold_case(server.substr(0, server.find('.')));
}

bool is_wanted(const Attribute& attribute, const std::vector<std::string>& names) {
  const auto asked_for = [&attribute](const std::string& name) {
    return equal_without_case(name, attribute.name);
  };
  if (std::any_of(names.begin(), names.end(), asked_for)) return true;
  const bool plain = names.empty() || std::find(names.begin(), names.end(), "*") != names.end();
  return plain && !is_constructed(attribute.name);
}

void select(Entry& entry, const std::vector<std::string>& names) {
  const bool lacks_canonical_name = entry.find("canonicalName") == nullptr && !entry.dn.empty();
  std::erase_if(entry.attributes,
                [&names](const Attribute& attribute) { return !is_wanted(attribute, names); });
  if (!lacks_canonical_name) return;
  for (const std::string& name : names) {
    if (!equal_without_case(name, "canonicalName")) continue;
    entry.attributes.push_back({"canonicalName", {canonical_name(entry.dn)}});
    return;
  }
}

class RecordedCursor : public EntryCursor {
 public:
  RecordedCursor(std::vector<EntryStore::Place> places, std::string server,
                 std::unique_ptr<Filter> filter, std::vector<std::string> names)
      : places_(std::move(places)),
        server_(std::move(server)),
        filter_(std::move(filter)),
        names_(std::move(names)) {}

  DirectoryResult next(Entry& entry) override {
    while (position_ < places_.size()) {
      std::optional<Entry> seen = places_[position_++]->as_seen_by(server_);
      if (!seen || !filter_->matches(*seen)) continue;
      select(*seen, names_);
      entry = std::move(*seen);
      return kDirectoryOk;
    }
    return kDirectoryEnd;
  }

 private:
  // As they were when the walk began, whatever is written and whatever becomes of the directory.
  const std::vector<EntryStore::Place> places_;
  const std::string server_;
  const std::unique_ptr<Filter> filter_;
  const std::vector<std::string> names_;
  std::size_t position_ = 0;
};

class RecordedDirectory : public Directory {
 public:
  RecordedDirectory(std::vector<LdifRecord> records, const std::string& file_name,
                    const std::string& host_name, const std::string& dns_suffix, Clock clock)
      : store_(std::move(records), file_name), clock_(std::move(clock)) {
    const EntryStore::Place root = store_.find("");
    machine_ = short_name(host_name);
    if (machine_.empty()) machine_ = short_name(root_value(root, "", "dnsHostName"));
    learn_names(machine_, root, dns_suffix);
    for (const std::string& server : store_.servers()) learn_names(server, root, dns_suffix);
    const std::string domain = dns_name(root_value(root, machine_, "defaultNamingContext"));
    if (!domain.empty()) names_.try_emplace(fold_case(domain), machine_);
  }

  DirectoryResult read_root(std::string_view server, Entry& entry) override {
    return read(server, "", {}, entry);
  }

  DirectoryResult read(std::string_view server, std::string_view dn,
                       const std::vector<std::string>& names, Entry& entry) override {
    const std::optional<std::string> seer = resolve(server);
    if (!seer) return kDirectoryServerDown;
    const EntryStore::Place stored = store_.find(normalise_dn(dn));
    std::optional<Entry> seen = stored == nullptr ? std::nullopt : stored->as_seen_by(*seer);
    if (!seen) return kDirectoryNoObject;
    select(*seen, names);
    entry = std::move(*seen);
    return kDirectoryOk;
  }

  DirectoryResult search(std::string_view server, std::string_view base, SearchScope scope,
                         std::string_view filter, const std::vector<std::string>& names,
                         std::unique_ptr<EntryCursor>& cursor) override {
    const std::optional<std::string> seer = resolve(server);
    if (!seer) return kDirectoryServerDown;
    const std::string key = normalise_dn(base);
    const EntryStore::Place stored = store_.find(key);
    if (stored == nullptr || !stored->as_seen_by(*seer)) return kDirectoryNoObject;
    std::unique_ptr<Filter> parsed = parse_filter(filter.empty() ? "(objectClass=*)" : filter);
    if (!parsed) return kInvalidFilter;
    cursor = std::make_unique<RecordedCursor>(store_.within(key, scope), *seer, std::move(parsed),
                                              names);
    return kDirectoryOk;
  }

  DirectoryResult add(std::string_view server, const Entry& entry) override {
    const std::optional<std::string> seer = resolve(server);
    if (!seer) return kDirectoryServerDown;
    return store_.add(*seer, entry, directory_time(now_ms()));
  }

  DirectoryResult modify(std::string_view server, std::string_view dn,
                         const std::vector<Attribute>& attributes) override {
    const std::optional<std::string> seer = resolve(server);
    if (!seer) return kDirectoryServerDown;
    return store_.modify(*seer, normalise_dn(dn), attributes, directory_time(now_ms()));
  }

  DirectoryResult remove(std::string_view server, std::string_view dn) override {
    const std::optional<std::string> seer = resolve(server);
    if (!seer) return kDirectoryServerDown;
    return store_.remove(*seer, normalise_dn(dn));
  }

 private:
  static std::string root_value(const EntryStore::Place& root, const std::string& server,
                                std::string_view name) {
    const std::optional<Entry> seen = root == nullptr ? std::nullopt : root->as_seen_by(server);
    const Attribute* attribute = seen ? seen->find(name) : nullptr;
    return attribute == nullptr || attribute->values.empty() ? std::string()
                                                             : attribute->values.front();
  }

  void learn_names(const std::string& server, const EntryStore::Place& root,
                   const std::string& dns_suffix) {
    names_.try_emplace(server, server);
    if (!dns_suffix.empty()) names_.try_emplace(server + "." + fold_case(dns_suffix), server);
    const std::string full = fold_case(root_value(root, server, "dnsHostName"));
    if (short_name(full) == server) names_.try_emplace(full, server);
  }

  std::optional<std::string> resolve(std::string_view server) const {
    if (server.empty()) return machine_;
    const auto name = names_.find(fold_case(server));
    if (name == names_.end()) return std::nullopt;
    return name->second;
  }

  std::int64_t now_ms() const {
    return clock_ ? clock_()
                  : std::chrono::duration_cast<std::chrono::milliseconds>(
                        std::chrono::system_clock::now().time_since_epoch())
                        .count();
  }

  EntryStore store_;  // guards itself
  const Clock clock_;
  std::string machine_;                       // short, small letters
  std::map<std::string, std::string> names_;  // short and full names, small letters, to the short
};

}  // namespace

bool is_constructed(std::string_view attribute) {
  return std::any_of(
      std::begin(kConstructed), std::end(kConstructed), [attribute](std::string_view name) {
        return name.size() == attribute.size() && equal_without_case(name, attribute);
      });
}

std::unique_ptr<Directory> read_directory(std::string_view text, const std::string& file_name,
                                          const std::string& host_name,
                                          const std::string& dns_suffix, Clock clock) {
  return std::make_unique<RecordedDirectory>(read_ldif(text, file_name), file_name, host_name,
                                             dns_suffix, std::move(clock));
}

}  // namespace platform
