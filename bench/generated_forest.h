#pragma once
// A recording of a forest of any size, written for as long as a benchmark needs it: sites with
// servers, each with settings and one connection to its neighbour.

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>
#include <stdexcept>
#include <string>

#include "platform/controller.h"

namespace bench {

inline const std::string kDomain = "DC=corp,DC=example";
inline const std::string kConfiguration = "CN=Configuration," + kDomain;
inline const std::string kSites = "CN=Sites," + kConfiguration;
inline const std::string kTransports = "CN=Inter-Site Transports," + kSites;

class GeneratedForest {
 public:
  GeneratedForest(int sites, int servers_a_site) {
    std::string folder =
        (std::filesystem::temp_directory_path() / "dirwatch-bench-XXXXXX").string();
    if (mkdtemp(folder.data()) == nullptr) throw std::runtime_error("no temporary folder");
    folder_ = folder;
    std::ofstream(folder_ / "registry.reg")
        << "Windows Registry Editor Version 5.00\n\n"
           "[HKEY_LOCAL_MACHINE\\SYSTEM\\CurrentControlSet\\Services\\Tcpip\\Parameters]\n"
           "\"Hostname\"=\"SRV0-0\"\n\"Domain\"=\"corp.example\"\n";
    std::ofstream file(folder_ / "directory.ldif");
    file << "version: 1\n\ndn:\nnamingContexts: " << kDomain
         << "\nnamingContexts: " << kConfiguration
         << "\nconfigurationNamingContext: " << kConfiguration
         << "\ndefaultNamingContext: " << kDomain << "\nrootDomainNamingContext: " << kDomain
         << "\nschemaNamingContext: CN=Schema," << kConfiguration
         << "\ndnsHostName: SRV0-0.corp.example\n";
    write_domain(file);
    write_sites(file, sites, servers_a_site);
    file.close();
    if (!file) throw std::runtime_error("the forest cannot be written to " + folder_.string());
  }
  ~GeneratedForest() {
    std::error_code ignored;
    std::filesystem::remove_all(folder_, ignored);
  }
  GeneratedForest(const GeneratedForest&) = delete;
  GeneratedForest& operator=(const GeneratedForest&) = delete;

  std::shared_ptr<platform::Controller> open() const {
    return platform::open_recording(folder_.string());
  }

  static std::string server(int site, int number) {
    return "SRV" + std::to_string(site) + "-" + std::to_string(number);
  }
  static std::string settings(int site, int number) {
    return "CN=NTDS Settings,CN=" + server(site, number) + ",CN=Servers,CN=SITE" +
           std::to_string(site) + "," + kSites;
  }

 private:
  static void write(std::ofstream& file, const std::string& dn, const char* object_class,
                    const std::string& attributes = "") {
    const std::string name = dn.substr(dn.find('=') + 1, dn.find(',') - dn.find('=') - 1);
    file << "\ndn: " << dn << "\nobjectClass: top\nobjectClass: " << object_class
         << "\ncn: " << name << "\nname: " << name << "\ndistinguishedName: " << dn << "\n"
         << attributes;
  }
  static void write_domain(std::ofstream& file) {
    const std::string role = "fSMORoleOwner: " + settings(0, 0) + "\n";
    write(file, kDomain, "domainDNS", role);
    write(file, "CN=System," + kDomain, "container");
    write(file, "CN=RID Manager$,CN=System," + kDomain, "rIDManager", role);
    write(file, "CN=Infrastructure," + kDomain, "infrastructureUpdate", role);
    write(file, "CN=LostAndFound," + kDomain, "lostAndFound");
    write(file, kConfiguration, "configuration", "canonicalName: corp.example/Configuration\n");
    write(file, "CN=Schema," + kConfiguration, "dMD", role);
    write(file, "CN=Partitions," + kConfiguration, "crossRefContainer", role);
  }
  static void write_sites(std::ofstream& file, int sites, int servers_a_site) {
    write(file, kSites, "sitesContainer");
    write(file, kTransports, "interSiteTransportContainer");
    write(file, "CN=IP," + kTransports, "interSiteTransport");
    for (int site = 0; site < sites; ++site) {
      const std::string site_dn = "CN=SITE" + std::to_string(site) + "," + kSites;
      write(file, site_dn, "site");
      write(file, "CN=Servers," + site_dn, "serversContainer");
      for (int number = 0; number < servers_a_site; ++number) {
        const std::string name = server(site, number);
        const std::string dn = settings(site, number);
        write(file, dn.substr(dn.find(',') + 1), "server",
              "dNSHostName: " + name + ".corp.example\n");
        write(file, dn, "nTDSDSA", "options: 1\n");
        write(file, "CN=from neighbour," + dn, "nTDSConnection",
              "fromServer: " + settings(site, (number + 1) % servers_a_site) + "\n");
      }
    }
  }

  std::filesystem::path folder_;
};

}  // namespace bench
