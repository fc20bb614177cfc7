#include <gtest/gtest.h>

#include "collectors/background.h"
#include "collectors/caches.h"
#include "include/platform/threads.h"
#include "include/settings.h"
#include "include/unique_handle.h"
#include "tests/collectors/availability_machine.h"

namespace {

using namespace availability_test;
using testing_support::kSmallForest;

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
