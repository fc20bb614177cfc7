#pragma once
// A forest written by the test that asks about it: the small one, with sites, servers, connections,
// the transport between sites and the holders of the roles. What stands there by default:
//
//   Hub      DC1 (options 1; connections from DC2 and DC3), DC2 (options 0; one from DC1),
//            OLD (no settings: no domain controller any more)
//   Branch   DC3 (options 5; no connections)
//
// DC1, DC2, DC3, OLD and DC9, which stands in no site, answer. DC1 holds all roles but RID and
// infrastructure, which DC3 holds. Two site links; no bridgeheads.

#include <string>
#include <string_view>

#include "tests/support/small_recording.h"

namespace directory_test {

inline const std::string kDomain = "DC=corp,DC=example";
inline const std::string kConfiguration = "CN=Configuration," + kDomain;
inline const std::string kSites = "CN=Sites," + kConfiguration;
inline const std::string kTransport = "CN=IP,CN=Inter-Site Transports," + kSites;

inline std::string server_dn(const std::string& site, const std::string& server) {
  return "CN=" + server + ",CN=Servers,CN=" + site + "," + kSites;
}
inline std::string settings_dn(const std::string& site, const std::string& server) {
  return "CN=NTDS Settings," + server_dn(site, server);
}

// One LDIF entry; its cn is the value of the first part of its name.
inline std::string object(const std::string& dn, const std::string& object_class,
                          const std::string& attributes = "") {
  const std::string name = dn.substr(dn.find('=') + 1, dn.find(',') - dn.find('=') - 1);
  return "\ndn: " + dn + "\nobjectClass: top\nobjectClass: " + object_class + "\ncn: " + name +
         "\nname: " + name + "\ndistinguishedName: " + dn + "\n" + attributes;
}
inline std::string site(const std::string& name) {
  return object("CN=" + name + "," + kSites, "site") +
         object("CN=Servers,CN=" + name + "," + kSites, "serversContainer");
}
inline std::string server(const std::string& site, const std::string& name) {
  return object(server_dn(site, name), "server", "dNSHostName: " + name + ".corp.example\n");
}
inline std::string settings(const std::string& site, const std::string& server,
                            const std::string& attributes) {
  return object(settings_dn(site, server), "nTDSDSA", attributes);
}
inline std::string connection(const std::string& site, const std::string& server,
                              const std::string& name, const std::string& from_server) {
  return object("CN=" + name + "," + settings_dn(site, server), "nTDSConnection",
                "fromServer: " + from_server + "\n");
}

inline std::string sites_of_the_forest() {
  const std::string dc1 = settings_dn("Hub", "DC1");
  return object(kSites, "sitesContainer") + site("Hub") + server("Hub", "DC1") +
         settings("Hub", "DC1", "options: 1\n") +
         connection("Hub", "DC1", "c1", settings_dn("Hub", "DC2")) +
         connection("Hub", "DC1", "c2", settings_dn("Branch", "DC3")) + server("Hub", "DC2") +
         settings("Hub", "DC2", "options: 0\n") + connection("Hub", "DC2", "c3", dc1) +
         server("Hub", "OLD") + site("Branch") + server("Branch", "DC3") +
         settings("Branch", "DC3", "options: 5\n") +
         object("CN=Inter-Site Transports," + kSites, "interSiteTransportContainer") +
         object(kTransport, "interSiteTransport") + object("CN=Link1," + kTransport, "siteLink") +
         object("CN=Link2," + kTransport, "siteLink") +
         object("CN=Subnets," + kSites, "subnetContainer");
}

inline std::string domain_of_the_forest() {
  const std::string dc3 = "fSMORoleOwner: " + settings_dn("Branch", "DC3") + "\n";
  return object("CN=Schema," + kConfiguration, "dMD",
                "fSMORoleOwner: " + settings_dn("Hub", "DC1") + "\n") +
         object("CN=System," + kDomain, "container") +
         object("CN=RID Manager$,CN=System," + kDomain, "rIDManager", dc3) +
         object("CN=Infrastructure," + kDomain, "infrastructureUpdate", dc3) +
         object("OU=Domain Controllers," + kDomain, "organizationalUnit") +
         object("CN=DC1,OU=Domain Controllers," + kDomain, "computer",
                "dNSHostName: DC1.corp.example\n") +
         object("CN=DC3,OU=Domain Controllers," + kDomain, "computer",
                "dNSHostName: DC3.corp.example\n") +
         object("CN=LostAndFound," + kDomain, "lostAndFound");
}

inline std::string forest() {
  using testing_support::replaced;
  const std::string dc1 = "fSMORoleOwner: " + settings_dn("Hub", "DC1") + "\n";
  std::string text = replaced(
      testing_support::kSmallForest,
      "currentTime:", "schemaNamingContext: CN=Schema," + kConfiguration + "\ncurrentTime:");
  // Which servers answer, besides the machine DC1 itself.
  text = replaced(text, "dnsHostName: DC1.corp.example\n",
                  "dnsHostName: DC1.corp.example\ndnsHostName;x-server-dc2: DC2.corp.example\n"
                  "dnsHostName;x-server-dc3: DC3.corp.example\n"
                  "dnsHostName;x-server-dc9: DC9.corp.example\n"
                  "dnsHostName;x-server-old: OLD.corp.example\n");
  text = replaced(text, "msDS-Behavior-Version: 4\n", "msDS-Behavior-Version: 4\n" + dc1);
  text =
      replaced(text, "objectClass: crossRefContainer\n", "objectClass: crossRefContainer\n" + dc1);
  return text + sites_of_the_forest() + domain_of_the_forest();
}

// The forest with the first occurrence of one text replaced by another.
inline std::string forest_with(const std::string& from, const std::string& to) {
  return testing_support::replaced(forest(), from, to);
}

}  // namespace directory_test
