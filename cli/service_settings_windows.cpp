// The service's settings on Windows: the registry branch that the agent imports at its start, the
// configuration file of the framework, and the folders that the agent writes into. All of them lie
// beside the programs, where only administrators may write: the service has every right, so nobody
// else may tell it where to write.

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "cli/service_host.h"
#include "cli/service_manager_windows.h"
#include "include/platform/libraries.h"
#include "include/platform/registry.h"

namespace cli {
namespace {

namespace fs = std::filesystem;

constexpr const char* kBranch = "SOFTWARE\\Marlow\\DCW\\Ver610\\Primary";
constexpr const char* kEnvironment = "SOFTWARE\\Marlow\\DCW\\Ver610\\Primary\\Environment";
// Those above the branch, from the deepest on. Others may have put something there.
constexpr const char* kParents[] = {"SOFTWARE\\Marlow\\DCW\\Ver610", "SOFTWARE\\Marlow\\DCW",
                                    "SOFTWARE\\Marlow"};
// What the agent and install_service() write into the programs' folder.
constexpr const char* kWritten[] = {"dirwatch.toml", "logs", "WATCHD6_x64"};

class RegistryKey {
 public:
  RegistryKey() = default;
  ~RegistryKey() {
    if (key_ != nullptr) RegCloseKey(key_);
  }
  RegistryKey(const RegistryKey&) = delete;
  RegistryKey& operator=(const RegistryKey&) = delete;
  HKEY get() const { return key_; }
  HKEY* target() { return &key_; }

 private:
  HKEY key_ = nullptr;
};

// Empty on failure, which has been told.
fs::path program_folder() {
  char path[MAX_PATH];
  const DWORD length = GetModuleFileNameA(nullptr, path, MAX_PATH);
  if (length == 0 || length >= MAX_PATH) {
    refuse("the folder of this program cannot be told", GetLastError());
    return {};
  }
  return fs::path(path).parent_path();
}

bool write_missing_values(const fs::path& folder) {
  RegistryKey key;
  const LONG opened =
      RegCreateKeyExA(HKEY_LOCAL_MACHINE, kEnvironment, 0, nullptr, REG_OPTION_NON_VOLATILE,
                      KEY_QUERY_VALUE | KEY_SET_VALUE, nullptr, key.target(), nullptr);
  if (opened != ERROR_SUCCESS) {
    return refuse("the registry branch could not be made", static_cast<DWORD>(opened));
  }
  const std::pair<const char*, std::string> values[] = {
      {"DIRWATCH_CONFIG", (folder / "dirwatch.toml").string()},
      {"MARLOW_HOME", folder.string()},
      {"DWA_PING_COUNT", "1"},
      {"DWA_PING_SIZE", "32"},
      {"DWA_PING_TIMEOUT", "2000"},
  };
  for (const auto& [name, value] : values) {
    if (RegQueryValueExA(key.get(), name, nullptr, nullptr, nullptr, nullptr) == ERROR_SUCCESS) {
      std::printf("kept HKLM\\%s: %s\n", kEnvironment, name);
      continue;
    }
    const LONG written =
        RegSetValueExA(key.get(), name, 0, REG_SZ, reinterpret_cast<const BYTE*>(value.c_str()),
                       static_cast<DWORD>(value.size() + 1));
    if (written != ERROR_SUCCESS) return refuse(name, static_cast<DWORD>(written));
    std::printf("set HKLM\\%s: %s = %s\n", kEnvironment, name, value.c_str());
  }
  return true;
}

// As TOML writes a text: a path's backslashes are doubled.
std::string quoted(const fs::path& path) {
  std::string text = "\"";
  for (const char c : path.string()) text += c == '\\' ? std::string("\\\\") : std::string(1, c);
  return text + '"';
}

bool write_missing_configuration(const fs::path& folder) {
  const fs::path path = folder / "dirwatch.toml";
  std::error_code ignored;
  if (fs::exists(path, ignored)) {
    std::printf("kept %s\n", path.string().c_str());
    return true;
  }
  std::ofstream file(path);
  file << "# Settings of the service DirWatcher, read at each of its starts. docs\\dirwatch.toml "
          "tells\n"
          "# every setting; what is not said here has the default that is told there.\n\n"
          "[framework]\n# How often each table is sampled.\ninterval = \"60s\"\n\n"
          "[trace]\n# What the agent does and what fails.\npath = "
       << quoted(folder / "logs" / "trace.log")
       << "\n# All details: flags = 193\n\n"
          "[sink]\n# The rows: one object a line.\nformat = \"json\"\npath = "
       << quoted(folder / "logs" / "rows.json")
       << "\n# The file is moved aside when it has grown to this; so many of those stay.\n"
          "rotate = \"100MiB\"\nkeep = 5\n";
  file.close();
  if (!file) {
    std::fprintf(stderr, "dirwatch: %s could not be written\n", path.string().c_str());
    return false;
  }
  std::printf("made %s\n", path.string().c_str());
  return true;
}

bool make_folders(const fs::path& folder) {
  for (const fs::path& made : {folder / "logs", folder / "WATCHD6_x64" / "logs"}) {
    std::error_code failed;
    fs::create_directories(made, failed);
    if (failed) {
      std::fprintf(stderr, "dirwatch: %s could not be made: %s\n", made.string().c_str(),
                   failed.message().c_str());
      return false;
    }
  }
  return true;
}

bool remove_branch() {
  const LONG removed = RegDeleteTreeA(HKEY_LOCAL_MACHINE, kBranch);
  if (removed != ERROR_SUCCESS && removed != ERROR_FILE_NOT_FOUND) {
    return refuse("the registry branch could not be removed", static_cast<DWORD>(removed));
  }
  // RegDeleteTreeA leaves the key itself on some systems.
  RegDeleteKeyA(HKEY_LOCAL_MACHINE, kBranch);
  std::printf("removed HKLM\\%s\n", kBranch);
  for (const char* parent : kParents) {
    RegistryKey key;
    if (RegOpenKeyExA(HKEY_LOCAL_MACHINE, parent, 0, KEY_QUERY_VALUE, key.target()) !=
        ERROR_SUCCESS) {
      continue;
    }
    DWORD keys = 0;
    DWORD values = 0;
    if (RegQueryInfoKeyA(key.get(), nullptr, nullptr, nullptr, &keys, nullptr, nullptr, &values,
                         nullptr, nullptr, nullptr, nullptr) != ERROR_SUCCESS ||
        keys != 0 || values != 0) {
      std::printf("left HKLM\\%s: it holds more than this installation's settings\n", parent);
      return true;
    }
    RegDeleteKeyA(HKEY_LOCAL_MACHINE, parent);
  }
  return true;
}

bool remove_written(const fs::path& folder) {
  bool all = true;
  for (const char* name : kWritten) {
    std::error_code failed;
    if (fs::remove_all(folder / name, failed) > 0 && !failed) {
      std::printf("removed %s\n", (folder / name).string().c_str());
    } else if (failed) {
      std::fprintf(stderr, "dirwatch: %s could not be removed: %s\n",
                   (folder / name).string().c_str(), failed.message().c_str());
      all = false;
    }
  }
  return all;
}

}  // namespace

bool install_service() {
  const fs::path folder = program_folder();
  if (folder.empty()) return false;
  const fs::path program = folder / "DirWatcher.exe";
  std::error_code ignored;
  if (!fs::exists(program, ignored)) {
    std::fprintf(stderr,
                 "dirwatch: %s is not there: the programs and libraries of the package belong into "
                 "one folder\n",
                 program.string().c_str());
    return false;
  }
  // The service comes last: where the rest fails, none is left that could not run.
  if (!may_register_services() || !make_folders(folder) || !write_missing_configuration(folder) ||
      !write_missing_values(folder) || !register_service(program.string())) {
    return false;
  }
  std::printf("next: dirwatch service start\n");
  return true;
}

bool uninstall_service(bool purge) {
  if (!remove_service()) return false;
  if (!purge) {
    std::printf("the settings and the agent's files stay; --purge removes them, too\n");
    return true;
  }
  const fs::path folder = program_folder();
  const bool branch = remove_branch();
  return !folder.empty() && remove_written(folder) && branch;
}

}  // namespace cli
