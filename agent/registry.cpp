#include "agent/registry.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <string>

#include "include/trace.h"

namespace {

void keep(char* target, std::size_t size, const char* text) {
  std::snprintf(target, size, "%s", text == nullptr ? "" : text);
}

bool is_local_root(HKEY root) {
  return root == HKEY_LOCAL_MACHINE || root == HKEY_USERS || root == HKEY_CURRENT_USER ||
         root == HKEY_CLASSES_ROOT;
}

}  // namespace

CRegistry::CRegistry(const char* machine, HKEY root, const char* path, bool create) {
  called("CRegistry");
  if (machine != nullptr || root != nullptr) Open(machine, root, path, create);
}

CRegistry::~CRegistry() {
  if (IsOpen()) Close();
}

void CRegistry::called(const char* member) { keep(last_member_, sizeof last_member_, member); }

void CRegistry::end_enumeration() {
  enumeration_ = Enumeration::kNone;
  backwards_ = false;
  index_ = 0;
}

// Everything but the attributes for later opens.
void CRegistry::clear() {
  path_[0] = '\0';
  current_ = nullptr;
  root_ = nullptr;
  machine_pointer_ = nullptr;
  machine_[0] = '\0';
  is_copy_ = false;
  end_enumeration();
}

std::int32_t CRegistry::Open(const char* machine, HKEY root, const char* path, bool create) {
  DCW_TRACE("Open");
  called("Open");
  if (is_copy_) return trace.returns(kCopyCannotOpen);
  if (IsOpen()) return trace.returns(kAlreadyOpen);
  if (root == nullptr) root = HKEY_LOCAL_MACHINE;
  HKEY key = nullptr;
  if (machine != nullptr) {
    if (root != HKEY_LOCAL_MACHINE && root != HKEY_USERS) return trace.returns(kBadArgument);
    keep(last_call_, sizeof last_call_, "RegConnectRegistry");
    last_result_ = RegConnectRegistryA(machine, root, &key);
  } else {
    if (!is_local_root(root)) return trace.returns(kBadArgument);
    keep(last_call_, sizeof last_call_, "RegOpenKeyEx");
    last_result_ = RegOpenKeyExA(root, nullptr, 0, access_, &key);
  }
  if (last_result_ != ERROR_SUCCESS) return trace.returns(kCallFailed);
  current_ = key;
  root_ = key;
  if (machine != nullptr) {
    keep(machine_, sizeof machine_, machine);
    machine_pointer_ = machine_;
  }
  if (path == nullptr || *path == '\0') return trace.returns(kSuccess);
  return trace.returns(Position(path, create));
}

LONG CRegistry::open_key(HKEY beneath, const char* path, bool create, HKEY& key) {
  if (create) {
    keep(last_call_, sizeof last_call_, "RegCreateKeyEx");
    last_result_ = RegCreateKeyExA(beneath, path, 0, class_, options_, access_, security_, &key,
                                   &disposition_);
  } else {
    keep(last_call_, sizeof last_call_, "RegOpenKeyEx");
    last_result_ = RegOpenKeyExA(beneath, path, 0, access_, &key);
  }
  return last_result_;
}

std::int32_t CRegistry::Position(const char* path, bool create) {
  DCW_TRACE("Position");
  called("Position");
  if (!IsOpen()) return trace.returns(kNotOpen);
  if (path == nullptr || *path == '\0') return trace.returns(kBadArgument);
  const std::string here(path_);
  std::string wanted(path);
  if (wanted == "..") {
    const std::size_t last = here.rfind('\\');
    wanted = "\\" + (last == here.npos ? std::string() : here.substr(0, last));
  }
  const bool absolute = wanted.front() == '\\';
  const std::string opened = absolute ? wanted.substr(1) : wanted;
  const std::string now = absolute || here.empty() ? opened : here + "\\" + opened;
  if (now.size() >= kPathSize) return trace.returns(kTargetTooSmall);
  HKEY key = nullptr;
  if (open_key(absolute ? root_ : current_, opened.c_str(), create, key) != ERROR_SUCCESS) {
    return trace.returns(kCallFailed);
  }
  if (current_ != root_) RegCloseKey(current_);
  current_ = key;
  keep(path_, sizeof path_, now.c_str());
  // An enumeration that was left before its end says nothing about the new key.
  end_enumeration();
  return trace.returns(kSuccess);
}

std::int32_t CRegistry::Close() {
  DCW_TRACE("Close");
  called("Close");
  if (!IsOpen()) return trace.returns(kNotOpenForClose);
  if (!is_copy_) {
    if (current_ != root_) RegCloseKey(current_);
    keep(last_call_, sizeof last_call_, "RegCloseKey");
    last_result_ = RegCloseKey(root_);
  }
  clear();
  return trace.returns(kSuccess);
}

std::int32_t CRegistry::begin_values(bool backwards) {
  index_ = 0;
  if (backwards) {
    DWORD count = 0;
    keep(last_call_, sizeof last_call_, "RegQueryInfoKey");
    last_result_ = RegQueryInfoKeyA(current_, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr,
                                    &count, nullptr, nullptr, nullptr, nullptr);
    if (last_result_ != ERROR_SUCCESS) return kCallFailed;
    // With no values the index is out of range at once, which is the enumeration's end.
    index_ = count - 1;
  }
  enumeration_ = Enumeration::kValues;
  backwards_ = backwards;
  return kSuccess;
}

std::int32_t CRegistry::EnumVals(char* name, DWORD* name_size, BYTE* value, DWORD* value_size,
                                 DWORD* type, DWORD* index, bool backwards) {
  DCW_TRACE("EnumVals");
  called("EnumVals");
  if (!IsOpen()) return trace.returns(kNotOpen);
  if (name_size == nullptr) return trace.returns(kNoNameSize);
  if (value != nullptr && value_size == nullptr) return trace.returns(kNoValueSize);
  if (enumeration_ == Enumeration::kKeys) return trace.returns(kOtherEnumeration);
  if (enumeration_ == Enumeration::kNone) {
    const std::int32_t begun = begin_values(backwards);
    if (begun != kSuccess) return trace.returns(begun);
  }
  if (name != nullptr) std::memset(name, 0, *name_size);
  if (value != nullptr) std::memset(value, 0, *value_size);
  keep(last_call_, sizeof last_call_, "RegEnumValue");
  last_result_ = RegEnumValueA(current_, index_, name, name_size, nullptr, type, value, value_size);
  const DWORD used = index_;
  if (index != nullptr) *index = used;
  index_ = backwards_ ? index_ - 1 : index_ + 1;
  switch (last_result_) {
    case ERROR_SUCCESS:
      return trace.returns(kSuccess);
    case ERROR_MORE_DATA:
      trace.always()(
          "There is more data from registry entry but the buffer isn't big enough. dwEnumIndex = "
          "%d",
          static_cast<int>(used));
      return trace.returns(kTargetTooSmall);
    case ERROR_NO_MORE_ITEMS:
      end_enumeration();
      return trace.returns(kEnumerationEnd);
    default:
      return trace.returns(kCallFailed);
  }
}

std::int32_t CRegistry::GetInfo(char* path, std::size_t size) {
  DCW_TRACE("GetInfo");
  called("GetInfo");
  const std::size_t length = std::strlen(path_);
  if (path == nullptr || size <= length) return trace.returns(kTargetTooSmall);
  std::memcpy(path, path_, length + 1);
  return trace.returns(kSuccess);
}
