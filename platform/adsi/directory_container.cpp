// The container side of a directory object: its children, found, enumerated and made.

#include <utility>

#include "platform/adsi/attribute_values.h"
#include "platform/adsi/child_enumerator.h"
#include "platform/adsi/directory_object.h"
#include "platform/kernel/fault_point.h"
#include "platform/recorded/utf8.h"

namespace platform {
namespace {

constexpr HRESULT kUnwillingToPerform = static_cast<HRESULT>(0x80072035);

bool is_empty(BSTR text) { return text == nullptr || *text == L'\0'; }

}  // namespace

AdsPath DirectoryObject::child_path(BSTR relative_name) const {
  return {path_.server, text_from_bstr(relative_name) + "," + path_.dn};
}

HRESULT DirectoryObject::get_Count(LONG*) { return E_NOTIMPL; }

HRESULT DirectoryObject::get__NewEnum(IUnknown** enumerator) {
  if (const auto fault = fault_point("IADsContainer::get__NewEnum", kDirectoryServerDown)) {
    return fault->hresult();
  }
  if (enumerator == nullptr) return E_ADS_BAD_PARAMETER;
  *enumerator = nullptr;
  Directory* directory = controller_->directory();
  if (directory == nullptr) return kDirectoryServerDown;
  std::unique_ptr<EntryCursor> cursor;
  const HRESULT result = directory->search(path_.server, path_.dn, SearchScope::kOneLevel,
                                           "(objectClass=*)", {}, cursor);
  if (FAILED(result)) return result;
  *enumerator = new ChildEnumerator(controller_, path_.server, std::move(cursor));
  return S_OK;
}

HRESULT DirectoryObject::get_Filter(VARIANT*) { return E_NOTIMPL; }
HRESULT DirectoryObject::put_Filter(VARIANT) { return E_NOTIMPL; }
HRESULT DirectoryObject::get_Hints(VARIANT*) { return E_NOTIMPL; }
HRESULT DirectoryObject::put_Hints(VARIANT) { return E_NOTIMPL; }

HRESULT DirectoryObject::GetObject(BSTR class_name, BSTR relative_name, IDispatch** object) {
  if (const auto fault = fault_point("IADsContainer::GetObject", kDirectoryNoObject)) {
    return fault->hresult();
  }
  if (object == nullptr || is_empty(relative_name)) return E_ADS_BAD_PARAMETER;
  return find_child(class_name, relative_name, object);
}

HRESULT DirectoryObject::find_child(BSTR class_name, BSTR relative_name, IDispatch** object) {
  *object = nullptr;
  DirectoryObject* child = nullptr;
  HRESULT result = bind_object(controller_, child_path(relative_name), true, &child);
  if (FAILED(result)) return result;
  if (!is_empty(class_name)) {
    BSTR actual = nullptr;
    result = child->get_Class(&actual);
    if (SUCCEEDED(result) &&
        !equal_without_case(text_from_bstr(actual), text_from_bstr(class_name))) {
      result = E_ADS_UNKNOWN_OBJECT;
    }
    SysFreeString(actual);
  }
  if (FAILED(result)) {
    child->Release();
    return result;
  }
  *object = static_cast<IADs*>(child);
  return S_OK;
}

HRESULT DirectoryObject::Create(BSTR class_name, BSTR relative_name, IDispatch** object) {
  if (const auto fault = fault_point("IADsContainer::Create", kDirectoryAccess)) {
    return fault->hresult();
  }
  if (object == nullptr || is_empty(class_name) || is_empty(relative_name)) {
    return E_ADS_BAD_PARAMETER;
  }
  auto* child = new DirectoryObject(controller_, child_path(relative_name), std::nullopt);
  child->mark_as_new(text_from_bstr(class_name));
  *object = static_cast<IADs*>(child);
  return S_OK;
}

HRESULT DirectoryObject::Delete(BSTR class_name, BSTR relative_name) {
  if (const auto fault = fault_point("IADsContainer::Delete", kDirectoryAccess)) {
    return fault->hresult();
  }
  if (is_empty(class_name) || is_empty(relative_name)) return E_ADS_BAD_PARAMETER;
  IDispatch* child = nullptr;
  // Found first: an object of another class is not the one meant.
  const HRESULT result = find_child(class_name, relative_name, &child);
  if (FAILED(result)) return result;
  child->Release();
  return controller_->directory()->remove(path_.server, child_path(relative_name).dn);
}

HRESULT DirectoryObject::CopyHere(BSTR, BSTR, IDispatch** object) {
  if (object != nullptr) *object = nullptr;
  return E_NOTIMPL;
}

HRESULT DirectoryObject::MoveHere(BSTR, BSTR, IDispatch** object) {
  if (object != nullptr) *object = nullptr;
  return kUnwillingToPerform;
}

}  // namespace platform
