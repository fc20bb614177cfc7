// The machine's own services, as a system manager on a bus of the test's own tells them.

#include "platform/live/live_services.h"

#include <gmock/gmock.h>

#include "platform/base.h"
#include "platform/control.h"
#include "platform/service_manager.h"
#include "tests/support/private_bus.h"

namespace {

using platform::ServiceListing;
using platform::ServiceSetup;
using platform::ServiceState;
using platform::live::LiveServices;
using testing::ElementsAre;
using testing_support::PrivateBus;
using testing_support::SystemManager;
using testing_support::Unit;

Unit unit(const std::string& name, const std::string& active = "active",
          const std::string& file = "enabled") {
  Unit made;
  made.name = name;
  made.description = "About " + name;
  made.active_state = active;
  made.file_state = file;
  return made;
}

std::vector<std::string> names(LiveServices& services) {
  std::vector<ServiceListing> listed;
  EXPECT_EQ(services.list(listed), 0u);
  std::vector<std::string> result;
  for (const ServiceListing& one : listed) result.push_back(one.name);
  return result;
}
std::uint32_t state_of(LiveServices& services, const std::string& name) {
  ServiceState state;
  EXPECT_EQ(services.state(name, state), 0u) << name;
  return state.state;
}
std::uint32_t start_type_of(LiveServices& services, const std::string& name) {
  ServiceSetup setup;
  EXPECT_EQ(services.setup(name, setup), 0u) << name;
  return setup.start_type;
}

TEST(LiveServicesList, IsSortedAndLeavesOutWhatIsNoServiceOfItsOwn) {
  const PrivateBus bus;
  Unit named_only = unit("ghost.service");
  named_only.load_state = "not-found";
  Unit installed = unit("cold.service", "inactive", "disabled");
  installed.loaded = false;
  Unit other_name = unit("syslog.service", "active", "alias");
  other_name.loaded = false;
  Unit generic = unit("getty@.service", "inactive", "enabled");
  generic.loaded = false;
  const SystemManager manager({unit("ssh.service"), unit("getty@tty1.service"), unit("a.socket"),
                               unit("cron.service", "failed"), named_only, installed, other_name,
                               generic});
  LiveServices services;
  ASSERT_EQ(services.connect(), 0u);
  EXPECT_THAT(names(services), ElementsAre("cold", "cron", "getty@tty1", "ssh"));
  std::vector<ServiceListing> listed;
  ASSERT_EQ(services.list(listed), 0u);
  EXPECT_EQ(listed[3].display_name, "About ssh.service");
  EXPECT_EQ(listed[3].state.state, DWORD{SERVICE_RUNNING});
  EXPECT_EQ(listed[1].state.state, DWORD{SERVICE_STOPPED});
  EXPECT_EQ(listed[0].state.type, DWORD{SERVICE_WIN32_OWN_PROCESS});
}

TEST(LiveServicesState, FollowsTheUnits) {
  const PrivateBus bus;
  Unit frozen = unit("frozen.service");
  frozen.freezer_state = "frozen";
  Unit freezing = unit("freezing.service");
  freezing.freezer_state = "freezing";
  Unit thawing = unit("thawing.service");
  thawing.freezer_state = "thawing";
  const SystemManager manager({unit("a.service", "active"), unit("b.service", "reloading"),
                               unit("c.service", "inactive"), unit("d.service", "failed"),
                               unit("e.service", "activating"), unit("f.service", "deactivating"),
                               frozen, freezing, thawing});
  LiveServices services;
  ASSERT_EQ(services.connect(), 0u);
  EXPECT_EQ(state_of(services, "a"), DWORD{SERVICE_RUNNING});
  EXPECT_EQ(state_of(services, "b"), DWORD{SERVICE_RUNNING});
  EXPECT_EQ(state_of(services, "c"), DWORD{SERVICE_STOPPED});
  EXPECT_EQ(state_of(services, "d"), DWORD{SERVICE_STOPPED});
  EXPECT_EQ(state_of(services, "e"), DWORD{SERVICE_START_PENDING});
  EXPECT_EQ(state_of(services, "f"), DWORD{SERVICE_STOP_PENDING});
  EXPECT_EQ(state_of(services, "frozen"), DWORD{SERVICE_PAUSED});
  EXPECT_EQ(state_of(services, "freezing"), DWORD{SERVICE_PAUSE_PENDING});
  EXPECT_EQ(state_of(services, "thawing"), DWORD{SERVICE_CONTINUE_PENDING});
}

TEST(LiveServicesState, HasTheProcessAndTheExitCode) {
  const PrivateBus bus;
  Unit running = unit("running.service");
  running.main_pid = 4711;
  Unit failed = unit("failed.service", "failed");
  failed.exit_status = 3;
  const SystemManager manager({running, failed});
  LiveServices services;
  ASSERT_EQ(services.connect(), 0u);
  ServiceState state;
  ASSERT_EQ(services.state("running", state), 0u);
  EXPECT_EQ(state.process_id, 4711u);
  EXPECT_EQ(state.controls_accepted, DWORD{SERVICE_ACCEPT_STOP});
  EXPECT_EQ(state.exit_code, 0u);
  ASSERT_EQ(services.state("failed", state), 0u);
  EXPECT_EQ(state.exit_code, DWORD{ERROR_SERVICE_SPECIFIC_ERROR});
  EXPECT_EQ(state.specific_exit_code, 3u);
}

TEST(LiveServicesSetup, HasTheStartTypeThatAnAdministratorWouldName) {
  const PrivateBus bus;
  Unit masked = unit("masked.service", "inactive", "masked");
  masked.load_state = "masked";
  const SystemManager manager(
      {unit("a.service", "active", "enabled"), unit("b.service", "active", "enabled-runtime"),
       unit("c.service", "active", "generated"), unit("d.service", "active", "disabled"),
       unit("e.service", "active", "static"), unit("f.service", "active", "indirect"),
       unit("g.service", "active", "transient"), masked});
  LiveServices services;
  ASSERT_EQ(services.connect(), 0u);
  for (const char* name : {"a", "b", "c"}) {
    EXPECT_EQ(start_type_of(services, name), DWORD{SERVICE_AUTO_START}) << name;
  }
  for (const char* name : {"d", "e", "f", "g"}) {
    EXPECT_EQ(start_type_of(services, name), DWORD{SERVICE_DEMAND_START}) << name;
  }
  EXPECT_EQ(start_type_of(services, "masked"), DWORD{SERVICE_DISABLED});
}

TEST(LiveServicesSetup, HasProgramAccountAndDependencies) {
  const PrivateBus bus;
  Unit full = unit("full.service");
  full.commands = {{"/usr/sbin/thing", "-o", "two words", ""}, {"/usr/sbin/second"}};
  full.user = "daemon";
  full.requires_units = {"sysinit.target", "dbus.service", "net.service"};
  const SystemManager manager({full, unit("bare.service")});
  LiveServices services;
  ASSERT_EQ(services.connect(), 0u);
  ServiceSetup setup;
  ASSERT_EQ(services.setup("full", setup), 0u);
  EXPECT_EQ(setup.program, "/usr/sbin/thing -o \"two words\" \"\"");
  EXPECT_EQ(setup.account, "daemon");
  EXPECT_EQ(setup.display_name, "About full.service");
  EXPECT_THAT(setup.dependencies, ElementsAre("dbus", "net"));
  ASSERT_EQ(services.setup("bare", setup), 0u);
  EXPECT_EQ(setup.program, "");
  EXPECT_EQ(setup.account, "root");
  EXPECT_TRUE(setup.dependencies.empty());
}

TEST(LiveServicesOpen, TellsAnUnknownServiceAndAnImpossibleName) {
  const PrivateBus bus;
  const SystemManager manager({unit("a.service")});
  LiveServices services;
  ASSERT_EQ(services.connect(), 0u);
  EXPECT_EQ(services.open("a"), 0u);
  EXPECT_EQ(services.open("b"), DWORD{ERROR_SERVICE_DOES_NOT_EXIST});
  EXPECT_EQ(services.open("a/b"), DWORD{ERROR_INVALID_NAME});
  ServiceState state;
  EXPECT_EQ(services.state("b", state), DWORD{ERROR_SERVICE_DOES_NOT_EXIST});
  ServiceSetup setup;
  EXPECT_EQ(services.setup("b", setup), DWORD{ERROR_SERVICE_DOES_NOT_EXIST});
}

TEST(LiveServicesConnect, WithoutABusFindsNoServiceManager) {
  setenv("DBUS_SYSTEM_BUS_ADDRESS", "unix:path=/nonexistent/bus", 1);
  LiveServices services;
  EXPECT_EQ(services.connect(), DWORD{RPC_S_SERVER_UNAVAILABLE});
  std::vector<ServiceListing> listed;
  EXPECT_EQ(services.list(listed), DWORD{RPC_S_SERVER_UNAVAILABLE});
  EXPECT_EQ(services.open("a"), DWORD{RPC_S_SERVER_UNAVAILABLE});
}

TEST(LiveServicesConnect, WithoutASystemManagerOnTheBusFindsNone) {
  const PrivateBus bus;
  ASSERT_TRUE(bus.running());
  LiveServices services;
  EXPECT_EQ(services.connect(), DWORD{RPC_S_SERVER_UNAVAILABLE});
}

TEST(LiveServicesConnect, FindsTheManagerAgainWhenTheBusWasStartedAnew) {
  PrivateBus bus;
  LiveServices services;
  {
    const SystemManager manager({unit("a.service")});
    ASSERT_EQ(services.connect(), 0u);
    bus.restart();
  }
  const SystemManager manager({unit("b.service")});
  EXPECT_EQ(services.connect(), 0u);
  EXPECT_THAT(names(services), ElementsAre("b"));
}

// The whole way, from the platform's call to the bus.
class MachineOfItsOwn : public platform::Controller {
 public:
  std::string description() const override { return "the machine of the test"; }
  const platform::MachineFacts& machine() const override { return facts_; }
  platform::Directory* directory() override { return nullptr; }
  platform::CounterSource* counters() override { return nullptr; }
  platform::RegistryHive* registry() override { return nullptr; }
  platform::ServiceManager* services() override { return &services_; }

 private:
  platform::MachineFacts facts_;
  LiveServices services_;
};

TEST(LiveServicesCalls, AnswerThroughTheServiceManagersInterface) {
  const PrivateBus bus;
  const SystemManager manager({unit("ssh.service")});
  platform::install(std::make_shared<MachineOfItsOwn>());
  const SC_HANDLE open = OpenSCManagerA(nullptr, nullptr, SC_MANAGER_ENUMERATE_SERVICE);
  ASSERT_NE(open, nullptr);
  const SC_HANDLE ssh = OpenServiceA(open, "ssh", SERVICE_QUERY_STATUS);
  ASSERT_NE(ssh, nullptr);
  SERVICE_STATUS status = {};
  EXPECT_TRUE(QueryServiceStatus(ssh, &status));
  EXPECT_EQ(status.dwCurrentState, DWORD{SERVICE_RUNNING});
  EXPECT_EQ(OpenServiceA(open, "telnet", SERVICE_QUERY_STATUS), nullptr);
  EXPECT_EQ(GetLastError(), DWORD{ERROR_SERVICE_DOES_NOT_EXIST});
  CloseServiceHandle(ssh);
  CloseServiceHandle(open);
}

}  // namespace
