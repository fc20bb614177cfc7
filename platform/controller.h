#pragma once
// A controller answers what only a domain controller has: its directory, its counters, its
// registry, its services, what kind of machine it is. A recorded one answers from a folder of
// standard files, a live one from the network. Plain portable C++: nothing here or behind it may
// use the threads, events and files of the platform layer.
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
inline constexpr DirectoryResult kDirectoryExists = static_cast<DirectoryResult>(0x80071392);
inline constexpr DirectoryResult kDirectoryNotLeaf = static_cast<DirectoryResult>(0x80072015);
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
  // Writes. What a directory fills in itself (the name, the times) is left to it.
  virtual DirectoryResult add(std::string_view server, const Entry& entry) = 0;
  // Each attribute has exactly these values from now on; with no values it goes.
  virtual DirectoryResult modify(std::string_view server, std::string_view dn,
                                 const std::vector<Attribute>& attributes) = 0;
  virtual DirectoryResult remove(std::string_view server, std::string_view dn) = 0;
};

// Error numbers of files and shares are the system's own (0 is success, 2 no such file).
using FileError = std::uint32_t;
inline constexpr FileError kFileNotFound = 2;
inline constexpr FileError kFilePathNotFound = 3;
inline constexpr FileError kFileAccess = 5;
inline constexpr FileError kFileNoServer = 53;
inline constexpr FileError kFileNoShare = 67;
inline constexpr FileError kFileExists = 80;

// A file that is open; it closes when it goes. One thread at a time.
class OpenFile {
 public:
  virtual ~OpenFile() = default;
  // Reads on from where the last call ended; count 0 is the end.
  virtual FileError read(void* buffer, std::size_t size, std::size_t& count) = 0;
  virtual FileError write(const void* buffer, std::size_t size, std::size_t& count) = 0;
};

// A path on another machine, as in \\server\share\folder\file. Letter case does not count.
struct SharePath {
  std::string server;
  std::string share;
  std::string path;  // with slashes, none in front; empty for the share itself
};

// The file shares of the machines around the controller, its own among them.
class Shares {
 public:
  virtual ~Shares() = default;
  struct How {
    bool read = false;
    bool write = false;
    bool must_exist = true;  // else it is created
    bool must_be_new = false;
    bool truncates = false;
  };
  virtual FileError open(const SharePath& path, const How& how, std::unique_ptr<OpenFile>& file,
                         bool& existed) = 0;
  virtual FileError remove(const SharePath& path) = 0;
  virtual FileError look(const SharePath& path, bool& is_folder) = 0;
};

// Status codes are those of the system's DNS calls (0 is success).
using DnsStatus = std::int32_t;
inline constexpr DnsStatus kDnsTimeout = 1460;
inline constexpr DnsStatus kDnsServerFailure = 9002;
inline constexpr DnsStatus kDnsNoSuchName = 9003;
inline constexpr DnsStatus kDnsRefused = 9005;
inline constexpr DnsStatus kDnsNoRecords = 9501;
inline constexpr DnsStatus kDnsBadPacket = 9502;

struct DnsRecord {
  std::string name;  // without a dot at its end, as all names here
  std::uint16_t type = 0;
  std::uint32_t ttl_s = 0;
  bool is_answer = true;  // else it came along
  std::string target;     // of SRV, CNAME, NS and PTR
  std::uint16_t priority = 0;
  std::uint16_t weight = 0;
  std::uint16_t port = 0;
  std::string address;  // of A and AAAA: 4 or 16 bytes
};

class DnsSource {
 public:
  virtual ~DnsSource() = default;
  // 0 and at least one record, or what went wrong.
  virtual DnsStatus query(std::string_view name, std::uint16_t type,
                          std::vector<DnsRecord>& records) = 0;
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

// One service as the service manager tells it; the numbers are those of the Windows service
// manager. Texts are UTF-8 without zero characters.
struct ServiceState {
  std::uint32_t type = 0x10;
  std::uint32_t state = 1;
  std::uint32_t controls_accepted = 0;
  std::uint32_t exit_code = 0;
  std::uint32_t specific_exit_code = 0;
  std::uint32_t check_point = 0;
  std::uint32_t wait_hint_ms = 0;
  std::uint32_t process_id = 0;
};
struct ServiceListing {
  std::string name;
  std::string display_name;
  ServiceState state;
};
struct ServiceSetup {
  std::uint32_t type = 0x10;
  std::uint32_t start_type = 3;
  std::uint32_t error_control = 1;
  std::uint32_t tag = 0;
  std::string program;  // with its arguments
  std::string load_order_group;
  std::vector<std::string> dependencies;
  std::string account;
  std::string display_name;
};

// Error codes are those of the Windows calls (0 is success).
using ServiceError = std::uint32_t;

class ServiceManager {
 public:
  virtual ~ServiceManager() = default;
  // 0, or why no service manager answers now.
  virtual ServiceError connect() = 0;
  // All services of all types and states, in the manager's order.
  virtual ServiceError list(std::vector<ServiceListing>& services) = 0;
  // name: a key name, letter case aside where the manager does not heed it. open: 0, or why the
  // service cannot be asked about.
  virtual ServiceError open(std::string_view name) = 0;
  virtual ServiceError state(std::string_view name, ServiceState& state) = 0;
  virtual ServiceError setup(std::string_view name, ServiceSetup& setup) = 0;
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
  virtual ServiceManager* services() { return nullptr; }
  virtual Shares* shares() { return nullptr; }
  virtual DnsSource* dns() { return nullptr; }
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
