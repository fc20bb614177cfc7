// The values of the current key, and the enumeration of values and of sub-keys.

#include <cstring>

#include "agent/registry.h"
#include "include/trace.h"

std::int32_t CRegistry::GetValue(const char* name, BYTE* value, DWORD* type, DWORD* size) {
  DCW_TRACE("GetValue");
  called("GetValue");
  if (!is_open()) return trace.returns(kNotOpen);
  calling("RegQueryValueEx");
  last_result_ = RegQueryValueExA(current_, name, nullptr, type, value, size);
  switch (last_result_) {
    case ERROR_SUCCESS:
      return trace.returns(kSuccess);
    case ERROR_FILE_NOT_FOUND:
      return trace.returns(kNoSuchValue);
    case ERROR_MORE_DATA:
      return trace.returns(kTargetTooSmall);
    default:
      return trace.returns(kCallFailed);
  }
}

std::int32_t CRegistry::PutValue(const char* name, const char* text) {
  DCW_TRACE("PutValue");
  called("PutValue");
  if (!is_open()) return trace.returns(kNotOpen);
  if (text == nullptr) return trace.returns(kBadArgument);
  return trace.returns(
      PutValue(name, text, REG_EXPAND_SZ, static_cast<DWORD>(std::strlen(text) + 1)));
}

std::int32_t CRegistry::PutValue(const char* name, const void* data, DWORD type, DWORD size) {
  DCW_TRACE("PutValue");
  called("PutValue");
  if (!is_open()) return trace.returns(kNotOpen);
  calling("RegSetValueEx");
  last_result_ = RegSetValueExA(current_, name, 0, type, static_cast<const BYTE*>(data), size);
  return trace.returns(last_result_ == ERROR_SUCCESS ? kSuccess : kCallFailed);
}

std::int32_t CRegistry::DeleteValue(const char* name) {
  DCW_TRACE("DeleteValue");
  called("DeleteValue");
  if (!is_open()) return trace.returns(kNotOpen);
  calling("RegDeleteValue");
  last_result_ = RegDeleteValueA(current_, name);
  if (last_result_ == ERROR_FILE_NOT_FOUND) return trace.returns(kNoSuchValue);
  return trace.returns(last_result_ == ERROR_SUCCESS ? kSuccess : kCallFailed);
}

std::int32_t CRegistry::begin_enumeration(Enumeration kind, bool backwards) {
  DWORD first = 0;
  if (backwards) {
    DWORD count = 0;
    RegistryKeyNumbers numbers;
    (kind == Enumeration::kValues ? numbers.values : numbers.sub_keys) = &count;
    const std::int32_t asked = QueryKey(nullptr, nullptr, nullptr, nullptr, numbers);
    if (asked != kSuccess) return asked;
    // With none the index is out of range at once, which is the enumeration's end.
    first = count - 1;
  }
  index_ = first;
  enumeration_ = kind;
  backwards_ = backwards;
  return kSuccess;
}

// What the enumeration's last call came to; tells the index that it used and goes on to the next.
std::int32_t CRegistry::step(DWORD* index) {
  DCW_TRACE("step");
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

std::int32_t CRegistry::EnumVals(char* name, DWORD* name_size, BYTE* value, DWORD* value_size,
                                 DWORD* type, DWORD* index, bool backwards) {
  DCW_TRACE("EnumVals");
  called("EnumVals");
  if (!is_open()) return trace.returns(kNotOpen);
  if (enumeration_ == Enumeration::kKeys) return trace.returns(kOtherEnumeration);
  if (name == nullptr || name_size == nullptr) return trace.returns(kNoNameSize);
  if (value != nullptr && value_size == nullptr) return trace.returns(kNoValueSize);
  if (enumeration_ == Enumeration::kNone) {
    const std::int32_t begun = begin_enumeration(Enumeration::kValues, backwards);
    if (begun != kSuccess) return trace.returns(begun);
  }
  std::memset(name, 0, *name_size);
  if (value != nullptr) std::memset(value, 0, *value_size);
  calling("RegEnumValue");
  last_result_ = RegEnumValueA(current_, index_, name, name_size, nullptr, type, value, value_size);
  return trace.returns(step(index));
}

std::int32_t CRegistry::EnumKeys(char* name, DWORD* name_size, char* class_name, DWORD* class_size,
                                 FILETIME* last_write, DWORD* index, bool backwards) {
  DCW_TRACE("EnumKeys");
  called("EnumKeys");
  if (!is_open()) return trace.returns(kNotOpen);
  if (enumeration_ == Enumeration::kValues) return trace.returns(kOtherEnumeration);
  if (name == nullptr || name_size == nullptr) return trace.returns(kNoKeyNameSize);
  if (class_name != nullptr && class_size == nullptr) return trace.returns(kNoClassSize);
  if (enumeration_ == Enumeration::kNone) {
    const std::int32_t begun = begin_enumeration(Enumeration::kKeys, backwards);
    if (begun != kSuccess) return trace.returns(begun);
  }
  std::memset(name, 0, *name_size);
  if (class_name != nullptr) std::memset(class_name, 0, *class_size);
  calling("RegEnumKeyEx");
  last_result_ =
      RegEnumKeyExA(current_, index_, name, name_size, nullptr, class_name, class_size, last_write);
  return trace.returns(step(index));
}
