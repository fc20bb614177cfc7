#include "directory/com.h"

#include "directory/text.h"

namespace directory {

DirectoryString::DirectoryString(std::string_view narrow) {
  if (!narrow.empty()) text_ = SysAllocString(widened(narrow).c_str());
}

void Variant::destroy_array() {
  if (!is_array()) return;
  SafeArrayDestroy(value_.parray);
  value_.parray = nullptr;
  value_.vt = VT_EMPTY;
}

bool Children::next(Variant& child) {
  if (enumerator_ == nullptr) return false;
  ULONG fetched = 0;
  return ADsEnumerateNext(enumerator_, 1, child.target(), &fetched) == S_OK && fetched != 0;
}

HRESULT as_object(const Variant& child, Reference<IADs>& object) {
  if (child.type() != VT_DISPATCH || child.get().pdispVal == nullptr) return E_NOINTERFACE;
  return child.get().pdispVal->QueryInterface(IID_IADs, object.untyped_target());
}

}  // namespace directory
