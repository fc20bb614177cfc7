#pragma once
// The registry as one process sees it: a controller's, with what the process has written laid over
// it. A key is taken from below when it is first asked for, and belongs to the process from then
// on.
//
// Not guarded: the registry's calls hold their one lock over all of this.

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "platform/controller.h"

namespace platform {

struct RegistryKey {
  std::string path;  // from the root's long name on
  std::string class_name;
  std::vector<std::string> subkeys;  // alphabetical
  std::vector<RegistryValue> values;
  std::uint64_t written_ticks = 0;  // as a FILETIME counts, 0 when unknown
  bool deleted = false;             // a handle may outlive its key

  const RegistryValue* find_value(std::string_view name) const;
  void set_value(RegistryValue value, std::uint64_t now_ticks);
  bool delete_value(std::string_view name, std::uint64_t now_ticks);
};

class RegistryView {
 public:
  // hive: what lies below, or null; it must outlive the view.
  explicit RegistryView(RegistryHive* hive) : hive_(hive) {}

  // A root is always there.
  std::shared_ptr<RegistryKey> root(std::string_view name);
  // The key at that path below another one, the key itself for an empty path, or null.
  std::shared_ptr<RegistryKey> open(const std::shared_ptr<RegistryKey>& key,
                                    std::string_view sub_path);
  // Makes the key with all that lead to it; null for a path with an empty name in it.
  std::shared_ptr<RegistryKey> create(const std::shared_ptr<RegistryKey>& key,
                                      std::string_view sub_path, std::string_view class_name,
                                      std::uint64_t now_ticks);
  // Takes a key away; false when it has sub-keys or is a root.
  bool remove(const std::shared_ptr<RegistryKey>& key, std::uint64_t now_ticks);

 private:
  std::shared_ptr<RegistryKey> load(const std::string& path);

  RegistryHive* hive_;
  // By path in small letters; null for a key that the process has deleted.
  std::unordered_map<std::string, std::shared_ptr<RegistryKey>> keys_;
};

}  // namespace platform
