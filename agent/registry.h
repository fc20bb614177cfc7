#pragma once
// One place in the registry: a current key that can be opened, moved, read, written, enumerated and
// watched. The environment import works with it, and nothing else of the agent does.
//
// An object belongs to one thread. Members give a code; where it is kCallFailed, LastError tells
// which registry call failed and how. Paths are "x\y" from the current key, "\x\y" from the root
// key, ".." for the parent of the current key.

#include <cstddef>
#include <cstdint>
#include <string>

#include "include/platform/base.h"
#include "include/platform/registry.h"
#include "include/platform/time.h"

// A caller's buffer for a text; the default is one that is not wanted. Texts come with a zero end,
// and cut at the size.
struct RegistryText {
  char* text = nullptr;
  DWORD size = 0;  // bytes, with the zero end
};

// What RegQueryInfoKeyA tells of a key; each may be null.
struct RegistryKeyNumbers {
  DWORD* sub_keys = nullptr;
  DWORD* longest_sub_key = nullptr;  // characters, here and below, without a zero end
  DWORD* longest_class = nullptr;
  DWORD* values = nullptr;
  DWORD* longest_value_name = nullptr;
  DWORD* longest_value = nullptr;  // bytes
  DWORD* security_size = nullptr;  // bytes
  FILETIME* last_write = nullptr;
};

// All that an object holds, apart so that a copy is one assignment.
struct RegistryState {
  static constexpr std::size_t kPathSize = 1024;
  enum class Enumeration { kNone = 0, kValues = 1, kKeys = 2 };

  char path_[kPathSize] = {};  // of the current key, beneath the root key
  char class_[512] = {};       // for keys to create
  HKEY current_ = nullptr;
  HKEY root_ = nullptr;
  const char* machine_pointer_ = nullptr;  // to machine_; null for the local machine
  char machine_[32] = {};
  bool attributes_set_ = false;  // some attribute is not the default
  Enumeration enumeration_ = Enumeration::kNone;
  bool backwards_ = false;
  bool is_copy_ = false;
  DWORD index_ = 0;
  char last_call_[24] = {};
  LONG last_result_ = 0;
  DWORD disposition_ = 0;
  char last_member_[24] = {};
  REGSAM access_ = 0xF003F;
  DWORD options_ = 0;
  SECURITY_ATTRIBUTES* security_ = nullptr;  // to security_room_
  SECURITY_ATTRIBUTES security_room_ = {};
  // Whether this object opened the current key itself: a copy that was moved has one of its own.
  bool owns_current_ = false;
};

class CRegistry : private RegistryState {
 public:
  // What a member came to.
  enum Code : std::int32_t {
    kSuccess = 0,
    kAlreadyOpen = 1,
    kNotOpenForClose = 2,
    kNotOpen = 3,
    kTargetTooSmall = 4,
    kBadArgument = 5,
    kNoSuchKey = 6,
    kNoSuchValue = 7,
    kCallFailed = 8,
    kEnumerationEnd = 9,
    kOtherEnumeration = 10,
    kNoNameSize = 11,
    kNoValueSize = 12,
    kNoKeyNameSize = 13,
    kNoClassSize = 14,
    kCopyCannotOpen = 15,
    kInvalidHandle = 16,
    kHasSubKeys = 17,
    kMovedToParent = 18,
    kSecurityGiven = 999,
  };

  CRegistry();
  // Opens only when a machine or a root key is given.
  CRegistry(const char* machine, HKEY root, const char* path, bool create);
  // A copy stands where the other one stands and does not own that key: the other one must outlive
  // it, or its next move. It can be moved, and then closes what it opened itself.
  CRegistry(const CRegistry& other);
  CRegistry& operator=(const CRegistry& other);
  virtual ~CRegistry();

  // Opens the root key, of the local machine when machine is null, HKEY_LOCAL_MACHINE when root is
  // null, and moves on to the path when one is given; when that move fails, the root is open.
  std::int32_t Open(const char* machine, HKEY root, const char* path, bool create);
  // Moves the current key, and ends an enumeration. A failure leaves the object where it was.
  std::int32_t Position(const char* path, bool create = false);
  // The attributes stay for a later Open.
  std::int32_t Close();

  // Sizes are the buffers' on the way in and the registry's answer on the way out.
  std::int32_t GetValue(const char* name, BYTE* value, DWORD* type, DWORD* size);
  // As an expandable text, with its zero end.
  std::int32_t PutValue(const char* name, const char* text);
  std::int32_t PutValue(const char* name, const void* data, DWORD type, DWORD size);
  std::int32_t DeleteValue(const char* name);

  // The next value, or sub-key, of the current key; an enumeration begins with the first call after
  // a move or after the end of another. Backwards counts at that first call only.
  std::int32_t EnumVals(char* name, DWORD* name_size, BYTE* value, DWORD* value_size, DWORD* type,
                        DWORD* index = nullptr, bool backwards = false);
  std::int32_t EnumKeys(char* name, DWORD* name_size, char* class_name, DWORD* class_size,
                        FILETIME* last_write, DWORD* index = nullptr, bool backwards = false);

  // The current path, of which the target must hold 1024 characters, the key's class and its
  // numbers. What is null is not asked for.
  std::int32_t QueryKey(char* path, DWORD* path_size, char* class_name, DWORD* class_size,
                        const RegistryKeyNumbers& numbers);
  // Removes a key; one with sub-keys only when they are to go too. When the current key goes with
  // it, the object moves to the parent of what was removed.
  std::int32_t DeleteKey(const char* path, bool with_sub_keys);
  // Whether the path can be opened; leaves place and enumeration alone.
  bool KeyExists(const char* path);
  // filter: REG_NOTIFY_CHANGE_*. Signals the event at the next change, or at the close of the key;
  // without an event returns only then.
  std::int32_t NotifyChange(DWORD filter, HANDLE event, bool sub_tree);

  // For what is opened and created from now on. The security descriptor stays the caller's and must
  // outlive the object's use; kSecurityGiven, with everything set, reminds of that.
  std::int32_t Attributes(REGSAM access, DWORD options, const SECURITY_ATTRIBUTES* security,
                          const char* class_name);
  // The object's state. The member is always this one: like every other it notes its name first.
  std::int32_t GetInfo(bool* open, const RegistryText* member, const RegistryText* path,
                       const RegistryText* call, LONG* last_result, const RegistryText* machine);
  // The last result of a registry call, and the call's name when there is a target.
  LONG LastError(const RegistryText& call = {});
  bool IsOpen();

 private:
  // A path as Position understands it.
  struct Place {
    bool from_root = false;
    std::string beneath;  // of the root key, or of the current one
    std::string path;     // beneath the root key
  };

  void called(const char* member);
  void calling(const char* call);
  bool is_open() const { return current_ != nullptr; }
  Place resolve(const char* path) const;
  LONG open_key(const Place& place, bool create, HKEY& key);
  std::int32_t begin_enumeration(Enumeration kind, bool backwards);
  std::int32_t step(DWORD* index);
  std::int32_t remove_tree(const std::string& path, bool with_sub_keys);
  std::int32_t keep_failure_of(const CRegistry& other);
  void end_enumeration();
  void become_copy();
  void clear();
};
