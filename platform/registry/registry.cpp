// The registry's calls over the controller's registry, with what the process writes laid over it.

#include "platform/registry.h"

#include <cctype>
#include <cstring>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "platform/control.h"
#include "platform/counters/counter_names.h"
#include "platform/kernel/accounting.h"
#include "platform/kernel/fault_point.h"
#include "platform/kernel/local_machine.h"
#include "platform/recorded/utf8.h"
#include "platform/registry/registry_view.h"
#include "platform/registry/watches.h"
#include "platform/threads.h"

namespace {

using platform::fault_point;
using platform::RegistryKey;
using platform::RegistryValue;
using platform::RegistryView;

constexpr DWORD kMaximumAllowed = 0x02000000;
constexpr DWORD kGenericRead = 0x80000000, kGenericWrite = 0x40000000, kGenericAll = 0x10000000;

platform::accounting::Counter live_keys{"registry key"};

struct OpenKey {
  std::shared_ptr<RegistryKey> key;  // null for the performance data
  REGSAM access = KEY_ALL_ACCESS;
};

constexpr const char* kRootNames[] = {"HKEY_CLASSES_ROOT",     "HKEY_CURRENT_USER",
                                      "HKEY_LOCAL_MACHINE",    "HKEY_USERS",
                                      "HKEY_PERFORMANCE_DATA", "HKEY_CURRENT_CONFIG"};

// The name of a predefined key, or null.
const char* root_name(HKEY key) {
  const auto number = static_cast<std::uint32_t>(reinterpret_cast<ULONG_PTR>(key));
  const bool is_root = key == reinterpret_cast<HKEY>(static_cast<ULONG_PTR>(
                                  static_cast<LONG_PTR>(static_cast<LONG>(number)))) &&
                       number >= 0x80000000u && number <= 0x80000005u;
  return is_root ? kRootNames[number - 0x80000000u] : nullptr;
}

// The open keys, and the registry as this process sees it. One lock for both: a call of the
// registry is short. Never destroyed: threads may still call while the process ends.
struct State {
  std::mutex mutex;
  // guarded by mutex
  std::uintptr_t next = 0x400;
  std::unordered_map<std::uintptr_t, OpenKey> open;
  std::shared_ptr<platform::Controller> controller;
  std::unique_ptr<RegistryView> view;
  platform::RegistryWatches watches;
};

// The state under its lock, with the view of the controller that answers now: what was written over
// another one's registry went with it.
class Locked {
 public:
  explicit Locked(std::shared_ptr<platform::Controller> controller) : lock_(state().mutex) {
    if (state().view == nullptr || state().controller != controller) {
      state().controller = std::move(controller);
      platform::RegistryHive* hive =
          state().controller == nullptr ? nullptr : state().controller->registry();
      state().view = std::make_unique<RegistryView>(hive);
      state().watches.clear();
    }
  }
  Locked() : Locked(platform::controller()) {}

  RegistryView& view() const { return *state().view; }
  platform::Controller* controller() const { return state().controller.get(); }
  platform::RegistryWatches& watches() const { return state().watches; }

  // 0 and the key that a handle stands for; 6 for no handle, 5 without the rights, 1018 when the
  // key is gone.
  LONG resolve(HKEY handle, REGSAM rights, OpenKey& key) const {
    if (const char* name = root_name(handle)) {
      key.access = KEY_ALL_ACCESS;
      key.key = handle == HKEY_PERFORMANCE_DATA ? nullptr : view().root(name);
      return ERROR_SUCCESS;
    }
    const auto found = state().open.find(reinterpret_cast<std::uintptr_t>(handle));
    if (found == state().open.end()) return ERROR_INVALID_HANDLE;
    key = found->second;
    if (key.key != nullptr && key.key->deleted) return ERROR_KEY_DELETED;
    return (key.access & rights) == rights ? ERROR_SUCCESS : ERROR_ACCESS_DENIED;
  }

  HKEY open(OpenKey key) const {
    const std::uintptr_t handle = state().next++ * 4;
    state().open.emplace(handle, std::move(key));
    live_keys.add();
    return reinterpret_cast<HKEY>(handle);
  }
  bool close(HKEY handle) const {
    if (state().open.erase(reinterpret_cast<std::uintptr_t>(handle)) == 0) return false;
    live_keys.remove();
    state().watches.closed(reinterpret_cast<std::uintptr_t>(handle));
    return true;
  }

 private:
  static State& state() {
    static State& instance = *new State;
    return instance;
  }
  std::lock_guard<std::mutex> lock_;
};

// The single rights behind the ones that stand for several.
REGSAM granted(REGSAM asked) {
  if ((asked & (kMaximumAllowed | kGenericAll)) != 0) return KEY_ALL_ACCESS;
  if ((asked & kGenericRead) != 0) asked |= KEY_READ;
  if ((asked & kGenericWrite) != 0) asked |= KEY_WRITE;
  return asked;
}

std::string_view text(const char* name) { return name == nullptr ? "" : name; }

// 234 when it does not fit, and the size is then left as it was.
bool put_name(const std::string& name, char* buffer, DWORD& size) {
  if (size < name.size() + 1) return false;
  std::memcpy(buffer, name.c_str(), name.size() + 1);
  size = static_cast<DWORD>(name.size());
  return true;
}

LONG put_data(const std::string& data, BYTE* buffer, DWORD* size) {
  if (size == nullptr) return ERROR_SUCCESS;
  const bool fits = buffer == nullptr || *size >= data.size();
  if (buffer != nullptr && fits) std::memcpy(buffer, data.data(), data.size());
  *size = static_cast<DWORD>(data.size());
  return fits ? ERROR_SUCCESS : ERROR_MORE_DATA;
}

void put_time(const RegistryKey* key, FILETIME* time) {
  if (time == nullptr) return;
  // A recording does not tell when a key was written; what the process wrote, it knows.
  const std::uint64_t ticks = key == nullptr ? 0 : key->written_ticks;
  time->dwLowDateTime = static_cast<DWORD>(ticks);
  time->dwHighDateTime = static_cast<DWORD>(ticks >> 32);
}

std::uint64_t now_ticks() {
  constexpr std::uint64_t kTicksTo1970 = 116444736000000000u;
  return kTicksTo1970 + static_cast<std::uint64_t>(platform::clock_now_ms()) * 10000u;
}

bool is_counter_table(std::string_view name, std::uint32_t& language) {
  constexpr std::string_view kPrefix = "counter ";
  const std::string folded = platform::fold_case(name);
  if (!folded.starts_with(kPrefix) || folded.size() != kPrefix.size() + 3) return false;
  language = 0;
  for (const char digit : folded.substr(kPrefix.size())) {
    if (std::isxdigit(static_cast<unsigned char>(digit)) == 0) return false;
    language =
        language * 16 + static_cast<std::uint32_t>(digit <= '9' ? digit - '0' : digit - 'a' + 10);
  }
  return true;
}

// The performance data holds the tables of counter names, and no counters: those are PDH's.
LONG query_performance_data(platform::Controller* controller, std::string_view name, DWORD* type,
                            BYTE* data, DWORD* size) {
  std::uint32_t language = 0;
  if (controller == nullptr || !is_counter_table(name, language)) return ERROR_FILE_NOT_FOUND;
  const std::string table = platform::counter_name_table(*controller, language);
  if (table.empty()) return ERROR_FILE_NOT_FOUND;
  if (type != nullptr) *type = REG_MULTI_SZ;
  return put_data(table, data, size);
}

}  // namespace

LONG RegOpenKeyExA(HKEY parent, const char* sub_key, DWORD, REGSAM access, HKEY* result) {
  if (const auto fault = fault_point("RegOpenKeyExA", ERROR_FILE_NOT_FOUND))
    return fault->hresult();
  if (result == nullptr) return ERROR_INVALID_PARAMETER;
  const Locked state;
  OpenKey key;
  if (const LONG error = state.resolve(parent, 0, key)) return error;
  if (text(sub_key).empty() && root_name(parent) != nullptr) {
    *result = parent;
    return ERROR_SUCCESS;
  }
  if (key.key == nullptr) return ERROR_FILE_NOT_FOUND;
  std::shared_ptr<RegistryKey> found = state.view().open(key.key, text(sub_key));
  if (found == nullptr) return ERROR_FILE_NOT_FOUND;
  *result = state.open({std::move(found), granted(access)});
  return ERROR_SUCCESS;
}

namespace {

// The path of the last key on the way to a new one that is there already: its list of sub-keys is
// the one that grows.
std::string deepest_existing(RegistryView& view, const std::shared_ptr<RegistryKey>& from,
                             std::string_view sub_path) {
  while (true) {
    const std::size_t slash = sub_path.rfind('\\');
    sub_path = sub_path.substr(0, slash == std::string_view::npos ? 0 : slash);
    if (const auto found = view.open(from, sub_path)) return found->path;
  }
}

}  // namespace

LONG RegCreateKeyExA(HKEY parent, const char* sub_key, DWORD reserved, char* class_name, DWORD,
                     REGSAM access, SECURITY_ATTRIBUTES*, HKEY* result, DWORD* disposition) {
  if (const auto fault = fault_point("RegCreateKeyExA", ERROR_ACCESS_DENIED)) {
    return fault->hresult();
  }
  if (sub_key == nullptr || reserved != 0 || result == nullptr) return ERROR_INVALID_PARAMETER;
  const Locked state;
  OpenKey key;
  if (const LONG error = state.resolve(parent, 0, key)) return error;
  if (key.key == nullptr) return ERROR_ACCESS_DENIED;
  bool created = false;
  std::shared_ptr<RegistryKey> found = state.view().open(key.key, sub_key);
  if (found == nullptr) {
    if ((key.access & KEY_CREATE_SUB_KEY) == 0) return ERROR_ACCESS_DENIED;
    const std::string grows = deepest_existing(state.view(), key.key, sub_key);
    found = state.view().create(key.key, sub_key, text(class_name), now_ticks());
    if (found == nullptr) return ERROR_INVALID_PARAMETER;
    created = true;
    state.watches().changed(grows, REG_NOTIFY_CHANGE_NAME);
  }
  *result = state.open({std::move(found), granted(access)});
  if (disposition != nullptr) {
    *disposition = created ? REG_CREATED_NEW_KEY : REG_OPENED_EXISTING_KEY;
  }
  return ERROR_SUCCESS;
}

LONG RegCloseKey(HKEY key) {
  if (const auto fault = fault_point("RegCloseKey", ERROR_INVALID_HANDLE)) return fault->hresult();
  if (root_name(key) != nullptr) return ERROR_SUCCESS;
  const Locked state;
  return state.close(key) ? ERROR_SUCCESS : ERROR_INVALID_HANDLE;
}

LONG RegConnectRegistryA(const char* machine, HKEY root, HKEY* result) {
  if (const auto fault = fault_point("RegConnectRegistryA", ERROR_BAD_NETPATH)) {
    return fault->hresult();
  }
  if (result == nullptr) return ERROR_INVALID_PARAMETER;
  const Locked state;
  if (!platform::is_local_machine(state.controller(), text(machine))) return ERROR_BAD_NETPATH;
  if (root != HKEY_LOCAL_MACHINE && root != HKEY_USERS && root != HKEY_PERFORMANCE_DATA) {
    return ERROR_INVALID_HANDLE;
  }
  OpenKey key;
  if (const LONG error = state.resolve(root, 0, key)) return error;
  *result = state.open(std::move(key));
  return ERROR_SUCCESS;
}

LONG RegEnumValueA(HKEY handle, DWORD index, char* name, DWORD* name_size, DWORD* reserved,
                   DWORD* type, BYTE* data, DWORD* data_size) {
  if (const auto fault = fault_point("RegEnumValueA", ERROR_ACCESS_DENIED)) return fault->hresult();
  if (name == nullptr || name_size == nullptr || reserved != nullptr ||
      (data != nullptr && data_size == nullptr)) {
    return ERROR_INVALID_PARAMETER;
  }
  const Locked state;
  OpenKey key;
  if (const LONG error = state.resolve(handle, KEY_QUERY_VALUE, key)) return error;
  if (key.key == nullptr || index >= key.key->values.size()) return ERROR_NO_MORE_ITEMS;
  const RegistryValue& value = key.key->values[index];
  const bool name_fits = put_name(value.name, name, *name_size);
  if (type != nullptr) *type = value.type;
  const LONG error = put_data(value.data, data, data_size);
  return name_fits ? error : ERROR_MORE_DATA;
}

LONG RegEnumKeyExA(HKEY handle, DWORD index, char* name, DWORD* name_size, DWORD* reserved,
                   char* class_name, DWORD* class_size, FILETIME* last_write) {
  if (const auto fault = fault_point("RegEnumKeyExA", ERROR_ACCESS_DENIED)) return fault->hresult();
  if (name == nullptr || name_size == nullptr || reserved != nullptr ||
      (class_name != nullptr && class_size == nullptr)) {
    return ERROR_INVALID_PARAMETER;
  }
  const Locked state;
  OpenKey key;
  if (const LONG error = state.resolve(handle, KEY_ENUMERATE_SUB_KEYS, key)) return error;
  if (key.key == nullptr || index >= key.key->subkeys.size()) return ERROR_NO_MORE_ITEMS;
  const std::string& sub_key = key.key->subkeys[index];
  const std::shared_ptr<RegistryKey> found = state.view().open(key.key, sub_key);
  put_time(found.get(), last_write);
  bool fits = put_name(sub_key, name, *name_size);
  const std::string class_text = found == nullptr ? std::string() : found->class_name;
  if (class_name != nullptr) fits = put_name(class_text, class_name, *class_size) && fits;
  return fits ? ERROR_SUCCESS : ERROR_MORE_DATA;
}

LONG RegQueryValueExA(HKEY handle, const char* name, DWORD* reserved, DWORD* type, BYTE* data,
                      DWORD* data_size) {
  if (const auto fault = fault_point("RegQueryValueExA", ERROR_FILE_NOT_FOUND)) {
    return fault->hresult();
  }
  if (reserved != nullptr || (data != nullptr && data_size == nullptr)) {
    return ERROR_INVALID_PARAMETER;
  }
  const Locked state;
  OpenKey key;
  if (const LONG error = state.resolve(handle, KEY_QUERY_VALUE, key)) return error;
  if (key.key == nullptr) {
    return query_performance_data(state.controller(), text(name), type, data, data_size);
  }
  const RegistryValue* value = key.key->find_value(text(name));
  if (value == nullptr) return ERROR_FILE_NOT_FOUND;
  if (type != nullptr) *type = value->type;
  return put_data(value->data, data, data_size);
}

LONG RegQueryInfoKeyA(HKEY handle, char* class_name, DWORD* class_size, DWORD* reserved,
                      DWORD* sub_keys, DWORD* longest_sub_key, DWORD* longest_class, DWORD* values,
                      DWORD* longest_value_name, DWORD* longest_data, DWORD* security_size,
                      FILETIME* last_write) {
  if (const auto fault = fault_point("RegQueryInfoKeyA", ERROR_ACCESS_DENIED)) {
    return fault->hresult();
  }
  if (reserved != nullptr || (class_name != nullptr && class_size == nullptr)) {
    return ERROR_INVALID_PARAMETER;
  }
  const Locked state;
  OpenKey key;
  if (const LONG error = state.resolve(handle, KEY_QUERY_VALUE, key)) return error;
  const RegistryKey nothing;
  const RegistryKey& of = key.key == nullptr ? nothing : *key.key;
  const auto set = [](DWORD* target, std::size_t value) {
    if (target != nullptr) *target = static_cast<DWORD>(value);
  };
  std::size_t longest[4] = {};  // sub-key, class, value name, data
  for (const std::string& name : of.subkeys) {
    longest[0] = std::max(longest[0], name.size());
    if (longest_class == nullptr) continue;
    const auto sub_key = state.view().open(key.key, name);
    if (sub_key != nullptr) longest[1] = std::max(longest[1], sub_key->class_name.size());
  }
  for (const RegistryValue& value : of.values) {
    longest[2] = std::max(longest[2], value.name.size());
    longest[3] = std::max(longest[3], value.data.size());
  }
  set(sub_keys, of.subkeys.size());
  set(longest_sub_key, longest[0]);
  set(longest_class, longest[1]);
  set(values, of.values.size());
  set(longest_value_name, longest[2]);
  set(longest_data, longest[3]);
  set(security_size, 0);
  put_time(&of, last_write);
  if (class_name != nullptr && !put_name(of.class_name, class_name, *class_size)) {
    return ERROR_MORE_DATA;
  }
  return ERROR_SUCCESS;
}

LONG RegSetValueExA(HKEY handle, const char* name, DWORD reserved, DWORD type, const BYTE* data,
                    DWORD data_size) {
  if (const auto fault = fault_point("RegSetValueExA", ERROR_ACCESS_DENIED)) {
    return fault->hresult();
  }
  if (reserved != 0 || (data == nullptr && data_size != 0)) return ERROR_INVALID_PARAMETER;
  const Locked state;
  OpenKey key;
  if (const LONG error = state.resolve(handle, KEY_SET_VALUE, key)) return error;
  if (key.key == nullptr) return ERROR_ACCESS_DENIED;
  const auto* bytes = reinterpret_cast<const char*>(data);
  key.key->set_value({std::string(text(name)), type,
                      data_size == 0 ? std::string() : std::string(bytes, data_size)},
                     now_ticks());
  state.watches().changed(key.key->path, REG_NOTIFY_CHANGE_LAST_SET);
  return ERROR_SUCCESS;
}

LONG RegDeleteValueA(HKEY handle, const char* name) {
  if (const auto fault = fault_point("RegDeleteValueA", ERROR_FILE_NOT_FOUND)) {
    return fault->hresult();
  }
  const Locked state;
  OpenKey key;
  if (const LONG error = state.resolve(handle, KEY_SET_VALUE, key)) return error;
  if (key.key == nullptr) return ERROR_ACCESS_DENIED;
  if (!key.key->delete_value(text(name), now_ticks())) return ERROR_FILE_NOT_FOUND;
  state.watches().changed(key.key->path, REG_NOTIFY_CHANGE_LAST_SET);
  return ERROR_SUCCESS;
}

LONG RegDeleteKeyA(HKEY handle, const char* sub_key) {
  if (const auto fault = fault_point("RegDeleteKeyA", ERROR_ACCESS_DENIED)) return fault->hresult();
  if (sub_key == nullptr) return ERROR_INVALID_PARAMETER;
  const Locked state;
  OpenKey key;
  if (const LONG error = state.resolve(handle, 0, key)) return error;
  if (key.key == nullptr) return ERROR_ACCESS_DENIED;
  const std::shared_ptr<RegistryKey> found = state.view().open(key.key, sub_key);
  if (found == nullptr) return ERROR_FILE_NOT_FOUND;
  if (!state.view().remove(found, now_ticks())) return ERROR_ACCESS_DENIED;
  state.watches().removed(found->path);
  state.watches().changed(found->path.substr(0, found->path.rfind('\\')), REG_NOTIFY_CHANGE_NAME);
  return ERROR_SUCCESS;
}

namespace {

LONG watch_key(HKEY handle, BOOL sub_tree, DWORD filter, HANDLE event) {
  const Locked state;
  OpenKey key;
  if (const LONG error = state.resolve(handle, KEY_NOTIFY, key)) return error;
  if (key.key == nullptr) return ERROR_INVALID_HANDLE;
  const bool added = state.watches().add(
      {reinterpret_cast<std::uintptr_t>(handle), key.key->path, sub_tree != FALSE, filter, nullptr},
      event);
  return added ? ERROR_SUCCESS : ERROR_INVALID_HANDLE;
}

}  // namespace

LONG RegNotifyChangeKeyValue(HKEY handle, BOOL sub_tree, DWORD filter, HANDLE event,
                             BOOL asynchronous) {
  if (const auto fault = fault_point("RegNotifyChangeKeyValue", ERROR_INVALID_HANDLE)) {
    return fault->hresult();
  }
  constexpr DWORD kFilters = REG_NOTIFY_CHANGE_NAME | REG_NOTIFY_CHANGE_ATTRIBUTES |
                             REG_NOTIFY_CHANGE_LAST_SET | REG_NOTIFY_CHANGE_SECURITY;
  if (filter == 0 || (filter & ~kFilters) != 0) return ERROR_INVALID_PARAMETER;
  if (asynchronous != FALSE) return watch_key(handle, sub_tree, filter, event);
  const HANDLE change = CreateEventA(nullptr, TRUE, FALSE, nullptr);
  if (change == nullptr) return static_cast<LONG>(GetLastError());
  const LONG error = watch_key(handle, sub_tree, filter, change);
  if (error == ERROR_SUCCESS) WaitForSingleObject(change, INFINITE);
  CloseHandle(change);
  return error;
}
