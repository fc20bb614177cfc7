#pragma once
// The attributes that an object has fetched, and those that its user has staged to be written.
// Used by one thread at a time, as the object it belongs to.

#include <map>
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
  // What is to be written: the staged attributes with all the values they shall have; no values for
  // those to be taken away.
  std::vector<Attribute> staged() const;
  void forget_staged() { staged_.clear(); }

 private:
  Attribute& place_of(const std::string& name);

  Entry entry_;
  std::map<std::string, std::string> staged_;  // names in small letters to names as given
};

}  // namespace platform
