#include "platform/adsi/directory_object.h"

#include <utility>

#include "platform/adsi/attribute_values.h"
#include "platform/adsi/child_enumerator.h"
#include "platform/adsi/counts.h"
#include "platform/adsi/wide_text.h"
#include "platform/kernel/fault_point.h"
#include "platform/recorded/distinguished_name.h"
#include "platform/recorded/utf8.h"

namespace platform {
namespace {

// What a machine that belongs to no domain gives.
HRESULT without_directory(const AdsPath& path) {
  return path.server.empty() ? kDirectoryNoDomain : kDirectoryServerDown;
}

HRESULT read_entry(Controller& controller, const AdsPath& path,
                   const std::vector<std::string>& names, Entry& entry) {
  Directory* directory = controller.directory();
  if (directory == nullptr) return without_directory(path);
  if (path.is_root) return directory->read_root(path.server, entry);
  return directory->read(path.server, path.dn, names, entry);
}

HRESULT hand_out(const std::string& text, BSTR* out) {
  if (out == nullptr) return E_ADS_BAD_PARAMETER;
  *out = make_text(text);
  return *out == nullptr ? E_OUTOFMEMORY : S_OK;
}

// The class of an object is the last of its classes, which stand with the most general first.
std::string class_of(const Attribute* classes) {
  return classes == nullptr || classes->values.empty() ? std::string() : classes->values.back();
}

}  // namespace

HRESULT bind_object(const std::shared_ptr<Controller>& controller, AdsPath path,
                    bool with_attributes, DirectoryObject** object) {
  if (!path.is_root && !path.has_dn()) {
    AdsPath root_path{path.server, {}, true};
    Entry root;
    const HRESULT result = read_entry(*controller, root_path, {}, root);
    if (FAILED(result)) return result;
    const Attribute* context = root.find("defaultNamingContext");
    if (context == nullptr || context->values.empty()) return kDirectoryNoObject;
    path.dn = context->values.front();
  }
  Entry entry;
  const std::vector<std::string> names =
      with_attributes ? std::vector<std::string>() : std::vector<std::string>{"objectClass"};
  const HRESULT result = read_entry(*controller, path, names, entry);
  if (FAILED(result)) return result;
  std::optional<Entry> fetched;
  if (with_attributes || path.is_root) fetched = std::move(entry);
  *object = new DirectoryObject(controller, std::move(path), std::move(fetched));
  return S_OK;
}

DirectoryObject::DirectoryObject(std::shared_ptr<Controller> controller, AdsPath path,
                                 std::optional<Entry> fetched)
    : controller_(std::move(controller)), path_(std::move(path)), fetched_(std::move(fetched)) {
  live_interfaces.add();
}

void DirectoryObject::mark_as_new(const std::string& class_name) {
  is_new_ = true;
  cache_is_filled_ = true;
  cache_.stage(ADS_PROPERTY_UPDATE, "objectClass", {"top", class_name});
}

HRESULT DirectoryObject::QueryInterface(REFIID iid, void** object) {
  if (const auto fault = fault_point("IUnknown::QueryInterface", E_NOINTERFACE)) {
    return fault->hresult();
  }
  if (object == nullptr) return E_POINTER;
  *object = nullptr;
  if (iid == IID_IUnknown || iid == IID_IDispatch || iid == IID_IADs) {
    *object = static_cast<IADs*>(this);
  } else if (iid == IID_IADsContainer && !path_.is_root) {
    *object = static_cast<IADsContainer*>(this);
  } else if (iid == IID_IDirectorySearch && !path_.is_root) {
    *object = static_cast<IDirectorySearch*>(this);
  } else {
    return E_NOINTERFACE;
  }
  AddRef();
  return S_OK;
}

ULONG DirectoryObject::AddRef() {
  live_interfaces.add();
  return references_.fetch_add(1) + 1;
}

ULONG DirectoryObject::Release() {
  live_interfaces.remove();
  const ULONG left = references_.fetch_sub(1) - 1;
  if (left == 0) delete this;
  return left;
}

HRESULT DirectoryObject::GetTypeInfoCount(UINT* count) {
  if (count == nullptr) return E_POINTER;
  *count = 0;
  return S_OK;
}

HRESULT DirectoryObject::GetTypeInfo(UINT, LCID, ITypeInfo**) { return E_NOTIMPL; }

HRESULT DirectoryObject::GetIDsOfNames(REFIID, LPOLESTR*, UINT, LCID, DISPID*) { return E_NOTIMPL; }

HRESULT DirectoryObject::Invoke(DISPID, REFIID, LCID, WORD, DISPPARAMS*, VARIANT*, EXCEPINFO*,
                                UINT*) {
  return E_NOTIMPL;
}

HRESULT DirectoryObject::fetch() {
  if (is_new_) return E_ADS_OBJECT_UNBOUND;
  Entry entry;
  const HRESULT result = read_entry(*controller_, path_, {}, entry);
  if (FAILED(result)) return result;
  cache_.merge(entry);
  cache_is_filled_ = true;
  return S_OK;
}

HRESULT DirectoryObject::fetch_once() {
  if (cache_is_filled_) return S_OK;
  if (!fetched_) return fetch();
  cache_.merge(*fetched_);
  fetched_.reset();
  cache_is_filled_ = true;
  return S_OK;
}

HRESULT DirectoryObject::attribute(BSTR name, const Attribute*& found) {
  if (name == nullptr || *name == L'\0') return E_ADS_BAD_PARAMETER;
  const std::string narrow_name = text_from_bstr(name);
  found = cache_.find(narrow_name);
  if (found == nullptr) {
    const HRESULT result = fetch_once();
    if (FAILED(result)) return result;
    found = cache_.find(narrow_name);
  }
  return found == nullptr || found->values.empty() ? E_ADS_PROPERTY_NOT_FOUND : S_OK;
}

HRESULT DirectoryObject::get_Name(BSTR* name) {
  if (const auto fault = fault_point("IADs::get_Name", E_FAIL)) return fault->hresult();
  if (path_.is_root) return hand_out("rootDSE", name);
  return hand_out(std::string(split_dn(path_.dn).front()), name);
}

HRESULT DirectoryObject::get_Class(BSTR* name) {
  if (const auto fault = fault_point("IADs::get_Class", E_FAIL)) return fault->hresult();
  const HRESULT result = fetch_once();
  return FAILED(result) ? result : hand_out(class_of(cache_.find("objectClass")), name);
}

HRESULT DirectoryObject::get_GUID(BSTR* guid) {
  if (const auto fault = fault_point("IADs::get_GUID", E_FAIL)) return fault->hresult();
  const HRESULT result = fetch_once();
  if (FAILED(result)) return result;
  const Attribute* octets = cache_.find("objectGUID");
  if (octets == nullptr || octets->values.empty()) return E_ADS_PROPERTY_NOT_FOUND;
  std::string text;
  for (const char octet : octets->values.front()) {
    const auto byte = static_cast<unsigned char>(octet);
    text.push_back("0123456789abcdef"[byte >> 4]);
    text.push_back("0123456789abcdef"[byte & 0xF]);
  }
  return hand_out(text, guid);
}

HRESULT DirectoryObject::get_ADsPath(BSTR* path) {
  if (const auto fault = fault_point("IADs::get_ADsPath", E_FAIL)) return fault->hresult();
  return hand_out(path_text(path_), path);
}

HRESULT DirectoryObject::get_Parent(BSTR* path) {
  if (const auto fault = fault_point("IADs::get_Parent", E_FAIL)) return fault->hresult();
  return hand_out(path_text({path_.server, std::string(parent_dn(path_.dn))}), path);
}

HRESULT DirectoryObject::get_Schema(BSTR* path) {
  if (const auto fault = fault_point("IADs::get_Schema", E_FAIL)) return fault->hresult();
  const HRESULT result = fetch_once();
  if (FAILED(result)) return result;
  std::string text = path_text({path_.server, {}});
  if (!path_.server.empty()) text.push_back('/');
  return hand_out(text + "schema/" + class_of(cache_.find("objectClass")), path);
}

HRESULT DirectoryObject::GetInfo() {
  if (const auto fault = fault_point("IADs::GetInfo", kDirectoryServerDown)) {
    return fault->hresult();
  }
  fetched_.reset();
  return fetch();
}

HRESULT DirectoryObject::SetInfo() {
  if (const auto fault = fault_point("IADs::SetInfo", kDirectoryAccess)) return fault->hresult();
  if (!cache_.has_staged()) return S_OK;
  Directory* directory = controller_->directory();
  if (directory == nullptr) return without_directory(path_);
  const std::vector<Attribute> staged = cache_.staged();
  const HRESULT result = is_new_ ? directory->add(path_.server, {path_.dn, staged})
                                 : directory->modify(path_.server, path_.dn, staged);
  // What was refused stays staged: the caller may try again.
  if (FAILED(result)) return result;
  cache_.forget_staged();
  if (is_new_) cache_is_filled_ = false;  // the directory has filled in more
  is_new_ = false;
  return S_OK;
}

HRESULT DirectoryObject::Get(BSTR name, VARIANT* value) {
  if (const auto fault = fault_point("IADs::Get", E_ADS_PROPERTY_NOT_FOUND)) {
    return fault->hresult();
  }
  if (value == nullptr) return E_ADS_BAD_PARAMETER;
  const Attribute* found = nullptr;
  const HRESULT result = attribute(name, found);
  if (FAILED(result)) return result;
  const AttributeSyntax syntax =
      path_.is_root ? AttributeSyntax::kText : shown_syntax(found->name, found->values);
  return found->values.size() == 1 ? make_value(found->values.front(), syntax, *value)
                                   : make_array(found->values, syntax, *value);
}

HRESULT DirectoryObject::Put(BSTR name, VARIANT value) {
  if (const auto fault = fault_point("IADs::Put", E_ADS_BAD_PARAMETER)) return fault->hresult();
  if (name == nullptr || *name == L'\0') return E_ADS_BAD_PARAMETER;
  std::vector<std::string> values;
  const HRESULT result = values_from_variant(value, values);
  if (SUCCEEDED(result)) cache_.stage(ADS_PROPERTY_UPDATE, text_from_bstr(name), std::move(values));
  return result;
}

HRESULT DirectoryObject::GetEx(BSTR name, VARIANT* values) {
  if (const auto fault = fault_point("IADs::GetEx", E_ADS_PROPERTY_NOT_FOUND)) {
    return fault->hresult();
  }
  if (values == nullptr) return E_ADS_BAD_PARAMETER;
  const Attribute* found = nullptr;
  const HRESULT result = attribute(name, found);
  if (FAILED(result)) return result;
  const AttributeSyntax syntax =
      path_.is_root ? AttributeSyntax::kText : shown_syntax(found->name, found->values);
  return make_array(found->values, syntax, *values);
}

HRESULT DirectoryObject::PutEx(LONG control, BSTR name, VARIANT values) {
  if (const auto fault = fault_point("IADs::PutEx", E_ADS_BAD_PARAMETER)) return fault->hresult();
  if (name == nullptr || *name == L'\0') return E_ADS_BAD_PARAMETER;
  std::vector<std::string> texts;
  if (control != ADS_PROPERTY_CLEAR) {
    const HRESULT result = values_from_variant(values, texts);
    if (FAILED(result)) return result;
  }
  // Appending to and deleting from values needs to know them first.
  if (control == ADS_PROPERTY_APPEND || control == ADS_PROPERTY_DELETE) {
    const HRESULT result = fetch_once();
    if (FAILED(result)) return result;
  }
  return cache_.stage(control, text_from_bstr(name), std::move(texts)) ? S_OK : E_ADS_BAD_PARAMETER;
}

HRESULT DirectoryObject::GetInfoEx(VARIANT names, LONG) {
  if (const auto fault = fault_point("IADs::GetInfoEx", kDirectoryServerDown)) {
    return fault->hresult();
  }
  if (is_new_) return E_ADS_OBJECT_UNBOUND;
  std::vector<std::string> wanted;
  HRESULT result = values_from_variant(names, wanted);
  if (FAILED(result)) return result;
  Entry entry;
  result = read_entry(*controller_, path_, wanted, entry);
  if (SUCCEEDED(result)) cache_.merge(entry);
  return result;
}

}  // namespace platform
