#include "collectors/object_count_text.h"

#include "include/decimal.h"

namespace collectors {

std::int32_t object_count(std::string_view file) {
  const std::string_view text = file.substr(0, kObjectCountSize);
  return decimal_number(text.substr(0, text.find('\0')));
}

}  // namespace collectors
