// Values and sub-keys through a registry object: reading, writing, enumerating, removing, watching.

#include "include/platform/environment.h"
#include "include/platform/threads.h"
#include "include/unique_handle.h"
#include "tests/agent/registry_place.h"

namespace {

using testing_support::RegistryPlace;

class RegistryValues : public RegistryPlace {};
class RegistryKeys : public RegistryPlace {};
class RegistryWatch : public RegistryPlace {};

TEST_F(RegistryValues, AreReadByName) {
  Opened opened;
  EXPECT_EQ("first", value(opened.registry, "a"));
  BYTE data[8];
  DWORD type = 0, size = sizeof data;
  EXPECT_EQ(CRegistry::kSuccess, opened.registry.GetValue("C", data, &type, &size));
  EXPECT_EQ(DWORD{REG_EXPAND_SZ}, type);
  EXPECT_EQ(4u, size);
}

TEST_F(RegistryValues, ThatAreNotThereAreToldFromCallsThatFail) {
  Opened opened;
  CRegistry& registry = opened.registry;
  EXPECT_EQ(CRegistry::kNoSuchValue, registry.GetValue("none", nullptr, nullptr, nullptr));
  EXPECT_EQ(CRegistry::kNoSuchValue, registry.DeleteValue("none"));
  EXPECT_EQ("RegDeleteValue 2", last(registry));
  registry.Attributes(KEY_NOTIFY, 0, nullptr, nullptr);
  ASSERT_EQ(0, registry.Position("..", false));
  ASSERT_EQ(0, registry.Position((std::string("\\") + testing_support::kTree).c_str()));
  EXPECT_EQ(CRegistry::kCallFailed, registry.GetValue("A", nullptr, nullptr, nullptr));
  EXPECT_EQ("RegQueryValueEx 5", last(registry));
  EXPECT_EQ(CRegistry::kCallFailed, registry.DeleteValue("A"));
  EXPECT_EQ("RegDeleteValue 5", last(registry));
}

TEST_F(RegistryValues, ThatDoNotFitTellTheSizeNeeded) {
  Opened opened;
  BYTE data[4];
  DWORD size = sizeof data;
  EXPECT_EQ(CRegistry::kTargetTooSmall, opened.registry.GetValue("A", data, nullptr, &size));
  EXPECT_GE(size, 6u);
}

TEST_F(RegistryValues, PutAsTextAreExpandableWithTheirZeroEnd) {
  Opened opened;
  EXPECT_EQ(CRegistry::kSuccess, opened.registry.PutValue("New", "text"));
  EXPECT_EQ(CRegistry::kBadArgument, opened.registry.PutValue("New", nullptr));
  char data[8];
  DWORD type = 0, size = sizeof data;
  EXPECT_EQ(0, opened.registry.GetValue("New", reinterpret_cast<BYTE*>(data), &type, &size));
  EXPECT_EQ(DWORD{REG_EXPAND_SZ}, type);
  EXPECT_EQ(5u, size);
  EXPECT_STREQ("text", data);
}

TEST_F(RegistryValues, OfAnyTypeArePutAsTheyAre) {
  Opened opened;
  const std::uint32_t seven = 7;
  EXPECT_EQ(CRegistry::kSuccess, opened.registry.PutValue("N", &seven, REG_DWORD, sizeof seven));
  std::uint32_t read = 0;
  DWORD type = 0, size = sizeof read;
  EXPECT_EQ(0, opened.registry.GetValue("N", reinterpret_cast<BYTE*>(&read), &type, &size));
  EXPECT_EQ(DWORD{REG_DWORD}, type);
  EXPECT_EQ(7u, read);
  EXPECT_EQ(CRegistry::kSuccess, opened.registry.DeleteValue("N"));
  EXPECT_EQ("code 7", value(opened.registry, "N"));
}

TEST_F(RegistryValues, AreEnumeratedToTheEndAndAgain) {
  Opened opened;
  EXPECT_EQ("A B C 9", all(opened.registry, &next_value));
  EXPECT_EQ("A B C 9", all(opened.registry, &next_value));
}

TEST_F(RegistryValues, AreEnumeratedBackwards) {
  Opened opened;
  EXPECT_EQ("C B A 9", all(opened.registry, &next_value, true));
  EXPECT_EQ(0, opened.registry.Position("One"));
  EXPECT_EQ("9", all(opened.registry, &next_value, true));
}

TEST_F(RegistryValues, TellTheIndexAndTypeAndFillTheBuffersWithZeros) {
  Opened opened;
  char name[8];
  BYTE data[16];
  std::memset(name, 'x', sizeof name);
  std::memset(data, 'x', sizeof data);
  DWORD name_size = sizeof name, size = sizeof data, type = 0, index = 9;
  EXPECT_EQ(0, opened.registry.EnumVals(name, &name_size, data, &size, &type, &index, true));
  EXPECT_EQ(2u, index);
  EXPECT_EQ(DWORD{REG_EXPAND_SZ}, type);
  EXPECT_EQ(std::string("C\0\0\0\0\0\0\0", 8), std::string(name, sizeof name));
  EXPECT_EQ(std::string("%B%").append(13, '\0'),
            std::string(reinterpret_cast<char*>(data), sizeof data));
}

TEST_F(RegistryValues, AnEnumerationGoesOnBehindAValueThatDidNotFit) {
  Opened opened;
  char name[8];
  BYTE data[3];
  DWORD name_size = sizeof name, size = sizeof data;
  EXPECT_EQ(CRegistry::kTargetTooSmall,
            opened.registry.EnumVals(name, &name_size, data, &size, nullptr));
  std::string next;
  EXPECT_EQ(0, next_value(opened.registry, next));
  EXPECT_EQ("B", next);
}

TEST_F(RegistryValues, EnumerationWantsItsSizes) {
  Opened opened;
  char name[8];
  BYTE data[8];
  DWORD size = sizeof name;
  CRegistry& registry = opened.registry;
  EXPECT_EQ(CRegistry::kNoNameSize, registry.EnumVals(name, nullptr, data, &size, nullptr));
  EXPECT_EQ(CRegistry::kNoNameSize, registry.EnumVals(nullptr, &size, data, &size, nullptr));
  EXPECT_EQ(CRegistry::kNoValueSize, registry.EnumVals(name, &size, data, nullptr, nullptr));
  EXPECT_EQ("A B C 9", all(registry, &next_value));
}

TEST_F(RegistryValues, EnumerationWithoutRightsIsACallThatFailed) {
  Opened opened;
  CRegistry& registry = opened.registry;
  registry.Attributes(KEY_NOTIFY, 0, nullptr, nullptr);
  ASSERT_EQ(0, registry.Position("One"));
  std::string name;
  EXPECT_EQ(CRegistry::kCallFailed, next_value(registry, name));
  EXPECT_EQ("RegEnumValue 5", last(registry));
  ASSERT_EQ(0, registry.Position("\\Software"));
  EXPECT_EQ(CRegistry::kCallFailed, next_key(registry, name));
  EXPECT_EQ("RegEnumKeyEx 5", last(registry));
}

TEST_F(RegistryKeys, AreEnumeratedInBothDirections) {
  Opened opened;
  EXPECT_EQ("One Three Two 9", all(opened.registry, &next_key));
  EXPECT_EQ("Two Three One 9", all(opened.registry, &next_key, true));
}

TEST_F(RegistryKeys, AreNotEnumeratedWhileValuesAreAndTheOtherWayRound) {
  Opened opened;
  std::string name;
  EXPECT_EQ(0, next_value(opened.registry, name));
  EXPECT_EQ(CRegistry::kOtherEnumeration, next_key(opened.registry, name));
  EXPECT_EQ("B C 9", all(opened.registry, &next_value));
  EXPECT_EQ(0, next_key(opened.registry, name));
  EXPECT_EQ(CRegistry::kOtherEnumeration, next_value(opened.registry, name));
  EXPECT_EQ(0, opened.registry.Position("Two"));
  EXPECT_EQ("9", all(opened.registry, &next_value));
}

TEST_F(RegistryKeys, EnumerationWantsItsSizes) {
  Opened opened;
  char name[8], kind[8];
  DWORD size = sizeof name;
  CRegistry& registry = opened.registry;
  EXPECT_EQ(CRegistry::kNoKeyNameSize, registry.EnumKeys(name, nullptr, nullptr, nullptr, nullptr));
  EXPECT_EQ(CRegistry::kNoKeyNameSize,
            registry.EnumKeys(nullptr, &size, nullptr, nullptr, nullptr));
  EXPECT_EQ(CRegistry::kNoClassSize, registry.EnumKeys(name, &size, kind, nullptr, nullptr));
}

TEST_F(RegistryKeys, ThatDoNotFitAreToldFromTheEnd) {
  Opened opened;
  char name[3];
  DWORD size = sizeof name, index = 9;
  EXPECT_EQ(CRegistry::kTargetTooSmall,
            opened.registry.EnumKeys(name, &size, nullptr, nullptr, nullptr, &index));
  EXPECT_EQ(0u, index);
}

TEST_F(RegistryKeys, TellClassAndTimeOfWriting) {
  Opened opened;
  opened.registry.Attributes(KEY_ALL_ACCESS, 0, nullptr, "kind");
  ASSERT_EQ(0, opened.registry.Position("One\\Classy", true));
  ASSERT_EQ(0, opened.registry.Position(".."));
  char name[16], kind[16];
  DWORD size = sizeof name, kind_size = sizeof kind;
  FILETIME written{};
  EXPECT_EQ(0, opened.registry.EnumKeys(name, &size, kind, &kind_size, &written));
  EXPECT_STREQ("Classy", name);
  EXPECT_STREQ("kind", kind);
  EXPECT_NE(0u, written.dwHighDateTime);
}

TEST_F(RegistryKeys, TellTheirPathAndNumbers) {
  Opened opened;
  char text[1024];
  DWORD size = sizeof text, sub_keys = 9, longest = 9, values = 9, longest_name = 9;
  RegistryKeyNumbers numbers;
  numbers.sub_keys = &sub_keys;
  numbers.longest_sub_key = &longest;
  numbers.values = &values;
  numbers.longest_value_name = &longest_name;
  EXPECT_EQ(CRegistry::kSuccess, opened.registry.QueryKey(text, &size, nullptr, nullptr, numbers));
  EXPECT_STREQ(testing_support::kTree, text);
  EXPECT_EQ(std::strlen(testing_support::kTree), size);
  EXPECT_EQ(3u, sub_keys);
  EXPECT_EQ(5u, longest);
  EXPECT_EQ(3u, values);
  EXPECT_EQ(1u, longest_name);
}

TEST_F(RegistryKeys, AskedForTheirPathWantRoomFor1024Characters) {
  Opened opened;
  char text[1024], kind[8];
  DWORD size = 1023;
  CRegistry& registry = opened.registry;
  EXPECT_EQ(CRegistry::kTargetTooSmall, registry.QueryKey(text, &size, nullptr, nullptr, {}));
  EXPECT_EQ(CRegistry::kNoKeyNameSize, registry.QueryKey(text, nullptr, nullptr, nullptr, {}));
  EXPECT_EQ(CRegistry::kNoClassSize, registry.QueryKey(nullptr, nullptr, kind, nullptr, {}));
}

TEST_F(RegistryKeys, AreLookedForWithoutLeavingThePlaceOrTheEnumeration) {
  Opened opened;
  std::string name;
  EXPECT_EQ(0, next_value(opened.registry, name));
  EXPECT_TRUE(opened.registry.KeyExists("Two\\Below"));
  EXPECT_TRUE(opened.registry.KeyExists("\\Software"));
  EXPECT_FALSE(opened.registry.KeyExists("Four"));
  EXPECT_FALSE(opened.registry.KeyExists(""));
  EXPECT_EQ(testing_support::kTree, path(opened.registry));
  EXPECT_EQ("B C 9", all(opened.registry, &next_value));
}

// ---- removal --------------------------------------------------------------------------------

TEST_F(RegistryKeys, WithoutSubKeysAreRemoved) {
  Opened opened;
  EXPECT_EQ(CRegistry::kSuccess, opened.registry.DeleteKey("One", false));
  EXPECT_FALSE(tree_.has("One"));
  EXPECT_EQ(testing_support::kTree, path(opened.registry));
}

TEST_F(RegistryKeys, ThatAreMissingAreNotRemoved) {
  Opened opened;
  EXPECT_EQ(CRegistry::kNoSuchKey, opened.registry.DeleteKey("Four", true));
  EXPECT_EQ(CRegistry::kBadArgument, opened.registry.DeleteKey("", true));
  EXPECT_EQ(CRegistry::kBadArgument, opened.registry.DeleteKey(nullptr, true));
}

TEST_F(RegistryKeys, WithSubKeysStayWhenThoseAreToStay) {
  Opened opened;
  EXPECT_EQ(CRegistry::kHasSubKeys, opened.registry.DeleteKey("Two", false));
  EXPECT_TRUE(tree_.has("Two\\Below\\Deep"));
}

TEST_F(RegistryKeys, GoWithTheirSubKeys) {
  tree_.make("Two\\Below\\Another\\One");
  tree_.make("Two\\Last");
  Opened opened;
  EXPECT_EQ(CRegistry::kSuccess, opened.registry.DeleteKey("Two", true));
  EXPECT_FALSE(tree_.has("Two"));
  EXPECT_TRUE(tree_.has("Three"));
}

TEST_F(RegistryKeys, ThatAreTheCurrentOneLeaveTheObjectAtTheParent) {
  Opened opened("Two\\Below");
  EXPECT_EQ(CRegistry::kMovedToParent,
            opened.registry.DeleteKey(("\\" + below("Two\\Below")).c_str(), true));
  EXPECT_EQ(below("Two"), path(opened.registry));
  EXPECT_FALSE(tree_.has("Two\\Below"));
  EXPECT_TRUE(tree_.has("Two"));
}

TEST_F(RegistryKeys, AboveTheCurrentOneTakeItWithThem) {
  Opened opened("Two\\Below\\Deep");
  EXPECT_EQ(CRegistry::kMovedToParent, opened.registry.DeleteKey("..", true));
  EXPECT_EQ(below("Two"), path(opened.registry));
  EXPECT_FALSE(tree_.has("Two\\Below"));
}

TEST_F(RegistryKeys, ThatAreTheCurrentOneAndHaveSubKeysLeaveTheObjectWhereItIs) {
  Opened opened("Two");
  EXPECT_EQ(CRegistry::kHasSubKeys,
            opened.registry.DeleteKey(("\\" + below("Two")).c_str(), false));
  EXPECT_EQ(below("Two"), path(opened.registry));
  EXPECT_TRUE(opened.registry.KeyExists("Below"));
}

TEST_F(RegistryKeys, ARootIsNeverRemoved) {
  Opened opened;
  EXPECT_EQ(CRegistry::kBadArgument, opened.registry.DeleteKey("\\", true));
  ASSERT_EQ(0, opened.registry.Position("\\Software"));
  EXPECT_EQ(CRegistry::kBadArgument, opened.registry.DeleteKey("..", true));
  EXPECT_TRUE(tree_.has("Two"));
}

// ---- changes --------------------------------------------------------------------------------

UniqueHandle new_event() { return UniqueHandle{CreateEventA(nullptr, TRUE, FALSE, nullptr)}; }
bool signalled(const UniqueHandle& event) {
  return WaitForSingleObject(event.get(), 0) == WAIT_OBJECT_0;
}

TEST_F(RegistryWatch, SignalsTheEventOnceAtAChangeOfAValue) {
  Opened opened;
  const UniqueHandle event = new_event();
  EXPECT_EQ(CRegistry::kSuccess,
            opened.registry.NotifyChange(REG_NOTIFY_CHANGE_LAST_SET, event.get(), false));
  EXPECT_FALSE(signalled(event));
  tree_.make("Four");
  EXPECT_FALSE(signalled(event));
  tree_.set_text("", "A", "changed");
  EXPECT_TRUE(signalled(event));
  ResetEvent(event.get());
  tree_.set_text("", "A", "again");
  EXPECT_FALSE(signalled(event));
}

TEST_F(RegistryWatch, OfTheWholeTreeSeesWhatHappensBelow) {
  Opened opened;
  const UniqueHandle whole = new_event(), own = new_event();
  const DWORD filter = REG_NOTIFY_CHANGE_NAME | REG_NOTIFY_CHANGE_LAST_SET;
  EXPECT_EQ(0, opened.registry.NotifyChange(filter, whole.get(), true));
  Opened second;
  EXPECT_EQ(0, second.registry.NotifyChange(filter, own.get(), false));
  tree_.set_text("Two\\Below", "X", "y");
  EXPECT_TRUE(signalled(whole));
  EXPECT_FALSE(signalled(own));
  EXPECT_EQ(0, second.registry.DeleteKey("One", false));
  EXPECT_TRUE(signalled(own));
}

TEST_F(RegistryWatch, EndsWithTheCloseOfTheKey) {
  const UniqueHandle event = new_event();
  {
    Opened opened;
    EXPECT_EQ(0, opened.registry.NotifyChange(REG_NOTIFY_CHANGE_NAME, event.get(), false));
    EXPECT_FALSE(signalled(event));
  }
  EXPECT_TRUE(signalled(event));
}

TEST_F(RegistryWatch, WithWhatIsNoEventIsRefused) {
  Opened opened;
  UniqueHandle event = new_event();
  const HANDLE gone = event.get();
  event.reset();
  EXPECT_EQ(CRegistry::kInvalidHandle,
            opened.registry.NotifyChange(REG_NOTIFY_CHANGE_NAME, gone, false));
}

TEST_F(RegistryWatch, WithoutRightsIsACallThatFailed) {
  Opened opened;
  opened.registry.Attributes(KEY_QUERY_VALUE, 0, nullptr, nullptr);
  ASSERT_EQ(0, opened.registry.Position("One"));
  const UniqueHandle event = new_event();
  EXPECT_EQ(CRegistry::kCallFailed,
            opened.registry.NotifyChange(REG_NOTIFY_CHANGE_NAME, event.get(), false));
  EXPECT_EQ("RegNotifyChangeKeyValue 5", last(opened.registry));
}

unsigned WINAPI wait_for_change(void* registry) {
  return static_cast<unsigned>(
      static_cast<CRegistry*>(registry)->NotifyChange(REG_NOTIFY_CHANGE_LAST_SET, nullptr, false));
}

TEST_F(RegistryWatch, WithoutAnEventReturnsAtTheChange) {
  Opened opened("One");
  const UniqueHandle thread{
      _beginthreadex(nullptr, 0, &wait_for_change, &opened.registry, 0, nullptr)};
  ASSERT_TRUE(thread);
  // A change before the watch stands is not seen, so changes are made until one is.
  int changes = 0;
  while (WaitForSingleObject(thread.get(), 10) == WAIT_TIMEOUT && changes < 1000) {
    tree_.set_text("One", "N", std::to_string(++changes));
  }
  EXPECT_GT(changes, 0);
  DWORD code = 99;
  EXPECT_TRUE(GetExitCodeThread(thread.get(), &code));
  EXPECT_EQ(0u, code);
}

}  // namespace
