#pragma once
// What kind of value an attribute holds. A directory tells this in its schema; the attributes that
// monitoring asks for are well known, so a table saves reading it.

#include <string_view>

namespace platform {

enum class AttributeSyntax {
  kText,     // also names, numbers of object classes, and all that the table does not know
  kInteger,  // 32 bits
  kBoolean,
  kTime,    // generalized or universal time
  kOctets,  // raw bytes
  kObject,  // 64-bit integers, security descriptors, names with octets: objects of their own
};

AttributeSyntax syntax_of(std::string_view attribute);

}  // namespace platform
