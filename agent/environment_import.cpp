#include "agent/environment_import.h"

#include <array>
#include <string>
#include <string_view>

#include "agent/registry.h"
#include "include/platform/environment.h"
#include "include/trace.h"

namespace {

using agent::ImportObserver;
using agent::ImportStep;

constexpr const char* kRoot = "SOFTWARE\\Marlow";
constexpr int kMostLevels = 100;
constexpr DWORD kNameSize = 128;
constexpr DWORD kValueSize = 2048;
constexpr std::size_t kPathSize = 512;

// One "Environment" key on its way into the environment.
struct Level {
  const trace::Scope& trace;
  const ImportObserver& observer;
  std::string key;

  void tell(ImportStep::What what, const std::string& name = "", const std::string& value = "",
            std::int32_t error = 0) const {
    if (observer) observer({what, key, name, value, error});
  }
};

// The value with its variables filled in; false when the result is too long.
bool expand(const char* value, std::string& expanded) {
  std::array<char, kValueSize> buffer{};
  const DWORD needed = ExpandEnvironmentStringsA(value, buffer.data(), buffer.size());
  if (needed == 0 || needed > buffer.size()) return false;
  expanded = buffer.data();
  return true;
}

void set_variable(const Level& level, const char* name, const char* value, DWORD type) {
  std::string text(value);
  if (type == REG_EXPAND_SZ && !expand(value, text)) {
    level.trace.error()("The expanded value of %s is too long and is left out", name);
    level.tell(ImportStep::kTooLong, name, value);
    return;
  }
  const std::string assignment = std::string(name) + "=" + text;
  level.trace.detail()("Setting environment variable %s", assignment.c_str());
  const bool taken = SYS1_PutEnv(assignment.c_str()) == 0;
  level.tell(!taken         ? ImportStep::kRefused
             : text.empty() ? ImportStep::kRemoved
                            : ImportStep::kSet,
             name, text);
}

// The text values of the current key.
void import_values(const Level& level, CRegistry& registry) {
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
    if (code != 0) break;
    if (type == REG_SZ || type == REG_EXPAND_SZ) {
      set_variable(level, name.data(), reinterpret_cast<const char*>(value.data()), type);
    } else {
      level.tell(ImportStep::kOtherType, name.data());
    }
  }
  if (code == CRegistry::kTargetTooSmall) {
    level.trace.always()("rRegistry.EnumVals returned %d. dItemNameSize = %d ", code,
                         static_cast<int>(value_size));
    level.tell(ImportStep::kLevelCut);
  } else if (code == CRegistry::kCallFailed) {
    level.tell(ImportStep::kLevelUnreadable, "", "", registry.LastError());
  }
}

std::string path_of(CRegistry& registry) {
  std::array<char, kPathSize> path{};
  const RegistryText target{path.data(), static_cast<DWORD>(path.size())};
  registry.GetInfo(nullptr, nullptr, &target, nullptr, nullptr, nullptr);
  return path.data();
}

}  // namespace

std::int32_t agent::import_environment(const char* branch, const ImportObserver& observer) {
  DCW_TRACE("SetEnvFromReg");
  CRegistry registry;
  std::int32_t code = registry.Open(nullptr, nullptr, kRoot, false);
  if (code == 0) code = registry.Position(branch);
  if (code != 0) return trace.returns(code);
  std::string current = std::string(kRoot) + "\\" + branch;
  for (int levels_left = kMostLevels; current != kRoot && levels_left > 0; --levels_left) {
    const Level level{trace, observer, current + "\\Environment"};
    if (registry.Position("Environment") == 0) {
      import_values(level, registry);
      code = registry.Position("..");
      if (code != 0) return trace.returns(code);
    } else if (const LONG error = registry.LastError(); error != ERROR_FILE_NOT_FOUND) {
      level.tell(ImportStep::kLevelUnreadable, "", "", error);
    }
    code = registry.Position("..");
    if (code != 0) return trace.returns(code);
    current = path_of(registry);
  }
  return trace.returns(code);
}

std::int32_t SetEnvFromReg(const char* branch) { return agent::import_environment(branch, {}); }
