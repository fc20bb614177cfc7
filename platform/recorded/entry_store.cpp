#include "platform/recorded/entry_store.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <mutex>
#include <utility>

#include "platform/recorded/distinguished_name.h"
#include "platform/recorded/utf8.h"

namespace platform {
namespace {

constexpr std::string_view kServerOption = "x-server-";

bool is_taken_away(const Attribute& attribute) {
  return std::all_of(attribute.values.begin(), attribute.values.end(),
                     [](const std::string& value) { return value.empty(); });
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

void set(std::vector<Attribute>& attributes, const Attribute& attribute) {
  const auto place = std::find_if(attributes.begin(), attributes.end(), [&](const Attribute& held) {
    return equal_without_case(held.name, attribute.name);
  });
  if (attribute.values.empty()) {
    if (place != attributes.end()) attributes.erase(place);
  } else if (place == attributes.end()) {
    attributes.push_back(attribute);
  } else {
    place->values = attribute.values;
  }
}

// What the server wrote is what it sees; a view of another server's own stays.
void write(StoredEntry& stored, const std::string& server, const Attribute& attribute) {
  std::erase_if(stored.differences, [&](const ServerAttribute& difference) {
    return difference.server == server &&
           equal_without_case(difference.attribute.name, attribute.name);
  });
  set(stored.common.attributes, attribute);
}

}  // namespace

std::optional<Entry> StoredEntry::as_seen_by(const std::string& server) const {
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
  if (has_class && seen.find("objectClass") == nullptr) return std::nullopt;
  return seen;
}

EntryStore::EntryStore(std::vector<LdifRecord> records, const std::string& file_name) {
  for (LdifRecord& record : records) {
    const std::size_t line = record.line;
    StoredEntry entry = store(std::move(record));
    if (places_.count(entry.key) != 0) {
      throw ControllerError(file_name + ":" + std::to_string(line) + ": a second entry named \"" +
                            entry.common.dn + "\"");
    }
    for (const ServerAttribute& difference : entry.differences) servers_.insert(difference.server);
    put(std::move(entry));
  }
  note_naming_contexts();
}

void EntryStore::put(StoredEntry entry) {
  const std::string key = entry.key;
  auto place = std::make_shared<const StoredEntry>(std::move(entry));
  const auto [known, is_new] = places_.try_emplace(key, entries_.size());
  if (!is_new) {
    entries_[known->second] = std::move(place);
    return;
  }
  if (!key.empty()) children_[std::string(parent_dn(key))].push_back(entries_.size());
  entries_.push_back(std::move(place));
}

void EntryStore::note_naming_contexts() {
  const Place root = at("");
  if (root == nullptr) return;
  const auto note = [this](const Attribute& attribute) {
    if (!equal_without_case(attribute.name, "namingContexts")) return;
    for (const std::string& value : attribute.values) naming_contexts_.insert(normalise_dn(value));
  };
  for (const Attribute& attribute : root->common.attributes) note(attribute);
  for (const ServerAttribute& difference : root->differences) note(difference.attribute);
}

EntryStore::Place EntryStore::at(const std::string& key) const {
  const auto place = places_.find(key);
  return place == places_.end() ? nullptr : entries_[place->second];
}

EntryStore::Place EntryStore::find(const std::string& key) const {
  const std::shared_lock guard(lock_);
  return at(key);
}

std::vector<EntryStore::Place> EntryStore::within(const std::string& key, SearchScope scope) const {
  const std::shared_lock guard(lock_);
  std::vector<Place> found;
  if (scope != SearchScope::kOneLevel) {
    if (Place base = at(key)) found.push_back(std::move(base));
  }
  if (scope != SearchScope::kBase) add_children(key, scope, found);
  return found;
}

void EntryStore::add_children(const std::string& key, SearchScope scope,
                              std::vector<Place>& found) const {
  const auto children = children_.find(key);
  if (key.empty() || children == children_.end()) return;
  for (const std::size_t child : children->second) {
    const Place& entry = entries_[child];
    if (entry == nullptr || naming_contexts_.count(entry->key) != 0) continue;
    found.push_back(entry);
    if (scope == SearchScope::kSubtree) add_children(entry->key, scope, found);
  }
}

bool EntryStore::has_children(const std::string& key) const {
  const auto children = children_.find(key);
  return children != children_.end() &&
         std::any_of(children->second.begin(), children->second.end(),
                     [this](std::size_t child) { return entries_[child] != nullptr; });
}

DirectoryResult EntryStore::add(const std::string& server, const Entry& entry,
                                const std::string& time) {
  const std::unique_lock guard(lock_);
  StoredEntry stored;
  stored.key = normalise_dn(entry.dn);
  if (stored.key.empty()) return kDirectoryBadPath;
  if (const Place known = at(stored.key)) {
    if (known->as_seen_by(server)) return kDirectoryExists;
    // There for others, and not yet for this server: to it the object is a new one.
    stored.differences = known->differences;
  }
  const Place parent = at(std::string(parent_dn(stored.key)));
  if (parent == nullptr || !parent->as_seen_by(server)) return kDirectoryNoObject;
  std::erase_if(stored.differences, [&server](const ServerAttribute& difference) {
    return difference.server == server;
  });
  const std::string name = leaf_value(entry.dn);
  const std::string naming_attribute = entry.dn.substr(0, entry.dn.find('='));
  stored.common = entry;
  for (const Attribute& own :
       {Attribute{naming_attribute, {name}}, Attribute{"name", {name}},
        Attribute{"distinguishedName", {entry.dn}}, Attribute{"whenCreated", {time}},
        Attribute{"whenChanged", {time}}}) {
    set(stored.common.attributes, own);
  }
  stored.has_class = entry.find("objectClass") != nullptr;
  put(std::move(stored));
  return kDirectoryOk;
}

DirectoryResult EntryStore::modify(const std::string& server, const std::string& key,
                                   const std::vector<Attribute>& attributes,
                                   const std::string& time) {
  const std::unique_lock guard(lock_);
  const Place known = at(key);
  if (known == nullptr || !known->as_seen_by(server)) return kDirectoryNoObject;
  StoredEntry stored = *known;
  for (const Attribute& attribute : attributes) write(stored, server, attribute);
  write(stored, server, {"whenChanged", {time}});
  put(std::move(stored));
  return kDirectoryOk;
}

DirectoryResult EntryStore::remove(const std::string& server, const std::string& key) {
  const std::unique_lock guard(lock_);
  const Place known = at(key);
  if (known == nullptr || !known->as_seen_by(server)) return kDirectoryNoObject;
  if (has_children(key)) return kDirectoryNotLeaf;
  const std::size_t place = places_.at(key);
  entries_[place] = nullptr;
  places_.erase(key);
  std::erase(children_[std::string(parent_dn(key))], place);
  return kDirectoryOk;
}

std::string directory_time(std::int64_t ms) {
  using namespace std::chrono;  // the calendar's names are long enough
  const sys_seconds moment{floor<seconds>(milliseconds(ms))};
  const auto day = floor<days>(moment);
  const year_month_day date(day);
  const hh_mm_ss time(moment - day);
  char text[64];
  std::snprintf(text, sizeof text, "%04d%02u%02u%02d%02d%02d.0Z", int(date.year()),
                unsigned(date.month()), unsigned(date.day()), int(time.hours().count()),
                int(time.minutes().count()), int(time.seconds().count()));
  return text;
}

}  // namespace platform
