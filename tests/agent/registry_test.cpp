// The place of a registry object: what opens it, moves it, copies it and closes it, and what it
// tells of itself.

#include "agent/registry.h"

#include <utility>

#include "include/platform/system.h"
#include "tests/agent/registry_place.h"

namespace {

using testing_support::kTree;
using testing_support::RegistryPlace;

TEST_F(RegistryPlace, WithoutMachineAndRootTheConstructorOpensNothing) {
  CRegistry registry(nullptr, nullptr, kTree, false);
  EXPECT_FALSE(registry.IsOpen());
  CRegistry with_root(nullptr, HKEY_CURRENT_USER, kTree, false);
  EXPECT_TRUE(with_root.IsOpen());
  EXPECT_EQ(kTree, path(with_root));
}

TEST_F(RegistryPlace, OpensTheLocalMachineWhenNoRootIsGiven) {
  CRegistry registry;
  EXPECT_EQ(CRegistry::kSuccess, registry.Open(nullptr, nullptr, nullptr, false));
  EXPECT_EQ("", path(registry));
  EXPECT_TRUE(registry.KeyExists("SOFTWARE"));
  EXPECT_EQ("RegOpenKeyEx 0", last(registry));
}

TEST_F(RegistryPlace, OpensThePredefinedRootsAndNoOthers) {
  for (const HKEY root : {HKEY_LOCAL_MACHINE, HKEY_USERS, HKEY_CURRENT_USER, HKEY_CLASSES_ROOT}) {
    CRegistry registry;
    EXPECT_EQ(CRegistry::kSuccess, registry.Open(nullptr, root, nullptr, false));
  }
  CRegistry registry;
  EXPECT_EQ(CRegistry::kBadArgument, registry.Open(nullptr, HKEY_PERFORMANCE_DATA, nullptr, false));
  EXPECT_FALSE(registry.IsOpen());
}

TEST_F(RegistryPlace, OfTheMachinesOwnNameIsReachedAsARemoteOne) {
  char name[256] = {};
  DWORD size = sizeof name;
  ASSERT_TRUE(GetComputerNameA(name, &size));
  CRegistry registry;
  ASSERT_EQ(CRegistry::kSuccess, registry.Open(name, nullptr, "SOFTWARE", false));
  char machine[32] = {};
  const RegistryText target{machine, sizeof machine};
  EXPECT_EQ(0, registry.GetInfo(nullptr, nullptr, nullptr, nullptr, nullptr, &target));
  EXPECT_STREQ(name, machine);
  EXPECT_EQ(CRegistry::kSuccess, registry.Position(".."));
  EXPECT_EQ("", path(registry));
  EXPECT_EQ(CRegistry::kSuccess, registry.Position("SOFTWARE"));
}

TEST_F(RegistryPlace, OfAnotherMachineHasTwoRoots) {
  CRegistry registry;
  EXPECT_EQ(CRegistry::kBadArgument,
            registry.Open("\\\\nobody.invalid", HKEY_CURRENT_USER, nullptr, false));
  EXPECT_EQ(CRegistry::kBadArgument,
            registry.Open("\\\\nobody.invalid", HKEY_CLASSES_ROOT, nullptr, false));
}

TEST_F(RegistryPlace, OfAMachineThatIsNotThereIsACallThatFailed) {
  for (const HKEY root : {static_cast<HKEY>(nullptr), HKEY_LOCAL_MACHINE, HKEY_USERS}) {
    CRegistry registry;
    EXPECT_EQ(CRegistry::kCallFailed, registry.Open("\\\\nobody.invalid", root, nullptr, false));
    EXPECT_EQ("RegConnectRegistry 53", last(registry));
    EXPECT_FALSE(registry.IsOpen());
  }
}

TEST_F(RegistryPlace, OpenOnAnObjectThatIsOpenIsRefused) {
  Opened opened;
  EXPECT_EQ(CRegistry::kAlreadyOpen, open(opened.registry));
  EXPECT_EQ(kTree, path(opened.registry));
}

TEST_F(RegistryPlace, OpenOfAMissingPathLeavesTheRootOpen) {
  CRegistry registry;
  EXPECT_EQ(CRegistry::kCallFailed, open(registry, "Missing"));
  EXPECT_EQ("RegOpenKeyEx 2", last(registry));
  EXPECT_TRUE(registry.IsOpen());
  EXPECT_EQ("", path(registry));
}

TEST_F(RegistryPlace, CloseTwiceIsRefusedTheSecondTime) {
  Opened opened("Two\\Below");
  EXPECT_EQ(CRegistry::kSuccess, opened.registry.Close());
  EXPECT_FALSE(opened.registry.IsOpen());
  EXPECT_EQ(CRegistry::kNotOpenForClose, opened.registry.Close());
  EXPECT_EQ(CRegistry::kSuccess, open(opened.registry));
}

TEST_F(RegistryPlace, MembersOfAClosedObjectSaySo) {
  CRegistry registry;
  char name[8];
  DWORD size = sizeof name;
  EXPECT_EQ(CRegistry::kNotOpen, registry.Position("x"));
  EXPECT_EQ(CRegistry::kNotOpen, registry.GetValue("x", nullptr, nullptr, nullptr));
  EXPECT_EQ(CRegistry::kNotOpen, registry.PutValue("x", "y"));
  EXPECT_EQ(CRegistry::kNotOpen, registry.PutValue("x", "y", REG_SZ, 2));
  EXPECT_EQ(CRegistry::kNotOpen, registry.DeleteValue("x"));
  EXPECT_EQ(CRegistry::kNotOpen, registry.EnumVals(name, &size, nullptr, nullptr, nullptr));
  EXPECT_EQ(CRegistry::kNotOpen, registry.EnumKeys(name, &size, nullptr, nullptr, nullptr));
  EXPECT_EQ(CRegistry::kNotOpen, registry.QueryKey(nullptr, nullptr, nullptr, nullptr, {}));
  EXPECT_EQ(CRegistry::kNotOpen, registry.DeleteKey("x", true));
  EXPECT_EQ(CRegistry::kNotOpen, registry.NotifyChange(REG_NOTIFY_CHANGE_NAME, nullptr, false));
  EXPECT_FALSE(registry.KeyExists("x"));
}

TEST_F(RegistryPlace, MovesDownUpAndFromTheRoot) {
  Opened opened;
  CRegistry& registry = opened.registry;
  EXPECT_EQ(0, registry.Position("Two\\Below"));
  EXPECT_EQ(below("Two\\Below"), path(registry));
  EXPECT_EQ(0, registry.Position(".."));
  EXPECT_EQ(below("Two"), path(registry));
  EXPECT_EQ(0, registry.Position("\\Software"));
  EXPECT_EQ("Software", path(registry));
  EXPECT_EQ(0, registry.Position(".."));
  EXPECT_EQ("", path(registry));
  EXPECT_EQ(0, registry.Position(".."));
  EXPECT_EQ("", path(registry));
}

TEST_F(RegistryPlace, AMoveThatFailsLeavesItWhereItWas) {
  Opened opened("Two");
  EXPECT_EQ(CRegistry::kCallFailed, opened.registry.Position("Missing"));
  EXPECT_EQ(CRegistry::kBadArgument, opened.registry.Position(""));
  EXPECT_EQ(CRegistry::kBadArgument, opened.registry.Position(nullptr));
  EXPECT_EQ(below("Two"), path(opened.registry));
  EXPECT_TRUE(opened.registry.KeyExists("Below"));
}

TEST_F(RegistryPlace, CreatesAKeyOfTheClassGiven) {
  Opened opened;
  CRegistry& registry = opened.registry;
  EXPECT_EQ(CRegistry::kSuccess, registry.Attributes(KEY_ALL_ACCESS, 0, nullptr, "kind"));
  EXPECT_EQ(CRegistry::kSuccess, registry.Position("New\\Newer", true));
  EXPECT_TRUE(tree_.has("New\\Newer"));
  char kind[16] = {};
  DWORD size = sizeof kind;
  EXPECT_EQ(0, registry.QueryKey(nullptr, nullptr, kind, &size, {}));
  EXPECT_STREQ("kind", kind);
  EXPECT_EQ(4u, size);
}

TEST_F(RegistryPlace, AttributesHoldForWhatIsOpenedLaterAndOutliveAClose) {
  Opened opened;
  CRegistry& registry = opened.registry;
  EXPECT_EQ(CRegistry::kSuccess, registry.Attributes(KEY_READ, 0, nullptr, nullptr));
  EXPECT_EQ(CRegistry::kSuccess, registry.PutValue("D", "still"));
  EXPECT_EQ(CRegistry::kSuccess, registry.Close());
  EXPECT_EQ(CRegistry::kSuccess, open(registry));
  EXPECT_EQ(CRegistry::kCallFailed, registry.PutValue("D", "no more"));
  EXPECT_EQ("RegSetValueEx 5", last(registry));
  EXPECT_EQ("still", value(registry, "D"));
}

TEST_F(RegistryPlace, SecurityAttributesAreTakenAndSaidToBe) {
  Opened opened;
  SECURITY_ATTRIBUTES security{sizeof security, nullptr, 0};
  EXPECT_EQ(CRegistry::kSecurityGiven,
            opened.registry.Attributes(KEY_ALL_ACCESS, 0, &security, nullptr));
  EXPECT_EQ(CRegistry::kSuccess, opened.registry.Position("Made", true));
  EXPECT_TRUE(tree_.has("Made"));
  EXPECT_EQ(CRegistry::kSuccess, opened.registry.Attributes(KEY_ALL_ACCESS, 0, nullptr, nullptr));
}

// A class text that a longer one would run over.
TEST_F(RegistryPlace, AClassIsCutAtItsRoom) {
  Opened opened;
  const std::string longer(600, 'k');
  EXPECT_EQ(CRegistry::kSuccess,
            opened.registry.Attributes(KEY_ALL_ACCESS, 0, nullptr, longer.c_str()));
  EXPECT_EQ(CRegistry::kSuccess, opened.registry.Position("Cut", true));
  char kind[1024] = {};
  DWORD size = sizeof kind;
  EXPECT_EQ(0, opened.registry.QueryKey(nullptr, nullptr, kind, &size, {}));
  EXPECT_EQ(std::string(511, 'k'), kind);
}

// ---- copies ---------------------------------------------------------------------------------

TEST_F(RegistryPlace, ACopyStandsWhereTheOtherOneStandsAndDoesNotCloseIt) {
  Opened opened("Two");
  {
    CRegistry copy(opened.registry);
    EXPECT_EQ(below("Two"), path(copy));
    EXPECT_EQ(CRegistry::kSuccess, copy.Close());
    EXPECT_FALSE(copy.IsOpen());
  }
  { const CRegistry copy(opened.registry); }
  EXPECT_TRUE(opened.registry.KeyExists("Below"));
}

TEST_F(RegistryPlace, ACopyCannotBeOpened) {
  Opened opened;
  CRegistry copy(opened.registry);
  EXPECT_EQ(CRegistry::kCopyCannotOpen, open(copy));
  CRegistry closed;
  CRegistry copy_of_closed(closed);
  EXPECT_EQ(CRegistry::kCopyCannotOpen, open(copy_of_closed));
}

TEST_F(RegistryPlace, ACopyIsMovedWithoutTheOtherOne) {
  Opened opened("Two");
  CRegistry copy(opened.registry);
  EXPECT_EQ(0, copy.Position("Below"));
  EXPECT_EQ(0, copy.Position("Deep"));
  EXPECT_EQ(below("Two\\Below\\Deep"), path(copy));
  EXPECT_EQ(below("Two"), path(opened.registry));
  EXPECT_TRUE(opened.registry.KeyExists("Below"));
}

TEST_F(RegistryPlace, AnAssignmentClosesWhatWasOpenAndMakesACopy) {
  Opened opened("Two");
  Opened other("One");
  other.registry = opened.registry;
  EXPECT_EQ(below("Two"), path(other.registry));
  EXPECT_EQ(CRegistry::kCopyCannotOpen, open(other.registry));
  CRegistry& same = opened.registry;
  opened.registry = same;
  EXPECT_EQ(CRegistry::kAlreadyOpen, open(opened.registry));
}

TEST_F(RegistryPlace, ACopyBeginsItsOwnEnumeration) {
  Opened opened;
  std::string name;
  EXPECT_EQ(0, next_value(opened.registry, name));
  CRegistry copy(opened.registry);
  EXPECT_EQ(0, next_value(copy, name));
  EXPECT_EQ("A", name);
  EXPECT_EQ(0, next_value(opened.registry, name));
  EXPECT_EQ("B", name);
}

// ---- what it tells of itself ----------------------------------------------------------------

TEST_F(RegistryPlace, InfoTellsTheWholeState) {
  Opened opened("Two");
  opened.registry.DeleteValue("none");
  bool is_open = false;
  LONG result = 0;
  char member[24], where[1024], call[24], machine[32];
  const RegistryText targets[] = {{member, sizeof member},
                                  {where, sizeof where},
                                  {call, sizeof call},
                                  {machine, sizeof machine}};
  EXPECT_EQ(0, opened.registry.GetInfo(&is_open, &targets[0], &targets[1], &targets[2], &result,
                                       &targets[3]));
  EXPECT_TRUE(is_open);
  EXPECT_STREQ("GetInfo", member);
  EXPECT_EQ(below("Two"), where);
  EXPECT_STREQ("RegDeleteValue", call);
  EXPECT_EQ(ERROR_FILE_NOT_FOUND, result);
  EXPECT_STREQ("", machine);
}

TEST_F(RegistryPlace, InfoWantsRoomInEachTarget) {
  Opened opened;
  char text[8] = "before";
  const RegistryText none{text, 0}, missing{nullptr, 8};
  for (const RegistryText* target : {&none, &missing}) {
    CRegistry& registry = opened.registry;
    EXPECT_EQ(4, registry.GetInfo(nullptr, target, nullptr, nullptr, nullptr, nullptr));
    EXPECT_EQ(4, registry.GetInfo(nullptr, nullptr, target, nullptr, nullptr, nullptr));
    EXPECT_EQ(4, registry.GetInfo(nullptr, nullptr, nullptr, target, nullptr, nullptr));
    EXPECT_EQ(4, registry.GetInfo(nullptr, nullptr, nullptr, nullptr, nullptr, target));
  }
  EXPECT_STREQ("before", text);
}

TEST_F(RegistryPlace, InfoCutsAtTheTargetsSize) {
  Opened opened;
  char text[9];
  const RegistryText target{text, sizeof text};
  EXPECT_EQ(0, opened.registry.GetInfo(nullptr, nullptr, &target, nullptr, nullptr, nullptr));
  EXPECT_STREQ("Software", text);
}

}  // namespace
