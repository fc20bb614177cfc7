#include "platform/registry/registry_view.h"

#include <algorithm>

#include "platform/recorded/utf8.h"

namespace platform {
namespace {

std::string joined(const std::string& path, std::string_view name) {
  return path + "\\" + std::string(name);
}

// Backslashes at the ends of a path say nothing.
std::string_view trimmed(std::string_view path) {
  while (path.starts_with('\\')) path.remove_prefix(1);
  while (path.ends_with('\\')) path.remove_suffix(1);
  return path;
}

}  // namespace

const RegistryValue* RegistryKey::find_value(std::string_view name) const {
  const std::string folded = fold_case(name);
  for (const RegistryValue& value : values) {
    if (fold_case(value.name) == folded) return &value;
  }
  return nullptr;
}

void RegistryKey::set_value(RegistryValue value, std::uint64_t now_ticks) {
  written_ticks = now_ticks;
  for (RegistryValue& earlier : values) {
    if (!equal_without_case(earlier.name, value.name)) continue;
    earlier.type = value.type;
    earlier.data = std::move(value.data);
    return;
  }
  values.push_back(std::move(value));
}

bool RegistryKey::delete_value(std::string_view name, std::uint64_t now_ticks) {
  const auto found = std::find_if(values.begin(), values.end(), [&](const RegistryValue& value) {
    return equal_without_case(value.name, name);
  });
  if (found == values.end()) return false;
  values.erase(found);
  written_ticks = now_ticks;
  return true;
}

std::shared_ptr<RegistryKey> RegistryView::load(const std::string& path) {
  const auto found = keys_.find(fold_case(path));
  if (found != keys_.end()) return found->second;
  if (hive_ == nullptr || !hive_->has_key(path)) return nullptr;
  auto key = std::make_shared<RegistryKey>();
  key->path = path;
  key->subkeys = hive_->subkeys(path);
  key->values = hive_->values(path);
  keys_.emplace(fold_case(path), key);
  return key;
}

std::shared_ptr<RegistryKey> RegistryView::root(std::string_view name) {
  const std::string path(name);
  if (auto key = load(path)) return key;
  auto key = std::make_shared<RegistryKey>();
  key->path = path;
  keys_[fold_case(path)] = key;
  return key;
}

std::shared_ptr<RegistryKey> RegistryView::open(const std::shared_ptr<RegistryKey>& key,
                                                std::string_view sub_path) {
  sub_path = trimmed(sub_path);
  return sub_path.empty() ? key : load(joined(key->path, sub_path));
}

std::shared_ptr<RegistryKey> RegistryView::create(const std::shared_ptr<RegistryKey>& key,
                                                  std::string_view sub_path,
                                                  std::string_view class_name,
                                                  std::uint64_t now_ticks) {
  sub_path = trimmed(sub_path);
  if (sub_path.find("\\\\") != std::string_view::npos) return nullptr;
  std::shared_ptr<RegistryKey> parent = key;
  while (!sub_path.empty()) {
    const std::size_t end = std::min(sub_path.find('\\'), sub_path.size());
    const std::string name(sub_path.substr(0, end));
    sub_path.remove_prefix(std::min(end + 1, sub_path.size()));
    std::shared_ptr<RegistryKey> child = load(joined(parent->path, name));
    if (child == nullptr) {
      child = std::make_shared<RegistryKey>();
      child->path = joined(parent->path, name);
      child->written_ticks = now_ticks;
      if (sub_path.empty()) child->class_name = class_name;
      keys_[fold_case(child->path)] = child;
      const auto place = std::upper_bound(parent->subkeys.begin(), parent->subkeys.end(), name,
                                          [](const std::string& left, const std::string& right) {
                                            return fold_case(left) < fold_case(right);
                                          });
      parent->subkeys.insert(place, name);
      parent->written_ticks = now_ticks;
    }
    parent = child;
  }
  return parent;
}

bool RegistryView::remove(const std::shared_ptr<RegistryKey>& key, std::uint64_t now_ticks) {
  const std::size_t slash = key->path.rfind('\\');
  if (slash == std::string::npos || !key->subkeys.empty()) return false;
  if (const auto parent = load(key->path.substr(0, slash))) {
    const std::string name = key->path.substr(slash + 1);
    std::erase_if(parent->subkeys,
                  [&](const std::string& subkey) { return equal_without_case(subkey, name); });
    parent->written_ticks = now_ticks;
  }
  key->deleted = true;
  keys_[fold_case(key->path)] = nullptr;
  return true;
}

}  // namespace platform
