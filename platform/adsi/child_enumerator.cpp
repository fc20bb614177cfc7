#include "platform/adsi/child_enumerator.h"

#include <utility>

#include "platform/adsi/counts.h"
#include "platform/adsi/directory_object.h"
#include "platform/kernel/fault_point.h"

namespace platform {

ChildEnumerator::ChildEnumerator(std::shared_ptr<Controller> controller, std::string server,
                                 std::unique_ptr<EntryCursor> cursor)
    : controller_(std::move(controller)), server_(std::move(server)), cursor_(std::move(cursor)) {
  live_enumerators.add();
}

HRESULT ChildEnumerator::QueryInterface(REFIID iid, void** object) {
  if (const auto fault = fault_point("IUnknown::QueryInterface", E_NOINTERFACE)) {
    return fault->hresult();
  }
  if (object == nullptr) return E_POINTER;
  *object = nullptr;
  if (iid != IID_IUnknown && iid != IID_IEnumVARIANT) return E_NOINTERFACE;
  AddRef();
  *object = static_cast<IEnumVARIANT*>(this);
  return S_OK;
}

ULONG ChildEnumerator::AddRef() {
  live_enumerators.add();
  return references_.fetch_add(1) + 1;
}

ULONG ChildEnumerator::Release() {
  live_enumerators.remove();
  const ULONG left = references_.fetch_sub(1) - 1;
  if (left == 0) delete this;
  return left;
}

HRESULT ChildEnumerator::Next(ULONG count, VARIANT* values, ULONG* fetched) {
  if (values == nullptr || (fetched == nullptr && count != 1)) return E_INVALIDARG;
  if (fetched != nullptr) *fetched = 0;
  for (ULONG i = 0; i < count; ++i) VariantInit(&values[i]);
  ULONG made = 0;
  HRESULT result = S_OK;
  while (made < count && result == S_OK) {
    Entry entry;
    result = cursor_->next(entry);
    if (result != kDirectoryOk) break;
    AdsPath path{server_, entry.dn};
    values[made].vt = VT_DISPATCH;
    values[made].pdispVal =
        static_cast<IADs*>(new DirectoryObject(controller_, std::move(path), std::move(entry)));
    ++made;
  }
  if (FAILED(result)) {
    for (ULONG i = 0; i < made; ++i) VariantClear(&values[i]);
    return result;
  }
  if (fetched != nullptr) *fetched = made;
  return made == count ? S_OK : S_FALSE;
}

HRESULT ChildEnumerator::Skip(ULONG count) {
  for (ULONG i = 0; i < count; ++i) {
    Entry entry;
    const HRESULT result = cursor_->next(entry);
    if (result != kDirectoryOk) return result;
  }
  return S_OK;
}

HRESULT ChildEnumerator::Reset() { return E_NOTIMPL; }

HRESULT ChildEnumerator::Clone(IEnumVARIANT** copy) {
  if (copy != nullptr) *copy = nullptr;
  return E_NOTIMPL;
}

}  // namespace platform
