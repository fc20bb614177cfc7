#pragma once
// Whole files by their Windows path, for the few small files that the agent reads and writes.

#include <cstddef>
#include <optional>
#include <string>

namespace directory {

// The file's bytes, at most that many; nothing when it cannot be opened. What was read before a
// read that fails is the answer.
std::optional<std::string> read_file(const std::string& path, std::size_t limit);

}  // namespace directory
