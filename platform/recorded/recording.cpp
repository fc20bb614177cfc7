#include "platform/recorded/recording.h"

#include <charconv>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <optional>
#include <utility>

#include "platform/commands/recorded_commands.h"
#include "platform/counters/recorded_counters.h"
#include "platform/directory_services/recorded_services.h"
#include "platform/dns/recorded_dns.h"
#include "platform/recorded/recorded_directory.h"
#include "platform/recorded/utf8.h"
#include "platform/registry/recorded_registry.h"
#include "platform/services/recorded_services.h"
#include "platform/shares/recorded_shares.h"

namespace platform {
namespace {

constexpr char kDirectoryFile[] = "directory.ldif";
constexpr char kCountersFile[] = "counters.csv";
constexpr char kRegistryFile[] = "registry.reg";
constexpr char kServicesFile[] = "services.json";
constexpr char kLocatorFile[] = "locator.json";
constexpr char kReplicationFile[] = "replication.json";
constexpr char kTrustsFile[] = "trusts.json";
constexpr char kCommandsFile[] = "commands.json";
constexpr char kCommandsFolder[] = "commands/";
constexpr char kZoneFile[] = "dns.zone";
constexpr char kSharesFolder[] = "shares/";

constexpr char kTcpipKey[] =
    "HKEY_LOCAL_MACHINE\\SYSTEM\\CurrentControlSet\\Services\\Tcpip\\Parameters";
constexpr char kVersionKey[] =
    "HKEY_LOCAL_MACHINE\\SOFTWARE\\Microsoft\\Windows NT\\CurrentVersion";
constexpr char kLanguageKey[] =
    "HKEY_LOCAL_MACHINE\\SYSTEM\\CurrentControlSet\\Control\\Nls\\Language";
constexpr std::uint32_t kDword = 4;

// What a recording holds; a part whose file is missing is null.
struct Parts {
  MachineFacts machine;
  std::unique_ptr<Directory> directory;
  std::unique_ptr<CounterSource> counters;
  std::unique_ptr<RegistryHive> registry;
  std::unique_ptr<ServiceManager> services;
  std::unique_ptr<Shares> shares;
  std::unique_ptr<DnsSource> dns;
  std::unique_ptr<DirectoryServices> directory_services;
  std::unique_ptr<CommandSource> commands;
};

class RecordedController : public Controller {
 public:
  RecordedController(std::string description, Parts parts)
      : description_(std::move(description)), parts_(std::move(parts)) {}

  std::string description() const override { return description_; }
  const MachineFacts& machine() const override { return parts_.machine; }
  Directory* directory() override { return parts_.directory.get(); }
  CounterSource* counters() override { return parts_.counters.get(); }
  RegistryHive* registry() override { return parts_.registry.get(); }
  ServiceManager* services() override { return parts_.services.get(); }
  Shares* shares() override { return parts_.shares.get(); }
  DnsSource* dns() override { return parts_.dns.get(); }
  DirectoryServices* directory_services() override { return parts_.directory_services.get(); }
  CommandSource* commands() override { return parts_.commands.get(); }

 private:
  const std::string description_;
  const Parts parts_;
};

std::optional<RegistryValue> find_value(RegistryHive& hive, std::string_view key,
                                        std::string_view name) {
  for (RegistryValue& value : hive.values(key)) {
    if (equal_without_case(value.name, name)) return std::move(value);
  }
  return std::nullopt;
}

std::optional<std::string> find_text(RegistryHive& hive, std::string_view key,
                                     std::string_view name) {
  std::optional<RegistryValue> value = find_value(hive, key, name);
  if (!value || value->type == kDword) return std::nullopt;
  std::string text = value->data.substr(0, value->data.find('\0'));
  return text.empty() ? std::nullopt : std::optional(std::move(text));
}

std::optional<std::uint32_t> find_dword(RegistryHive& hive, std::string_view key,
                                        std::string_view name) {
  const std::optional<RegistryValue> value = find_value(hive, key, name);
  if (!value || value->type != kDword || value->data.size() != 4) return std::nullopt;
  std::uint32_t number = 0;
  for (std::size_t i = 4; i-- > 0;) {
    number = (number << 8) | static_cast<unsigned char>(value->data[i]);
  }
  return number;
}

// A number at the front of text, which is moved behind it.
std::optional<std::uint32_t> take_number(std::string_view& text, int base = 10) {
  std::uint32_t number = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number, base);
  if (error != std::errc()) return std::nullopt;
  text.remove_prefix(static_cast<std::size_t>(end - text.data()));
  return number;
}

// Systems up to 6.3 tell their version in one text ("6.1"). Later ones keep 6.3 there for old
// programs and tell the truth in two numbers.
void read_version(RegistryHive& hive, MachineFacts& facts) {
  const auto major = find_dword(hive, kVersionKey, "CurrentMajorVersionNumber");
  const auto minor = find_dword(hive, kVersionKey, "CurrentMinorVersionNumber");
  if (major && minor) {
    facts.os_major = *major;
    facts.os_minor = *minor;
  } else if (const auto text = find_text(hive, kVersionKey, "CurrentVersion")) {
    std::string_view rest = *text;
    const auto first = take_number(rest);
    if (first && rest.starts_with('.')) {
      rest.remove_prefix(1);
      if (const auto second = take_number(rest)) {
        facts.os_major = *first;
        facts.os_minor = *second;
      }
    }
  }
  auto build = find_text(hive, kVersionKey, "CurrentBuildNumber");
  if (!build) build = find_text(hive, kVersionKey, "CurrentBuild");
  if (build) {
    std::string_view rest = *build;
    facts.os_build = take_number(rest).value_or(facts.os_build);
  }
}

// A recording without a registry is of the machine whose root object it holds.
void read_machine_facts(Directory& directory, MachineFacts& facts) {
  Entry root;
  if (directory.read_root("", root) != kDirectoryOk) return;
  const Attribute* name = root.find("dnsHostName");
  if (name == nullptr || name->values.empty()) return;
  const std::string& full = name->values.front();
  const std::size_t dot = full.find('.');
  facts.host_name = full.substr(0, dot);
  if (dot != std::string::npos) facts.dns_suffix = full.substr(dot + 1);
}

// The files of a folder of the recording, by their names within it.
std::map<std::string, std::string> files_under(const std::string& folder,
                                               const RecordingFiles& files) {
  std::map<std::string, std::string> found;
  for (const auto& [name, bytes] : files) {
    if (name.starts_with(folder)) found.emplace(name.substr(folder.size()), bytes);
  }
  return found;
}

std::string read_file(const std::filesystem::path& path) {
  std::ifstream file(path, std::ios::binary);
  std::string bytes{std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
  if (!file || file.bad()) throw ControllerError(path.string() + ": cannot be read");
  return bytes;
}

// Adds all files beneath a folder of the recording, and its empty folders with a slash behind.
void read_folder(const std::filesystem::path& root, const char* folder, RecordingFiles& files) {
  namespace fs = std::filesystem;
  std::error_code error;
  if (!fs::is_directory(root / folder, error)) return;
  for (const auto& entry : fs::recursive_directory_iterator(root / folder)) {
    const std::string name = fs::relative(entry.path(), root).generic_string();
    if (entry.is_directory()) {
      files.emplace(name + "/", std::string());
    } else {
      files.emplace(name, read_file(entry.path()));
    }
  }
}

}  // namespace

void read_machine_facts(RegistryHive& hive, MachineFacts& facts) {
  if (auto name = find_text(hive, kTcpipKey, "Hostname")) facts.host_name = std::move(*name);
  if (auto suffix = find_text(hive, kTcpipKey, "Domain")) facts.dns_suffix = std::move(*suffix);
  read_version(hive, facts);
  if (const auto language = find_text(hive, kLanguageKey, "Default")) {
    std::string_view rest = *language;
    const auto number = take_number(rest, 16);
    if (number && rest.empty()) facts.language = static_cast<std::uint16_t>(*number);
  }
}

std::shared_ptr<Controller> make_recording(const RecordingFiles& files, std::string description,
                                           Clock clock) {
  const auto text_of = [&files](const char* name) {
    const auto file = files.find(name);
    return file == files.end() ? nullptr : &file->second;
  };
  Parts parts;
  MachineFacts& facts = parts.machine;
  if (const std::string* text = text_of(kRegistryFile)) {
    parts.registry = read_registry(*text, kRegistryFile);
    read_machine_facts(*parts.registry, facts);
  }
  if (const std::string* text = text_of(kDirectoryFile)) {
    parts.directory =
        read_directory(*text, kDirectoryFile, facts.host_name, facts.dns_suffix, clock);
    if (facts.host_name.empty()) read_machine_facts(*parts.directory, facts);
  }
  if (const std::string* text = text_of(kCountersFile)) {
    parts.counters = read_counters(*text, kCountersFile, std::move(clock));
  }
  if (const std::string* text = text_of(kServicesFile)) {
    parts.services = read_services(*text, kServicesFile);
  }
  parts.directory_services = read_directory_services(
      {text_of(kLocatorFile), text_of(kReplicationFile), text_of(kTrustsFile)}, facts);
  if (!parts.registry && !parts.directory && !parts.counters && !parts.services) {
    throw ControllerError(description + ": holds neither " + kDirectoryFile + " nor " +
                          kCountersFile + " nor " + kRegistryFile + " nor " + kServicesFile);
  }
  // There also where none is recorded: a recording never reaches out to this machine's own.
  parts.commands = read_commands(text_of(kCommandsFile), files_under(kCommandsFolder, files));
  const auto shared = files_under(kSharesFolder, files);
  if (!shared.empty()) parts.shares = make_recorded_shares(shared, facts.dns_suffix);
  if (const std::string* text = text_of(kZoneFile)) parts.dns = read_dns(*text, kZoneFile);
  return std::make_shared<RecordedController>(std::move(description), std::move(parts));
}

std::shared_ptr<Controller> open_recording(const std::string& folder, Clock clock) {
  const std::filesystem::path root(folder);
  std::error_code error;
  if (!std::filesystem::is_directory(root, error)) {
    throw ControllerError(folder + ": is not a folder");
  }
  RecordingFiles files;
  for (const char* name : {kDirectoryFile, kCountersFile, kRegistryFile, kServicesFile, kZoneFile,
                           kLocatorFile, kReplicationFile, kTrustsFile, kCommandsFile}) {
    if (std::filesystem::exists(root / name, error)) files[name] = read_file(root / name);
  }
  read_folder(root, kCommandsFolder, files);
  read_folder(root, kSharesFolder, files);
  try {
    return make_recording(files, folder, std::move(clock));
  } catch (const ControllerError& fault) {
    // A fault in a file begins with the file's bare name; with several recordings about, the
    // folder belongs before it.
    const std::string text = fault.what();
    throw ControllerError(text.starts_with(folder) ? text : (root / text).string());
  }
}

}  // namespace platform
