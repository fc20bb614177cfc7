// Variants, their texts and their arrays, with the layout and the rules of ownership of COM.

#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <cwchar>

#include "include/platform/adsi.h"
#include "platform/adsi/counts.h"
#include "platform/kernel/fault_point.h"

namespace {

using platform::fault_point;

// The length in bytes stands in the four bytes before the text; eight keep the text aligned.
constexpr std::size_t kTextHead = 8;

BSTR allocate_text(const OLECHAR* text, std::size_t length) {
  const std::size_t bytes = length * sizeof(OLECHAR);
  auto* block = static_cast<char*>(std::malloc(kTextHead + bytes + sizeof(OLECHAR)));
  if (block == nullptr) return nullptr;
  const auto prefix = static_cast<std::uint32_t>(bytes);
  std::memcpy(block + kTextHead - sizeof prefix, &prefix, sizeof prefix);
  auto* copy = reinterpret_cast<BSTR>(block + kTextHead);
  if (text != nullptr) {
    std::memcpy(copy, text, bytes);
  } else {
    std::memset(copy, 0, bytes);
  }
  copy[length] = L'\0';
  platform::live_strings.add();
  return copy;
}

// What an array's elements are stands before the array, as it does in COM.
struct ArrayBlock {
  VARTYPE type;
  SAFEARRAY array;
};

VARTYPE element_type(const SAFEARRAY* array) {
  const auto* bytes = reinterpret_cast<const char*>(array) - offsetof(ArrayBlock, array);
  return reinterpret_cast<const ArrayBlock*>(bytes)->type;
}

ULONG element_size(VARTYPE type) {
  switch (type) {
    case VT_I1:
    case VT_UI1:
      return 1;
    case VT_I2:
    case VT_UI2:
    case VT_BOOL:
      return 2;
    case VT_I4:
    case VT_UI4:
    case VT_INT:
    case VT_UINT:
    case VT_ERROR:
      return 4;
    case VT_R8:
    case VT_DATE:
    case VT_I8:
    case VT_UI8:
      return 8;
    case VT_BSTR:
    case VT_DISPATCH:
    case VT_UNKNOWN:
      return sizeof(void*);
    case VT_VARIANT:
      return sizeof(VARIANT);
    default:
      return 0;
  }
}

USHORT features_of(VARTYPE type) {
  switch (type) {
    case VT_BSTR:
      return FADF_HAVEVARTYPE | FADF_BSTR;
    case VT_DISPATCH:
      return FADF_HAVEVARTYPE | FADF_DISPATCH;
    case VT_UNKNOWN:
      return FADF_HAVEVARTYPE | FADF_UNKNOWN;
    case VT_VARIANT:
      return FADF_HAVEVARTYPE | FADF_VARIANT;
    default:
      return FADF_HAVEVARTYPE;
  }
}

HRESULT copy_variant(VARIANT* target, const VARIANT* source);

// Frees what an element owns, and leaves nothing.
void clear_element(VARTYPE type, void* element) {
  if (type == VT_VARIANT) {
    VariantClear(static_cast<VARIANT*>(element));
  } else if (type == VT_BSTR) {
    SysFreeString(*static_cast<BSTR*>(element));
    *static_cast<BSTR*>(element) = nullptr;
  } else if (type == VT_DISPATCH || type == VT_UNKNOWN) {
    auto*& reference = *static_cast<IUnknown**>(element);
    if (reference != nullptr) reference->Release();
    reference = nullptr;
  }
}

// The target holds nothing yet.
HRESULT copy_element(VARTYPE type, void* target, const void* source) {
  if (type == VT_VARIANT) {
    return copy_variant(static_cast<VARIANT*>(target), static_cast<const VARIANT*>(source));
  }
  std::memcpy(target, source, element_size(type));
  if (type == VT_BSTR) {
    BSTR text = *static_cast<const BSTR*>(source);
    if (text == nullptr) return S_OK;
    BSTR copy = allocate_text(text, SysStringLen(text));
    *static_cast<BSTR*>(target) = copy;
    return copy == nullptr ? E_OUTOFMEMORY : S_OK;
  }
  if (type == VT_DISPATCH || type == VT_UNKNOWN) {
    IUnknown* reference = *static_cast<IUnknown**>(target);
    if (reference != nullptr) reference->AddRef();
  }
  return S_OK;
}

SAFEARRAY* create_array(VARTYPE type, LONG lower_bound, ULONG count) {
  const ULONG size = element_size(type);
  if (size == 0) return nullptr;
  auto* block = static_cast<ArrayBlock*>(std::calloc(1, sizeof(ArrayBlock)));
  void* data = std::calloc(count == 0 ? 1 : count, size);
  if (block == nullptr || data == nullptr) {
    std::free(block);
    std::free(data);
    return nullptr;
  }
  block->type = type;
  block->array.cDims = 1;
  block->array.fFeatures = features_of(type);
  block->array.cbElements = size;
  block->array.pvData = data;
  block->array.rgsabound[0] = {count, lower_bound};
  platform::live_arrays.add();
  return &block->array;
}

void* element_at(SAFEARRAY* array, LONG index) {
  const std::int64_t place = std::int64_t{index} - array->rgsabound[0].lLbound;
  if (place < 0 || place >= array->rgsabound[0].cElements) return nullptr;
  return static_cast<char*>(array->pvData) + static_cast<std::size_t>(place) * array->cbElements;
}

HRESULT copy_array(SAFEARRAY* source, SAFEARRAY** copy) {
  const VARTYPE type = element_type(source);
  const SAFEARRAYBOUND& bound = source->rgsabound[0];
  SAFEARRAY* array = create_array(type, bound.lLbound, bound.cElements);
  if (array == nullptr) return E_OUTOFMEMORY;
  for (ULONG i = 0; i < bound.cElements; ++i) {
    const std::size_t offset = std::size_t{i} * source->cbElements;
    const HRESULT result = copy_element(type, static_cast<char*>(array->pvData) + offset,
                                        static_cast<char*>(source->pvData) + offset);
    if (FAILED(result)) {
      SafeArrayDestroy(array);
      return result;
    }
  }
  *copy = array;
  return S_OK;
}

bool is_known_type(VARTYPE type) {
  return type == VT_EMPTY || type == VT_NULL || element_size(type) != 0;
}

// The target holds nothing that it owns.
HRESULT copy_variant(VARIANT* target, const VARIANT* source) {
  VARIANT copy = *source;
  HRESULT result = S_OK;
  if ((source->vt & VT_BYREF) == 0 && (source->vt & VT_ARRAY) != 0) {
    if (source->parray != nullptr) result = copy_array(source->parray, &copy.parray);
  } else if (source->vt == VT_BSTR || source->vt == VT_DISPATCH || source->vt == VT_UNKNOWN) {
    result = copy_element(source->vt, &copy.bstrVal, &source->bstrVal);
  }
  if (FAILED(result)) {
    target->vt = VT_EMPTY;
    return result;
  }
  *target = copy;
  return S_OK;
}

}  // namespace

BSTR SysAllocString(const OLECHAR* text) {
  if (fault_point("SysAllocString", E_OUTOFMEMORY) || text == nullptr) return nullptr;
  return allocate_text(text, std::wcslen(text));
}

BSTR SysAllocStringLen(const OLECHAR* text, UINT length) {
  if (fault_point("SysAllocStringLen", E_OUTOFMEMORY)) return nullptr;
  return allocate_text(text, length);
}

void SysFreeString(BSTR text) {
  if (text == nullptr) return;
  std::free(reinterpret_cast<char*>(text) - kTextHead);
  platform::live_strings.remove();
}

UINT SysStringByteLen(BSTR text) {
  if (text == nullptr) return 0;
  std::uint32_t bytes = 0;
  std::memcpy(&bytes, reinterpret_cast<const char*>(text) - sizeof bytes, sizeof bytes);
  return bytes;
}

UINT SysStringLen(BSTR text) { return SysStringByteLen(text) / sizeof(OLECHAR); }

void VariantInit(VARIANTARG* variant) {
  if (variant != nullptr) *variant = VARIANT{};
}

HRESULT VariantClear(VARIANTARG* variant) {
  if (variant == nullptr) return E_INVALIDARG;
  const auto type = static_cast<VARTYPE>(variant->vt & ~(VT_ARRAY | VT_BYREF));
  if (!is_known_type(type)) return DISP_E_BADVARTYPE;
  if ((variant->vt & VT_BYREF) == 0) {
    if ((variant->vt & VT_ARRAY) != 0) {
      const HRESULT result = variant->parray == nullptr ? S_OK : SafeArrayDestroy(variant->parray);
      if (FAILED(result)) return result;
    } else if (type != VT_VARIANT) {
      clear_element(type, &variant->bstrVal);
    }
  }
  *variant = VARIANT{};
  return S_OK;
}

HRESULT VariantCopy(VARIANTARG* target, const VARIANTARG* source) {
  if (const auto fault = fault_point("VariantCopy", E_OUTOFMEMORY)) return fault->hresult();
  if (target == nullptr || source == nullptr) return E_INVALIDARG;
  if (target == source) return S_OK;
  const HRESULT result = VariantClear(target);
  return FAILED(result) ? result : copy_variant(target, source);
}

SAFEARRAY* SafeArrayCreate(VARTYPE type, UINT dimensions, SAFEARRAYBOUND* bounds) {
  if (fault_point("SafeArrayCreate", E_OUTOFMEMORY)) return nullptr;
  if (dimensions != 1 || bounds == nullptr) return nullptr;
  return create_array(type, bounds[0].lLbound, bounds[0].cElements);
}

SAFEARRAY* SafeArrayCreateVector(VARTYPE type, LONG lower_bound, ULONG count) {
  if (fault_point("SafeArrayCreateVector", E_OUTOFMEMORY)) return nullptr;
  return create_array(type, lower_bound, count);
}

UINT SafeArrayGetDim(SAFEARRAY* array) { return array == nullptr ? 0 : array->cDims; }

HRESULT SafeArrayGetVartype(SAFEARRAY* array, VARTYPE* type) {
  if (array == nullptr || type == nullptr) return E_INVALIDARG;
  *type = element_type(array);
  return S_OK;
}

HRESULT SafeArrayGetLBound(SAFEARRAY* array, UINT dimension, LONG* bound) {
  if (const auto fault = fault_point("SafeArrayGetLBound", DISP_E_BADINDEX)) {
    return fault->hresult();
  }
  if (array == nullptr || bound == nullptr) return E_INVALIDARG;
  if (dimension != 1) return DISP_E_BADINDEX;
  *bound = array->rgsabound[0].lLbound;
  return S_OK;
}

HRESULT SafeArrayGetUBound(SAFEARRAY* array, UINT dimension, LONG* bound) {
  if (const auto fault = fault_point("SafeArrayGetUBound", DISP_E_BADINDEX)) {
    return fault->hresult();
  }
  if (array == nullptr || bound == nullptr) return E_INVALIDARG;
  if (dimension != 1) return DISP_E_BADINDEX;
  *bound = array->rgsabound[0].lLbound + static_cast<LONG>(array->rgsabound[0].cElements) - 1;
  return S_OK;
}

HRESULT SafeArrayGetElement(SAFEARRAY* array, LONG* index, void* element) {
  if (const auto fault = fault_point("SafeArrayGetElement", DISP_E_BADINDEX)) {
    return fault->hresult();
  }
  if (array == nullptr || index == nullptr || element == nullptr) return E_INVALIDARG;
  const void* source = element_at(array, *index);
  if (source == nullptr) return DISP_E_BADINDEX;
  const VARTYPE type = element_type(array);
  // A variant is cleared before it is written over; other storage is taken as it comes.
  if (type == VT_VARIANT) VariantClear(static_cast<VARIANT*>(element));
  return copy_element(type, element, source);
}

HRESULT SafeArrayPutElement(SAFEARRAY* array, LONG* index, void* element) {
  if (const auto fault = fault_point("SafeArrayPutElement", E_OUTOFMEMORY)) {
    return fault->hresult();
  }
  if (array == nullptr || index == nullptr) return E_INVALIDARG;
  void* target = element_at(array, *index);
  if (target == nullptr) return DISP_E_BADINDEX;
  const VARTYPE type = element_type(array);
  clear_element(type, target);
  if (type == VT_BSTR || type == VT_DISPATCH || type == VT_UNKNOWN) {
    return copy_element(type, target, &element);
  }
  return element == nullptr ? E_INVALIDARG : copy_element(type, target, element);
}

HRESULT SafeArrayAccessData(SAFEARRAY* array, void** data) {
  if (array == nullptr || data == nullptr) return E_INVALIDARG;
  ++array->cLocks;
  *data = array->pvData;
  return S_OK;
}

HRESULT SafeArrayUnaccessData(SAFEARRAY* array) {
  if (array == nullptr) return E_INVALIDARG;
  if (array->cLocks == 0) return E_UNEXPECTED;
  --array->cLocks;
  return S_OK;
}

HRESULT SafeArrayCopy(SAFEARRAY* source, SAFEARRAY** copy) {
  if (const auto fault = fault_point("SafeArrayCopy", E_OUTOFMEMORY)) return fault->hresult();
  if (copy == nullptr) return E_INVALIDARG;
  *copy = nullptr;
  return source == nullptr ? S_OK : copy_array(source, copy);
}

HRESULT SafeArrayDestroy(SAFEARRAY* array) {
  if (array == nullptr) return S_OK;
  if (array->cLocks != 0) return DISP_E_ARRAYISLOCKED;
  const VARTYPE type = element_type(array);
  for (ULONG i = 0; i < array->rgsabound[0].cElements; ++i) {
    clear_element(type, static_cast<char*>(array->pvData) + std::size_t{i} * array->cbElements);
  }
  std::free(array->pvData);
  std::free(reinterpret_cast<char*>(array) - offsetof(ArrayBlock, array));
  platform::live_arrays.remove();
  return S_OK;
}
