// Whatever the bytes: a registry file is read or refused with its line, and every key that was read
// can be walked to.

#include <cstdint>
#include <cstdlib>
#include <string>

#include "platform/registry/recorded_registry.h"

namespace {

void walk(platform::RegistryHive& hive, const std::string& path, int depth) {
  if (!hive.has_key(path)) std::abort();
  if (depth == 0) return;
  hive.values(path);
  for (const std::string& name : hive.subkeys(path)) walk(hive, path + "\\" + name, depth - 1);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
  const std::string text(reinterpret_cast<const char*>(bytes), size);
  try {
    const auto hive = platform::read_registry(text, "r");
    if (hive->has_key("HKEY_LOCAL_MACHINE")) walk(*hive, "HKEY_LOCAL_MACHINE", 8);
  } catch (const platform::ControllerError& error) {
    if (std::string(error.what()).rfind("r:", 0) != 0) std::abort();
  }
  return 0;
}
