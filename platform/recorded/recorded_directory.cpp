#include "platform/recorded/recorded_directory.h"

#include <algorithm>
#include <map>
#include <optional>
#include <set>
#include <utility>

#include "platform/recorded/distinguished_name.h"
#include "platform/recorded/filter.h"
#include "platform/recorded/ldif.h"
#include "platform/recorded/utf8.h"

namespace platform {
namespace {

constexpr DirectoryResult kInvalidFilter = static_cast<DirectoryResult>(0x80005014);
constexpr std::string_view kServerOption = "x-server-";

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

// "whenChanged;x-server-dc2" is whenChanged as dc2 sees it.
struct ServerAttribute {
  std::string server;  // short, small letters
  Attribute attribute;
};

struct StoredEntry {
  Entry common;  // as every server sees it
  std::vector<ServerAttribute> differences;
  std::string key;  // normalised dn
  bool has_class = false;

  Entry as_seen_by(const std::string& server) const;
};

bool is_taken_away(const Attribute& attribute) {
  return std::all_of(attribute.values.begin(), attribute.values.end(),
                     [](const std::string& value) { return value.empty(); });
}

Entry StoredEntry::as_seen_by(const std::string& server) const {
  Entry seen = common;
  for (const ServerAttribute& difference : differences) {
    if (difference.server != server) continue;
    const auto place = std::find_if(
        seen.attributes.begin(), seen.attributes.end(), [&difference](const Attribute& candidate) {
          return equal_without_case(candidate.name, difference.attribute.name);
        });
    if (place == seen.attributes.end()) {
      seen.attributes.push_back(difference.attribute);
    } else {
      place->values = difference.attribute.values;
    }
  }
  if (!differences.empty()) std::erase_if(seen.attributes, is_taken_away);
  return seen;
}

// "userCertificate;binary;x-server-dc2" gives dc2, and leaves "userCertificate;binary" in name.
std::optional<std::string> take_server_option(std::string& name) {
  std::size_t option = name.find(';');
  while (option != std::string::npos) {
    const std::size_t end = std::min(name.find(';', option + 1), name.size());
    const std::string text = fold_case(name.substr(option + 1, end - option - 1));
    if (text.starts_with(kServerOption)) {
      name.erase(option, end - option);
      return text.substr(kServerOption.size());
    }
    option = end == name.size() ? std::string::npos : end;
  }
  return std::nullopt;
}

StoredEntry store(LdifRecord record) {
  StoredEntry stored;
  stored.key = normalise_dn(record.entry.dn);
  stored.common.dn = std::move(record.entry.dn);
  for (Attribute& attribute : record.entry.attributes) {
    if (std::optional<std::string> server = take_server_option(attribute.name)) {
      stored.differences.push_back({std::move(*server), std::move(attribute)});
    } else {
      stored.common.attributes.push_back(std::move(attribute));
    }
  }
  stored.has_class = stored.common.find("objectClass") != nullptr;
  return stored;
}

// What was recorded; never changed after reading, so any thread may read it.
class Recording {
 public:
  Recording(std::vector<LdifRecord> records, const std::string& file_name) {
    for (LdifRecord& record : records) {
      const std::size_t line = record.line;
      entries_.push_back(store(std::move(record)));
      const StoredEntry& entry = entries_.back();
      if (!places_.try_emplace(entry.key, entries_.size() - 1).second) {
        throw ControllerError(file_name + ":" + std::to_string(line) + ": a second entry named \"" +
                              entry.common.dn + "\"");
      }
      for (const ServerAttribute& difference : entry.differences) {
        servers_.insert(difference.server);
      }
    }
    for (std::size_t i = 0; i < entries_.size(); ++i) {
      if (!entries_[i].key.empty()) children_[std::string(parent_dn(entries_[i].key))].push_back(i);
    }
    note_naming_contexts();
  }

  const StoredEntry* find(const std::string& key) const {
    const auto place = places_.find(key);
    return place == places_.end() ? nullptr : &entries_[place->second];
  }
  const StoredEntry& at(std::size_t place) const { return entries_[place]; }
  const std::set<std::string>& servers() const { return servers_; }

  // Places of the objects that a search from key looks at, parents before their children.
  std::vector<std::size_t> within(const std::string& key, SearchScope scope) const {
    std::vector<std::size_t> found;
    if (scope != SearchScope::kOneLevel) found.push_back(places_.at(key));
    if (scope != SearchScope::kBase) add_children(key, scope, found);
    return found;
  }

 private:
  void add_children(const std::string& key, SearchScope scope,
                    std::vector<std::size_t>& found) const {
    const auto children = children_.find(key);
    if (key.empty() || children == children_.end()) return;
    for (const std::size_t child : children->second) {
      if (naming_contexts_.count(entries_[child].key) != 0) continue;
      found.push_back(child);
      if (scope == SearchScope::kSubtree) add_children(entries_[child].key, scope, found);
    }
  }

  void note_naming_contexts() {
    const StoredEntry* root = find("");
    if (root == nullptr) return;
    const auto note = [this](const Attribute& attribute) {
      if (!equal_without_case(attribute.name, "namingContexts")) return;
      for (const std::string& value : attribute.values) {
        naming_contexts_.insert(normalise_dn(value));
      }
    };
    for (const Attribute& attribute : root->common.attributes) note(attribute);
    for (const ServerAttribute& difference : root->differences) note(difference.attribute);
  }

  std::vector<StoredEntry> entries_;
  std::map<std::string, std::size_t> places_;
  std::map<std::string, std::vector<std::size_t>> children_;
  std::set<std::string> naming_contexts_;
  std::set<std::string> servers_;
};

// What a server shows of an entry, or nothing where the entry does not exist for it.
std::optional<Entry> look(const StoredEntry& stored, const std::string& server) {
  Entry entry = stored.as_seen_by(server);
  if (stored.has_class && entry.find("objectClass") == nullptr) return std::nullopt;
  return entry;
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
  RecordedCursor(std::shared_ptr<const Recording> recording, std::string server,
                 std::vector<std::size_t> places, std::unique_ptr<Filter> filter,
                 std::vector<std::string> names)
      : recording_(std::move(recording)),
        server_(std::move(server)),
        places_(std::move(places)),
        filter_(std::move(filter)),
        names_(std::move(names)) {}

  DirectoryResult next(Entry& entry) override {
    while (position_ < places_.size()) {
      std::optional<Entry> seen = look(recording_->at(places_[position_++]), server_);
      if (!seen || !filter_->matches(*seen)) continue;
      select(*seen, names_);
      entry = std::move(*seen);
      return kDirectoryOk;
    }
    return kDirectoryEnd;
  }

 private:
  // Kept alive here, since a walk may outlast the directory that it came from.
  const std::shared_ptr<const Recording> recording_;
  const std::string server_;
  const std::vector<std::size_t> places_;
  const std::unique_ptr<Filter> filter_;
  const std::vector<std::string> names_;
  std::size_t position_ = 0;
};

class RecordedDirectory : public Directory {
 public:
  RecordedDirectory(std::shared_ptr<const Recording> recording, const std::string& host_name,
                    const std::string& dns_suffix)
      : recording_(std::move(recording)) {
    const StoredEntry* root = recording_->find("");
    machine_ = short_name(host_name);
    if (machine_.empty() && root != nullptr) {
      machine_ = short_name(root_value(*root, "", "dnsHostName"));
    }
    learn_names(machine_, root, dns_suffix);
    for (const std::string& server : recording_->servers()) learn_names(server, root, dns_suffix);
    if (root == nullptr) return;
    const std::string domain = dns_name(root_value(*root, machine_, "defaultNamingContext"));
    if (!domain.empty()) names_.try_emplace(fold_case(domain), machine_);
  }

  DirectoryResult read_root(std::string_view server, Entry& entry) override {
    return read(server, "", {}, entry);
  }

  DirectoryResult read(std::string_view server, std::string_view dn,
                       const std::vector<std::string>& names, Entry& entry) override {
    const std::optional<std::string> seer = resolve(server);
    if (!seer) return kDirectoryServerDown;
    const StoredEntry* stored = recording_->find(normalise_dn(dn));
    if (stored == nullptr) return kDirectoryNoObject;
    std::optional<Entry> seen = look(*stored, *seer);
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
    const StoredEntry* stored = recording_->find(key);
    if (stored == nullptr || !look(*stored, *seer)) return kDirectoryNoObject;
    std::unique_ptr<Filter> parsed = parse_filter(filter.empty() ? "(objectClass=*)" : filter);
    if (!parsed) return kInvalidFilter;
    cursor = std::make_unique<RecordedCursor>(recording_, *seer, recording_->within(key, scope),
                                              std::move(parsed), names);
    return kDirectoryOk;
  }

 private:
  static std::string root_value(const StoredEntry& root, const std::string& server,
                                std::string_view name) {
    const Entry seen = root.as_seen_by(server);
    const Attribute* attribute = seen.find(name);
    return attribute == nullptr || attribute->values.empty() ? std::string()
                                                             : attribute->values.front();
  }

  void learn_names(const std::string& server, const StoredEntry* root,
                   const std::string& dns_suffix) {
    names_.try_emplace(server, server);
    if (!dns_suffix.empty()) names_.try_emplace(server + "." + fold_case(dns_suffix), server);
    if (root == nullptr) return;
    const std::string full = fold_case(root_value(*root, server, "dnsHostName"));
    if (short_name(full) == server) names_.try_emplace(full, server);
  }

  std::optional<std::string> resolve(std::string_view server) const {
    if (server.empty()) return machine_;
    const auto name = names_.find(fold_case(server));
    if (name == names_.end()) return std::nullopt;
    return name->second;
  }

  const std::shared_ptr<const Recording> recording_;
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
                                          const std::string& dns_suffix) {
  auto recording = std::make_shared<const Recording>(read_ldif(text, file_name), file_name);
  return std::make_unique<RecordedDirectory>(std::move(recording), host_name, dns_suffix);
}

}  // namespace platform
