// What the import and the registry class make of calls that fail, and that no registry keeps the
// agent from starting and sampling.

#include "agent/environment_import.h"
#include "agent/registry.h"
#include "include/platform/environment.h"
#include "include/platform/threads.h"
#include "tests/agent/agent_run.h"

namespace {

using testing_support::AgentRun;

// Three levels with a value each.
std::string three_levels() {
  return R"([HKEY_LOCAL_MACHINE\SOFTWARE\Marlow\DCW\Ver610\Primary\Environment]
"DWT_1"="one"
[HKEY_LOCAL_MACHINE\SOFTWARE\Marlow\DCW\Ver610\Environment]
"DWT_2"="two"
[HKEY_LOCAL_MACHINE\SOFTWARE\Marlow\DCW\Environment]
"DWT_3"="three"
)";
}

std::string imported() {
  std::string found;
  for (const char* name : {"DWT_1", "DWT_2", "DWT_3"}) {
    if (std::getenv(name) != nullptr) found += name[4];
  }
  return found;
}

void forget() {
  for (const char* name : {"DWT_1=", "DWT_2=", "DWT_3="}) _putenv(name);
}

class FailingImport : public AgentRun {
 protected:
  FailingImport() : AgentRun(three_levels()) {}
  ~FailingImport() override { forget(); }
};

struct Denial {
  std::uint32_t nth;  // of the keys that the import opens
  std::int32_t code;
  const char* imported;
};

// In the order of the import: root, branch's root, branch; then for each level its Environment, the
// way back, and the way up.
constexpr Denial kDenials[] = {{1, 8, ""},    {2, 8, ""},    {3, 8, ""},     {4, 0, "23"},
                               {5, 8, "1"},   {6, 8, "1"},   {7, 0, "13"},   {8, 8, "12"},
                               {9, 8, "12"},  {10, 0, "12"}, {11, 8, "123"}, {12, 8, "123"},
                               {13, 0, "123"}};

TEST_F(FailingImport, WithoutRightsToAKeyKeepsWhatItHasReadSoFar) {
  for (const Denial& denial : kDenials) {
    SCOPED_TRACE(denial.nth);
    const auto before = platform::accounting::live();
    platform::faults::fail("RegOpenKeyExA", denial.nth, ERROR_ACCESS_DENIED);
    EXPECT_EQ(denial.code, SetEnvFromReg(kRegistryBranch));
    EXPECT_EQ(denial.nth <= 12, platform::faults::struck());
    platform::faults::clear();
    EXPECT_EQ(denial.imported, imported());
    EXPECT_EQ(before, platform::accounting::live());
    forget();
  }
}

TEST_F(FailingImport, TellsItsObserverWhatCouldNotBeRead) {
  platform::faults::fail("RegOpenKeyExA", 4, ERROR_ACCESS_DENIED);
  std::vector<std::string> told;
  agent::import_environment(kRegistryBranch, [&told](const agent::ImportStep& step) {
    told.push_back(step.key + " " + std::to_string(step.what) + " " + std::to_string(step.error));
  });
  ASSERT_EQ(3u, told.size());
  EXPECT_EQ("SOFTWARE\\Marlow\\DCW\\Ver610\\Primary\\Environment " +
                std::to_string(agent::ImportStep::kLevelUnreadable) + " 5",
            told[0]);
}

TEST_F(FailingImport, GoesOnAfterAnyCallThatFails) {
  ASSERT_EQ(0, SetEnvFromReg(kRegistryBranch));
  forget();
  platform::faults::reset_counts();
  ASSERT_EQ(0, SetEnvFromReg(kRegistryBranch));
  const auto reached = platform::faults::reached();
  ASSERT_GE(reached.size(), 4u);
  for (const auto& [call, times] : reached) {
    for (std::uint32_t nth = 1; nth <= times; ++nth) {
      SCOPED_TRACE(call + " " + std::to_string(nth));
      forget();
      auto before = platform::accounting::live();
      platform::faults::fail(call, nth);
      const std::int32_t code = SetEnvFromReg(kRegistryBranch);
      EXPECT_TRUE(platform::faults::struck());
      platform::faults::clear();
      EXPECT_TRUE(code == 0 || code == CRegistry::kCallFailed) << code;
      // A key that the system does not close stays open.
      if (call != "RegCloseKey") {
        EXPECT_EQ(before["registry key"], platform::accounting::live()["registry key"]);
      }
      EXPECT_EQ(0, SetEnvFromReg(kRegistryBranch));
      EXPECT_EQ("123", imported());
    }
  }
}

// ---- each member of the class -----------------------------------------------------------------

struct Member {
  const char* name;
  std::function<std::int32_t(CRegistry&)> call;
};

std::vector<Member> members(HANDLE event) {
  return {
      {"Position", [](CRegistry& at) { return at.Position("Ver610"); }},
      {"Position, created", [](CRegistry& at) { return at.Position("Made", true); }},
      {"GetValue", [](CRegistry& at) { return at.GetValue("DWT", nullptr, nullptr, nullptr); }},
      {"PutValue", [](CRegistry& at) { return at.PutValue("DWT", "text"); }},
      {"EnumVals",
       [](CRegistry& at) {
         char name[64];
         DWORD size = sizeof name;
         return at.EnumVals(name, &size, nullptr, nullptr, nullptr, nullptr, true);
       }},
      {"EnumKeys",
       [](CRegistry& at) {
         char name[64];
         DWORD size = sizeof name;
         return at.EnumKeys(name, &size, nullptr, nullptr, nullptr, nullptr, true);
       }},
      {"QueryKey",
       [](CRegistry& at) { return at.QueryKey(nullptr, nullptr, nullptr, nullptr, {}); }},
      {"DeleteValue", [](CRegistry& at) { return at.DeleteValue("DWT"); }},
      {"DeleteKey", [](CRegistry& at) { return at.DeleteKey("Ver610", true); }},
      {"NotifyChange",
       [event](CRegistry& at) { return at.NotifyChange(REG_NOTIFY_CHANGE_NAME, event, true); }},
      {"KeyExists", [](CRegistry& at) { return at.KeyExists("Ver610") ? 0 : 8; }},
      {"Close", [](CRegistry& at) { return at.Close(); }},
  };
}

// An object at the branch's middle, over a registry as it was recorded.
std::unique_ptr<CRegistry> fresh(const std::string& folder) {
  platform::install(platform::open_recording(folder, platform::clock_now_ms));
  auto registry = std::make_unique<CRegistry>();
  EXPECT_EQ(0, registry->Open(nullptr, nullptr, "SOFTWARE\\Marlow\\DCW", false));
  EXPECT_EQ(0, registry->PutValue("DWT", "before"));
  return registry;
}

TEST_F(FailingImport, EachMemberTellsOfEachCallThatFailsAndLeavesAnObjectThatWorks) {
  const HANDLE event = CreateEventA(nullptr, TRUE, FALSE, nullptr);
  constexpr LONG kOddError = 77;
  for (const Member& member : members(event)) {
    auto registry = fresh(recording_.folder());
    platform::faults::reset_counts();
    ASSERT_EQ(0, member.call(*registry)) << member.name;
    const auto reached = platform::faults::reached();
    ASSERT_FALSE(reached.empty()) << member.name;
    for (const auto& [call, times] : reached) {
      // Where a key is left for another one, its close is not looked at.
      if (call == "RegCloseKey" && std::string(member.name) != "Close") continue;
      for (std::uint32_t nth = 1; nth <= times; ++nth) {
        SCOPED_TRACE(std::string(member.name) + ", " + call + " " + std::to_string(nth));
        registry.reset();
        registry = fresh(recording_.folder());
        const auto before = platform::accounting::live();
        platform::faults::fail(call, nth, kOddError);
        EXPECT_EQ(CRegistry::kCallFailed, member.call(*registry));
        EXPECT_TRUE(platform::faults::struck());
        platform::faults::clear();
        if (std::string(member.name) == "Close") continue;
        if (std::string(member.name) != "KeyExists") {
          EXPECT_EQ(kOddError, registry->LastError());
        }
        EXPECT_EQ(before, platform::accounting::live());
        EXPECT_EQ(0, registry->GetValue("DWT", nullptr, nullptr, nullptr));
        EXPECT_EQ(0, registry->Position("\\SOFTWARE\\Marlow"));
      }
    }
  }
  CloseHandle(event);
}

// ---- the agent --------------------------------------------------------------------------------

struct Registry {
  const char* name;
  std::string text;
  std::uint32_t denied = 0;  // the key whose opening is denied
};
void PrintTo(const Registry& registry, std::ostream* stream) { *stream << registry.name; }

std::string level_1(const std::string& values) {
  return "[HKEY_LOCAL_MACHINE\\SOFTWARE\\Marlow\\DCW\\Ver610\\Primary\\Environment]\n" + values;
}

std::string many_values() {
  std::string values;
  for (int i = 0; i < 10000; ++i) {
    values += "\"DWT_" + std::to_string(i) + "\"=\"" + std::to_string(i) + "\"\n";
  }
  return level_1(values);
}

std::vector<Registry> registries() {
  std::vector<Registry> all = {
      {"NoBranch", ""},
      {"TenThousandValues", many_values()},
      {"ValueTooLong", level_1("\"DWT_1\"=\"" + std::string(2049, 'v') + "\"\n")},
      {"NameTooLong", level_1("\"" + std::string(129, 'N') + "\"=\"v\"\n")},
      {"OddName", level_1("\"A=B\"=\"v\"\n@=\"nameless\"\n")},
      // %P% naming itself.
      {"NamesItself", level_1("\"P\"=hex(2):25,00,50,00,25,00,78,00,00,00\n")},
      // A zero in the middle, no zero at the end, half a list, no bytes at all.
      {"OddTexts", level_1("\"DWT_1\"=hex(1):61,00,00,00,62,00\n\"DWT_2\"=hex(7):61,00\n"
                           "\"DWT_3\"=hex(1):\n\"DWT_4\"=hex(2):\n\"DWT_5\"=hex(0):\n")},
      {"NoNumbers", level_1("\"DWA_PING_COUNT\"=\"many\"\n\"DWA_CACHE_INTERVAL\"=\"-\"\n")},
  };
  for (std::uint32_t nth = 1; nth <= 12; ++nth) all.push_back({"Denied", three_levels(), nth});
  return all;
}

class OddRegistry : public AgentRun, public ::testing::WithParamInterface<Registry> {
 protected:
  OddRegistry() : AgentRun(GetParam().text) {}
  ~OddRegistry() override { forget(); }
};

class RowCounter : public xaf::Sink {
 public:
  void deliver(const xaf::Delivery& delivery) override { rows += delivery.count; }
  std::atomic<std::uint32_t> rows{0};
};

TEST_P(OddRegistry, NeverKeepsTheAgentFromStartingAndSampling) {
  xaf::Configuration configuration;
  configuration.node_name = "NODE1";
  configuration.only_tables = {"DCWNTDSRDS"};
  configuration.stop_after_ms = 1000;
  configure(configuration);
  const auto rows = std::make_shared<RowCounter>();
  xaf::add_sink(rows);
  if (GetParam().denied != 0) {
    platform::faults::fail("RegOpenKeyExA", GetParam().denied, ERROR_ACCESS_DENIED);
  }
  start({"TEST"});
  EXPECT_FALSE(process_->wait_for_exit(60000));
  expect_in_order({"Main: Entry", "Main: Going to InitService", "Main: Dropping into main wait"});
  EXPECT_EQ(1u, trace_.count("MwMain: Environment Set"));
  EXPECT_EQ(1u, rows->rows);
}
INSTANTIATE_TEST_SUITE_P(Agent, OddRegistry, ::testing::ValuesIn(registries()),
                         [](const ::testing::TestParamInfo<Registry>& one) {
                           const std::uint32_t denied = one.param.denied;
                           return one.param.name + (denied == 0 ? "" : std::to_string(denied));
                         });

}  // namespace
