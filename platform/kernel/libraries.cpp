#include "platform/kernel/libraries.h"

#include <dlfcn.h>
#include <strings.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

#include "platform/kernel/accounting.h"
#include "platform/kernel/fault_point.h"

namespace {

using platform::kernel::SystemLibrary;

constexpr std::string_view kSystemDirectory = "C:\\Windows\\system32";

// The one library that is nothing but texts.
constexpr const char* kMessageLibrary = "netmsg";

platform::accounting::Counter loaded{"library"};

// One of the system's, one of the program's own, or, with neither, texts only.
struct Module {
  std::string name;
  const SystemLibrary* system = nullptr;
  void* native = nullptr;
  bool as_data = false;
  int references = 1;
};

std::mutex lock;
// Those that have not been freed as often as they were loaded; guarded by lock. Never destroyed:
// threads may outlive main.
auto& modules = *new std::vector<std::unique_ptr<Module>>;

auto find_module(const void* handle) {
  return std::find_if(modules.begin(), modules.end(),
                      [handle](const auto& module) { return module.get() == handle; });
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

void* open_native(const std::string& name) {
  for (const std::string& folder : platform::kernel::program_folders("libraries")) {
    const std::string path = folder + "/" + name + ".so";
    if (access(path.c_str(), R_OK) != 0) continue;
    return dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
  }
  return nullptr;
}

HMODULE load(const char* path, bool as_data) {
  if (path == nullptr) {
    SetLastError(ERROR_INVALID_PARAMETER);
    return nullptr;
  }
  auto module = std::make_unique<Module>();
  module->name = base_name(path);
  module->as_data = as_data;
  const std::lock_guard guard(lock);
  for (const auto& known : modules) {
    if (known->as_data != as_data || strcasecmp(known->name.c_str(), module->name.c_str()) != 0) {
      continue;
    }
    ++known->references;
    loaded.add();
    return known.get();
  }
  const SystemLibrary& sockets = platform::kernel::sockets_library();
  if (strcasecmp(sockets.name, module->name.c_str()) == 0) module->system = &sockets;
  const bool is_texts = as_data && strcasecmp(kMessageLibrary, module->name.c_str()) == 0;
  if (module->system == nullptr && !is_texts) module->native = open_native(module->name);
  if (module->system == nullptr && module->native == nullptr && !is_texts) {
    SetLastError(ERROR_MOD_NOT_FOUND);
    return nullptr;
  }
  loaded.add();
  modules.push_back(std::move(module));
  return modules.back().get();
}

}  // namespace

namespace platform::kernel {

bool is_library(const void* handle, const char* name) {
  const std::lock_guard guard(lock);
  const auto module = find_module(handle);
  return module != modules.end() && strcasecmp((*module)->name.c_str(), name) == 0;
}

std::vector<std::string> program_folders(const char* kind) {
  char program[4096];
  const auto length = readlink("/proc/self/exe", program, sizeof program);
  if (length <= 0) return {};
  std::string folder(program, static_cast<std::size_t>(length));
  folder.resize(folder.find_last_of('/'));
  return {folder + "/" + kind, folder + "/../" + kind};
}

}  // namespace platform::kernel

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
  return load(path, false);
}

HMODULE LoadLibraryExA(const char* path, HANDLE, DWORD flags) {
  if (const auto fault = platform::fault_point("LoadLibraryExA", ERROR_MOD_NOT_FOUND)) {
    SetLastError(fault->win32());
    return nullptr;
  }
  return load(path, (flags & LOAD_LIBRARY_AS_DATAFILE) != 0);
}

BOOL FreeLibrary(HMODULE library) {
  // A library that cannot be given back is lost: the caller has no second try.
  const auto fault = platform::fault_point("FreeLibrary");
  const std::lock_guard guard(lock);
  const auto module = find_module(library);
  if (fault || module == modules.end()) {
    SetLastError(fault ? fault->win32() : ERROR_INVALID_HANDLE);
    return FALSE;
  }
  loaded.remove();
  if (--(*module)->references > 0) return TRUE;
  if ((*module)->native != nullptr) dlclose((*module)->native);
  modules.erase(module);
  return TRUE;
}

FARPROC GetProcAddress(HMODULE library, const char* name) {
  if (const auto fault = platform::fault_point("GetProcAddress")) {
    SetLastError(fault->win32());
    return nullptr;
  }
  const std::lock_guard guard(lock);
  const auto module = find_module(library);
  if (module == modules.end() || name == nullptr) {
    SetLastError(module == modules.end() ? ERROR_MOD_NOT_FOUND : ERROR_INVALID_PARAMETER);
    return nullptr;
  }
  if ((*module)->native != nullptr) {
    if (void* found = dlsym((*module)->native, name)) return reinterpret_cast<FARPROC>(found);
  }
  if ((*module)->system != nullptr) {
    for (const auto& one : (*module)->system->exports) {
      if (std::strcmp(one.name, name) == 0) return one.function;
    }
  }
  SetLastError(ERROR_PROC_NOT_FOUND);
  return nullptr;
}
