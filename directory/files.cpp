#include "directory/files.h"

#include <algorithm>

#include "include/platform/files.h"
#include "include/unique_handle.h"

namespace directory {

std::optional<std::string> read_file(const std::string& path, std::size_t limit) {
  const HANDLE opened = CreateFileA(path.c_str(), GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE,
                                    nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
  if (opened == INVALID_HANDLE_VALUE) return std::nullopt;
  const UniqueHandle file{opened};
  std::string bytes;
  char block[1024];
  while (bytes.size() < limit) {
    const auto wanted = static_cast<DWORD>(std::min(sizeof block, limit - bytes.size()));
    DWORD count = 0;
    if (!ReadFile(file.get(), block, wanted, &count, nullptr) || count == 0) break;
    bytes.append(block, count);
  }
  return bytes;
}

}  // namespace directory
