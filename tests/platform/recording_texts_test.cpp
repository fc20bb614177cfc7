// What is written of a controller's locator, replication, trusts and services: read back, it
// answers as the controller did.

#include <gmock/gmock.h>

#include <chrono>
#include <map>
#include <string>
#include <vector>

#include "platform/directory_services/recorded_services.h"
#include "platform/live/directory_services_text.h"
#include "platform/live/live_services.h"
#include "platform/live/services_text.h"
#include "platform/services/recorded_services.h"
#include "tests/support/private_bus.h"
#include "tests/support/two_sites.h"

namespace {

using platform::DomainTrust;
using platform::LocatedController;
using platform::read_services;
using platform::ReplicaNeighbour;
using platform::ServerAnswer;
using platform::ServiceListing;
using platform::ServiceSetup;
using platform::ServiceState;
using testing::HasSubstr;
using testing::Not;

std::unique_ptr<platform::DirectoryServices> read(const std::string& locator,
                                                  const std::string& replication = "",
                                                  const std::string& trusts = "") {
  platform::MachineFacts facts;
  facts.host_name = "DC1";
  facts.dns_suffix = "corp.example";
  platform::ServiceFiles files;
  if (!locator.empty()) files.locator = &locator;
  if (!replication.empty()) files.replication = &replication;
  if (!trusts.empty()) files.trusts = &trusts;
  return platform::read_directory_services(files, facts);
}

platform::GuidBytes some_guid(std::uint8_t first) {
  platform::GuidBytes guid{};
  for (std::uint8_t i = 0; i < guid.size(); ++i) guid[i] = static_cast<std::uint8_t>(first + i);
  return guid;
}

// 100 ns since 1601 of a moment.
std::uint64_t ticks(std::chrono::sys_seconds moment) {
  constexpr std::chrono::sys_days kBegin(std::chrono::year{1601} / 1 / 1);
  return static_cast<std::uint64_t>((moment - std::chrono::sys_seconds(kBegin)).count()) *
         10'000'000u;
}

TEST(WrittenLocator, ReadBackKnowsTheSameControllers) {
  const std::vector<LocatedController> before =
      read(testing_support::kTwoSitesLocator)->controllers();
  ASSERT_EQ(before.size(), 4u);
  const std::vector<LocatedController> after = read(platform::locator_text(before))->controllers();
  ASSERT_EQ(after.size(), before.size());
  for (std::size_t i = 0; i < before.size(); ++i) {
    EXPECT_EQ(after[i].name, before[i].name);
    EXPECT_EQ(after[i].address, before[i].address);
    EXPECT_EQ(after[i].domain, before[i].domain);
    EXPECT_EQ(after[i].forest, before[i].forest);
    EXPECT_EQ(after[i].site, before[i].site);
    EXPECT_EQ(after[i].flags, before[i].flags);
    EXPECT_EQ(after[i].domain_guid, before[i].domain_guid);
    EXPECT_EQ(after[i].answers, before[i].answers);
  }
}

TEST(WrittenLocator, LeavesOutFlagsThatHaveNoName) {
  LocatedController one;
  one.name = "dc1.corp.example";
  one.flags = 0x80000011u;
  EXPECT_EQ(read(platform::locator_text({one}))->controllers()[0].flags, 0x11u);
}

TEST(WrittenReplication, ReadBackHasTheSameNeighbours) {
  ReplicaNeighbour link;
  link.naming_context = "DC=corp,DC=example";
  link.source_dsa = "CN=NTDS Settings,CN=\"quoted\\\\\",CN=S\xC3\xA9te";
  link.source_address = "x._msdcs.corp.example";
  link.transport = "CN=IP";
  link.flags = 0xF0000070u;
  link.naming_context_guid = some_guid(1);
  link.source_guid = some_guid(40);
  link.source_invocation = some_guid(80);
  link.transport_guid = some_guid(230);
  link.synced_usn = 0x7FFFFFFFFFFFFFFF;
  link.filter_usn = 12885;
  using namespace std::chrono_literals;
  using std::chrono::sys_days;
  link.last_success = ticks(sys_days(2024y / 2 / 29) + 23h + 59min + 58s);
  link.last_attempt = ticks(sys_days(2026y / 11 / 1));
  link.last_result = 8456;
  link.failures = 0xFFFFFFFFu;
  ReplicaNeighbour never;
  never.naming_context = "CN=Schema";
  const std::string text = platform::replication_text(
      {{"dc1.corp.example", {0, {link, never}}}, {"dc2.corp.example", {1722, {}}}});
  EXPECT_THAT(text, HasSubstr("\"2024-02-29T23:59:58Z\""));
  EXPECT_THAT(text, HasSubstr("\"04030201-0605-0807-090a-0b0c0d0e0f10\""));
  const auto services = read("", text);
  std::vector<ReplicaNeighbour> found;
  ASSERT_EQ(services->neighbours("DC1", found), 0u);
  ASSERT_EQ(found.size(), 2u);
  EXPECT_EQ(found[0].naming_context, link.naming_context);
  EXPECT_EQ(found[0].source_dsa, link.source_dsa);
  EXPECT_EQ(found[0].source_address, link.source_address);
  EXPECT_EQ(found[0].transport, link.transport);
  EXPECT_EQ(found[0].flags, link.flags);
  EXPECT_EQ(found[0].naming_context_guid, link.naming_context_guid);
  EXPECT_EQ(found[0].source_guid, link.source_guid);
  EXPECT_EQ(found[0].source_invocation, link.source_invocation);
  EXPECT_EQ(found[0].transport_guid, link.transport_guid);
  EXPECT_EQ(found[0].synced_usn, link.synced_usn);
  EXPECT_EQ(found[0].filter_usn, link.filter_usn);
  EXPECT_EQ(found[0].last_success, link.last_success);
  EXPECT_EQ(found[0].last_attempt, link.last_attempt);
  EXPECT_EQ(found[0].last_result, link.last_result);
  EXPECT_EQ(found[0].failures, link.failures);
  EXPECT_EQ(found[1].last_success, 0u);
  EXPECT_EQ(services->neighbours("dc2.corp.example", found), 1722u);
}

TEST(WrittenReplication, LeavesOutTimesThatTheFormCannotHold) {
  ReplicaNeighbour link;
  link.naming_context = "DC=corp,DC=example";
  using namespace std::chrono_literals;
  using std::chrono::sys_days;
  link.last_success = ticks(sys_days(9999y / 12 / 31) + 23h + 59min + 59s);
  link.last_attempt = link.last_success + 10'000'000u;
  std::vector<ReplicaNeighbour> found;
  ASSERT_EQ(read("", platform::replication_text({{"DC1", {0, {link}}}}))->neighbours("", found),
            0u);
  EXPECT_EQ(found[0].last_success, link.last_success);
  EXPECT_EQ(found[0].last_attempt, 0u);
  link.last_attempt = ~std::uint64_t{0};
  EXPECT_THAT(platform::replication_text({{"DC1", {0, {link}}}}), Not(HasSubstr("last_attempt")));
}

TEST(WrittenReplication, CanBeReadBackWhateverBytesANameHas) {
  ReplicaNeighbour link;
  link.naming_context = "DC=\xFF\xC3,DC=example";
  std::vector<ReplicaNeighbour> found;
  ASSERT_EQ(read("", platform::replication_text({{"DC1", {0, {link}}}}))->neighbours("", found),
            0u);
  EXPECT_EQ(found[0].naming_context, "DC=\xEF\xBF\xBD\xEF\xBF\xBD,DC=example");
}

TEST(WrittenTrusts, ReadBackAreTheSame) {
  DomainTrust trust;
  trust.netbios_name = "OTHER";
  trust.dns_name = "other.example";
  trust.flags = 0x3Fu;
  trust.parent_index = 2;
  trust.type = 2;
  trust.attributes = 0x80000008u;
  trust.sid = std::string("\1\2\0\0\0\0\0\5\x15\0\0\0\xFF\xFF\xFF\xFF", 16);
  trust.guid = some_guid(100);
  DomainTrust without = trust;
  without.sid = trust.sid.substr(0, 15);
  const std::string text = platform::trusts_text({{"DC1", {0, {trust, without}}}});
  EXPECT_THAT(text, HasSubstr("\"S-1-5-21-4294967295\""));
  std::vector<DomainTrust> found;
  ASSERT_EQ(read("", "", text)->trusts("", found), 0u);
  ASSERT_EQ(found.size(), 2u);
  EXPECT_EQ(found[0].netbios_name, trust.netbios_name);
  EXPECT_EQ(found[0].dns_name, trust.dns_name);
  EXPECT_EQ(found[0].flags, trust.flags);
  EXPECT_EQ(found[0].parent_index, trust.parent_index);
  EXPECT_EQ(found[0].type, trust.type);
  EXPECT_EQ(found[0].attributes, trust.attributes);
  EXPECT_EQ(found[0].sid, trust.sid);
  EXPECT_EQ(found[0].guid, trust.guid);
  EXPECT_EQ(found[1].sid, "");
}

void expect_same(platform::ServiceManager& before, platform::ServiceManager& after,
                 std::size_t count) {
  std::vector<ServiceListing> listed;
  std::vector<ServiceListing> listed_after;
  ASSERT_EQ(before.list(listed), 0u);
  ASSERT_EQ(after.list(listed_after), 0u);
  ASSERT_EQ(listed_after.size(), count);
  for (std::size_t i = 0; i < count; ++i) {
    const std::string& name = listed[i].name;
    EXPECT_EQ(listed_after[i].name, name);
    EXPECT_EQ(listed_after[i].display_name, listed[i].display_name);
    EXPECT_EQ(after.open(name), before.open(name));
    ServiceState state;
    ServiceState state_after;
    EXPECT_EQ(after.state(name, state_after), before.state(name, state));
    EXPECT_EQ(state_after.type, state.type);
    EXPECT_EQ(state_after.state, state.state);
    EXPECT_EQ(state_after.controls_accepted, state.controls_accepted);
    EXPECT_EQ(state_after.exit_code, state.exit_code);
    EXPECT_EQ(state_after.specific_exit_code, state.specific_exit_code);
    EXPECT_EQ(state_after.check_point, state.check_point);
    EXPECT_EQ(state_after.wait_hint_ms, state.wait_hint_ms);
    EXPECT_EQ(state_after.process_id, state.process_id);
    ServiceSetup setup;
    ServiceSetup setup_after;
    EXPECT_EQ(after.setup(name, setup_after), before.setup(name, setup));
    EXPECT_EQ(setup_after.start_type, setup.start_type);
    EXPECT_EQ(setup_after.error_control, setup.error_control);
    EXPECT_EQ(setup_after.tag, setup.tag);
    EXPECT_EQ(setup_after.program, setup.program);
    EXPECT_EQ(setup_after.load_order_group, setup.load_order_group);
    EXPECT_EQ(setup_after.account, setup.account);
    EXPECT_EQ(setup_after.dependencies, setup.dependencies);
  }
}

TEST(WrittenServices, ReadBackAreTheSame) {
  const auto before = read_services(
      R"([{"Name":"B","DisplayName":"Bee","ServiceType":"Share Process","State":"Stop Pending",
          "StartMode":"Disabled","PathName":"\"C:\\b b.exe\" -k","StartName":"me",
          "ErrorControl":"Severe","TagId":9,"LoadOrderGroup":"G","Dependencies":["C","D"],
          "AcceptStop":true,"AcceptPause":true,"ExitCode":1066,"ServiceSpecificExitCode":8,
          "CheckPoint":7,"WaitHint":6,"ProcessId":5},
         {"Name":"Plain","State":"Running","StartMode":"Auto"},
         {"Name":"Odd","State":99,"StartMode":98,"ServiceType":97,"ErrorControl":96},
         {"Name":"Gone","State":"Stopped","StartMode":"Manual","OpenError":1060},
         {"Name":"Mute","State":"Stopped","StartMode":"Manual","StateError":5},
         {"Name":"Closed","State":"Running","StartMode":"Manual","SetupError":5}])",
      "s.json");
  const std::string text = platform::services_text(*before);
  EXPECT_THAT(text, HasSubstr("\"State\": \"Stop Pending\""));
  const auto after = read_services(text, "s.json");
  expect_same(*before, *after, 6);
}

TEST(WrittenServices, OfTheMachinesOwnManagerCanBeReplayed) {
  const testing_support::PrivateBus bus;
  testing_support::Unit running;
  running.name = "cron.service";
  running.description = "Cron";
  running.active_state = "active";
  running.file_state = "enabled";
  running.main_pid = 17;
  running.commands = {{"/usr/sbin/cron", "-f"}};
  running.user = "nobody";
  testing_support::Unit same_name = running;
  same_name.name = "CRON.service";
  const testing_support::SystemManager manager({running, same_name});
  platform::live::LiveServices live;
  ASSERT_EQ(live.connect(), 0u);
  const auto after = read_services(platform::services_text(live), "s.json");
  // Two units may differ in letter case alone, two services of a recording may not.
  expect_same(live, *after, 1);
}

TEST(WrittenServices, AreNoFileWhereNoManagerAnswers) {
  const testing_support::PrivateBus bus;  // without anybody on it
  platform::live::LiveServices live;
  ASSERT_NE(live.connect(), 0u);
  EXPECT_EQ(platform::services_text(live), "");
}

}  // namespace
