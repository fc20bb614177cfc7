#pragma once
// How much memory the process holds, for tests that run long.

#include <malloc.h>

#include <cstddef>

extern "C" std::size_t __sanitizer_get_current_allocated_bytes() __attribute__((weak));

namespace testing_support {

inline std::size_t bytes_in_use() {
  if (__sanitizer_get_current_allocated_bytes != nullptr) {
    return __sanitizer_get_current_allocated_bytes();
  }
  return mallinfo2().uordblks;
}

}  // namespace testing_support
