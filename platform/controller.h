#pragma once
// A controller answers what only a domain controller has: its directory, its counters, its
// registry, what kind of machine it is. A recorded one answers from a folder of standard files, a
// live one from the network. Plain portable C++: nothing here or behind it may use the threads,
// events and files of the platform layer.
//
// All operations may be called from any thread. A part that a controller lacks is a null pointer,
// and the platform call above it then answers as a machine without that part does.

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace platform {

// What an operation of the directory came to: an HRESULT as ADSI gives it (0 is success).
using DirectoryResult = std::int32_t;
inline constexpr DirectoryResult kDirectoryOk = 0;
inline constexpr DirectoryResult kDirectoryEnd = 1;  // S_FALSE: an enumeration has no more objects
inline constexpr DirectoryResult kDirectoryBadPath = static_cast<DirectoryResult>(0x80005000);
inline constexpr DirectoryResult kDirectoryNoAttribute = static_cast<DirectoryResult>(0x8000500D);
inline constexpr DirectoryResult kDirectoryNoObject = static_cast<DirectoryResult>(0x80072030);
inline constexpr DirectoryResult kDirectoryServerDown = static_cast<DirectoryResult>(0x8007203A);
inline constexpr DirectoryResult kDirectoryTimeout = static_cast<DirectoryResult>(0x800705B4);
inline constexpr DirectoryResult kDirectoryOperations = static_cast<DirectoryResult>(0x80072020);
inline constexpr DirectoryResult kDirectoryReferral = static_cast<DirectoryResult>(0x8007202B);
inline constexpr DirectoryResult kDirectoryNoDomain = static_cast<DirectoryResult>(0x8007054B);
inline constexpr DirectoryResult kDirectoryAccess = static_cast<DirectoryResult>(0x80070005);

struct Attribute {
  std::string name;
  std::vector<std::string> values;  // as LDAP gives them: text is UTF-8, octets are raw
};

struct Entry {
  std::string dn;
  std::vector<Attribute> attributes;
  // The attribute of that name, letter case aside, or null.
  const Attribute* find(std::string_view name) const;
};

// The children of one object, handed out one after the other; released with the object.
class EntryCursor {
 public:
  virtual ~EntryCursor() = default;
  // kDirectoryOk and the next child with all its attributes, kDirectoryEnd, or an error; after an
  // end or an error the same answer again.
  virtual DirectoryResult next(Entry& entry) = 0;
};

enum class SearchScope { kBase, kOneLevel, kSubtree };

// server: a short or full host name, or empty for the controller that the locator would choose.
class Directory {
 public:
  virtual ~Directory() = default;
  virtual DirectoryResult read_root(std::string_view server, Entry& entry) = 0;
  // With no names all attributes that a plain read gives; constructed ones only when named.
  virtual DirectoryResult read(std::string_view server, std::string_view dn,
                               const std::vector<std::string>& names, Entry& entry) = 0;
  virtual DirectoryResult search(std::string_view server, std::string_view base, SearchScope scope,
                                 std::string_view filter, const std::vector<std::string>& names,
                                 std::unique_ptr<EntryCursor>& cursor) = 0;
};

// Status codes are PDH's (0 is success).
using CounterStatus = std::int32_t;

struct CounterPath {
  std::string machine;  // without backslashes; empty for the local machine
  std::string object;
  std::string parent;    // empty for none
  std::string instance;  // empty for none
  std::uint32_t index = 0xFFFFFFFFu;
  std::string counter;
};

// A counter found by its path, to be read by its number from then on.
struct CounterReference {
  std::uint64_t number = 0;
  bool rate = false;  // computed from two samples: the first collection alone gives no value
};

class CounterSource {
 public:
  virtual ~CounterSource() = default;
  // 0, or the PDH status that validation of the path gives now.
  virtual CounterStatus validate(const CounterPath& path) = 0;
  // 0 and the reference of a counter that the source knows, whether or not its instance is there
  // now; otherwise the status that says what is unknown. References stay good with the source.
  virtual CounterStatus find(const CounterPath& path, CounterReference& reference) = 0;
  // The moment that a collection made now would read; handed back to value().
  virtual std::uint64_t snapshot() = 0;
  // 0 and the value, or what was not there at that moment.
  virtual CounterStatus value(std::uint64_t number, std::uint64_t snapshot, double& value) = 0;
  // Names of the objects, and of an object's counters and of the instances that it has now, in the
  // source's order. Instances that share a name are listed as often as they are.
  virtual std::vector<std::string> objects() = 0;
  virtual CounterStatus items(std::string_view object, std::vector<std::string>& counters,
                              std::vector<std::string>& instances) = 0;
  // Name tables: pairs of index and name, in English and in the machine's own language.
  virtual std::vector<std::pair<std::uint32_t, std::string>> english_names() = 0;
  virtual std::vector<std::pair<std::uint32_t, std::string>> local_names() = 0;
};

struct RegistryValue {
  std::string name;
  std::uint32_t type = 1;
  std::string data;  // raw bytes; text is in the process code page, with its zero end
};

class RegistryHive {
 public:
  virtual ~RegistryHive() = default;
  // Paths begin with the root's long name, "HKEY_LOCAL_MACHINE\\SOFTWARE"; case does not count.
  virtual bool has_key(std::string_view path) = 0;
  virtual std::vector<std::string> subkeys(std::string_view path) = 0;
  virtual std::vector<RegistryValue> values(std::string_view path) = 0;
};

struct MachineFacts {
  std::string host_name;   // short, for instance "DC1"
  std::string dns_suffix;  // for instance "corp.example"; may be empty
  std::uint32_t os_major = 10;
  std::uint32_t os_minor = 0;
  std::uint32_t os_build = 20348;
  std::uint16_t language = 1033;
};

// platform/directory_services/services.h and platform/commands/command_source.h
class DirectoryServices;
class CommandSource;

class Controller {
 public:
  virtual ~Controller() = default;
  virtual std::string description() const = 0;  // for people: the folder or the address
  virtual const MachineFacts& machine() const = 0;
  virtual Directory* directory() = 0;
  virtual CounterSource* counters() = 0;
  virtual RegistryHive* registry() = 0;
  virtual DirectoryServices* directory_services() { return nullptr; }
  // Null leaves the system's commands to the programs of this machine.
  virtual CommandSource* commands() { return nullptr; }
};

// Milliseconds since 1970 in universal time, given by whoever owns the clock; recordings use it to
// find their place in a series. The default reads the system's clock.
using Clock = std::function<std::int64_t()>;

// Each throws ControllerError, with the file and line or the address at fault in its text.
class ControllerError : public std::exception {
 public:
  explicit ControllerError(std::string text) : text_(std::move(text)) {}
  const char* what() const noexcept override { return text_.c_str(); }

 private:
  std::string text_;
};
std::shared_ptr<Controller> open_recording(const std::string& folder, Clock clock = {});
// The recording of a made-up forest that the program carries inside.
std::shared_ptr<Controller> open_embedded_recording(Clock clock = {});
std::shared_ptr<Controller> open_live(const std::string& url);
// A folder, a ldap://, ldaps:// or ldapi:// address, or empty for the embedded recording.
std::shared_ptr<Controller> open_controller(const std::string& place, Clock clock = {});

}  // namespace platform
