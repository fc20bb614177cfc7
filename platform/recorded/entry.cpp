#include "platform/controller.h"
#include "platform/recorded/utf8.h"

namespace platform {

const Attribute* Entry::find(std::string_view name) const {
  for (const Attribute& attribute : attributes) {
    if (attribute.name.size() == name.size() && equal_without_case(attribute.name, name)) {
      return &attribute;
    }
  }
  return nullptr;
}

}  // namespace platform
