#include "platform/directory_services/asked_services.h"

#include <algorithm>
#include <charconv>
#include <map>
#include <utility>

#include "include/platform/directory_services.h"
#include "platform/directory_services/byte_reader.h"
#include "platform/directory_services/choose.h"
#include "platform/directory_services/netlogon_answer.h"
#include "platform/directory_services/reps_from.h"
#include "platform/recorded/distinguished_name.h"
#include "platform/recorded/utf8.h"

namespace platform {
namespace {

constexpr std::uint16_t kSrvType = 33;
// A domain with more is asked for these only; the locator of Windows stops earlier still.
constexpr std::size_t kMostControllers = 64;

// Bits of trusted-domain objects.
constexpr std::uint32_t kTrustInbound = 1;
constexpr std::uint32_t kTrustOutbound = 2;
constexpr std::uint32_t kTrustWithinForest = 0x20;

std::string first_value(const Entry& entry, std::string_view name) {
  const Attribute* attribute = entry.find(name);
  return attribute == nullptr || attribute->values.empty() ? std::string()
                                                           : attribute->values.front();
}

std::uint32_t number_value(const Entry& entry, std::string_view name) {
  const std::string text = first_value(entry, name);
  std::int64_t number = 0;
  std::from_chars(text.data(), text.data() + text.size(), number);
  return static_cast<std::uint32_t>(number);
}

GuidBytes guid_value(const Entry& entry, std::string_view name) {
  return ByteReader(first_value(entry, name)).guid(0);
}

// "Hub" for "CN=NTDS Settings,CN=DC1,CN=Servers,CN=Hub,CN=Sites,...".
std::string site_of_settings(const std::string& settings_dn) {
  const auto parts = split_dn(settings_dn);
  constexpr std::size_t kSitePart = 3;
  return parts.size() > kSitePart ? leaf_value(parts[kSitePart]) : std::string();
}

Win32Status status_of(DirectoryResult result) {
  switch (result) {
    case kDirectoryOk:
      return kStatusOk;
    case kDirectoryAccess:
      return ERROR_ACCESS_DENIED;
    case kDirectoryNoDomain:
      return kStatusNoSuchDomain;
    default:
      return kStatusServerUnavailable;
  }
}

class AskedServices : public DirectoryServices {
 public:
  AskedServices(Directory& directory, DnsSource* dns) : directory_(directory), dns_(dns) {}

  Win32Status site_of(std::string_view computer, std::string& site) override {
    Entry root;
    const DirectoryResult result = directory_.read_root(computer, root);
    if (result != kDirectoryOk) return status_of(result);
    site = site_of_settings(first_value(root, "dsServiceName"));
    return site.empty() ? kStatusNoSiteName : kStatusOk;
  }

  Win32Status find_controller(const LocatorQuestion& question, LocatedController& found,
                              std::string& client_site) override {
    Entry root;
    const DirectoryResult result = directory_.read_root(question.computer, root);
    if (result != kDirectoryOk) return status_of(result);
    client_site = site_of_settings(first_value(root, "dsServiceName"));
    const std::string own_domain = dns_name(first_value(root, "defaultNamingContext"));
    const std::string domain = question.domain.empty() ? own_domain : std::string(question.domain);
    const std::string own_name = first_value(root, "dnsHostName");
    std::vector<LocatedController> controllers = controllers_of(domain);
    if (controllers.empty() && equal_without_case(domain, own_domain)) {
      controllers.push_back(describe(own_name));
    }
    for (LocatedController& one : controllers) {
      if (one.domain.empty()) one.domain = domain;
    }
    LocatorQuestion resolved = question;
    resolved.computer = own_name;
    const LocatedController* chosen =
        choose_controller(controllers, resolved, domain,
                          question.site.empty() ? std::string_view(client_site) : question.site);
    if (chosen == nullptr) return kStatusNoSuchDomain;
    found = *chosen;
    return kStatusOk;
  }

  Win32Status bind(std::string_view controller, std::string_view domain,
                   std::string& full_name) override {
    if (controller.empty() && !domain.empty()) {
      LocatedController found;
      std::string site;
      const Win32Status status = find_controller({"", domain, "", 0}, found, site);
      full_name = found.name;
      return status;
    }
    Entry root;
    const DirectoryResult result = directory_.read_root(controller, root);
    if (result != kDirectoryOk) return status_of(result);
    full_name = first_value(root, "dnsHostName");
    if (full_name.empty()) full_name = controller;
    return kStatusOk;
  }

  // Those of the own domain as DNS knows them, then what the sites hold beside them.
  std::vector<LocatedController> controllers() override {
    Entry root;
    if (directory_.read_root("", root) != kDirectoryOk) return {};
    std::vector<LocatedController> known =
        controllers_of(dns_name(first_value(root, "defaultNamingContext")));
    for (const auto& [guid, settings_dn] :
         settings_by_guid("", first_value(root, "configurationNamingContext"))) {
      Entry server;
      const std::string server_dn(parent_dn(settings_dn));
      if (directory_.read("", server_dn, {"dNSHostName"}, server) != kDirectoryOk) continue;
      const std::string name = first_value(server, "dNSHostName");
      const bool is_known =
          name.empty() || std::any_of(known.begin(), known.end(), [&name](const auto& one) {
            return equal_without_case(one.name, name);
          });
      if (!is_known) known.push_back(describe(name));
    }
    return known;
  }

  Win32Status neighbours(std::string_view server, std::vector<ReplicaNeighbour>& found) override {
    Entry root;
    DirectoryResult result = directory_.read_root(server, root);
    if (result != kDirectoryOk) return status_of(result);
    const auto sources = settings_by_guid(server, first_value(root, "configurationNamingContext"));
    const Attribute* contexts = root.find("namingContexts");
    if (contexts == nullptr) return kStatusOk;
    for (const std::string& context : contexts->values) {
      Entry entry;
      result = directory_.read(server, context, {"repsFrom", "objectGUID"}, entry);
      if (result != kDirectoryOk) return status_of(result);
      add_links(entry, context, sources, found);
    }
    return kStatusOk;
  }

  Win32Status trusts(std::string_view server, std::vector<DomainTrust>& found) override {
    Entry root;
    DirectoryResult result = directory_.read_root(server, root);
    if (result != kDirectoryOk) return status_of(result);
    std::unique_ptr<EntryCursor> cursor;
    const std::string system = "CN=System," + first_value(root, "defaultNamingContext");
    result =
        directory_.search(server, system, SearchScope::kOneLevel, "(objectClass=trustedDomain)",
                          {"trustPartner", "flatName", "trustDirection", "trustType",
                           "trustAttributes", "securityIdentifier"},
                          cursor);
    Entry entry;
    while (result == kDirectoryOk && (result = cursor->next(entry)) == kDirectoryOk) {
      found.push_back(trust_of(entry));
    }
    return result == kDirectoryEnd ? kStatusOk : status_of(result);
  }

 private:
  using SettingsByGuid = std::map<GuidBytes, std::string>;

  std::vector<LocatedController> controllers_of(const std::string& domain) {
    std::vector<DnsRecord> records;
    if (dns_ == nullptr || dns_->query("_ldap._tcp.dc._msdcs." + domain, kSrvType, records) != 0) {
      return {};
    }
    std::erase_if(records, [](const DnsRecord& one) { return one.type != kSrvType; });
    std::stable_sort(records.begin(), records.end(), [](const auto& left, const auto& right) {
      return left.priority < right.priority;
    });
    if (records.size() > kMostControllers) records.resize(kMostControllers);
    std::vector<LocatedController> controllers;
    for (const DnsRecord& record : records) controllers.push_back(describe(record.target));
    return controllers;
  }

  // What the controller tells of itself; one that does not answer is marked so.
  LocatedController describe(const std::string& name) {
    LocatedController one;
    one.name = name;
    Entry root;
    one.answers = directory_.read_root(name, root) == kDirectoryOk;
    if (!one.answers) return one;
    one.domain = dns_name(first_value(root, "defaultNamingContext"));
    one.forest = dns_name(first_value(root, "rootDomainNamingContext"));
    one.site = site_of_settings(first_value(root, "dsServiceName"));
    if (const auto answer = ask_netlogon(name, one.domain)) {
      one.flags = answer->controller.flags;
      one.domain_guid = answer->controller.domain_guid;
      if (!answer->controller.site.empty()) one.site = answer->controller.site;
    } else {
      one.flags = roles_of(name, root);
    }
    return one;
  }

  std::optional<NetlogonAnswer> ask_netlogon(const std::string& server, const std::string& domain) {
    std::unique_ptr<EntryCursor> cursor;
    Entry entry;
    const std::string filter = "(&(DnsDomain=" + domain + ")(NtVer=\\06\\00\\00\\00))";
    if (directory_.search(server, "", SearchScope::kBase, filter, {"netlogon"}, cursor) !=
            kDirectoryOk ||
        cursor->next(entry) != kDirectoryOk) {
      return std::nullopt;
    }
    return decode_netlogon(first_value(entry, "netlogon"));
  }

  std::uint32_t roles_of(const std::string& server, const Entry& root) {
    std::uint32_t roles = DS_LDAP_FLAG | DS_DS_FLAG | DS_KDC_FLAG | DS_TIMESERV_FLAG;
    if (equal_without_case(first_value(root, "isGlobalCatalogReady"), "TRUE")) roles |= DS_GC_FLAG;
    Entry domain;
    const std::string settings = first_value(root, "dsServiceName");
    if (!settings.empty() &&
        directory_.read(server, first_value(root, "defaultNamingContext"), {"fSMORoleOwner"},
                        domain) == kDirectoryOk &&
        normalise_dn(first_value(domain, "fSMORoleOwner")) == normalise_dn(settings)) {
      roles |= DS_PDC_FLAG | DS_WRITABLE_FLAG;
    }
    return roles;
  }

  // The NTDS Settings of the forest, by their identifiers; fewer when the walk breaks off.
  SettingsByGuid settings_by_guid(std::string_view server, const std::string& configuration) {
    SettingsByGuid settings;
    std::unique_ptr<EntryCursor> cursor;
    if (directory_.search(server, configuration, SearchScope::kSubtree, "(objectClass=nTDSDSA)",
                          {"objectGUID"}, cursor) != kDirectoryOk) {
      return settings;
    }
    Entry entry;
    while (cursor->next(entry) == kDirectoryOk) {
      settings[guid_value(entry, "objectGUID")] = entry.dn;
    }
    return settings;
  }

  // A source that is gone from the forest has no name any more, and its link is left out: a link
  // without one would be taken for a partner.
  static void add_links(const Entry& context_entry, const std::string& context,
                        const SettingsByGuid& sources, std::vector<ReplicaNeighbour>& found) {
    const Attribute* values = context_entry.find("repsFrom");
    if (values == nullptr) return;
    for (const std::string& value : values->values) {
      std::optional<ReplicaNeighbour> link = decode_reps_from(value);
      if (!link) continue;
      const auto source = sources.find(link->source_guid);
      if (source == sources.end()) continue;
      link->naming_context = context;
      link->naming_context_guid = guid_value(context_entry, "objectGUID");
      link->source_dsa = source->second;
      found.push_back(std::move(*link));
    }
  }

  static DomainTrust trust_of(const Entry& entry) {
    DomainTrust trust;
    trust.dns_name = first_value(entry, "trustPartner");
    trust.netbios_name = first_value(entry, "flatName");
    trust.type = number_value(entry, "trustType");
    trust.attributes = number_value(entry, "trustAttributes");
    trust.sid = first_value(entry, "securityIdentifier");
    const std::uint32_t direction = number_value(entry, "trustDirection");
    if ((direction & kTrustInbound) != 0) trust.flags |= DS_DOMAIN_DIRECT_INBOUND;
    if ((direction & kTrustOutbound) != 0) trust.flags |= DS_DOMAIN_DIRECT_OUTBOUND;
    if ((trust.attributes & kTrustWithinForest) != 0) trust.flags |= DS_DOMAIN_IN_FOREST;
    return trust;
  }

  Directory& directory_;
  DnsSource* const dns_;
};

}  // namespace

std::unique_ptr<DirectoryServices> make_asked_services(Directory& directory, DnsSource* dns) {
  return std::make_unique<AskedServices>(directory, dns);
}

}  // namespace platform
