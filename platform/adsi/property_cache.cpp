#include "platform/adsi/property_cache.h"

#include <algorithm>
#include <utility>

#include "include/platform/adsi.h"
#include "platform/recorded/utf8.h"

namespace platform {

Attribute& PropertyCache::place_of(const std::string& name) {
  const Attribute* found = entry_.find(name);
  if (found == nullptr) return entry_.attributes.emplace_back(Attribute{name, {}});
  return entry_.attributes[static_cast<std::size_t>(found - entry_.attributes.data())];
}

void PropertyCache::merge(const Entry& entry) {
  entry_.dn = entry.dn;
  if (entry_.attributes.empty()) {
    entry_.attributes = entry.attributes;
    return;
  }
  for (const Attribute& attribute : entry.attributes) {
    if (staged_.count(fold_case(attribute.name)) != 0) continue;
    place_of(attribute.name).values = attribute.values;
  }
}

bool PropertyCache::stage(long control, const std::string& name, std::vector<std::string> values) {
  if (control < ADS_PROPERTY_CLEAR || control > ADS_PROPERTY_DELETE) return false;
  staged_.try_emplace(fold_case(name), name);
  if (control == ADS_PROPERTY_CLEAR) {
    std::erase_if(entry_.attributes, [&name](const Attribute& attribute) {
      return equal_without_case(attribute.name, name);
    });
    return true;
  }
  std::vector<std::string>& held = place_of(name).values;
  if (control == ADS_PROPERTY_UPDATE) {
    held = std::move(values);
  } else if (control == ADS_PROPERTY_APPEND) {
    held.insert(held.end(), values.begin(), values.end());
  } else {
    std::erase_if(held, [&values](const std::string& value) {
      return std::find(values.begin(), values.end(), value) != values.end();
    });
  }
  return true;
}

std::vector<Attribute> PropertyCache::staged() const {
  std::vector<Attribute> attributes;
  for (const auto& [key, name] : staged_) {
    const Attribute* held = find(name);
    attributes.push_back({name, held == nullptr ? std::vector<std::string>() : held->values});
  }
  return attributes;
}

}  // namespace platform
