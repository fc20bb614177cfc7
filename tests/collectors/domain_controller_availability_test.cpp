#include <gtest/gtest.h>

#include <optional>

#include "collectors/background.h"
#include "collectors/caches.h"
#include "include/platform/threads.h"
#include "include/settings.h"
#include "include/unique_handle.h"
#include "tests/collectors/recorded_commands.h"
#include "tests/directory/forest.h"

namespace {

using namespace testing_support;
using directory_test::kConfiguration;
using directory_test::kDomain;
using directory_test::settings_dn;

// The forest of the directory tests, with DC3 a global catalog: DC1 and DC2 in Hub, DC3 in Branch;
// DC3 holds RID and infrastructure, DC1 the other roles.
std::string forest() { return directory_test::forest_with("options: 5\n", "options: 1\n"); }
// All roles at one server.
std::string forest_of_one_holder(const std::string& site, const std::string& server) {
  std::string text = forest();
  const std::string owner = "fSMORoleOwner: " + settings_dn(site, server) + "\n";
  for (const auto& [its_site, its_server] : {std::pair("Hub", "DC1"), std::pair("Branch", "DC3")}) {
    const std::string before = "fSMORoleOwner: " + settings_dn(its_site, its_server) + "\n";
    for (std::size_t at = text.find(before); at != text.npos && before != owner;
         at = text.find(before)) {
      text.replace(at, before.size(), owner);
    }
  }
  return text;
}

struct Located {
  std::string name;
  std::string site;
  std::string flags = R"("LDAP", "DS")";
  bool answers = true;
};
const std::vector<Located> kLocated = {
    {"DC1.corp.example", "Hub", R"("PDC", "LDAP", "DS")"},
    {"DC2.corp.example", "Hub", R"("LDAP", "DS", "GOOD_TIMESERV")"},
    {"DC3.corp.example", "Branch"},
};
std::string locator_json(const std::vector<Located>& controllers) {
  std::string text;
  for (const Located& one : controllers) {
    text += std::string(text.empty() ? "" : ",") + R"({"name": ")" + one.name + R"(", "site": ")" +
            one.site + R"(", "flags": [)" + one.flags + R"(], "answers": )" +
            (one.answers ? "true" : "false") + "}";
  }
  return R"({"forest": "corp.example", "controllers": [)" + text + "]}";
}

// A naming context and the settings of the server that it comes from.
using Neighbours = std::vector<std::pair<std::string, std::string>>;
const Neighbours kNeighbours = {{kDomain, settings_dn("Hub", "DC2")},
                                {kConfiguration, settings_dn("Hub", "DC2")},
                                {"CN=Schema," + kConfiguration, settings_dn("Hub", "DC2")},
                                {kConfiguration, settings_dn("Branch", "DC3")}};
std::string replication_json(const Neighbours& neighbours) {
  std::string text;
  for (const auto& [context, source] : neighbours) {
    text += std::string(text.empty() ? "" : ",") + R"({"naming_context": ")" + context +
            R"(", "source_dsa": ")" + source + R"("})";
  }
  return R"({"servers": {"DC1": {"neighbours": [)" + text + "]}}}";
}

Command ping_of(const std::string& server, const std::string& average) {
  return {"ping -n 1 -w 2000 -l 32 " + server + ".corp.example",
          {"    Packets: Sent = 1, Received = 1, Lost = 0 (0% loss),",
           "    Minimum = 1ms, Maximum = 9ms, Average = " + average + "ms"}};
}
Command lost_ping_of(const std::string& server) {
  return {"ping -n 1 -w 2000 -l 32 " + server + ".corp.example",
          {"    Packets: Sent = 1, Received = 0, Lost = 1 (100% loss),"}};
}
Command clock_of(const std::string& offset) {
  return {"w32tm /monitor /computers:DC1.corp.example,*DC2.corp.example",
          {"DC1.corp.example[10.53.1.11:123]:", "    ICMP: 0ms delay",
           "    NTP: " + offset + "s offset from DC2.corp.example"}};
}
const std::vector<Command> kCommands = {ping_of("DC1", "1"), ping_of("DC2", "2"),
                                        ping_of("DC3", "3"), clock_of("+0.0123456")};

struct Machine {
  std::string directory = forest();
  std::vector<Located> located = kLocated;
  Neighbours neighbours = kNeighbours;
  std::vector<Command> commands = kCommands;
  std::string time_service = "Running";

  MoreFiles files() const {
    return {{"locator.json", locator_json(located)},
            {"replication.json", replication_json(neighbours)},
            {"commands.json", commands_json(commands)},
            {"services.json",
             R"([{"Name": "W32Time", "StartMode": "Auto", "State": ")" + time_service + R"("}])"}};
  }
};

// A role's columns: who holds it, its ping, whether it could be bound, and who held it before.
struct Role {
  std::string holder;
  std::int32_t ping;
  std::int32_t bound;
  std::string before;
};
// What a row shows.
struct Shown {
  std::int32_t partners = 2, partners_pinged = 2;
  std::int32_t catalogs = 2, catalogs_pinged = 2, catalogs_bound = 2;
  std::int32_t in_site = 1, in_site_pinged = 1, in_site_bound = 1;
  std::string own_role = "Domain_Naming";
  Role rid = {"Branch\\DC3", 3, 1, "Branch\\DC3"};
  Role naming = {"Hub\\DC1", 1, 1, "Hub\\DC1"};
  Role infrastructure = {"Branch\\DC3", 3, 1, "Branch\\DC3"};
  Role schema = {"Hub\\DC1", 1, 1, "Hub\\DC1"};
  Role pdc = {"Hub\\DC1", 1, 1, "Hub\\DC1"};
  std::string site = "Hub";
  std::string is_catalog = "TRUE";
  std::int32_t controllers = 2, controllers_bound = 2;
  std::int32_t difference = 12;
  std::string time_server = "DC2.corp.example";
  std::int32_t time_server_is_good = 1;
};

std::string row_of(const Shown& shown, std::int32_t sample = 1,
                   const std::string& stamp = "1110102030405000") {
  std::string row = head(sample, 1, stamp);
  for (const std::int32_t value : {shown.partners, shown.partners_pinged, shown.catalogs,
                                   shown.catalogs_pinged, shown.in_site, shown.in_site_pinged}) {
    row += number(value);
  }
  row += padded(shown.own_role, 64);
  for (const Role* role :
       {&shown.rid, &shown.naming, &shown.infrastructure, &shown.schema, &shown.pdc}) {
    row += padded(role->holder, 64) + number(role->ping);
  }
  for (const Role* role :
       {&shown.rid, &shown.naming, &shown.infrastructure, &shown.schema, &shown.pdc}) {
    row += padded(role->before, 64);
  }
  row += padded(shown.site, 64) + padded("DC1.corp.example", 64) + padded("corp.example", 64) +
         padded("corp.example", 64) + padded(shown.is_catalog, 16);
  row += number(shown.controllers) + number(shown.difference) + padded(shown.time_server, 256) +
         number(shown.time_server_is_good);
  for (const std::int32_t value :
       {shown.pdc.bound, shown.naming.bound, shown.rid.bound, shown.schema.bound,
        shown.infrastructure.bound, shown.in_site_bound, shown.catalogs_bound,
        shown.controllers_bound}) {
    row += number(value);
  }
  return row;
}

class Availability : public Sampling {
 protected:
  Availability() : Sampling(forest(), Machine{}.files()) {
    g_pingCount = 1;
    g_pingTimeout = 2000;
    g_pingSize = 32;
    unsetenv("DWA_GETSITEFORSERVER_FLAG");
  }
  void TearDown() override { g_cacheInterval = 0; }

  void record(const Machine& machine) { next_.emplace(machine.directory, "", machine.files()); }
  static std::string sample() {
    const auto rows = xaf::DirectSampler("DCWNTDSDCA").sample();
    return rows.size() == 1 ? rows[0] : std::to_string(rows.size()) + " rows";
  }
  static std::string sample(xaf::DirectSampler& object) {
    const auto rows = object.sample();
    return rows.size() == 1 ? rows[0] : std::to_string(rows.size()) + " rows";
  }
  // The clock's three columns with that offset and state of the time service.
  Shown with_clock(std::int32_t difference, const std::string& server, std::int32_t is_good) {
    Shown shown;
    shown.difference = difference;
    shown.time_server = server;
    shown.time_server_is_good = is_good;
    return shown;
  }
  std::int32_t difference_of(const std::string& offset) {
    Machine machine;
    machine.commands.back() = clock_of(offset);
    record(machine);
    const std::string row = sample();
    std::int32_t value = 0;
    if (row.size() == 1536) std::memcpy(&value, row.data() + 1240, sizeof value);
    return value;
  }

  std::optional<SmallRecording> next_;
};

constexpr std::int32_t kNotMeasured = 2073602000;

TEST_F(Availability, IsOneRowByteForByte) {
  const std::string row = sample();
  EXPECT_EQ(1536u, row.size());
  EXPECT_EQ(row_of({}), row);
}

TEST_F(Availability, TellsItsStepsInOrder) {
  sample();
  const std::vector<std::string> wanted = {
      "Main: GetSiteForServer is ON - Functionality is available",
      "Sucessfully bound to server: DC1.corp.example",
      "Sucessfully bound to server: DC2.corp.example",
      "Time difference in double: 0.012345",
      "DN_host: <DC1>",
      "Inf_host: <DC3>",
      "PDC_host: <DC1>",
      "RID_host: <DC3>",
      "Sch_host: <DC1>",
      "DN_FSMO: <Hub\\DC1>",
      "Inf_FSMO: <Branch\\DC3>",
      "PDC_FSMO: <Hub\\DC1>",
      "RID_FSMO: <Branch\\DC3>",
      "Sch_FSMO: <Hub\\DC1>",
      "Ping FSMO role holders.",
      "Ping DN FSMO.",
      "Ping Inf FSMO.",
      "Ping PDC FSMO.",
      "PDC_FSMO role holders is matches with DN_FSMO",
      "Ping RID FSMO.",
      "RID_FSMO role holders is matches with Inf_FSMO",
      "Ping Sch FSMO.",
      "Sch_FSMO role holders is matches with DN_FSMO",
      "IsGlobalCatalogServer: TRUE",
      "DCA Data collection complete.Transfer to global buffer",
      "DCA Transfer to global buffer complete"};
  std::vector<std::string> told;
  for (const trc::Line& line : trace_.lines()) {
    const bool own =
        line.file == "domain_controller_availability.cpp" || line.file == "role_holders.cpp";
    if (own && line.kind == trc::Kind::kText && line.function == "CollectData" &&
        !line.text.starts_with("Partner <")) {
      told.push_back(line.text);
    }
  }
  EXPECT_EQ(wanted, told);
  EXPECT_TRUE(trace_.contains("TIMER: 2 : DomainControllerAvailability : TakeSample"));
}

TEST_F(Availability, PingsTheHolderOfAllRolesOnce) {
  Machine machine;
  machine.directory = forest_of_one_holder("Hub", "DC1");
  record(machine);
  Shown shown;
  const Role all = {"Hub\\DC1", 1, 1, "Hub\\DC1"};
  shown.rid = shown.infrastructure = all;
  EXPECT_EQ(row_of(shown), sample());
  EXPECT_EQ(1u, trace_.count("Finding DNSHost name for: <DC1>."));
  for (const char* role : {"Inf", "PDC", "RID", "Sch"}) {
    EXPECT_EQ(1u, trace_.count(std::string(role) + "_FSMO role holders is matches with DN_FSMO"));
  }
}

TEST_F(Availability, OfAServerWithoutARoleSaysNone) {
  Machine machine;
  machine.directory = forest_of_one_holder("Branch", "DC3");
  record(machine);
  Shown shown;
  shown.own_role = "none";
  const Role all = {"Branch\\DC3", 3, 1, "Branch\\DC3"};
  shown.rid = shown.infrastructure = shown.naming = shown.schema = shown.pdc = all;
  EXPECT_EQ(row_of(shown), sample());
}

// Of several roles the first in the order naming, RID, infrastructure, schema, PDC.
TEST_F(Availability, ShowsItsOwnRoleInItsOwnOrder) {
  const std::string dc1 = "fSMORoleOwner: " + settings_dn("Hub", "DC1") + "\n";
  const std::string dc3 = "fSMORoleOwner: " + settings_dn("Branch", "DC3") + "\n";
  const auto held = [&](const std::vector<std::string>& by_dc1) {
    std::string text = forest_of_one_holder("Branch", "DC3");
    for (const std::string& before : by_dc1) text = replaced(text, before + dc3, before + dc1);
    Machine machine;
    machine.directory = text;
    record(machine);
    const std::string shown = sample().substr(216 + 24, 64);
    return shown.substr(0, shown.find(' '));
  };
  const std::string pdc = "msDS-Behavior-Version: 4\n";
  const std::string naming = "objectClass: crossRefContainer\n";
  const auto own_text = [](const std::string& dn) { return "distinguishedName: " + dn + "\n"; };
  const std::string schema = own_text("CN=Schema," + kConfiguration);
  const std::string rid = own_text("CN=RID Manager$,CN=System," + kDomain);
  const std::string infrastructure = own_text("CN=Infrastructure," + kDomain);
  EXPECT_EQ("PDC", held({pdc}));
  EXPECT_EQ("Schema", held({pdc, schema}));
  EXPECT_EQ("Infrastructure", held({pdc, schema, infrastructure}));
  EXPECT_EQ("RID_Pool", held({pdc, schema, infrastructure, rid}));
  EXPECT_EQ("Domain_Naming", held({pdc, schema, infrastructure, rid, naming}));
}

// The comparison is on the qualified names: one and the same short name, once with its site and
// once without, is pinged twice.
TEST_F(Availability, HoldersOfOneNameThatDoNotStandInOneSiteAreTwo) {
  Machine machine;
  machine.directory = forest_of_one_holder("Hub", "DC1");
  record(machine);
  // The first question is for the machine's own site, the second for the naming master's.
  platform::faults::fail("DsGetSiteNameA", 2);
  Shown shown;
  shown.naming = {"DC1", 1, 1, "DC1"};
  const Role other = {"Hub\\DC1", 1, 1, "Hub\\DC1"};
  shown.rid = shown.infrastructure = shown.schema = shown.pdc = other;
  EXPECT_EQ(row_of(shown), sample());
  EXPECT_EQ(2u, trace_.count("Finding DNSHost name for: <DC1>."));
  EXPECT_EQ(1u, trace_.count("PDC_FSMO role holders is matches with Inf_FSMO"));
  EXPECT_EQ(1u, trace_.count("Sch_FSMO role holders is matches with Inf_FSMO"));
}

TEST_F(Availability, AHolderWhoseSiteIsUnknownIsShownByItsNameAlone) {
  Machine machine;
  machine.located[2].site = "";
  record(machine);
  Shown shown;
  shown.rid = shown.infrastructure = {"DC3", 3, 1, "DC3"};
  EXPECT_EQ(row_of(shown), sample());
}

TEST_F(Availability, AHolderThatDoesNotAnswerShowsThat) {
  Machine machine;
  machine.commands = {ping_of("DC1", "1"), ping_of("DC2", "2"), lost_ping_of("DC3"),
                      clock_of("+0.0123456")};
  record(machine);
  Shown shown;
  shown.partners_pinged = 1;
  shown.catalogs_pinged = shown.catalogs_bound = 1;
  shown.rid = shown.infrastructure = {"Branch\\DC3", -2, 0, "Branch\\DC3"};
  EXPECT_EQ(row_of(shown), sample());
}

TEST_F(Availability, AHolderThatCannotBePingedShowsThat) {
  Machine machine;
  machine.commands = {ping_of("DC1", "1"), ping_of("DC2", "2"), clock_of("+0.0123456")};
  record(machine);
  Shown shown;
  shown.partners_pinged = 1;
  shown.catalogs_pinged = shown.catalogs_bound = 1;
  shown.rid = shown.infrastructure = {"Branch\\DC3", -1, 0, "Branch\\DC3"};
  EXPECT_EQ(row_of(shown), sample());
}

TEST_F(Availability, AHolderThatAnswersAndCannotBeBoundShowsThat) {
  Machine machine;
  machine.located[2] = {"DC3.corp.example", "Branch", "", false};
  record(machine);
  Shown shown;
  shown.catalogs_bound = 1;
  // Whoever does not answer the locator tells no site.
  shown.rid = shown.infrastructure = {"DC3", 3, 0, "DC3"};
  EXPECT_EQ(row_of(shown), sample());
}

TEST_F(Availability, AControllerOfTheSiteThatCannotBeBoundIsCountedOnly) {
  Machine machine;
  machine.located[1].answers = false;
  machine.located[2].flags = R"("GOOD_TIMESERV")";
  machine.commands.push_back(
      {"w32tm /monitor /computers:DC1.corp.example,*DC3.corp.example", {"    NTP: +1.50s offset"}});
  record(machine);
  Shown shown;
  shown.controllers_bound = 1;
  shown.difference = 1500;
  shown.time_server = "DC3.corp.example";
  EXPECT_EQ(row_of(shown), sample());
  EXPECT_EQ(1u, trace_.count("Error while performing bind, Error Code: 1722"));
}

TEST_F(Availability, APartnerOfSeveralNamingContextsIsCountedOnce) {
  Machine machine;
  machine.neighbours = {{kDomain, settings_dn("Hub", "DC2")},
                        {kConfiguration, settings_dn("Hub", "DC2")},
                        {"CN=Schema," + kConfiguration, settings_dn("Hub", "DC2")}};
  record(machine);
  Shown shown;
  shown.partners = shown.partners_pinged = 1;
  EXPECT_EQ(row_of(shown), sample());
}

TEST_F(Availability, GoesOnWithoutItsPartners) {
  platform::faults::fail("DsReplicaGetInfoW", 1);
  Shown shown;
  shown.partners = shown.partners_pinged = 0;
  EXPECT_EQ(row_of(shown), sample());
}

TEST_F(Availability, GivesAnEmptyListOfPartnersBack) {
  Machine machine;
  machine.neighbours = {};
  record(machine);
  sample();
  const auto before = platform::accounting::live();
  Shown shown;
  shown.partners = shown.partners_pinged = 0;
  EXPECT_EQ(row_of(shown, 2), sample());
  EXPECT_EQ(before, platform::accounting::live());
}

// Without sites every list is empty, and no holder can be found.
TEST_F(Availability, WithoutListsCountsNothingAndDeliversItsRow) {
  Machine machine;
  machine.directory = kSmallForest;
  machine.neighbours = {};
  record(machine);
  const std::string row = sample();
  ASSERT_EQ(1536u, row.size());
  Shown shown;
  shown.partners = shown.partners_pinged = 0;
  shown.catalogs = shown.catalogs_pinged = shown.catalogs_bound = 0;
  shown.in_site = shown.in_site_pinged = shown.in_site_bound = 0;
  shown.controllers = shown.controllers_bound = 0;
  shown.own_role = "none";
  shown.is_catalog = "FALSE";
  // A name that is empty asks for this machine's own site.
  const Role nobody = {"Hub\\", -1, 0, "Hub\\"};
  shown.rid = shown.infrastructure = shown.naming = shown.schema = shown.pdc = nobody;
  EXPECT_EQ(row_of(shown), row);
}

TEST_F(Availability, OfASystemWhoseSiteQuestionIsOffSaysSoAndGoesOn) {
  setenv("DWA_GETSITEFORSERVER_FLAG", "OFF", 1);
  EXPECT_EQ(row_of({}), sample());
  EXPECT_EQ(1u, trace_.count("Main: GetSiteForServer is OFF - Functionality is Unavailable"));
}

TEST_F(Availability, OfASiteQuestionThatIsOffInSmallLettersSaysOn) {
  setenv("DWA_GETSITEFORSERVER_FLAG", "off", 1);
  EXPECT_EQ(row_of({}), sample());
  EXPECT_EQ(1u, trace_.count("Main: GetSiteForServer is ON - Functionality is available"));
}

TEST_F(Availability, ShowsDifferencesUpToTheLimitAndThenOnlyTheirSide) {
  EXPECT_EQ(2073600000, difference_of("+2073600.00"));
  EXPECT_EQ(2073601000, difference_of("+2073600.10"));
  EXPECT_EQ(-2073600000, difference_of("-2073600.00"));
  EXPECT_EQ(-2073601000, difference_of("-2073600.10"));
  EXPECT_EQ(-1999, difference_of("-1.99990"));
  EXPECT_EQ(kNotMeasured, difference_of("nan "));
}

TEST_F(Availability, WithoutTheTimeServiceKeepsTheServerThatItFound) {
  Machine machine;
  machine.time_service = "Stopped";
  record(machine);
  EXPECT_EQ(row_of(with_clock(kNotMeasured, "DC2.corp.example", 1)), sample());
  EXPECT_EQ(1u, trace_.count("Windows Time Service is not running"));
}

TEST_F(Availability, WithoutAnAnswerOfTheClocksIsNotMeasured) {
  Machine machine;
  machine.commands.pop_back();
  record(machine);
  EXPECT_EQ(row_of(with_clock(kNotMeasured, "DC2.corp.example", 1)), sample());
  EXPECT_EQ(1u, trace_.count("GetTimeDifferenece returned false"));
}

TEST_F(Availability, WithoutATimeServerHasNone) {
  Machine machine;
  machine.located[0].flags = R"("LDAP")";
  machine.located[1].flags = R"("LDAP")";
  record(machine);
  EXPECT_EQ(row_of(with_clock(kNotMeasured, "Not_Available", -1)), sample());
  EXPECT_EQ(1u, trace_.count("GetTimeServer failed"));
}

TEST_F(Availability, WithThePdcAsItsTimeServerSaysThatItIsNotAGoodOne) {
  Machine machine;
  machine.located[1].flags = R"("LDAP")";
  record(machine);
  // The machine is that server: no command runs.
  EXPECT_EQ(row_of(with_clock(0, "DC1.corp.example", 0)), sample());
}

TEST_F(Availability, WithoutItsFullNameMeasuresNoClock) {
  // The first question for the name is the partners'.
  platform::faults::fail("GetComputerNameExA", 2);
  EXPECT_EQ(row_of(with_clock(kNotMeasured, "Not_Available", -1)), sample());
  EXPECT_TRUE(trace_.contains("GetComputerNameEx Failed, Error Code: "));
}

TEST_F(Availability, WithoutItsComputerNameAsksByItsHostName) {
  platform::faults::fail("GetComputerNameA", 1);
  EXPECT_EQ(row_of({}), sample());
}

TEST_F(Availability, WhoseHostIsUnknownKeepsItsRow) {
  const std::string right = sample();
  Sleep(60000);
  platform::faults::fail("getaddrinfo", 1);
  EXPECT_EQ(right, sample());
  EXPECT_EQ(1u, trace_.count("getaddrinfo failed: error#:11001"));
}

TEST_F(Availability, ShowsAChangedHolderInOneSample) {
  xaf::DirectSampler object("DCWNTDSDCA");
  EXPECT_EQ(row_of({}, 1), sample(object));
  Machine machine;
  machine.directory = forest_of_one_holder("Hub", "DC2");
  record(machine);
  Shown shown;
  shown.own_role = "none";
  shown.rid = shown.infrastructure = {"Hub\\DC2", 2, 1, "Branch\\DC3"};
  shown.naming = shown.schema = shown.pdc = {"Hub\\DC2", 2, 1, "Hub\\DC1"};
  EXPECT_EQ(row_of(shown, 2), sample(object));
  const Role all = {"Hub\\DC2", 2, 1, "Hub\\DC2"};
  shown.rid = shown.infrastructure = shown.naming = shown.schema = shown.pdc = all;
  EXPECT_EQ(row_of(shown, 3), sample(object));
}

TEST_F(Availability, OfANewObjectBeginsItsComparisonAfresh) {
  xaf::DirectSampler object("DCWNTDSDCA");
  sample(object);
  Machine machine;
  machine.directory = forest_of_one_holder("Hub", "DC2");
  record(machine);
  Shown shown;
  shown.own_role = "none";
  const Role all = {"Hub\\DC2", 2, 1, "Hub\\DC2"};
  shown.rid = shown.infrastructure = shown.naming = shown.schema = shown.pdc = all;
  EXPECT_EQ(row_of(shown, 2), sample());
}

// A holder that fills its column leaves no room for the zero end of what the object keeps.
TEST_F(Availability, OfAHolderAsLongAsItsColumnKeepsAllButTheLastCharacter) {
  const std::string site(61, 'S');
  Machine machine;
  machine.located[2].site = site;
  record(machine);
  xaf::DirectSampler object("DCWNTDSDCA");
  const std::string holder = site + "\\DC";
  Shown shown;
  shown.rid = shown.infrastructure = {holder, 3, 1, holder};
  EXPECT_EQ(64u, holder.size());
  EXPECT_EQ(row_of(shown, 1), sample(object));
  shown.rid.before = shown.infrastructure.before = holder.substr(0, 63);
  EXPECT_EQ(row_of(shown, 2), sample(object));
}

TEST_F(Availability, IsCollectedByItsThreadAndSampledFromTheCache) {
  g_cacheInterval = 60000;
  hTerminateEvent = CreateEventA(nullptr, TRUE, FALSE, nullptr);
  EXPECT_EQ("0 rows", sample());
  const UniqueHandle thread{
      _beginthreadex(nullptr, 0, &collectandCacheDCAData, nullptr, 0, nullptr)};
  Sleep(30000);
  EXPECT_EQ(row_of({}), sample());
  EXPECT_EQ(row_of({}), sample());
  EXPECT_EQ(30000, time_->elapsed_ms());
  Sleep(60000);
  EXPECT_EQ(number(2), sample().substr(64, 4));
  close_now(hTerminateEvent.exchange(nullptr));
  EXPECT_EQ(WAIT_OBJECT_0, WaitForSingleObject(thread.get(), INFINITE));
}

TEST_F(Availability, SurvivesEachPlatformCallFailingOnce) {
  sweep("DCWNTDSDCA",
        {{"getaddrinfo", "getaddrinfo failed: error#:11001"},
         {"DsReplicaGetInfoW", "Error: DsReplicaGetInfoW failed. Error Code: "},
         {"SetEvent", "Release cache lock failed: "}},
        // Sample number, time, and the five holders of the sample before.
        {{{64, 4}, {72, 16}, {644, 320}}, {}});
}

}  // namespace
