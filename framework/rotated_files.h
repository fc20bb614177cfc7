#pragma once
// Files that are moved aside when they have grown: NAME becomes NAME.1, NAME.1 becomes NAME.2, and
// so on, as far as files are kept.

#include <cstdint>
#include <filesystem>
#include <string>
#include <system_error>

namespace framework {

// Moves the file aside; without files to keep it is removed. The file must not be open. False, with
// the reason, when it stays where it is.
inline bool move_aside(const std::string& path, std::uint32_t keep_files, std::string& error) {
  const auto numbered = [&path](std::uint32_t number) {
    return path + "." + std::to_string(number);
  };
  std::error_code failed;
  if (keep_files == 0) {
    std::filesystem::remove(path, failed);
  } else {
    std::error_code ignored;  // there may be fewer files than are kept
    std::filesystem::remove(numbered(keep_files), ignored);
    for (std::uint32_t number = keep_files; number > 1; --number) {
      std::filesystem::rename(numbered(number - 1), numbered(number), ignored);
    }
    std::filesystem::rename(path, numbered(1), failed);
  }
  if (failed) error = path + ": not rotated: " + failed.message();
  return !failed;
}

}  // namespace framework
