// What is asked about keys as a whole, their removal, and the watch for changes.

#include <array>
#include <cstring>

#include "agent/registry.h"
#include "include/platform/text.h"
#include "include/trace.h"

namespace {

// A key's name is 255 characters at most; one character may take several bytes.
constexpr DWORD kKeyNameSize = 1024;

// Whether the path is that one, or leads on from it.
bool is_at_or_below(const std::string& path, const std::string& top) {
  return path.size() >= top.size() && _strnicmp(path.c_str(), top.c_str(), top.size()) == 0 &&
         (path.size() == top.size() || path[top.size()] == '\\');
}

std::string parent_of(const std::string& path) {
  const std::size_t last = path.rfind('\\');
  return last == path.npos ? std::string() : path.substr(0, last);
}

std::string name_in(const std::string& path) { return path.substr(path.rfind('\\') + 1); }

}  // namespace

std::int32_t CRegistry::QueryKey(char* path, DWORD* path_size, char* class_name, DWORD* class_size,
                                 const RegistryKeyNumbers& numbers) {
  DCW_TRACE("QueryKey");
  called("QueryKey");
  if (!is_open()) return trace.returns(kNotOpen);
  if (path != nullptr && path_size == nullptr) return trace.returns(kNoKeyNameSize);
  if (class_name != nullptr && class_size == nullptr) return trace.returns(kNoClassSize);
  if (path != nullptr && *path_size < kPathSize) return trace.returns(kTargetTooSmall);
  calling("RegQueryInfoKey");
  last_result_ = RegQueryInfoKeyA(current_, class_name, class_size, nullptr, numbers.sub_keys,
                                  numbers.longest_sub_key, numbers.longest_class, numbers.values,
                                  numbers.longest_value_name, numbers.longest_value,
                                  numbers.security_size, numbers.last_write);
  if (last_result_ == ERROR_MORE_DATA) return trace.returns(kTargetTooSmall);
  if (last_result_ != ERROR_SUCCESS) return trace.returns(kCallFailed);
  if (path != nullptr) {
    *path_size = static_cast<DWORD>(std::strlen(path_));
    std::memcpy(path, path_, *path_size + 1);
  }
  return trace.returns(kSuccess);
}

// The failed call of an object that worked for this one.
std::int32_t CRegistry::keep_failure_of(const CRegistry& other) {
  calling(other.last_call_);
  last_result_ = other.last_result_;
  return kCallFailed;
}

// path: beneath the root key. Goes down to a key without sub-keys and removes it from its parent,
// again and again, so that a deep tree takes no stack.
std::int32_t CRegistry::remove_tree(const std::string& path, bool with_sub_keys) {
  CRegistry walker(*this);
  const std::int32_t found = walker.Position(("\\" + path).c_str());
  if (found == kCallFailed) {
    keep_failure_of(walker);
    return last_result_ == ERROR_FILE_NOT_FOUND ? kNoSuchKey : kCallFailed;
  }
  if (found != kSuccess) return found;
  while (true) {
    std::array<char, kKeyNameSize> name{};
    DWORD size = kKeyNameSize;
    walker.end_enumeration();
    std::int32_t code =
        walker.EnumKeys(name.data(), &size, nullptr, nullptr, nullptr, nullptr, false);
    if (code == kSuccess && !with_sub_keys) return kHasSubKeys;
    if (code == kSuccess) {
      code = walker.Position(name.data());
      if (code == kCallFailed) return keep_failure_of(walker);
      if (code != kSuccess) return code;
      continue;
    }
    if (code != kEnumerationEnd) return keep_failure_of(walker);
    const std::string leaf(walker.path_);
    if (walker.Position("..") != kSuccess) return keep_failure_of(walker);
    calling("RegDeleteKey");
    last_result_ = RegDeleteKeyA(walker.current_, name_in(leaf).c_str());
    if (last_result_ != ERROR_SUCCESS) return kCallFailed;
    if (leaf.size() == path.size()) return kSuccess;
  }
}

std::int32_t CRegistry::DeleteKey(const char* path, bool with_sub_keys) {
  DCW_TRACE("DeleteKey");
  called("DeleteKey");
  if (!is_open()) return trace.returns(kNotOpen);
  if (path == nullptr || *path == '\0') return trace.returns(kBadArgument);
  const std::string removed = resolve(path).path;
  // A root key cannot go, and nobody means everything beneath it.
  if (removed.empty() || removed.back() == '\\') return trace.returns(kBadArgument);
  const std::string here(path_);
  if (!is_at_or_below(here, removed)) return trace.returns(remove_tree(removed, with_sub_keys));
  // The object leaves first: a key that is gone can no longer be moved from.
  const std::string parent = "\\" + parent_of(removed);
  if (Position(parent.c_str()) != kSuccess) return trace.returns(kCallFailed);
  const std::int32_t code = remove_tree(removed, with_sub_keys);
  called("DeleteKey");
  if (code == kSuccess) return trace.returns(kMovedToParent);
  // Back, unless that part has gone; the failure that is told stays the removal's.
  const RegistryState failure = *this;
  Position(("\\" + here).c_str());
  calling(failure.last_call_);
  last_result_ = failure.last_result_;
  called("DeleteKey");
  return trace.returns(code);
}

bool CRegistry::KeyExists(const char* path) {
  DCW_TRACE("KeyExists");
  called("KeyExists");
  CRegistry second(*this);
  return trace.returns(second.Position(path) == kSuccess);
}

std::int32_t CRegistry::NotifyChange(DWORD filter, HANDLE event, bool sub_tree) {
  DCW_TRACE("NotifyChange");
  called("NotifyChange");
  if (!is_open()) return trace.returns(kNotOpen);
  calling("RegNotifyChangeKeyValue");
  last_result_ = RegNotifyChangeKeyValue(current_, sub_tree ? TRUE : FALSE, filter, event,
                                         event != nullptr ? TRUE : FALSE);
  if (last_result_ == ERROR_INVALID_HANDLE) return trace.returns(kInvalidHandle);
  return trace.returns(last_result_ == ERROR_SUCCESS ? kSuccess : kCallFailed);
}
