#pragma once
// One block of memory that holds a record and everything that it points to, so that one call frees
// it all. Sizes are added up first, then the block is made and filled.

#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <string>
#include <string_view>

#include "platform/kernel/accounting.h"

namespace platform {

class Block {
 public:
  // size: of the record and all its parts, each part with what part_size() says.
  Block(accounting::Counter& counter, std::size_t size);
  ~Block() { discard(); }
  Block(const Block&) = delete;
  Block& operator=(const Block&) = delete;

  static std::size_t part_size(std::size_t bytes) { return (bytes + 7) / 8 * 8; }
  template <typename Character>
  static std::size_t text_size(std::basic_string_view<Character> text) {
    return part_size((text.size() + 1) * sizeof(Character));
  }

  explicit operator bool() const { return head_ != nullptr; }
  // The next part, zeroed.
  void* part(std::size_t bytes);
  template <typename Character>
  Character* text(std::basic_string_view<Character> text) {
    auto* copy = static_cast<Character*>(part((text.size() + 1) * sizeof(Character)));
    std::memcpy(copy, text.data(), text.size() * sizeof(Character));
    return copy;
  }
  // The block is the caller's from now on; its address is that of the first part.
  void* release();

  // Gives a released block back; false, with nothing done, for anything else.
  static bool free(accounting::Counter& counter, void* block);

 private:
  struct Head {
    const accounting::Counter* mark;  // says that this is a block, and of which kind
    std::size_t size;
  };
  void discard();

  accounting::Counter& counter_;
  Head* head_ = nullptr;
  std::size_t used_ = 0;
};

}  // namespace platform
