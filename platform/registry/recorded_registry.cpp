#include "platform/registry/recorded_registry.h"

#include <algorithm>
#include <string_view>
#include <unordered_map>

#include "platform/recorded/utf8.h"
#include "platform/registry/reg_file.h"

namespace platform {
namespace {

class RecordedRegistry : public RegistryHive {
 public:
  explicit RecordedRegistry(std::vector<RegFileKey> file_keys) {
    std::unordered_map<std::string, std::size_t> places;  // of values, by key and name
    for (RegFileKey& file_key : file_keys) {
      Key& key = add(file_key.path);
      for (RegistryValue& value : file_key.values) {
        const auto [at, is_new] =
            places.emplace(fold_case(file_key.path + '\0' + value.name), key.values.size());
        if (is_new) key.values.emplace_back();
        key.values[at->second] = std::move(value);  // what comes later wins, as in an import
      }
    }
    for (auto& [path, key] : keys_) sort(key);
  }

  bool has_key(std::string_view path) override { return find(path) != nullptr; }

  std::vector<std::string> subkeys(std::string_view path) override {
    const Key* key = find(path);
    return key == nullptr ? std::vector<std::string>() : key->subkeys;
  }

  std::vector<RegistryValue> values(std::string_view path) override {
    const Key* key = find(path);
    return key == nullptr ? std::vector<RegistryValue>() : key->values;
  }

 private:
  struct Key {
    std::vector<std::string> subkeys;
    std::vector<RegistryValue> values;
  };

  const Key* find(std::string_view path) const {
    const auto found = keys_.find(fold_case(path));
    return found == keys_.end() ? nullptr : &found->second;
  }

  // The key of that path, made with all that lead to it.
  Key& add(std::string_view path) {
    const auto [at, is_new] = keys_.try_emplace(fold_case(path));
    Key& key = at->second;  // stays where it is when others are added
    if (is_new) {
      const std::size_t slash = path.rfind('\\');
      if (slash != std::string_view::npos) {
        add(path.substr(0, slash)).subkeys.emplace_back(path.substr(slash + 1));
      }
    }
    return key;
  }

  static void sort(Key& key) {
    std::sort(key.subkeys.begin(), key.subkeys.end(),
              [](const std::string& left, const std::string& right) {
                return fold_case(left) < fold_case(right);
              });
  }

  std::unordered_map<std::string, Key> keys_;  // by path in small letters
};

}  // namespace

std::unique_ptr<RegistryHive> read_registry(const std::string& text, const std::string& file_name) {
  return std::make_unique<RecordedRegistry>(parse_reg_file(text, file_name));
}

}  // namespace platform
