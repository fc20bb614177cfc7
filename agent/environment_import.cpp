#include "agent/environment_import.h"

#include <array>
#include <string>
#include <string_view>

#include "agent/registry.h"
#include "include/platform/environment.h"
#include "include/trace.h"

namespace {

constexpr const char* kRoot = "SOFTWARE\\Marlow";
constexpr int kMostLevels = 100;
constexpr DWORD kNameSize = 128;
constexpr DWORD kValueSize = 2048;
constexpr std::size_t kPathSize = 512;

// The value with its variables filled in; false when the result is too long.
bool expand(const char* value, std::string& expanded) {
  std::array<char, kValueSize> buffer{};
  const DWORD needed = ExpandEnvironmentStringsA(value, buffer.data(), buffer.size());
  if (needed == 0 || needed > buffer.size()) return false;
  expanded = buffer.data();
  return true;
}

void set_variable(const trace::Scope& trace, const char* name, const char* value, DWORD type) {
  std::string text(value);
  if (type == REG_EXPAND_SZ && !expand(value, text)) {
    trace.error()("The expanded value of %s is too long and is left out", name);
    return;
  }
  const std::string assignment = std::string(name) + "=" + text;
  trace.detail()("Setting environment variable %s", assignment.c_str());
  SYS1_PutEnv(assignment.c_str());
}

// The text values of the current key.
void import_values(const trace::Scope& trace, CRegistry& registry) {
  std::int32_t code = 0;
  DWORD value_size = kValueSize;
  while (code == 0) {
    // One character more than the registry is told of, so that a value stored without its zero end
    // has one here.
    std::array<char, kNameSize + 1> name{};
    std::array<BYTE, kValueSize + 1> value{};
    DWORD name_size = kNameSize;
    DWORD type = 0;
    value_size = kValueSize;
    code = registry.EnumVals(name.data(), &name_size, value.data(), &value_size, &type);
    if (code == 0 && (type == REG_SZ || type == REG_EXPAND_SZ)) {
      set_variable(trace, name.data(), reinterpret_cast<const char*>(value.data()), type);
    }
  }
  if (code == CRegistry::kTargetTooSmall) {
    trace.always()("rRegistry.EnumVals returned %d. dItemNameSize = %d ", code,
                   static_cast<int>(value_size));
  }
}

}  // namespace

std::int32_t SetEnvFromReg(const char* branch) {
  DCW_TRACE("SetEnvFromReg");
  CRegistry registry;
  std::int32_t code = registry.Open(nullptr, nullptr, kRoot, false);
  if (code == 0) code = registry.Position(branch);
  if (code != 0) return trace.returns(code);
  std::string current(branch);
  for (int levels_left = kMostLevels; current != kRoot && levels_left > 0; --levels_left) {
    if (registry.Position("Environment") == 0) {
      import_values(trace, registry);
      code = registry.Position("..");
      if (code != 0) return trace.returns(code);
    }
    code = registry.Position("..");
    if (code != 0) return trace.returns(code);
    std::array<char, kPathSize> path{};
    code = registry.GetInfo(path.data(), path.size());
    current = path.data();
  }
  return trace.returns(code);
}
