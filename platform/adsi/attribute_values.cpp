#include "platform/adsi/attribute_values.h"

#include <algorithm>
#include <charconv>
#include <cstring>
#include <limits>

#include "platform/adsi/directory_time.h"
#include "platform/adsi/wide_text.h"
#include "platform/recorded/utf8.h"

namespace platform {
namespace {

HRESULT make_integer(const std::string& text, VARIANT& variant) {
  std::int64_t number = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  if (error != std::errc() || end != text.data() + text.size() ||
      number < std::numeric_limits<std::int32_t>::min() ||
      number > std::numeric_limits<std::uint32_t>::max()) {
    return E_ADS_CANT_CONVERT_DATATYPE;
  }
  variant.vt = VT_I4;
  variant.lVal = static_cast<LONG>(number);
  return S_OK;
}

HRESULT make_boolean(const std::string& text, VARIANT& variant) {
  const bool is_true = equal_without_case(text, "TRUE");
  if (!is_true && !equal_without_case(text, "FALSE")) return E_ADS_CANT_CONVERT_DATATYPE;
  variant.vt = VT_BOOL;
  variant.boolVal = is_true ? VARIANT_TRUE : VARIANT_FALSE;
  return S_OK;
}

HRESULT make_date(const std::string& text, VARIANT& variant) {
  const std::optional<double> date = date_from_directory_time(text);
  if (!date) return E_ADS_CANT_CONVERT_DATATYPE;
  variant.vt = VT_DATE;
  variant.date = *date;
  return S_OK;
}

HRESULT make_octets(const std::string& bytes, VARIANT& variant) {
  SAFEARRAY* array = SafeArrayCreateVector(VT_UI1, 0, static_cast<ULONG>(bytes.size()));
  if (array == nullptr) return E_OUTOFMEMORY;
  std::memcpy(array->pvData, bytes.data(), bytes.size());
  variant.vt = VT_ARRAY | VT_UI1;
  variant.parray = array;
  return S_OK;
}

HRESULT value_from_array(SAFEARRAY* array, VARTYPE type, std::vector<std::string>& values) {
  if (array == nullptr || SafeArrayGetDim(array) != 1) return E_ADS_BAD_PARAMETER;
  const ULONG count = array->rgsabound[0].cElements;
  if (type == VT_UI1) {
    values.emplace_back(static_cast<const char*>(array->pvData), count);
    return S_OK;
  }
  for (ULONG i = 0; i < count; ++i) {
    HRESULT result = S_OK;
    if (type == VT_VARIANT) {
      const VARIANT& element = static_cast<const VARIANT*>(array->pvData)[i];
      result = (element.vt & VT_ARRAY) != 0 && element.vt != (VT_ARRAY | VT_UI1)
                   ? E_ADS_BAD_PARAMETER
                   : values_from_variant(element, values);
    } else if (type == VT_BSTR) {
      values.push_back(text_from_bstr(static_cast<const BSTR*>(array->pvData)[i]));
    } else {
      result = E_ADS_CANT_CONVERT_DATATYPE;
    }
    if (FAILED(result)) return result;
  }
  return S_OK;
}

}  // namespace

AttributeSyntax shown_syntax(const std::string& name, const std::vector<std::string>& values) {
  const AttributeSyntax syntax = syntax_of(name);
  if (syntax != AttributeSyntax::kText) return syntax;
  const bool is_text = std::all_of(values.begin(), values.end(),
                                   [](const std::string& value) { return is_utf8(value); });
  return is_text ? AttributeSyntax::kText : AttributeSyntax::kOctets;
}

BSTR make_text(const std::string& utf8) {
  const std::wstring wide = wide_text(utf8);
  return SysAllocStringLen(wide.data(), static_cast<UINT>(wide.size()));
}

std::string text_from_bstr(BSTR text) {
  return text == nullptr ? std::string() : narrow_text({text, SysStringLen(text)});
}

HRESULT make_value(const std::string& value, AttributeSyntax syntax, VARIANT& variant) {
  VARIANT made;
  VariantInit(&made);
  HRESULT result = S_OK;
  switch (syntax) {
    case AttributeSyntax::kText:
      made.vt = VT_BSTR;
      made.bstrVal = make_text(value);
      result = made.bstrVal == nullptr ? E_OUTOFMEMORY : S_OK;
      break;
    case AttributeSyntax::kInteger:
      result = make_integer(value, made);
      break;
    case AttributeSyntax::kBoolean:
      result = make_boolean(value, made);
      break;
    case AttributeSyntax::kTime:
      result = make_date(value, made);
      break;
    case AttributeSyntax::kOctets:
      result = make_octets(value, made);
      break;
    case AttributeSyntax::kObject:
      result = E_ADS_CANT_CONVERT_DATATYPE;
      break;
  }
  if (SUCCEEDED(result)) variant = made;
  return result;
}

HRESULT make_array(const std::vector<std::string>& values, AttributeSyntax syntax,
                   VARIANT& variant) {
  SAFEARRAY* array = SafeArrayCreateVector(VT_VARIANT, 0, static_cast<ULONG>(values.size()));
  if (array == nullptr) return E_OUTOFMEMORY;
  auto* elements = static_cast<VARIANT*>(array->pvData);
  for (std::size_t i = 0; i < values.size(); ++i) {
    const HRESULT result = make_value(values[i], syntax, elements[i]);
    if (FAILED(result)) {
      SafeArrayDestroy(array);
      return result;
    }
  }
  variant.vt = VT_ARRAY | VT_VARIANT;
  variant.parray = array;
  return S_OK;
}

HRESULT values_from_variant(const VARIANT& variant, std::vector<std::string>& values) {
  if ((variant.vt & VT_BYREF) != 0) return E_ADS_CANT_CONVERT_DATATYPE;
  if ((variant.vt & VT_ARRAY) != 0) {
    return value_from_array(variant.parray, static_cast<VARTYPE>(variant.vt & VT_TYPEMASK), values);
  }
  switch (variant.vt) {
    case VT_BSTR:
      values.push_back(text_from_bstr(variant.bstrVal));
      return S_OK;
    case VT_I4:
      values.push_back(std::to_string(variant.lVal));
      return S_OK;
    case VT_I2:
      values.push_back(std::to_string(variant.iVal));
      return S_OK;
    case VT_BOOL:
      values.emplace_back(variant.boolVal != VARIANT_FALSE ? "TRUE" : "FALSE");
      return S_OK;
    case VT_DATE:
      values.push_back(directory_time_from_date(variant.date));
      return S_OK;
    default:
      return E_ADS_CANT_CONVERT_DATATYPE;
  }
}

}  // namespace platform
