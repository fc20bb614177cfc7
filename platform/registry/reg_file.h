#pragma once
// The text form of registry keys, taken apart line by line.

#include <string>
#include <vector>

#include "platform/controller.h"

namespace platform {

struct RegFileKey {
  std::string path;  // from the root's long name on
  std::vector<RegistryValue> values;
};

// The keys in the file's order; a key, and a value in it, may come more than once. Throws
// ControllerError.
std::vector<RegFileKey> parse_reg_file(const std::string& bytes, const std::string& file_name);

}  // namespace platform
