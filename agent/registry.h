#pragma once
// One place in the registry: a current key that can be opened, moved and enumerated. So far it
// holds the members that the environment import uses. An object belongs to one thread.

#include <cstddef>
#include <cstdint>
#include <string_view>

#include "include/platform/base.h"
#include "include/platform/registry.h"

class CRegistry {
 public:
  // What a member came to.
  enum Code : std::int32_t {
    kSuccess = 0,
    kAlreadyOpen = 1,
    kNotOpenForClose = 2,
    kNotOpen = 3,
    kTargetTooSmall = 4,
    kBadArgument = 5,
    kCallFailed = 8,  // LastError tells the result of the registry call
    kEnumerationEnd = 9,
    kOtherEnumeration = 10,
    kNoNameSize = 11,
    kNoValueSize = 12,
    kCopyCannotOpen = 15,
  };

  CRegistry() = default;
  // Opens only when a machine or a root key is given.
  CRegistry(const char* machine, HKEY root, const char* path, bool create);
  virtual ~CRegistry();
  CRegistry(const CRegistry&) = delete;
  CRegistry& operator=(const CRegistry&) = delete;

  // Opens the root key, of the local machine when machine is null, HKEY_LOCAL_MACHINE when root is
  // null, and moves on to the path when one is given.
  std::int32_t Open(const char* machine, HKEY root, const char* path, bool create);
  // Moves the current key: ".." to the parent, "\x" beneath the root key, "x" beneath the current
  // one. A failure leaves the object where it was.
  std::int32_t Position(const char* path, bool create = false);
  std::int32_t Close();

  // The next value of the current key; an enumeration begins with the first call after a move. The
  // sizes are the buffers' on the way in and the registry's answer on the way out.
  std::int32_t EnumVals(char* name, DWORD* name_size, BYTE* value, DWORD* value_size, DWORD* type,
                        DWORD* index = nullptr, bool backwards = false);

  // The current path; kTargetTooSmall when it does not fit with its zero end.
  std::int32_t GetInfo(char* path, std::size_t size);
  LONG LastError() const { return last_result_; }
  bool IsOpen() const { return current_ != nullptr; }

 private:
  enum class Enumeration { kNone, kValues, kKeys };
  static constexpr std::size_t kPathSize = 1024;

  void called(const char* member);
  std::int32_t begin_values(bool backwards);
  LONG open_key(HKEY beneath, const char* path, bool create, HKEY& key);
  void end_enumeration();
  void clear();

  char path_[kPathSize] = {};
  char class_[512] = {};
  HKEY current_ = nullptr;
  HKEY root_ = nullptr;
  const char* machine_pointer_ = nullptr;
  char machine_[32] = {};
  bool attributes_set_ = false;
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
  SECURITY_ATTRIBUTES* security_ = nullptr;
};
