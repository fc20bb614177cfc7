#pragma once
// The entries of a recorded directory, found by name and by parent, as each of its servers sees
// them, and changed when somebody writes.
//
// Any thread may ask and write: an entry that was handed out stays as it was, and a change puts
// another one in its place.

#include <cstddef>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <shared_mutex>
#include <string>
#include <string_view>
#include <vector>

#include "platform/controller.h"
#include "platform/recorded/ldif.h"

namespace platform {

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

  // Nothing where the entry does not exist for the server.
  std::optional<Entry> as_seen_by(const std::string& server) const;
};

class EntryStore {
 public:
  using Place = std::shared_ptr<const StoredEntry>;

  // Throws ControllerError for a second entry of one name.
  EntryStore(std::vector<LdifRecord> records, const std::string& file_name);

  // Names of entries are normalised ones. Null for an entry that is not there.
  Place find(const std::string& key) const;
  // The objects that a search from key looks at, parents before their children. Like a domain
  // controller, it does not walk from one naming context into another.
  std::vector<Place> within(const std::string& key, SearchScope scope) const;
  // Short, small letters: those that an option names. Fixed from the start.
  const std::set<std::string>& servers() const { return servers_; }

  // Written at a server; time as the directory writes it. Attributes replace those that the server
  // and all those without a view of their own see.
  DirectoryResult add(const std::string& server, const Entry& entry, const std::string& time);
  DirectoryResult modify(const std::string& server, const std::string& key,
                         const std::vector<Attribute>& attributes, const std::string& time);
  DirectoryResult remove(const std::string& server, const std::string& key);

 private:
  // With lock_ held.
  Place at(const std::string& key) const;
  void put(StoredEntry entry);
  void add_children(const std::string& key, SearchScope scope, std::vector<Place>& found) const;
  bool has_children(const std::string& key) const;
  void note_naming_contexts();

  mutable std::shared_mutex lock_;
  std::vector<Place> entries_;                                // guarded by lock_; null once removed
  std::map<std::string, std::size_t> places_;                 // guarded by lock_
  std::map<std::string, std::vector<std::size_t>> children_;  // guarded by lock_
  std::set<std::string> naming_contexts_;                     // fixed from the start
  std::set<std::string> servers_;                             // fixed from the start
};

// "20110102030405.0Z" of milliseconds since 1970.
std::string directory_time(std::int64_t ms);

}  // namespace platform
