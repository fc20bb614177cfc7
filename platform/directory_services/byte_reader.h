#pragma once
// Numbers at places of a block of bytes, lowest byte first. A place outside the block reads as 0;
// ask holds() first where that matters.

#include <algorithm>
#include <cstdint>
#include <string_view>

#include "platform/directory_services/services.h"

namespace platform {

class ByteReader {
 public:
  explicit ByteReader(std::string_view bytes) : bytes_(bytes) {}

  std::size_t size() const { return bytes_.size(); }
  bool holds(std::size_t at, std::size_t count) const {
    return at <= bytes_.size() && count <= bytes_.size() - at;
  }
  std::uint64_t number(std::size_t at, std::size_t count) const {
    if (!holds(at, count)) return 0;
    std::uint64_t number = 0;
    for (std::size_t i = count; i-- > 0;) {
      number = (number << 8) | static_cast<unsigned char>(bytes_[at + i]);
    }
    return number;
  }
  std::uint32_t number32(std::size_t at) const { return static_cast<std::uint32_t>(number(at, 4)); }
  GuidBytes guid(std::size_t at) const {
    GuidBytes guid{};
    if (holds(at, guid.size())) std::copy_n(bytes_.data() + at, guid.size(), guid.begin());
    return guid;
  }
  std::string_view bytes(std::size_t at, std::size_t count) const {
    return holds(at, count) ? bytes_.substr(at, count) : std::string_view();
  }

 private:
  std::string_view bytes_;
};

}  // namespace platform
