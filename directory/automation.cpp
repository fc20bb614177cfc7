#include "directory/automation.h"

#include <cstdio>
#include <vector>

#include "directory/text.h"

namespace directory {
namespace {

constexpr LCID kNeutralLocale = 0;

std::string failure_text(const wchar_t* name, HRESULT result, const std::string& told) {
  char code[16];
  std::snprintf(code, sizeof code, "%x", unsigned(result));
  return narrowed(name) + " failed: " + code + (told.empty() ? "" : " (" + told + ")");
}

// What a failed call tells of itself; its texts are the caller's to free.
class Excuse {
 public:
  Excuse() = default;
  ~Excuse() {
    for (BSTR text : {info_.bstrSource, info_.bstrDescription, info_.bstrHelpFile}) {
      Variant owner;
      VARIANT* value = owner.target();
      value->vt = VT_BSTR;
      value->bstrVal = text;
    }
  }
  Excuse(const Excuse&) = delete;
  Excuse& operator=(const Excuse&) = delete;

  EXCEPINFO* target() { return &info_; }
  void complete() {
    if (info_.pfnDeferredFillIn != nullptr) info_.pfnDeferredFillIn(&info_);
  }
  HRESULT result(HRESULT otherwise) const {
    return info_.scode != 0 ? static_cast<HRESULT>(info_.scode) : otherwise;
  }
  std::string text() const {
    return info_.bstrDescription == nullptr ? std::string() : narrowed(info_.bstrDescription);
  }

 private:
  EXCEPINFO info_{};
};

}  // namespace

Argument::Argument(const wchar_t* text) {
  VARIANT* value = value_.target();
  value->bstrVal = SysAllocString(text);
  value->vt = VT_BSTR;
}

Argument::Argument(std::int32_t number) {
  VARIANT* value = value_.target();
  value->vt = VT_I4;
  value->lVal = number;
}

void Argument::set_flag(bool flag) {
  VARIANT* value = value_.target();
  value->vt = VT_BOOL;
  value->boolVal = flag ? VARIANT_TRUE : VARIANT_FALSE;
}

Argument::Argument(IDispatch* object) {
  if (object != nullptr) object->AddRef();
  VARIANT* value = value_.target();
  value->vt = VT_DISPATCH;
  value->pdispVal = object;
}

Argument::Argument(Missing) {
  VARIANT* value = value_.target();
  value->vt = VT_ERROR;
  value->scode = DISP_E_PARAMNOTFOUND;
}

HRESULT AutomationObject::create(REFCLSID class_id) {
  HRESULT result =
      CoCreateInstance(class_id, nullptr, CLSCTX_ALL, IID_IDispatch, object_.untyped_target());
  if (SUCCEEDED(result) && !object_) result = E_NOINTERFACE;
  return result;
}

HRESULT AutomationObject::invoke(const wchar_t* name, WORD kind,
                                 std::initializer_list<const Argument*> arguments,
                                 Variant* result) {
  if (!object_) throw AutomationError(E_POINTER, failure_text(name, E_POINTER, "no object"));
  std::wstring writable = name;
  LPOLESTR names[] = {writable.data()};
  DISPID id = DISPID_UNKNOWN;
  HRESULT outcome = object_->GetIDsOfNames(IID_NULL, names, 1, kNeutralLocale, &id);
  if (FAILED(outcome)) throw AutomationError(outcome, failure_text(name, outcome, ""));
  // The last argument stands first; the values stay the arguments' own.
  std::vector<VARIANTARG> values;
  for (auto argument = arguments.end(); argument != arguments.begin();) {
    values.push_back((*--argument)->value());
  }
  DISPID put = DISPID_PROPERTYPUT;
  DISPPARAMS parameters{values.data(), nullptr, static_cast<UINT>(values.size()), 0};
  if ((kind & (DISPATCH_PROPERTYPUT | DISPATCH_PROPERTYPUTREF)) != 0) {
    parameters.rgdispidNamedArgs = &put;
    parameters.cNamedArgs = 1;
  }
  Excuse excuse;
  UINT wrong_argument = 0;
  outcome = object_->Invoke(id, IID_NULL, kNeutralLocale, kind, &parameters,
                            result == nullptr ? nullptr : result->target(), excuse.target(),
                            &wrong_argument);
  if (SUCCEEDED(outcome)) return outcome;
  if (outcome == DISP_E_EXCEPTION) {
    excuse.complete();
    outcome = excuse.result(outcome);
  }
  throw AutomationError(outcome, failure_text(name, outcome, excuse.text()));
}

void AutomationObject::take_from(const Variant& value, const wchar_t* name) {
  object_.release();
  IDispatch* object = value.type() == VT_DISPATCH ? value.get().pdispVal : nullptr;
  const HRESULT result = object == nullptr
                             ? E_NOINTERFACE
                             : object->QueryInterface(IID_IDispatch, object_.untyped_target());
  if (FAILED(result)) throw AutomationError(result, failure_text(name, result, ""));
}

HRESULT AutomationObject::call(const wchar_t* method,
                               std::initializer_list<const Argument*> arguments) {
  return invoke(method, DISPATCH_METHOD, arguments, nullptr);
}

void AutomationObject::call_for_object(const wchar_t* method,
                                       std::initializer_list<const Argument*> arguments,
                                       AutomationObject& target) {
  Variant value;
  invoke(method, DISPATCH_METHOD, arguments, &value);
  target.take_from(value, method);
}

void AutomationObject::put(const wchar_t* property, const Argument& value) {
  invoke(property, DISPATCH_PROPERTYPUT, {&value}, nullptr);
}

void AutomationObject::put_reference(const wchar_t* property, const AutomationObject& value) {
  const Argument reference(value.object_.get());
  invoke(property, DISPATCH_PROPERTYPUTREF, {&reference}, nullptr);
}

std::int32_t AutomationObject::number(const wchar_t* property) {
  Variant value;
  invoke(property, DISPATCH_PROPERTYGET, {}, &value);
  return value.get().lVal;
}

bool AutomationObject::flag(const wchar_t* property) {
  Variant value;
  invoke(property, DISPATCH_PROPERTYGET, {}, &value);
  return value.get().boolVal != VARIANT_FALSE;
}

AutomationObject AutomationObject::object(const wchar_t* property,
                                          std::initializer_list<const Argument*> arguments) {
  Variant value;
  invoke(property, DISPATCH_PROPERTYGET | (arguments.size() == 0 ? 0 : DISPATCH_METHOD), arguments,
         &value);
  AutomationObject found;
  found.take_from(value, property);
  return found;
}

}  // namespace directory
