#pragma once
// The attributes that an object has fetched, and those that its user has staged to be written.
// Used by one thread at a time, as the object it belongs to.

#include <set>
#include <string>
#include <vector>

#include "include/platform/base.h"
#include "platform/controller.h"

namespace platform {

class PropertyCache {
 public:
  const Attribute* find(std::string_view name) const { return entry_.find(name); }

  // Takes over what a read gave; staged values stay as they are.
  void merge(const Entry& entry);

  // control: ADS_PROPERTY_CLEAR, _UPDATE, _APPEND or _DELETE; false for any other.
  bool stage(long control, const std::string& name, std::vector<std::string> values);
  bool has_staged() const { return !staged_.empty(); }

 private:
  Attribute& place_of(const std::string& name);

  Entry entry_;
  std::set<std::string> staged_;  // names in small letters
};

}  // namespace platform
