#include "platform/kernel/libraries.h"

#include <strings.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cstring>
#include <string>
#include <string_view>

#include "platform/kernel/accounting.h"
#include "platform/kernel/fault_point.h"

namespace {

using platform::kernel::SystemLibrary;

constexpr std::string_view kSystemDirectory = "C:\\Windows\\system32";

platform::accounting::Counter loaded{"library"};

struct Module {
  const SystemLibrary* library;
  std::atomic<int> references{0};
};

std::array<Module, 1>& modules() {
  static std::array<Module, 1> all{{{&platform::kernel::sockets_library()}}};
  return all;
}

Module* find_module(HMODULE handle) {
  for (Module& module : modules()) {
    if (&module == handle && module.references > 0) return &module;
  }
  return nullptr;
}

// "C:\folder\name.dll" to "name".
std::string base_name(const char* path) {
  std::string name = path;
  name.erase(0, name.find_last_of("\\/:") + 1);
  if (name.size() > 4 && strcasecmp(name.c_str() + name.size() - 4, ".dll") == 0) {
    name.resize(name.size() - 4);
  }
  return name;
}

}  // namespace

UINT GetSystemDirectoryA(char* path, UINT size) {
  if (const auto fault = platform::fault_point("GetSystemDirectoryA")) {
    SetLastError(fault->win32());
    return 0;
  }
  if (path == nullptr || size <= kSystemDirectory.size()) {
    return static_cast<UINT>(kSystemDirectory.size() + 1);
  }
  std::memcpy(path, kSystemDirectory.data(), kSystemDirectory.size());
  path[kSystemDirectory.size()] = '\0';
  return static_cast<UINT>(kSystemDirectory.size());
}

HMODULE LoadLibraryA(const char* path) {
  if (const auto fault = platform::fault_point("LoadLibraryA")) {
    SetLastError(fault->win32());
    return nullptr;
  }
  if (path == nullptr) {
    SetLastError(ERROR_INVALID_PARAMETER);
    return nullptr;
  }
  const std::string name = base_name(path);
  for (Module& module : modules()) {
    if (strcasecmp(module.library->name, name.c_str()) != 0) continue;
    ++module.references;
    loaded.add();
    return &module;
  }
  SetLastError(ERROR_MOD_NOT_FOUND);
  return nullptr;
}

BOOL FreeLibrary(HMODULE library) {
  if (const auto fault = platform::fault_point("FreeLibrary")) {
    SetLastError(fault->win32());
    return FALSE;
  }
  Module* module = find_module(library);
  if (module == nullptr) {
    SetLastError(ERROR_INVALID_HANDLE);
    return FALSE;
  }
  --module->references;
  loaded.remove();
  return TRUE;
}

FARPROC GetProcAddress(HMODULE library, const char* name) {
  if (const auto fault = platform::fault_point("GetProcAddress")) {
    SetLastError(fault->win32());
    return nullptr;
  }
  const Module* module = find_module(library);
  if (module == nullptr || name == nullptr) {
    SetLastError(module == nullptr ? ERROR_MOD_NOT_FOUND : ERROR_INVALID_PARAMETER);
    return nullptr;
  }
  const auto& exports = module->library->exports;
  const auto found = std::find_if(exports.begin(), exports.end(), [&](const auto& one) {
    return std::strcmp(one.name, name) == 0;
  });
  if (found != exports.end()) return found->function;
  SetLastError(ERROR_PROC_NOT_FOUND);
  return nullptr;
}
