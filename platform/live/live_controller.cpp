// open_live: a controller behind an LDAP address. What it is called and which system it runs is
// read once, when it is opened; it has no counters and no registry, since neither travels by LDAP.
// The services are those of the machine that the agent runs on.

#include <cstdio>
#include <memory>
#include <string>
#include <utility>

#include "platform/controller.h"
#include "platform/directory_services/asked_services.h"
#include "platform/live/live_directory.h"
#include "platform/live/live_dns.h"
#include "platform/live/live_services.h"
#include "platform/live/live_shares.h"

namespace platform {
namespace {

std::string first_value(const Entry& entry, std::string_view name) {
  const Attribute* attribute = entry.find(name);
  return attribute == nullptr || attribute->values.empty() ? std::string()
                                                           : attribute->values.front();
}

// "10.0 (20348)", as a controller writes it into its own computer object. Left as they are when the
// object says nothing.
void read_system_version(live::LiveDirectory& directory, const Entry& root, MachineFacts& facts) {
  const std::string server = first_value(root, "serverName");
  if (server.empty()) return;
  Entry entry;
  if (directory.read("", server, {"serverReference"}, entry) != kDirectoryOk) return;
  const std::string computer = first_value(entry, "serverReference");
  if (computer.empty()) return;
  if (directory.read("", computer, {"operatingSystemVersion"}, entry) != kDirectoryOk) return;
  unsigned major = 0;
  unsigned minor = 0;
  unsigned build = 0;
  const std::string version = first_value(entry, "operatingSystemVersion");
  if (std::sscanf(version.c_str(), "%3u.%3u (%6u)", &major, &minor, &build) != 3) return;
  facts.os_major = major;
  facts.os_minor = minor;
  facts.os_build = build;
}

class LiveController : public Controller {
 public:
  explicit LiveController(const std::string& url)
      : address_(live::parse_address(url)),
        directory_(address_),
        dns_(live::make_live_dns(live::read_dns_options())) {
    const int smb_timeout_s = live::read_smb_timeout();
    Entry root;
    if (directory_.read_root("", root) != kDirectoryOk) {
      throw ControllerError(directory_.last_failure());
    }
    const std::string full_name = first_value(root, "dnsHostName");
    if (full_name.empty()) {
      throw ControllerError(address_.uri() +
                            ": the server's root object has no dnsHostName; it is not a domain "
                            "controller");
    }
    const auto dot = full_name.find('.');
    facts_.host_name = full_name.substr(0, dot);
    if (dot != std::string::npos) facts_.dns_suffix = full_name.substr(dot + 1);
    directory_.set_own_name(full_name);
    read_system_version(directory_, root, facts_);
    shares_ = live::make_live_shares(smb_timeout_s, facts_);
    directory_services_ = make_asked_services(directory_, dns());
  }

  std::string description() const override { return address_.uri(); }
  const MachineFacts& machine() const override { return facts_; }
  Directory* directory() override { return &directory_; }
  CounterSource* counters() override { return nullptr; }
  RegistryHive* registry() override { return nullptr; }
  ServiceManager* services() override { return &services_; }
  DirectoryServices* directory_services() override { return directory_services_.get(); }
  Shares* shares() override { return shares_.get(); }
  DnsSource* dns() override { return dns_.get(); }

 private:
  const live::Address address_;
  live::LiveDirectory directory_;
  const std::unique_ptr<DnsSource> dns_;
  MachineFacts facts_;
  live::LiveServices services_;
  std::unique_ptr<Shares> shares_;
  std::unique_ptr<DirectoryServices> directory_services_;
};

}  // namespace

std::shared_ptr<Controller> open_live(const std::string& url) {
  return std::make_shared<LiveController>(url);
}

}  // namespace platform
