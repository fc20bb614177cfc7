#include "directory/patterns.h"

#include <cstdio>

#include "directory/asking.h"

namespace directory {

HRESULT bind_object(const wchar_t* path, Reference<IADs>& object) {
  tell_asking(path);
  return ADsGetObject(path, IID_IADs, object.untyped_target());
}

HRESULT bind_container(const wchar_t* path, Reference<IADsContainer>& container) {
  tell_asking(path);
  return ADsGetObject(path, IID_IADsContainer, container.untyped_target());
}

HRESULT read(IADs* object, std::string_view attribute, Variant& value) {
  const DirectoryString name(attribute);
  return object->Get(name.get(), value.target());
}

bool read_text(IADs* object, std::string_view attribute, std::string& text) {
  Variant value;
  if (FAILED(read(object, attribute, value))) return false;
  text = text_of(value);
  return true;
}

int bind_or_trace(const trace::Scope& trace, const wchar_t* path, Reference<IADs>& object) {
  HRESULT result = bind_object(path, object);
  if (SUCCEEDED(result) && !object) result = E_NOINTERFACE;
  if (SUCCEEDED(result)) return 0;
  trace.error()("ADsGetObject Failed. Error number: %x\n", unsigned(result));
  return ADSI_OBJECT_ERR;
}

int read_or_trace(const trace::Scope& trace, IADs* object, std::string_view attribute,
                  std::string& text) {
  Variant value;
  const HRESULT result = read(object, attribute, value);
  if (FAILED(result)) {
    trace.error()("pObj->Get Failed. Error number: %x\n", unsigned(result));
    return ADSI_OBJECT_ERR;
  }
  text = text_of(value);
  return 0;
}

int parent_or_trace(const trace::Scope& trace, IADs* object, std::string& path) {
  DirectoryString parent;
  const HRESULT result = object->get_Parent(parent.target());
  if (FAILED(result)) {
    trace.error()("pObj->Get Failed. Error number: %x\n", unsigned(result));
    return ADSI_OBJECT_ERR;
  }
  path = parent.get() == nullptr ? std::string() : narrowed(parent.get());
  return 0;
}

Opened open_children(const wchar_t* path, Children& children) {
  Reference<IADsContainer> container;
  HRESULT result = bind_container(path, container);
  if (SUCCEEDED(result) && !container) result = E_NOINTERFACE;
  if (FAILED(result)) return {OpenFailure::kBind, result};
  result = children.build(container.get());
  if (FAILED(result)) return {OpenFailure::kEnumerator, result};
  return {};
}

int report_open_failure(const trace::Scope& trace, const Opened& opened) {
  if (opened.failure == OpenFailure::kBind) {
    trace.error()("ADsGetObject Failed. Error number: %x\n", unsigned(opened.result));
    return ADSI_OBJECT_ERR;
  }
  trace.error()("ADsBuildEnumerator Failed. Error number: %x\n", unsigned(opened.result));
  return ADSI_ENUM_ERR;
}

HRESULT element(const Variant& values, LONG index, Variant& value) {
  return SafeArrayGetElement(values.array(), &index, value.target());
}

bool bounds(const trace::Scope& trace, const Variant& values, const ArrayMessages& messages,
            LONG& lower, LONG& upper) {
  HRESULT result = SafeArrayGetLBound(values.array(), 1, &lower);
  if (FAILED(result)) {
    trace.error()(messages.lower_bound, unsigned(result));
    return false;
  }
  if (messages.traces_bounds) {
    trace.always()("SafeArrayGetLBound : <%ld>\n", static_cast<long>(lower));
  }
  result = SafeArrayGetUBound(values.array(), 1, &upper);
  if (FAILED(result)) {
    trace.error()(messages.upper_bound, unsigned(result));
    return false;
  }
  if (messages.traces_bounds) {
    trace.always()("SafeArrayGetUBound : <%ld>\n", static_cast<long>(upper));
  }
  return true;
}

std::string time_text(const SYSTEMTIME& local) {
  char text[64];
  std::snprintf(text, sizeof text, "%02d/%02d/%d  %02d:%02d", int{local.wMonth}, int{local.wDay},
                int{local.wYear}, int{local.wHour}, int{local.wMinute});
  return text;
}

bool read_time_text(IADs* object, std::string_view attribute, std::string& text) {
  const DirectoryString name(attribute);
  Variant values;
  if (FAILED(object->GetEx(name.get(), values.target())) || !values.is_array()) return false;
  Variant first;
  if (FAILED(element(values, 0, first)) || first.type() != VT_DATE) return false;
  SYSTEMTIME universal{};
  SYSTEMTIME local{};
  if (!VariantTimeToSystemTime(first.get().date, &universal)) return false;
  if (!SystemTimeToTzSpecificLocalTime(nullptr, &universal, &local)) return false;
  text = time_text(local);
  return true;
}

}  // namespace directory
