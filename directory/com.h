#pragma once
// Owners for what the directory interfaces hand out: interface references, directory strings,
// variants and enumerators. Each releases what it holds when it goes, on every path.

#include <string_view>
#include <utility>

#include "include/platform/adsi.h"
#include "include/platform/base.h"

namespace directory {

// One reference to an interface.
template <typename Interface>
class Reference {
 public:
  Reference() = default;
  ~Reference() { release(); }
  Reference(const Reference&) = delete;
  Reference& operator=(const Reference&) = delete;
  Reference(Reference&& other) noexcept : pointer_(std::exchange(other.pointer_, nullptr)) {}

  Interface* get() const { return pointer_; }
  Interface* operator->() const { return pointer_; }
  explicit operator bool() const { return pointer_ != nullptr; }

  // Where a call puts the reference that it hands out; lets go of the one held.
  Interface** target() {
    release();
    return &pointer_;
  }
  void** untyped_target() { return reinterpret_cast<void**>(target()); }
  void release() {
    if (pointer_ != nullptr) std::exchange(pointer_, nullptr)->Release();
  }

 private:
  Interface* pointer_ = nullptr;
};

// A directory string: made from narrow text, null for text that is empty, or received from a call.
class DirectoryString {
 public:
  DirectoryString() = default;
  explicit DirectoryString(std::string_view narrow);
  ~DirectoryString() { release(); }
  DirectoryString(const DirectoryString&) = delete;
  DirectoryString& operator=(const DirectoryString&) = delete;
  BSTR get() const { return text_; }

  // Where a call puts the string that it hands out; lets go of the one held.
  BSTR* target() {
    release();
    return &text_;
  }

 private:
  void release() { SysFreeString(std::exchange(text_, nullptr)); }

  BSTR text_ = nullptr;
};

class Variant {
 public:
  Variant() { VariantInit(&value_); }
  ~Variant() { VariantClear(&value_); }
  Variant(const Variant&) = delete;
  Variant& operator=(const Variant&) = delete;

  // Where a call puts a value; lets go of the one held.
  VARIANT* target() {
    VariantClear(&value_);
    VariantInit(&value_);
    return &value_;
  }
  void clear() { target(); }
  const VARIANT& get() const { return value_; }
  VARTYPE type() const { return value_.vt; }

  bool is_array() const { return (value_.vt & VT_ARRAY) != 0; }
  // The array held, or null: the array calls then answer that there is none.
  SAFEARRAY* array() const { return is_array() ? value_.parray : nullptr; }
  // Destroys the array held, after which the variant is empty and clearing it does nothing more.
  void destroy_array();

 private:
  VARIANT value_;
};

// The children of a container, one after the other.
class Children {
 public:
  Children() = default;
  ~Children() { release(); }
  Children(const Children&) = delete;
  Children& operator=(const Children&) = delete;

  // Lets go of the enumerator held, also when none can be built.
  HRESULT build(IADsContainer* container) {
    release();
    return ADsBuildEnumerator(container, &enumerator_);
  }
  // False at the end, and also after a failure or with no enumerator: a walk does not tell these
  // apart.
  bool next(Variant& child);
  void release() {
    if (enumerator_ != nullptr) ADsFreeEnumerator(std::exchange(enumerator_, nullptr));
  }

 private:
  IEnumVARIANT* enumerator_ = nullptr;
};

// The child's object interface from the dispatch reference in the variant.
HRESULT as_object(const Variant& child, Reference<IADs>& object);

}  // namespace directory
