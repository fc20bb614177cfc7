// locator.json, replication.json and trusts.json: what they answer, and what is refused.

#include "platform/directory_services/recorded_services.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "include/platform/directory_services.h"
#include "tests/support/two_sites.h"

namespace {

using platform::LocatedController;
using platform::ServiceFiles;

platform::MachineFacts machine() {
  platform::MachineFacts facts;
  facts.host_name = "DC1";
  facts.dns_suffix = "corp.example";
  return facts;
}

std::unique_ptr<platform::DirectoryServices> read(const std::string& locator,
                                                  const std::string& replication = "",
                                                  const std::string& trusts = "") {
  ServiceFiles files;
  if (!locator.empty()) files.locator = &locator;
  if (!replication.empty()) files.replication = &replication;
  if (!trusts.empty()) files.trusts = &trusts;
  return platform::read_directory_services(files, machine());
}

std::string fault_of(const std::string& locator, const std::string& replication = "",
                     const std::string& trusts = "") {
  try {
    read(locator, replication, trusts);
  } catch (const platform::ControllerError& error) {
    return error.what();
  }
  return "(none)";
}

struct Found {
  platform::Win32Status status;
  std::string name;
  std::string client_site;
};
Found locate(platform::DirectoryServices& services, const std::string& computer,
             const std::string& domain, std::uint32_t flags, const std::string& site = "") {
  LocatedController found;
  Found result;
  result.status =
      services.find_controller({computer, domain, site, flags}, found, result.client_site);
  result.name = found.name;
  return result;
}

TEST(RecordedLocator, IsAbsentWithoutAnyOfItsFiles) { EXPECT_EQ(read(""), nullptr); }

TEST(RecordedLocator, PicksTheAskingMachineFirst) {
  const auto services = read(testing_support::kTwoSitesLocator);
  EXPECT_EQ(locate(*services, "", "", 0).name, "DC1.corp.example");
  EXPECT_EQ(locate(*services, "DC2", "", 0).name, "DC2.corp.example");
  EXPECT_EQ(locate(*services, "DC2", "", 0).client_site, "Branch");
  EXPECT_EQ(locate(*services, "", "", DS_AVOID_SELF).name, "DC2.corp.example");
}

TEST(RecordedLocator, PrefersAGoodTimeServerButTakesAnother) {
  const auto services = read(testing_support::kTwoSitesLocator);
  EXPECT_EQ(locate(*services, "DC1", "", DS_GOOD_TIMESERV_PREFERRED).name, "DC2.corp.example");
  EXPECT_EQ(locate(*services, "", "child.corp.example", DS_GOOD_TIMESERV_PREFERRED).name,
            "DC1.child.corp.example");
}

TEST(RecordedLocator, TakesOnlyControllersWithTheRequiredRoles) {
  const auto services = read(testing_support::kTwoSitesLocator);
  EXPECT_EQ(locate(*services, "DC2", "", DS_PDC_REQUIRED).name, "DC1.corp.example");
  EXPECT_EQ(locate(*services, "DC2", "", DS_WRITABLE_REQUIRED | DS_GC_SERVER_REQUIRED).name,
            "DC1.corp.example");
  EXPECT_EQ(locate(*services, "", "child.corp.example", DS_PDC_REQUIRED).status,
            platform::kStatusNoSuchDomain);
}

TEST(RecordedLocator, TakesAControllerOfTheWantedSite) {
  const auto services = read(testing_support::kTwoSitesLocator);
  EXPECT_EQ(locate(*services, "", "corp.example", DS_AVOID_SELF, "Branch").name,
            "DC2.corp.example");
}

TEST(RecordedLocator, DoesNotKnowDomainsAndMachinesThatItWasNotTold) {
  const auto services = read(testing_support::kTwoSitesLocator);
  EXPECT_EQ(locate(*services, "", "elsewhere.example", 0).status, platform::kStatusNoSuchDomain);
  EXPECT_EQ(locate(*services, "nobody", "", 0).status, platform::kStatusServerUnavailable);
  EXPECT_EQ(locate(*services, "DC9", "", 0).status, platform::kStatusServerUnavailable);
}

TEST(RecordedLocator, BindsThoseThatAnswer) {
  const auto services = read(testing_support::kTwoSitesLocator);
  std::string full_name;
  EXPECT_EQ(services->bind("dc2", "", full_name), 0u);
  EXPECT_EQ(full_name, "DC2.corp.example");
  EXPECT_EQ(services->bind("", "child.corp.example", full_name), 0u);
  EXPECT_EQ(full_name, "DC1.child.corp.example");
  EXPECT_EQ(services->bind("DC9.corp.example", "", full_name), platform::kStatusServerUnavailable);
  EXPECT_EQ(services->bind("", "elsewhere.example", full_name), platform::kStatusNoSuchDomain);
}

TEST(RecordedReplication, TellsEveryMemberOfANeighbour) {
  const auto services = read("", R"({"servers": {"DC1": {"neighbours": [{
    "naming_context": "CN=Configuration,DC=corp,DC=example",
    "source_dsa": "CN=NTDS Settings,CN=DC2", "source_address": "x._msdcs.corp.example",
    "transport": "CN=IP", "flags": 4294967295,
    "naming_context_guid": "00112233-4455-6677-8899-aabbccddeeff",
    "source_guid": "00000000-0000-0000-0000-000000000001",
    "source_invocation_id": "00000000-0000-0000-0000-000000000002",
    "transport_guid": "00000000-0000-0000-0000-000000000003",
    "synced_usn": 9223372036854775807, "filter_usn": 5,
    "last_success": "1601-01-01T00:00:01Z", "last_attempt": "2026-11-01T08:55:00Z",
    "last_result": 8456, "failures": 3}]}}})");
  std::vector<platform::ReplicaNeighbour> found;
  ASSERT_EQ(services->neighbours("dc1.corp.example", found), 0u);
  ASSERT_EQ(found.size(), 1u);
  EXPECT_EQ(found[0].naming_context, "CN=Configuration,DC=corp,DC=example");
  EXPECT_EQ(found[0].source_dsa, "CN=NTDS Settings,CN=DC2");
  EXPECT_EQ(found[0].source_address, "x._msdcs.corp.example");
  EXPECT_EQ(found[0].transport, "CN=IP");
  EXPECT_EQ(found[0].flags, 4294967295u);
  EXPECT_EQ(found[0].naming_context_guid,
            (platform::GuidBytes{0x33, 0x22, 0x11, 0x00, 0x55, 0x44, 0x77, 0x66, 0x88, 0x99, 0xaa,
                                 0xbb, 0xcc, 0xdd, 0xee, 0xff}));
  EXPECT_EQ(found[0].source_guid[15], 1);
  EXPECT_EQ(found[0].source_invocation[15], 2);
  EXPECT_EQ(found[0].transport_guid[15], 3);
  EXPECT_EQ(found[0].synced_usn, 9223372036854775807);
  EXPECT_EQ(found[0].filter_usn, 5);
  EXPECT_EQ(found[0].last_success, 10000000u);
  EXPECT_EQ(found[0].last_attempt, 134379969000000000u);
  EXPECT_EQ(found[0].last_result, 8456u);
  EXPECT_EQ(found[0].failures, 3u);
}

TEST(RecordedReplication, FindsAServerByEitherOfItsNames) {
  const auto services = read("", R"({"servers": {
    "DC2.corp.example": {"status": 1722}, "DC3": {"status": 5}, "*": {"status": 8453}}})");
  std::vector<platform::ReplicaNeighbour> found;
  EXPECT_EQ(services->neighbours("dc2", found), 1722u);
  EXPECT_EQ(services->neighbours("DC3.corp.example", found), 5u);
  EXPECT_EQ(services->neighbours("DC4", found), 8453u);
}

TEST(RecordedServices, NameTheFileAndTheKeyAtFault) {
  const struct {
    const char* locator;
    const char* fault;
  } faults[] = {
      {"[]", "locator.json: is not an object"},
      {R"({"forrest": ""})", "locator.json: forrest: is not known"},
      {R"({"forest": "a", "forest": "b"})", "locator.json: forest: stands twice"},
      {R"({"forest": 1})", "locator.json: forest: is not a text"},
      {R"({"controllers": {}})", "locator.json: controllers: is not a list"},
      {R"({"controllers": ["DC1"]})", "locator.json: controllers[0]: is not an object"},
      {R"({"controllers": [{}]})", "locator.json: controllers[0].name: is missing"},
      {R"({"controllers": [{"name": ""}]})", "locator.json: controllers[0].name: is empty"},
      {R"({"controllers": [{"name": "a\u0000b"}]})",
       "locator.json: controllers[0].name: holds a zero character"},
      {R"({"controllers": [{"name": "a"}, {"name": "b", "answers": 1}]})",
       "locator.json: controllers[1].answers: is neither true nor false"},
      {R"({"controllers": [{"name": "a", "flags": ["PDC", "pdc"]}]})",
       "locator.json: controllers[0].flags[1]: 'pdc' is no flag"},
      {R"({"controllers": [{"name": "a", "domain_guid": "1"}]})",
       "locator.json: controllers[0].domain_guid: is not an identifier like "
       "3f2504e0-4f89-11d3-9a0c-0305e82c3301"},
  };
  for (const auto& one : faults) EXPECT_EQ(fault_of(one.locator), one.fault);
  EXPECT_TRUE(fault_of("{\"forest\": ").starts_with("locator.json: "));
  EXPECT_EQ(fault_of(std::string("{\"a\":") + std::string(50, '[') + std::string(50, ']') + "}"),
            "locator.json: is nested too deep");
}

std::string neighbour_fault(const std::string& member) {
  return fault_of(
      "", R"({"servers": {"DC1": {"neighbours": [{"naming_context": "", "source_dsa": "",)" +
              member + "}]}}}");
}

TEST(RecordedServices, RefuseNumbersAndTimesOutOfRange) {
  const std::string place = "replication.json: servers.DC1.neighbours[0].";
  EXPECT_EQ(neighbour_fault(R"("failures": 4294967296)"), place + "failures: is over 4294967295");
  EXPECT_EQ(neighbour_fault(R"("failures": -1)"),
            place + "failures: is not a whole number from 0 on");
  EXPECT_EQ(neighbour_fault(R"("failures": 1.5)"),
            place + "failures: is not a whole number from 0 on");
  EXPECT_EQ(neighbour_fault(R"("failures": "1")"),
            place + "failures: is not a whole number from 0 on");
  EXPECT_EQ(neighbour_fault(R"("synced_usn": 9223372036854775808)"),
            place + "synced_usn: is over 9223372036854775807");
  for (const char* time :
       {"2026-02-29T00:00:00Z", "2026-13-01T00:00:00Z", "1600-12-31T00:00:00Z",
        "2026-01-01T24:00:00Z", "2026-01-01 00:00:00Z", "", "2026-01-00T00:00:00Z"}) {
    EXPECT_EQ(neighbour_fault("\"last_success\": \"" + std::string(time) + "\""),
              place + "last_success: is not a time like 2026-11-01T08:55:00Z");
  }
  EXPECT_EQ(neighbour_fault(R"("last_success": "2024-02-29T23:59:59Z")"), "(none)");
}

TEST(RecordedServices, RefuseWhatIsNoSecurityIdentifier) {
  for (const char* sid :
       {"", "S-", "S-1", "S-1-", "S-2-5", "S-1-5-21-4294967296", "S-1-5--1", "S-1-281474976710656",
        "s-1-5", "S-1-5-1-2-3-4-5-6-7-8-9-10-11-12-13-14-15-16"}) {
    EXPECT_EQ(fault_of("", "",
                       R"({"servers": {"DC1": {"trusts": [{"netbios_name": "A", "sid": ")" +
                           std::string(sid) + "\"}]}}}"),
              "trusts.json: servers.DC1.trusts[0].sid: is not a security identifier like "
              "S-1-5-21-1-2-3");
  }
}

}  // namespace
