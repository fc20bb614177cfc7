// The object by which a domain controller measures replication: one of its own in the domain's
// LostAndFound container, named after the controller, that carries the time of its last change.

#include <ctime>

#include "directory/adsi_utils.h"
#include "directory/patterns.h"
#include "include/platform/time.h"

using directory::AdsPath;
using directory::copy_out;
using directory::DirectoryString;
using directory::Reference;
using directory::Variant;
using directory::view;

namespace {

constexpr const char* kClass = "applicationEntity";

using ObjectPath = AdsPath<260>;

ObjectPath container_path(const trace::Scope& trace, const char* server, const char* domain) {
  return {trace, L"LDAP://%S/cn=LostAndFound,%S", {view(server), view(domain)}};
}

// Only traced: the object is reached through its container.
ObjectPath object_path(const trace::Scope& trace, const char* server, const char* name,
                       const char* domain) {
  return {trace, L"LDAP://%S/cn=%S,cn=LostAndFound,%S", {view(server), view(name), view(domain)}};
}

std::string relative_name(const char* name) { return std::string("cn=").append(view(name)); }

HRESULT as_object(const Reference<IDispatch>& dispatch, Reference<IADs>& object) {
  if (!dispatch) return E_NOINTERFACE;
  return dispatch->QueryInterface(IID_IADs, object.untyped_target());
}

// ---- reading ------------------------------------------------------------------------------------

int object_error(const trace::Scope& trace) {
  trace.always()("Error number %x\n.", unsigned(GetLastError()));
  trace.always()("ADSI_OBJECT_ERR\n");
  return ADSI_OBJECT_ERR;
}

int find_object(const trace::Scope& trace, const ObjectPath& container_path, const char* name,
                Reference<IADs>& object) {
  Reference<IADsContainer> container;
  const HRESULT bound = directory::bind_container(container_path.wide(), container);
  const std::string path = container_path.narrow();
  trace.always()("ADsGetObject( %s, IID_IADsContainer, (void**)&pCont);\n", path.c_str());
  if (FAILED(bound) || !container) {
    trace.always()("ERROR: ADsGetObject failed for container: %s\n", path.c_str());
    trace.always()("Error number %x\n", unsigned(GetLastError()));
    trace.always()("ADSI_CONTAINER_ERR\n");
    return ADSI_CONTAINER_ERR;
  }
  const std::string relative = relative_name(name);
  Reference<IDispatch> dispatch;
  if (FAILED(container->GetObject(DirectoryString(kClass).get(), DirectoryString(relative).get(),
                                  dispatch.target()))) {
    trace.always()("ERROR: Container->GetObject failed for applicationEntity object: %s",
                   relative.c_str());
    return object_error(trace);
  }
  if (FAILED(as_object(dispatch, object))) {
    trace.always()("ERROR: IDispatch->QueryInterface failed.");
    return object_error(trace);
  }
  return 0;
}

// One attribute with its own message.
int read_attribute(const trace::Scope& trace, IADs* object, const char* attribute, Variant& value) {
  if (SUCCEEDED(directory::read(object, attribute, value))) return 0;
  trace.always()("ERROR: pObj->Get(\"%s\") failed.", attribute);
  return object_error(trace);
}

// The directory's time as it stands; mktime normalises it.
void fill_time(double date, std::tm& time) {
  SYSTEMTIME universal{};
  VariantTimeToSystemTime(date, &universal);
  time = {};
  time.tm_sec = universal.wSecond;
  time.tm_min = universal.wMinute;
  time.tm_hour = universal.wHour;
  time.tm_mday = universal.wDay;
  time.tm_mon = universal.wMonth - 1;
  time.tm_year = universal.wYear - 1900;
  time.tm_wday = universal.wDayOfWeek;
  time.tm_isdst = -1;
  std::mktime(&time);
}

// ---- writing ------------------------------------------------------------------------------------

// The time in universal time as it is written, with a newline at its end.
std::string time_text(std::time_t now) {
  std::tm universal{};
  gmtime_s(&universal, &now);
  char text[64] = {};
  asctime_s(text, sizeof text, &universal);
  return text;
}

// How the object is reached in its container: found there or made.
using Reach = HRESULT (WINAPI IADsContainer::*)(BSTR, BSTR, IDispatch**);

int reach_object(const trace::Scope& trace, const ObjectPath& path, const char* name, Reach reach,
                 Reference<IADs>& object) {
  Reference<IADsContainer> container;
  if (FAILED(directory::bind_container(path.wide(), container)) || !container) {
    trace.error()("ADSI_CONTAINER_ERR\n");
    return ADSI_CONTAINER_ERR;
  }
  Reference<IDispatch> dispatch;
  if (FAILED((container.get()->*reach)(DirectoryString(kClass).get(),
                                       DirectoryString(relative_name(name)).get(),
                                       dispatch.target())) ||
      FAILED(as_object(dispatch, object))) {
    trace.error()("ADSI_OBJECT_ERR\n");
    return ADSI_OBJECT_ERR;
  }
  return 0;
}

// What failed is told by the last system error, not by the call's own result.
int note_failure(const trace::Scope& trace, const char* format) {
  trace.error()(format, unsigned(GetLastError()));
  return ADSI_OBJECT_ERR;
}

HRESULT put_text(IADs* object, const char* attribute, std::string_view text) {
  const DirectoryString value(text);
  VARIANT variant;
  VariantInit(&variant);
  variant.vt = VT_BSTR;
  variant.bstrVal = value.get();
  return object->Put(DirectoryString(attribute).get(), variant);
}

}  // namespace

int ADSIutils::GetConsistencyObject(const char* server, const char* domain, const char* name,
                                    ConsistencyObject& record) {
  DCW_TRACE("GetConsistencyObject");
  const ObjectPath container = container_path(trace, server, domain);
  trace.always()("Consistency Object Container: %s\n", container.narrow().c_str());
  trace.always()("Consistency Object Name: %s\n",
                 object_path(trace, server, name, domain).narrow().c_str());
  Reference<IADs> object;
  const int found = find_object(trace, container, name, object);
  if (found != 0) return trace.returns(found);
  Variant value;
  if (read_attribute(trace, object.get(), "name", value) != 0) {
    return trace.returns(ADSI_OBJECT_ERR);
  }
  copy_out(trace, record.name, directory::text_of(value));
  if (read_attribute(trace, object.get(), "description", value) != 0) {
    return trace.returns(ADSI_OBJECT_ERR);
  }
  copy_out(trace, record.description, directory::text_of(value));
  if (read_attribute(trace, object.get(), "whenChanged", value) != 0) {
    return trace.returns(ADSI_OBJECT_ERR);
  }
  fill_time(value.get().date, record.whenChanged);
  return trace.returns(0);
}

int ADSIutils::CreateConsistencyObject(const char* server, const char* domain) {
  DCW_TRACE("CreateConsistencyObject");
  const std::string now = time_text(_time64(nullptr));
  const ObjectPath container = container_path(trace, server, domain);
  trace.detail()("strContainerDN: %s\n", container.narrow().c_str());
  trace.detail()("strObjectDN: %s\n", object_path(trace, server, server, domain).narrow().c_str());
  Reference<IADs> object;
  int outcome = reach_object(trace, container, server, &IADsContainer::Create, object);
  if (outcome != 0) return trace.returns(outcome);
  if (FAILED(put_text(object.get(), "presentationAddress", view(server)))) {
    outcome = note_failure(trace, "Error number %x\n.");
  }
  if (FAILED(put_text(object.get(), "description", now))) {
    outcome = note_failure(trace, "Error number %x\n");
  }
  if (FAILED(object->SetInfo())) outcome = note_failure(trace, "Error number %x\n");
  return trace.returns(outcome);
}

int ADSIutils::UpdateConsistencyObject(const char* server, const char* domain) {
  DCW_TRACE("UpdateConsistencyObject");
  const std::string now = time_text(_time64(nullptr));
  const ObjectPath container = container_path(trace, server, domain);
  trace.detail()("Container Name: %s\n", container.narrow().c_str());
  trace.detail()("Consistency Object Name: %s\n",
                 object_path(trace, server, server, domain).narrow().c_str());
  Reference<IADs> object;
  int outcome = reach_object(trace, container, server, &IADsContainer::GetObject, object);
  if (outcome != 0) return trace.returns(outcome);
  const HRESULT put = put_text(object.get(), "description", now);
  if (FAILED(put)) outcome = note_failure(trace, "Error number %x\n");
  // Whether the change is committed is deliberately not looked at; the result is once more that of
  // the put. A change that was lost shows as latency at the partners, which is what is measured.
  object->SetInfo();
  if (FAILED(put)) outcome = note_failure(trace, "Error number %x\n");
  return trace.returns(outcome);
}
