#include "agent/registry.h"

#include <cstdio>
#include <cstring>

#include "include/trace.h"

namespace {

// False when the text had to be cut.
bool keep(char* target, std::size_t size, const char* text) {
  const int length = std::snprintf(target, size, "%s", text == nullptr ? "" : text);
  return length >= 0 && static_cast<std::size_t>(length) < size;
}

bool is_local_root(HKEY root) {
  return root == HKEY_LOCAL_MACHINE || root == HKEY_USERS || root == HKEY_CURRENT_USER ||
         root == HKEY_CLASSES_ROOT;
}

// A target that is wanted and has no room.
bool has_no_room(const RegistryText* target) {
  return target != nullptr && (target->text == nullptr || target->size == 0);
}

}  // namespace

CRegistry::CRegistry() { called("CRegistry"); }

CRegistry::CRegistry(const char* machine, HKEY root, const char* path, bool create) {
  DCW_TRACE("CRegistry");
  called("CRegistry");
  if (machine != nullptr || root != nullptr) Open(machine, root, path, create);
}

CRegistry::CRegistry(const CRegistry& other) : RegistryState(other) {
  called("CRegistry");
  become_copy();
}

CRegistry& CRegistry::operator=(const CRegistry& other) {
  if (this == &other) return *this;
  if (is_open()) Close();
  RegistryState::operator=(other);
  called("operator=");
  become_copy();
  return *this;
}

CRegistry::~CRegistry() {
  if (is_open()) Close();
}

void CRegistry::called(const char* member) { keep(last_member_, sizeof last_member_, member); }
void CRegistry::calling(const char* call) { keep(last_call_, sizeof last_call_, call); }

// The two pointers go to room of the object itself.
void CRegistry::become_copy() {
  if (machine_pointer_ != nullptr) machine_pointer_ = machine_;
  if (security_ != nullptr) security_ = &security_room_;
  is_copy_ = true;
  owns_current_ = false;
  end_enumeration();
}

void CRegistry::end_enumeration() {
  enumeration_ = Enumeration::kNone;
  backwards_ = false;
  index_ = 0;
}

// Everything but the attributes for later opens, and what the last calls came to.
void CRegistry::clear() {
  path_[0] = '\0';
  current_ = nullptr;
  root_ = nullptr;
  machine_pointer_ = nullptr;
  machine_[0] = '\0';
  is_copy_ = false;
  owns_current_ = false;
  end_enumeration();
}

std::int32_t CRegistry::Open(const char* machine, HKEY root, const char* path, bool create) {
  DCW_TRACE("Open");
  called("Open");
  if (is_copy_) return trace.returns(kCopyCannotOpen);
  if (is_open()) return trace.returns(kAlreadyOpen);
  if (root == nullptr) root = HKEY_LOCAL_MACHINE;
  HKEY key = nullptr;
  if (machine != nullptr) {
    if (root != HKEY_LOCAL_MACHINE && root != HKEY_USERS) return trace.returns(kBadArgument);
    calling("RegConnectRegistry");
    last_result_ = RegConnectRegistryA(machine, root, &key);
  } else {
    if (!is_local_root(root)) return trace.returns(kBadArgument);
    calling("RegOpenKeyEx");
    last_result_ = RegOpenKeyExA(root, nullptr, 0, access_, &key);
  }
  if (last_result_ != ERROR_SUCCESS) return trace.returns(kCallFailed);
  current_ = key;
  root_ = key;
  if (machine != nullptr) {
    if (!keep(machine_, sizeof machine_, machine)) {
      trace.error()("The machine's name is kept as %s", machine_);
    }
    machine_pointer_ = machine_;
  }
  if (path == nullptr || *path == '\0') return trace.returns(kSuccess);
  return trace.returns(Position(path, create));
}

CRegistry::Place CRegistry::resolve(const char* path) const {
  const std::string here(path_);
  std::string wanted(path);
  if (wanted == "..") {
    const std::size_t last = here.rfind('\\');
    wanted = "\\" + (last == here.npos ? std::string() : here.substr(0, last));
  }
  Place place;
  place.from_root = wanted.front() == '\\';
  place.beneath = place.from_root ? wanted.substr(1) : wanted;
  place.path = place.from_root || here.empty() ? place.beneath : here + "\\" + place.beneath;
  return place;
}

LONG CRegistry::open_key(const Place& place, bool create, HKEY& key) {
  const HKEY parent = place.from_root ? root_ : current_;
  if (create) {
    calling("RegCreateKeyEx");
    last_result_ = RegCreateKeyExA(parent, place.beneath.c_str(), 0, class_, options_, access_,
                                   security_, &key, &disposition_);
  } else {
    calling("RegOpenKeyEx");
    last_result_ = RegOpenKeyExA(parent, place.beneath.c_str(), 0, access_, &key);
  }
  return last_result_;
}

std::int32_t CRegistry::Position(const char* path, bool create) {
  DCW_TRACE("Position");
  called("Position");
  if (!is_open()) return trace.returns(kNotOpen);
  if (path == nullptr || *path == '\0') return trace.returns(kBadArgument);
  const Place place = resolve(path);
  if (place.path.size() >= kPathSize) {
    // A path that was cut would lead to another key's parent.
    trace.error()("The path is longer than %d characters: %s", static_cast<int>(kPathSize),
                  place.path.c_str());
    return trace.returns(kTargetTooSmall);
  }
  HKEY key = nullptr;
  if (open_key(place, create, key) != ERROR_SUCCESS) return trace.returns(kCallFailed);
  if (owns_current_) RegCloseKey(current_);
  current_ = key;
  owns_current_ = key != root_;
  keep(path_, sizeof path_, place.path.c_str());
  // An enumeration that was left before its end says nothing about the new key.
  end_enumeration();
  return trace.returns(kSuccess);
}

std::int32_t CRegistry::Close() {
  DCW_TRACE("Close");
  called("Close");
  if (!is_open()) return trace.returns(kNotOpenForClose);
  LONG result = ERROR_SUCCESS;
  if (owns_current_) {
    calling("RegCloseKey");
    result = last_result_ = RegCloseKey(current_);
  }
  if (!is_copy_) {
    calling("RegCloseKey");
    last_result_ = RegCloseKey(root_);
    if (last_result_ == ERROR_SUCCESS) last_result_ = result;
    result = last_result_;
  }
  clear();
  return trace.returns(result == ERROR_SUCCESS ? kSuccess : kCallFailed);
}

std::int32_t CRegistry::Attributes(REGSAM access, DWORD options,
                                   const SECURITY_ATTRIBUTES* security, const char* class_name) {
  DCW_TRACE("Attributes");
  called("Attributes");
  const RegistryState standard;
  access_ = access;
  options_ = options;
  if (!keep(class_, sizeof class_, class_name)) {
    trace.error()("The class is cut at %d characters", static_cast<int>(sizeof class_) - 1);
  }
  security_room_ = security == nullptr ? SECURITY_ATTRIBUTES{} : *security;
  security_ = security == nullptr ? nullptr : &security_room_;
  attributes_set_ = access != standard.access_ || options != standard.options_ ||
                    security != nullptr || class_[0] != '\0';
  return trace.returns(security == nullptr ? kSuccess : kSecurityGiven);
}

std::int32_t CRegistry::GetInfo(bool* open, const RegistryText* member, const RegistryText* path,
                                const RegistryText* call, LONG* last_result,
                                const RegistryText* machine) {
  DCW_TRACE("GetInfo");
  called("GetInfo");
  struct {
    const RegistryText* target;
    const char* text;
  } const wanted[] = {
      {member, last_member_}, {path, path_}, {call, last_call_}, {machine, machine_}};
  for (const auto& one : wanted) {
    if (has_no_room(one.target)) return trace.returns(kTargetTooSmall);
  }
  if (open != nullptr) *open = is_open();
  if (last_result != nullptr) *last_result = last_result_;
  for (const auto& one : wanted) {
    if (one.target != nullptr && !keep(one.target->text, one.target->size, one.text)) {
      trace.error()("Told only as far as it fits: %s", one.target->text);
    }
  }
  return trace.returns(kSuccess);
}

LONG CRegistry::LastError(const RegistryText& call) {
  DCW_TRACE("LastError");
  called("LastError");
  if (call.text != nullptr && call.size > 0) keep(call.text, call.size, last_call_);
  return trace.returns(last_result_);
}

bool CRegistry::IsOpen() {
  DCW_TRACE("IsOpen");
  called("IsOpen");
  return trace.returns(is_open());
}
