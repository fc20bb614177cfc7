#include "platform/live/recorder.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <map>
#include <memory>
#include <string_view>
#include <utility>
#include <vector>

#include "platform/live/directory_services_text.h"
#include "platform/live/services_text.h"
#include "platform/recorded/distinguished_name.h"
#include "platform/recorded/ldif.h"

namespace platform {
namespace {

namespace fs = std::filesystem;

// What a server works out at the time of asking, and the agent asks for by name.
const std::vector<std::string> kAskedFor{"*", "msDS-isRODC", "serverReferenceBL",
                                         "bridgeheadServerListBL"};

// A reader with system rights is given these; a folder that people pass around must not hold them.
// In lower case. Names that begin with one of kSecretPrefixes are left out too.
constexpr std::array<std::string_view, 20> kSecrets{"unicodepwd",
                                                    "dbcspwd",
                                                    "ntpwdhistory",
                                                    "lmpwdhistory",
                                                    "supplementalcredentials",
                                                    "currentvalue",
                                                    "priorvalue",
                                                    "trustauthincoming",
                                                    "trustauthoutgoing",
                                                    "initialauthincoming",
                                                    "initialauthoutgoing",
                                                    "cleartextpassword",
                                                    "userpassword",
                                                    "unixuserpassword",
                                                    "peklist",
                                                    "msds-managedpassword",
                                                    "msds-executescriptpassword",
                                                    "msfve-recoverypassword",
                                                    "msfve-keypackage",
                                                    "mstpm-ownerinformation"};
constexpr std::array<std::string_view, 2> kSecretPrefixes{"ms-mcs-admpwd", "mslaps-"};

bool is_secret(std::string_view name) {
  std::string lower(name.substr(0, name.find(';')));
  std::transform(lower.begin(), lower.end(), lower.begin(),
                 [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
  return std::find(kSecrets.begin(), kSecrets.end(), lower) != kSecrets.end() ||
         std::any_of(kSecretPrefixes.begin(), kSecretPrefixes.end(),
                     [&lower](std::string_view prefix) { return lower.starts_with(prefix); });
}

[[noreturn]] void fail(const std::string& what, DirectoryResult result) {
  char code[32];
  std::snprintf(code, sizeof code, " (%08x)", static_cast<unsigned>(result));
  throw ControllerError("recording stopped: " + what + code);
}

// A file that appears under its name only when it is whole.
class WholeFile {
 public:
  explicit WholeFile(fs::path path) : path_(std::move(path)), partial_(path_) {
    partial_ += ".partial";
    stream_.open(partial_, std::ios::binary | std::ios::trunc);
    if (!stream_) throw ControllerError("cannot write " + partial_.string());
  }
  ~WholeFile() {
    std::error_code ignored;
    if (stream_.is_open()) stream_.close();
    if (!kept_) fs::remove(partial_, ignored);
  }
  WholeFile(const WholeFile&) = delete;
  WholeFile& operator=(const WholeFile&) = delete;

  std::ofstream& stream() { return stream_; }
  void keep() {
    stream_.close();
    std::error_code error;
    if (stream_) fs::rename(partial_, path_, error);
    if (!stream_ || error) throw ControllerError("cannot write " + path_.string());
    kept_ = true;
  }

 private:
  const fs::path path_;
  fs::path partial_;
  std::ofstream stream_;
  bool kept_ = false;
};

class DirectoryWriter {
 public:
  DirectoryWriter(Directory& directory, std::ofstream& stream)
      : directory_(directory), stream_(stream) {
    stream_ << ldif_version_line();
  }

  void write(Entry& entry) {
    std::erase_if(entry.attributes,
                  [](const Attribute& attribute) { return is_secret(attribute.name); });
    stream_ << ldif_record(entry);
    ++written_;
  }

  // The head's own children come first and in the order in which the server lists them: a walk of
  // the recording then meets them in that order too.
  void write_context(const std::string& head) {
    Entry entry;
    const DirectoryResult result = directory_.read("", head, kAskedFor, entry);
    if (result != kDirectoryOk) fail("cannot read " + head, result);
    write(entry);
    const std::string parent = normalise_dn(head);
    write_below(head, SearchScope::kOneLevel, [](const Entry&) { return true; });
    write_below(head, SearchScope::kSubtree, [&parent](const Entry& deeper) {
      const std::string dn = normalise_dn(deeper.dn);
      return dn != parent && parent_dn(dn) != parent;
    });
  }

  std::size_t written() const { return written_; }

 private:
  template <typename Wanted>
  void write_below(const std::string& head, SearchScope scope, Wanted wanted) {
    std::unique_ptr<EntryCursor> cursor;
    DirectoryResult result =
        directory_.search("", head, scope, "(objectClass=*)", kAskedFor, cursor);
    Entry entry;
    while (result == kDirectoryOk && (result = cursor->next(entry)) == kDirectoryOk) {
      if (wanted(entry)) write(entry);
    }
    // Half a context must not pass for a whole one.
    if (result != kDirectoryEnd) fail("the walk of " + head + " broke off", result);
  }

  Directory& directory_;
  std::ofstream& stream_;
  std::size_t written_ = 0;
};

std::size_t write_directory(Controller& controller, const fs::path& folder) {
  Directory& directory = *controller.directory();
  Entry root;
  const DirectoryResult result = directory.read_root("", root);
  if (result != kDirectoryOk) fail("cannot read the root object", result);
  std::vector<std::string> contexts;
  if (const Attribute* names = root.find("namingContexts")) contexts = names->values;

  WholeFile file(folder / "directory.ldif");
  DirectoryWriter writer(directory, file.stream());
  writer.write(root);
  for (const std::string& context : contexts) {
    const std::size_t before = writer.written();
    writer.write_context(context);
    std::fprintf(stderr, "%s: %zu objects\n", context.c_str(), writer.written() - before);
  }
  file.keep();
  return writer.written();
}

void write_text(const std::string& text, const fs::path& path) {
  WholeFile file(path);
  file.stream() << text;
  file.keep();
}

// A server that is down is kept as one: asking it would cost a time-out for each question.
template <typename Item>
ServerAnswer<Item> answer_of(DirectoryServices& services, const LocatedController& server,
                             Win32Status (DirectoryServices::*ask)(std::string_view,
                                                                   std::vector<Item>&)) {
  ServerAnswer<Item> answer;
  answer.status = server.answers ? (services.*ask)(server.name, answer.items)
                                 : Win32Status{kStatusServerUnavailable};
  if (answer.status != kStatusOk) answer.items.clear();
  return answer;
}

std::size_t write_services(Controller& controller, const fs::path& folder) {
  if (ServiceManager* manager = controller.services()) {
    const std::string text = services_text(*manager);
    if (!text.empty()) write_text(text, folder / "services.json");
  }
  DirectoryServices& services = *controller.directory_services();
  const std::vector<LocatedController> controllers = services.controllers();
  std::map<std::string, ServerAnswer<ReplicaNeighbour>> neighbours;
  std::map<std::string, ServerAnswer<DomainTrust>> trusts;
  for (const LocatedController& one : controllers) {
    neighbours[one.name] = answer_of(services, one, &DirectoryServices::neighbours);
    trusts[one.name] = answer_of(services, one, &DirectoryServices::trusts);
  }
  write_text(locator_text(controllers), folder / "locator.json");
  write_text(replication_text(neighbours), folder / "replication.json");
  write_text(trusts_text(trusts), folder / "trusts.json");
  return controllers.size();
}

void write_registry(const MachineFacts& machine, const fs::path& folder) {
  char text[2048];
  const int length = std::snprintf(
      text, sizeof text,
      "Windows Registry Editor Version 5.00\n\n"
      "[HKEY_LOCAL_MACHINE\\SYSTEM\\CurrentControlSet\\Services\\Tcpip\\Parameters]\n"
      "\"Hostname\"=\"%s\"\n\"Domain\"=\"%s\"\n\n"
      "[HKEY_LOCAL_MACHINE\\SYSTEM\\CurrentControlSet\\Control\\Nls\\Language]\n"
      "\"Default\"=\"%04x\"\n\n"
      "[HKEY_LOCAL_MACHINE\\SOFTWARE\\Microsoft\\Windows NT\\CurrentVersion]\n"
      "\"CurrentVersion\"=\"6.3\"\n"
      "\"CurrentMajorVersionNumber\"=dword:%08x\n\"CurrentMinorVersionNumber\"=dword:%08x\n"
      "\"CurrentBuildNumber\"=\"%u\"\n",
      machine.host_name.c_str(), machine.dns_suffix.c_str(), unsigned{machine.language},
      machine.os_major, machine.os_minor, machine.os_build);
  if (length < 0 || static_cast<std::size_t>(length) >= sizeof text) {
    throw ControllerError("the controller's name is too long for " +
                          (folder / "registry.reg").string());
  }
  write_text(text, folder / "registry.reg");
}

void write_readme(const Controller& controller, std::size_t entries, std::size_t controllers,
                  const fs::path& folder) {
  const MachineFacts& machine = controller.machine();
  std::error_code no_error;
  WholeFile file(folder / "README.md");
  file.stream() << "# A recording of " << machine.host_name << '.' << machine.dns_suffix
                << "\n\nTaken by `dirwatch record` from " << controller.description()
                << ". It holds names and\nsettings of a real directory: keep it as you keep those."
                   " Passwords, keys and trust secrets\nwere left out.\n\n"
                   "| File | Holds |\n|---|---|\n| `directory.ldif` | the root object and "
                   "every naming context, "
                << entries << " objects (RFC 2849) |\n| `registry.reg` | which machine it was |\n"
                << "| `locator.json` | the controllers of the forest, " << controllers
                << " |\n| `replication.json` | their replication partners |\n"
                   "| `trusts.json` | the trusts of their domains |\n"
                << (fs::exists(folder / "services.json", no_error)
                        ? "| `services.json` | the services of the machine that recorded |\n"
                        : "");
  file.keep();
}

}  // namespace

void record(const std::string& url, const std::string& folder) {
  const fs::path target(folder);
  std::error_code error;
  if (fs::exists(target / "directory.ldif", error)) {
    throw ControllerError("'" + folder + "' already holds a recording; name another folder");
  }
  const std::shared_ptr<Controller> controller = open_live(url);
  fs::create_directories(target, error);
  if (error) throw ControllerError("cannot make '" + folder + "': " + error.message());
  write_registry(controller->machine(), target);
  const std::size_t controllers = write_services(*controller, target);
  // Last of the files that count: the folder passes for a recording from here on.
  const std::size_t entries = write_directory(*controller, target);
  write_readme(*controller, entries, controllers, target);
}

}  // namespace platform
