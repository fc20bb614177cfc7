#pragma once
// A recording of a few lines, written by the test that needs it and gone with it.

#include <filesystem>
#include <fstream>
#include <map>
#include <memory>
#include <random>
#include <string>

#include "platform/control.h"
#include "platform/controller.h"

namespace testing_support {

// The machine DC1.corp.example, version 10.0, English.
inline constexpr const char* kMachine = R"(Windows Registry Editor Version 5.00

[HKEY_LOCAL_MACHINE\SYSTEM\CurrentControlSet\Services\Tcpip\Parameters]
"Hostname"="DC1"
"Domain"="corp.example"

[HKEY_LOCAL_MACHINE\SOFTWARE\Microsoft\Windows NT\CurrentVersion]
"CurrentMajorVersionNumber"=dword:0000000a
"CurrentMinorVersionNumber"=dword:00000000
"CurrentBuildNumber"="20348"

[HKEY_LOCAL_MACHINE\SYSTEM\CurrentControlSet\Control\Nls\Language]
"Default"="0409"

)";

// A root object with two naming contexts and a handful of objects beneath them.
inline constexpr const char* kSmallForest = R"(version: 1

dn:
dnsHostName: DC1.corp.example
namingContexts: DC=corp,DC=example
namingContexts: CN=Configuration,DC=corp,DC=example
defaultNamingContext: DC=corp,DC=example
rootDomainNamingContext: DC=corp,DC=example
configurationNamingContext: CN=Configuration,DC=corp,DC=example
currentTime: 20110102030405.0Z
domainControllerFunctionality: 7
domainFunctionality: 6
forestFunctionality: 5

dn: DC=corp,DC=example
objectClass: top
objectClass: domain
msDS-Behavior-Version: 4

dn: CN=Users,DC=corp,DC=example
objectClass: top
objectClass: container
cn: Users
distinguishedName: CN=Users,DC=corp,DC=example
whenCreated: 20110102030405.0Z
whenChanged: 20110304101112.0Z

dn: OU=Staff,DC=corp,DC=example
objectClass: top
objectClass: organizationalUnit
ou: Staff
distinguishedName: OU=Staff,DC=corp,DC=example

dn: CN=Configuration,DC=corp,DC=example
objectClass: top
objectClass: configuration
cn: Configuration

dn: CN=Partitions,CN=Configuration,DC=corp,DC=example
objectClass: top
objectClass: crossRefContainer
cn: Partitions
distinguishedName: CN=Partitions,CN=Configuration,DC=corp,DC=example
whenCreated: 20110102030405.0Z
whenChanged: 20110102030405.0Z
)";

// Name and text of further files of a recording.
using MoreFiles = std::map<std::string, std::string>;

class SmallRecording {
 public:
  explicit SmallRecording(const std::string& directory = kSmallForest,
                          const std::string& more_registry = "", const MoreFiles& more_files = {}) {
    std::random_device random;
    folder_ = std::filesystem::temp_directory_path() /
              ("dirwatch_test_" + std::to_string(random()) + std::to_string(random()));
    std::filesystem::create_directories(folder_);
    write("directory.ldif", directory);
    write("registry.reg", kMachine + more_registry);
    for (const auto& [name, text] : more_files) write(name, text);
    platform::install(platform::open_recording(folder_.string(), platform::clock_now_ms));
  }
  ~SmallRecording() {
    std::error_code ignored;
    std::filesystem::remove_all(folder_, ignored);
  }
  SmallRecording(const SmallRecording&) = delete;
  SmallRecording& operator=(const SmallRecording&) = delete;

  std::string folder() const { return folder_.string(); }

 private:
  // name may stand in a folder of its own.
  void write(const std::string& name, const std::string& text) {
    std::filesystem::create_directories((folder_ / name).parent_path());
    std::ofstream(folder_ / name, std::ios::binary) << text;
  }

  std::filesystem::path folder_;
};

// text with its first occurrence of from replaced.
inline std::string replaced(std::string text, const std::string& from, const std::string& to) {
  const std::size_t at = text.find(from);
  if (at == text.npos) throw std::logic_error("the text has no '" + from + "'");
  return text.replace(at, from.size(), to);
}

}  // namespace testing_support
