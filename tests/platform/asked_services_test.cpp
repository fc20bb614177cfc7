// The locator, replication and trust interfaces worked out from a directory and SRV records.

#include "platform/directory_services/asked_services.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "include/platform/directory_services.h"
#include "platform/directory_services/netlogon_answer.h"
#include "platform/directory_services/reps_from.h"
#include "platform/dns/recorded_dns.h"
#include "platform/recorded/recorded_directory.h"

namespace {

std::string bytes(std::uint64_t number, int count) {
  std::string text;
  for (int i = 0; i < count; ++i) text += static_cast<char>(number >> (8 * i));
  return text;
}

// A value of repsFrom with the address block at its end.
std::string link(std::uint32_t version, const std::string& address) {
  std::string value = bytes(version, 4) + bytes(0, 4) + bytes(208 + address.size(), 4) +
                      bytes(3, 4) + bytes(13437996900, 8) + bytes(13437996960, 8) + bytes(8456, 4) +
                      bytes(208, 4) + bytes(address.size(), 4) + bytes(0x70, 4);
  value += std::string(84, '\x11') + bytes(0, 4);
  value += bytes(12884, 8) + bytes(0, 8) + bytes(12885, 8);
  value += std::string(16, 'S') + std::string(16, 'I') + std::string(16, 'T');
  EXPECT_EQ(value.size(), 208u);
  return value + address;
}
std::string narrow_block(const std::string& name) {
  return bytes(name.size() + 1, 4) + name + std::string(1, '\0');
}

TEST(RepsFrom, OfVersion1IsReadWhole) {
  const auto read = platform::decode_reps_from(link(1, narrow_block("x._msdcs.corp.example")));
  ASSERT_TRUE(read);
  EXPECT_EQ(read->failures, 3u);
  EXPECT_EQ(read->last_success, 134379969000000000u);
  EXPECT_EQ(read->last_attempt, 134379969600000000u);
  EXPECT_EQ(read->last_result, 8456u);
  EXPECT_EQ(read->flags, 0x70u);
  EXPECT_EQ(read->synced_usn, 12884);
  EXPECT_EQ(read->filter_usn, 12885);
  EXPECT_EQ(read->source_guid[15], 'S');
  EXPECT_EQ(read->source_invocation[0], 'I');
  EXPECT_EQ(read->transport_guid[7], 'T');
  EXPECT_EQ(read->source_address, "x._msdcs.corp.example");
}

TEST(RepsFrom, OfVersion2HasAWideAddress) {
  std::string block = bytes(0, 4) + bytes(20, 4) + std::string(12, '\0');
  for (const char c : std::string("dc2")) block += std::string(1, c) + std::string(1, '\0');
  const auto read = platform::decode_reps_from(link(2, block + bytes(0, 2)));
  ASSERT_TRUE(read);
  EXPECT_EQ(read->source_address, "dc2");
}

TEST(RepsFrom, ThatIsCutShortOrOfAnotherVersionIsNone) {
  const std::string whole = link(1, "");
  EXPECT_TRUE(platform::decode_reps_from(whole));
  EXPECT_FALSE(platform::decode_reps_from(whole.substr(0, 207)));
  EXPECT_FALSE(platform::decode_reps_from(""));
  EXPECT_FALSE(platform::decode_reps_from(link(0, "")));
  EXPECT_FALSE(platform::decode_reps_from(link(3, "")));
}

TEST(RepsFrom, WithAnAddressOutsideTheValueHasNone) {
  std::string value = link(1, narrow_block("dc2"));
  value.replace(36, 4, bytes(0xFFFFFFF0u, 4));
  EXPECT_EQ(platform::decode_reps_from(value)->source_address, "");
  value = link(1, bytes(200, 4) + "dc2");
  EXPECT_EQ(platform::decode_reps_from(value)->source_address, "");
}

std::string labels(const std::string& name) {
  std::string text;
  std::size_t at = 0;
  while (at < name.size()) {
    const std::size_t end = std::min(name.find('.', at), name.size());
    text += static_cast<char>(end - at) + name.substr(at, end - at);
    at = end + 1;
  }
  return text;
}

std::string netlogon_answer() {
  const std::string zero(1, '\0');
  std::string text = bytes(23, 2) + bytes(0, 2) + bytes(0x3FD, 4) + std::string(16, 'G');
  text += labels("corp.example") + zero;                        // the forest, at 24
  text += std::string("\xC0\x18", 2);                           // the domain: the same
  text += labels("DC1") + std::string("\xC0\x18", 2);           // the host
  text += labels("CORP") + zero + labels("DC1") + zero + zero;  // flat names, no user
  return text + labels("Hub") + zero + labels("Branch") + zero;
}

TEST(NetlogonAnswer, TellsRolesNamesAndSites) {
  const auto read = platform::decode_netlogon(netlogon_answer() + "more");
  ASSERT_TRUE(read);
  EXPECT_EQ(read->controller.flags, 0x3FDu);
  EXPECT_EQ(read->controller.domain_guid[3], 'G');
  EXPECT_EQ(read->controller.forest, "corp.example");
  EXPECT_EQ(read->controller.domain, "corp.example");
  EXPECT_EQ(read->controller.name, "DC1.corp.example");
  EXPECT_EQ(read->controller.site, "Hub");
  EXPECT_EQ(read->client_site, "Branch");
}

TEST(NetlogonAnswer, ThatIsCutShortAnywhereIsNone) {
  const std::string whole = netlogon_answer();
  for (std::size_t size = 0; size < whole.size(); ++size) {
    EXPECT_FALSE(platform::decode_netlogon(whole.substr(0, size))) << size;
  }
}

TEST(NetlogonAnswer, WhoseNamesRunInCirclesIsNone) {
  std::string looping = netlogon_answer();
  looping.replace(24, 2, std::string("\xC0\x18", 2));
  EXPECT_FALSE(platform::decode_netlogon(looping));
  std::string other = netlogon_answer();
  other[0] = 21;
  EXPECT_FALSE(platform::decode_netlogon(other));
}

// "base64" of LDIF is written by hand in few places; octets stand as text here where they can.
constexpr const char* kForest = R"(version: 1

dn:
dnsHostName: DC1.corp.example
dnsHostName;x-server-dc2: DC2.corp.example
namingContexts: DC=corp,DC=example
namingContexts: CN=Configuration,DC=corp,DC=example
defaultNamingContext: DC=corp,DC=example
rootDomainNamingContext: DC=corp,DC=example
configurationNamingContext: CN=Configuration,DC=corp,DC=example
dsServiceName: CN=NTDS Settings,CN=DC1,CN=Servers,CN=Hub,CN=Sites,CN=Configuration,DC=corp,DC=example
dsServiceName;x-server-dc2: CN=NTDS Settings,CN=DC2,CN=Servers,CN=Branch,CN=Sites,CN=Configuration,DC=corp,DC=example
isGlobalCatalogReady: TRUE
isGlobalCatalogReady;x-server-dc2: FALSE

dn: DC=corp,DC=example
objectClass: domain
objectGUID: DDDDDDDDDDDDDDDD
fSMORoleOwner: cn=NTDS Settings, CN=DC1,CN=Servers,CN=Hub,CN=Sites,CN=Configuration,DC=corp,DC=example
REPSFROM
dn: CN=System,DC=corp,DC=example
objectClass: container

dn: CN=other,CN=System,DC=corp,DC=example
objectClass: trustedDomain
trustPartner: other.example
flatName: OTHER
trustDirection: 3
trustType: 2
trustAttributes: 8
securityIdentifier: sid

dn: CN=child,CN=System,DC=corp,DC=example
objectClass: trustedDomain
trustPartner: child.corp.example
flatName: CHILD
trustDirection: 1
trustType: 2
trustAttributes: 32

dn: CN=Configuration,DC=corp,DC=example
objectClass: configuration

dn: CN=DC2,CN=Configuration,DC=corp,DC=example
objectClass: server

dn: CN=NTDS Settings,CN=DC2,CN=Configuration,DC=corp,DC=example
objectClass: nTDSDSA
objectGUID: SSSSSSSSSSSSSSSS
)";

constexpr const char* kZone = R"($ORIGIN corp.example.
$TTL 900
_ldap._tcp.dc._msdcs SRV 0 100 389 dc1
_ldap._tcp.dc._msdcs SRV 0 100 389 dc2
_ldap._tcp.dc._msdcs SRV 0 100 389 dc7
)";

std::string base64(const std::string& data) {
  constexpr char kDigits[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  std::string text;
  for (std::size_t i = 0; i < data.size(); i += 3) {
    std::uint32_t group = 0;
    for (std::size_t k = 0; k < 3; ++k) {
      group = group << 8 | (i + k < data.size() ? static_cast<unsigned char>(data[i + k]) : 0u);
    }
    for (std::size_t k = 0; k < 4; ++k) {
      text += i + k > data.size() ? '=' : kDigits[group >> (18 - 6 * k) & 63];
    }
  }
  return text;
}

class AskedServices : public ::testing::Test {
 protected:
  AskedServices() {
    std::string gone = link(1, "");
    gone.replace(160, 16, std::string(16, 'X'));
    std::string forest = kForest;
    forest.replace(forest.find("REPSFROM\n"), 9,
                   "repsFrom:: " + base64(link(1, narrow_block("dc2"))) +
                       "\nrepsFrom:: " + base64(gone) + "\nrepsFrom: broken\n\n");
    directory_ = platform::read_directory(forest, "f", "DC1", "corp.example");
    dns_ = platform::read_dns(kZone, "z");
    services_ = platform::make_asked_services(*directory_, dns_.get());
  }
  std::string locate(const char* computer, const char* domain, std::uint32_t flags) {
    platform::LocatedController found;
    std::string site;
    const auto status = services_->find_controller({computer, domain, "", flags}, found, site);
    return std::to_string(status) + " " + found.name + " " + found.site + " from " + site;
  }
  std::unique_ptr<platform::Directory> directory_;
  std::unique_ptr<platform::DnsSource> dns_;
  std::unique_ptr<platform::DirectoryServices> services_;
};

TEST_F(AskedServices, TellTheSiteFromTheRootObject) {
  std::string site;
  EXPECT_EQ(services_->site_of("", site), 0u);
  EXPECT_EQ(site, "Hub");
  EXPECT_EQ(services_->site_of("DC2", site), 0u);
  EXPECT_EQ(site, "Branch");
  EXPECT_EQ(services_->site_of("DC7", site), platform::kStatusServerUnavailable);
}

TEST_F(AskedServices, LocateControllersThroughTheirRecords) {
  EXPECT_EQ(locate("", "", 0), "0 dc1.corp.example Hub from Hub");
  EXPECT_EQ(locate("DC2", "", 0), "0 dc2.corp.example Branch from Branch");
  EXPECT_EQ(locate("DC2", "", DS_PDC_REQUIRED), "0 dc1.corp.example Hub from Branch");
  EXPECT_EQ(locate("DC2", "", DS_GC_SERVER_REQUIRED), "0 dc1.corp.example Hub from Branch");
  EXPECT_EQ(locate("", "elsewhere.example", 0), "1355   from Hub");
  EXPECT_EQ(locate("DC7", "", 0), "1722   from ");
}

TEST_F(AskedServices, LocateTheAskedControllerItselfWithoutRecords) {
  services_ = platform::make_asked_services(*directory_, nullptr);
  EXPECT_EQ(locate("", "corp.example", 0), "0 DC1.corp.example Hub from Hub");
  EXPECT_EQ(locate("", "elsewhere.example", 0), "1355   from Hub");
}

TEST_F(AskedServices, KnowTheControllersOfTheirDomainAndThoseThatOnlyTheSitesHold) {
  const std::string server = "CN=DC5,CN=Configuration,DC=corp,DC=example";
  ASSERT_EQ(
      directory_->add(
          "", {server, {{"objectClass", {"server"}}, {"dNSHostName", {"dc5.child.corp.example"}}}}),
      platform::kDirectoryOk);
  ASSERT_EQ(
      directory_->add("", {"CN=NTDS Settings," + server,
                           {{"objectClass", {"nTDSDSA"}}, {"objectGUID", {std::string(16, '5')}}}}),
      platform::kDirectoryOk);
  const auto known = services_->controllers();
  std::vector<std::string> told;
  for (const auto& one : known) {
    told.push_back(one.name + (one.answers ? " in " + one.site : " is down"));
  }
  EXPECT_EQ(told, (std::vector<std::string>{"dc1.corp.example in Hub", "dc2.corp.example in Branch",
                                            "dc7.corp.example is down",
                                            "dc5.child.corp.example is down"}));
}

TEST_F(AskedServices, BindThoseThatAnswer) {
  std::string name;
  EXPECT_EQ(services_->bind("dc2", "", name), 0u);
  EXPECT_EQ(name, "DC2.corp.example");
  EXPECT_EQ(services_->bind("", "corp.example", name), 0u);
  EXPECT_EQ(name, "dc1.corp.example");
  EXPECT_EQ(services_->bind("dc7", "", name), platform::kStatusServerUnavailable);
}

TEST_F(AskedServices, TellTheNeighboursWhoseSourceIsKnown) {
  std::vector<platform::ReplicaNeighbour> found;
  EXPECT_EQ(services_->neighbours("DC1", found), 0u);
  ASSERT_EQ(found.size(), 1u);
  EXPECT_EQ(found[0].naming_context, "DC=corp,DC=example");
  EXPECT_EQ(found[0].naming_context_guid[0], 'D');
  EXPECT_EQ(found[0].source_dsa, "CN=NTDS Settings,CN=DC2,CN=Configuration,DC=corp,DC=example");
  EXPECT_EQ(found[0].source_address, "dc2");
  EXPECT_EQ(found[0].last_result, 8456u);
  EXPECT_EQ(services_->neighbours("DC7", found), platform::kStatusServerUnavailable);
}

TEST_F(AskedServices, TellTheTrustsOfTheDomain) {
  std::vector<platform::DomainTrust> found;
  EXPECT_EQ(services_->trusts("", found), 0u);
  ASSERT_EQ(found.size(), 2u);
  EXPECT_EQ(found[0].dns_name, "other.example");
  EXPECT_EQ(found[0].netbios_name, "OTHER");
  EXPECT_EQ(found[0].flags, DS_DOMAIN_DIRECT_INBOUND | DS_DOMAIN_DIRECT_OUTBOUND);
  EXPECT_EQ(found[0].type, 2u);
  EXPECT_EQ(found[0].attributes, 8u);
  EXPECT_EQ(found[0].sid, "sid");
  EXPECT_EQ(found[1].flags, DS_DOMAIN_DIRECT_INBOUND | DS_DOMAIN_IN_FOREST);
}

}  // namespace
