#include "platform/automation/scripted_object.h"

#include <utility>

#include "platform/adsi/attribute_values.h"
#include "platform/adsi/counts.h"
#include "platform/adsi/wide_text.h"
#include "platform/kernel/fault_point.h"
#include "platform/recorded/utf8.h"

namespace platform {
namespace {

HRESULT raise(const Raised& raised, EXCEPINFO* exception) {
  if (exception == nullptr) return DISP_E_EXCEPTION;
  *exception = {};
  exception->scode = raised.code;
  exception->bstrSource = SysAllocString(L"Provider");
  exception->bstrDescription = SysAllocString(wide_text(raised.text).c_str());
  return DISP_E_EXCEPTION;
}

}  // namespace

ScriptedObject::ScriptedObject(const char* class_name, std::vector<const char*> members)
    : class_name_(class_name), members_(std::move(members)) {
  live_interfaces.add();
}

HRESULT ScriptedObject::QueryInterface(REFIID iid, void** object) {
  if (const auto fault = fault_point("IUnknown::QueryInterface", E_NOINTERFACE)) {
    return fault->hresult();
  }
  if (object == nullptr) return E_POINTER;
  *object = nullptr;
  if (iid != IID_IUnknown && iid != IID_IDispatch) return E_NOINTERFACE;
  *object = static_cast<IDispatch*>(this);
  AddRef();
  return S_OK;
}

ULONG ScriptedObject::AddRef() {
  live_interfaces.add();
  return references_.fetch_add(1) + 1;
}

ULONG ScriptedObject::Release() {
  live_interfaces.remove();
  const ULONG left = references_.fetch_sub(1) - 1;
  if (left == 0) delete this;
  return left;
}

HRESULT ScriptedObject::GetTypeInfoCount(UINT* count) {
  if (count == nullptr) return E_POINTER;
  *count = 0;
  return S_OK;
}

HRESULT ScriptedObject::GetTypeInfo(UINT, LCID, ITypeInfo**) { return E_NOTIMPL; }

HRESULT ScriptedObject::GetIDsOfNames(REFIID, LPOLESTR* names, UINT count, LCID, DISPID* ids) {
  if (const auto fault = fault_point("IDispatch::GetIDsOfNames", DISP_E_UNKNOWNNAME)) {
    return fault->hresult();
  }
  if (names == nullptr || ids == nullptr || count != 1) return E_INVALIDARG;
  const std::string name = narrow_text(names[0]);
  for (std::size_t i = 0; i < members_.size(); ++i) {
    if (!equal_without_case(members_[i], name)) continue;
    ids[0] = static_cast<DISPID>(i + 1);
    return S_OK;
  }
  ids[0] = DISPID_UNKNOWN;
  return DISP_E_UNKNOWNNAME;
}

HRESULT ScriptedObject::Invoke(DISPID id, REFIID, LCID, WORD flags, DISPPARAMS* parameters,
                               VARIANT* result, EXCEPINFO* exception, UINT*) {
  if (id < 1 || static_cast<std::size_t>(id) > members_.size()) return DISP_E_MEMBERNOTFOUND;
  if (parameters == nullptr) return E_INVALIDARG;
  const auto member = static_cast<std::size_t>(id - 1);
  const std::string call = class_name_ + "::" + members_[member];
  if (const auto fault = fault_point(call.c_str(), E_FAIL)) {
    return raise({fault->hresult(), call + " fails on purpose"}, exception);
  }
  const std::vector<VARIANT> arguments(
      std::make_reverse_iterator(parameters->rgvarg + parameters->cArgs),
      std::make_reverse_iterator(parameters->rgvarg));
  VARIANT value;
  VariantInit(&value);
  HRESULT outcome = S_OK;
  try {
    const bool is_put = (flags & (DISPATCH_PROPERTYPUT | DISPATCH_PROPERTYPUTREF)) != 0;
    outcome = answer(member, is_put, arguments, value);
  } catch (const Raised& raised) {
    return raise(raised, exception);
  }
  if (result != nullptr) {
    *result = value;
  } else {
    VariantClear(&value);
  }
  return outcome;
}

void ScriptedObject::give(VARIANT& result, std::int32_t number) {
  result.vt = VT_I4;
  result.lVal = number;
}

void ScriptedObject::give_flag(VARIANT& result, bool flag) {
  result.vt = VT_BOOL;
  result.boolVal = flag ? VARIANT_TRUE : VARIANT_FALSE;
}

void ScriptedObject::give_object(VARIANT& result, IDispatch* object) {
  result.vt = VT_DISPATCH;
  result.pdispVal = object;
}

std::string ScriptedObject::text(Arguments arguments, std::size_t at) {
  if (at >= arguments.size() || arguments[at].vt != VT_BSTR) {
    throw Raised{DISP_E_TYPEMISMATCH, "the argument is no text"};
  }
  return arguments[at].bstrVal == nullptr ? std::string() : text_from_bstr(arguments[at].bstrVal);
}

}  // namespace platform
