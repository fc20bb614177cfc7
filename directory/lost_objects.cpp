#include "directory/lost_objects.h"

#include <algorithm>
#include <cstring>
#include <iterator>
#include <span>

#include "directory/patterns.h"

using directory::AdsPath;
using directory::Reference;
using directory::Variant;
using directory::view;

namespace {

directory::Children lost_children;

// Text with its zero end, and blanks behind that.
void fill(const trace::Scope& trace, std::span<char> field, std::string_view text) {
  directory::copy_out(trace, field, text);
  std::fill(field.begin() + static_cast<std::ptrdiff_t>(std::strlen(field.data())) + 1, field.end(),
            ' ');
}

// The last of the classes, the most specific one. A single class is none: every object has several.
void read_class(const trace::Scope& trace, IADs* object, std::span<char> className) {
  Variant classes;
  if (FAILED(directory::read(object, "objectClass", classes)) || !classes.is_array()) return;
  trace.always()("Array Found\n");
  LONG lower = 0;
  LONG upper = -1;
  SafeArrayGetLBound(classes.array(), 1, &lower);
  trace.always()("lstart: <%ld>", static_cast<long>(lower));
  const HRESULT bounded = SafeArrayGetUBound(classes.array(), 1, &upper);
  trace.always()("lend: <%ld>", static_cast<long>(upper));
  Variant last;
  if (SUCCEEDED(bounded) && SUCCEEDED(directory::element(classes, upper, last))) {
    fill(trace, className, directory::text_of(last));
    trace.always()("String: <%s>", className.data());
  }
  classes.destroy_array();
}

}  // namespace

LostObjectsEnum::LostObjectsEnum(const char* server, const char* domain, int& result) {
  DCW_TRACE("LostObjectsEnum");
  const AdsPath<260> path(trace, L"LDAP://%S/cn=LostAndFound,%S", {view(server), view(domain)});
  trace.detail()("Container Name: %s\n", path.narrow().c_str());
  result = trace.returns(0);
  Reference<IADsContainer> container;
  if (FAILED(directory::bind_container(path.wide(), container)) || !container) {
    trace.error()("ADSI_CONTAINER_ERR\n");
    result = trace.returns(ADSI_CONTAINER_ERR);
  } else if (FAILED(lost_children.build(container.get()))) {
    trace.error()("ADSI_ENUM_ERR\n");
    result = trace.returns(ADSI_ENUM_ERR);
  }
}

LostObjectsEnum::~LostObjectsEnum() { FreeLostObject(); }

int LostObjectsEnum::GetObject(LostObject& object) {
  DCW_TRACE("GetObject");
  Variant child;
  if (!lost_children.next(child)) return trace.returns(ADSI_ENUM_END);
  Reference<IADs> found;
  if (FAILED(directory::as_object(child, found))) {
    trace.always()("Fails\n");
  } else {
    std::string name;
    if (directory::read_text(found.get(), "name", name)) {
      fill(trace, object.name, name);
      trace.detail()("ObjName: %s\n", object.name);
    }
    read_class(trace, found.get(), object.className);
  }
  trace.always()("Releasing pObj \n");
  trace.always()("Releasing var \n");
  return trace.returns(0);
}

int LostObjectsEnum::FreeLostObject() {
  DCW_TRACE("FreeLostObject");
  lost_children.release();
  return trace.returns(0);
}
