#pragma once
// Search filters (RFC 4515), read once and then asked of many entries.

#include <memory>
#include <string_view>

#include "platform/controller.h"

namespace platform {

class Filter {
 public:
  virtual ~Filter() = default;
  virtual bool matches(const Entry& entry) const = 0;
};

// Null when the text is no filter, or asks for a matching rule that is not known. The bitwise rules
// 1.2.840.113556.1.4.803 (all bits) and .804 (any bit) are known.
std::unique_ptr<Filter> parse_filter(std::string_view text);

}  // namespace platform
