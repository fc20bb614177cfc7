// The directory calls by their flat names.

#include <memory>

#include "include/platform/adsi.h"
#include "platform/adsi/apartment.h"
#include "platform/adsi/directory_object.h"
#include "platform/adsi/path.h"
#include "platform/adsi/wide_text.h"
#include "platform/control.h"
#include "platform/kernel/fault_point.h"

namespace {

using platform::fault_point;

HRESULT open_object(LPCWSTR path, REFIID iid, void** object) {
  if (object == nullptr) return E_INVALIDARG;
  *object = nullptr;
  if (!platform::apartment_is_open()) return CO_E_NOTINITIALIZED;
  if (path == nullptr) return E_INVALIDARG;
  const auto parsed = platform::parse_path(platform::narrow_text(path));
  if (!parsed) return E_ADS_BAD_PATHNAME;
  // Who asks for a container is going to walk it, and needs none of its attributes.
  const bool is_for_reading = iid != IID_IADsContainer && iid != IID_IDirectorySearch;
  platform::DirectoryObject* bound = nullptr;
  HRESULT result = platform::bind_object(platform::controller(), *parsed, is_for_reading, &bound);
  if (FAILED(result)) return result;
  result = bound->QueryInterface(iid, object);
  bound->Release();
  return result;
}

}  // namespace

HRESULT WINAPI ADsGetObject(LPCWSTR path, REFIID iid, void** object) {
  if (const auto fault = fault_point("ADsGetObject", platform::kDirectoryServerDown)) {
    if (object != nullptr) *object = nullptr;
    return fault->hresult();
  }
  return open_object(path, iid, object);
}

// The recorded and the live controllers know who they are from elsewhere; a name and a password
// given here are not used.
HRESULT WINAPI ADsOpenObject(LPCWSTR path, LPCWSTR, LPCWSTR, DWORD, REFIID iid, void** object) {
  if (const auto fault = fault_point("ADsOpenObject", platform::kDirectoryServerDown)) {
    if (object != nullptr) *object = nullptr;
    return fault->hresult();
  }
  return open_object(path, iid, object);
}

HRESULT WINAPI ADsBuildEnumerator(IADsContainer* container, IEnumVARIANT** enumerator) {
  if (const auto fault = fault_point("ADsBuildEnumerator", platform::kDirectoryServerDown)) {
    if (enumerator != nullptr) *enumerator = nullptr;
    return fault->hresult();
  }
  if (container == nullptr || enumerator == nullptr) return E_ADS_BAD_PARAMETER;
  *enumerator = nullptr;
  IUnknown* made = nullptr;
  HRESULT result = container->get__NewEnum(&made);
  if (FAILED(result)) return result;
  result = made->QueryInterface(IID_IEnumVARIANT, reinterpret_cast<void**>(enumerator));
  made->Release();
  return result;
}

HRESULT WINAPI ADsEnumerateNext(IEnumVARIANT* enumerator, ULONG count, VARIANT* values,
                                ULONG* fetched) {
  if (const auto fault = fault_point("ADsEnumerateNext", platform::kDirectoryServerDown)) {
    if (fetched != nullptr) *fetched = 0;
    return fault->hresult();
  }
  if (enumerator == nullptr) return E_ADS_BAD_PARAMETER;
  return enumerator->Next(count, values, fetched);
}

HRESULT WINAPI ADsFreeEnumerator(IEnumVARIANT* enumerator) {
  if (enumerator == nullptr) return E_ADS_BAD_PARAMETER;
  enumerator->Release();
  return S_OK;
}

HRESULT WINAPI ADsBuildVarArrayStr(LPWSTR* names, DWORD count, VARIANT* array) {
  if (const auto fault = fault_point("ADsBuildVarArrayStr", E_OUTOFMEMORY)) {
    return fault->hresult();
  }
  if (array == nullptr || (names == nullptr && count != 0)) return E_ADS_BAD_PARAMETER;
  SAFEARRAY* made = SafeArrayCreateVector(VT_VARIANT, 0, count);
  if (made == nullptr) return E_OUTOFMEMORY;
  auto* elements = static_cast<VARIANT*>(made->pvData);
  for (DWORD i = 0; i < count; ++i) {
    elements[i].bstrVal = SysAllocString(names[i]);
    if (elements[i].bstrVal == nullptr) {
      SafeArrayDestroy(made);
      return E_OUTOFMEMORY;
    }
    elements[i].vt = VT_BSTR;
  }
  VariantInit(array);
  array->vt = VT_ARRAY | VT_VARIANT;
  array->parray = made;
  return S_OK;
}
