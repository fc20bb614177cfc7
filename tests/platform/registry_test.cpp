// The registry's calls over a recording, and what a process writes over it.

#include "platform/registry.h"

#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

#include "platform/control.h"
#include "platform/threads.h"
#include "tests/platform/text_controller.h"

namespace {

const char kRegistry[] =
    "Windows Registry Editor Version 5.00\n"
    "[HKEY_LOCAL_MACHINE\\SOFTWARE\\Marlow]\n"
    "[HKEY_LOCAL_MACHINE\\SOFTWARE\\Marlow\\DCW\\Environment]\n"
    "\"DWA_PING_COUNT\"=\"3\"\n"
    "\"Number\"=dword:00000007\n"
    "[HKEY_LOCAL_MACHINE\\SOFTWARE\\Marlow\\Another]\n";

class Registry : public testing::Test {
 protected:
  Registry() { install(""); }
  ~Registry() override {
    platform::faults::clear();
    EXPECT_EQ(platform::accounting::live()["registry key"], 0);
  }
  void install(const std::string& counters, const std::string& registry = kRegistry) {
    controller_ = std::make_shared<TextController>(counters, registry);
    platform::install(controller_);
  }
  static HKEY open(const char* path, REGSAM access = KEY_ALL_ACCESS) {
    HKEY key = nullptr;
    EXPECT_EQ(RegOpenKeyExA(HKEY_LOCAL_MACHINE, path, 0, access, &key), 0) << path;
    return key;
  }
  static LONG set(HKEY key, const char* name, const std::string& text) {
    return RegSetValueExA(key, name, 0, REG_SZ, reinterpret_cast<const BYTE*>(text.c_str()),
                          static_cast<DWORD>(text.size() + 1));
  }
  static std::string get(HKEY key, const char* name) {
    char text[256] = "";
    DWORD size = sizeof text;
    const LONG error =
        RegQueryValueExA(key, name, nullptr, nullptr, reinterpret_cast<BYTE*>(text), &size);
    return error == 0 ? text : "error " + std::to_string(error);
  }

  std::shared_ptr<TextController> controller_;
};

constexpr const char* kEnvironment = "SOFTWARE\\Marlow\\DCW\\Environment";

TEST_F(Registry, OpensKeysWithoutRegardToCase) {
  HKEY key = nullptr;
  ASSERT_EQ(RegOpenKeyExA(HKEY_LOCAL_MACHINE, "software\\MARLOW", 0, KEY_READ, &key), 0);
  HKEY below = nullptr;
  EXPECT_EQ(RegOpenKeyExA(key, "dcw\\environment", 0, KEY_READ, &below), 0);
  EXPECT_EQ(platform::accounting::live()["registry key"], 2);
  EXPECT_EQ(RegCloseKey(below), 0);
  EXPECT_EQ(RegOpenKeyExA(key, "dcw\\nothing", 0, KEY_READ, &below), ERROR_FILE_NOT_FOUND);
  EXPECT_EQ(RegCloseKey(key), 0);
  EXPECT_EQ(RegCloseKey(key), ERROR_INVALID_HANDLE);
}

TEST_F(Registry, APredefinedKeyWithoutASubKeyIsItself) {
  HKEY key = nullptr;
  EXPECT_EQ(RegOpenKeyExA(HKEY_LOCAL_MACHINE, nullptr, 0, KEY_ALL_ACCESS, &key), 0);
  EXPECT_EQ(key, HKEY_LOCAL_MACHINE);
  EXPECT_EQ(RegOpenKeyExA(HKEY_USERS, "", 0, KEY_ALL_ACCESS, &key), 0);
  EXPECT_EQ(key, HKEY_USERS);
  EXPECT_EQ(RegCloseKey(key), 0);
}

TEST_F(Registry, AKeyWithoutASubKeyGivesASecondHandle) {
  const HKEY key = open("SOFTWARE");
  HKEY second = nullptr;
  EXPECT_EQ(RegOpenKeyExA(key, nullptr, 0, KEY_READ, &second), 0);
  EXPECT_NE(key, second);
  EXPECT_EQ(RegCloseKey(key), 0);
  EXPECT_EQ(RegOpenKeyExA(second, "Marlow", 0, KEY_READ, const_cast<HKEY*>(&key)), 0);
  EXPECT_EQ(RegCloseKey(key), 0);
  EXPECT_EQ(RegCloseKey(second), 0);
}

TEST_F(Registry, WhatIsNoHandleIsFoundOut) {
  char local = 0;
  for (HKEY key : {static_cast<HKEY>(nullptr), reinterpret_cast<HKEY>(&local)}) {
    char name[8];
    DWORD size = sizeof name;
    HKEY result = nullptr;
    EXPECT_EQ(RegOpenKeyExA(key, "x", 0, KEY_READ, &result), ERROR_INVALID_HANDLE);
    EXPECT_EQ(RegCreateKeyExA(key, "x", 0, nullptr, 0, KEY_READ, nullptr, &result, nullptr),
              ERROR_INVALID_HANDLE);
    EXPECT_EQ(RegEnumValueA(key, 0, name, &size, nullptr, nullptr, nullptr, nullptr),
              ERROR_INVALID_HANDLE);
    EXPECT_EQ(RegEnumKeyExA(key, 0, name, &size, nullptr, nullptr, nullptr, nullptr),
              ERROR_INVALID_HANDLE);
    EXPECT_EQ(RegQueryValueExA(key, "x", nullptr, nullptr, nullptr, nullptr), ERROR_INVALID_HANDLE);
    EXPECT_EQ(RegSetValueExA(key, "x", 0, REG_SZ, nullptr, 0), ERROR_INVALID_HANDLE);
    EXPECT_EQ(RegDeleteValueA(key, "x"), ERROR_INVALID_HANDLE);
    EXPECT_EQ(RegDeleteKeyA(key, "x"), ERROR_INVALID_HANDLE);
    EXPECT_EQ(RegNotifyChangeKeyValue(key, 0, REG_NOTIFY_CHANGE_NAME, nullptr, 0),
              ERROR_INVALID_HANDLE);
    EXPECT_EQ(RegCloseKey(key), ERROR_INVALID_HANDLE);
  }
}

TEST_F(Registry, OnlyTheLocalMachineAnswers) {
  HKEY key = nullptr;
  for (const char* machine :
       {static_cast<const char*>(nullptr), "", "DC1", "\\\\dc1.corp.example"}) {
    ASSERT_EQ(RegConnectRegistryA(machine, HKEY_LOCAL_MACHINE, &key), 0);
    HKEY below = nullptr;
    EXPECT_EQ(RegOpenKeyExA(key, "SOFTWARE\\Marlow", 0, KEY_READ, &below), 0);
    EXPECT_EQ(RegCloseKey(below), 0);
    EXPECT_EQ(RegCloseKey(key), 0);
  }
  EXPECT_EQ(RegConnectRegistryA("\\\\DC2", HKEY_LOCAL_MACHINE, &key), ERROR_BAD_NETPATH);
  EXPECT_EQ(RegConnectRegistryA(nullptr, HKEY_CURRENT_USER, &key), ERROR_INVALID_HANDLE);
}

// ---- reading --------------------------------------------------------------------------------

TEST_F(Registry, EnumeratesValuesToTheEnd) {
  const HKEY key = open(kEnvironment);
  char name[64];
  BYTE data[64];
  DWORD name_size = sizeof name, data_size = sizeof data, type = 0;
  ASSERT_EQ(RegEnumValueA(key, 0, name, &name_size, nullptr, &type, data, &data_size), 0);
  EXPECT_STREQ(name, "DWA_PING_COUNT");
  EXPECT_EQ(name_size, 14u);
  EXPECT_EQ(type, static_cast<DWORD>(REG_SZ));
  EXPECT_EQ(data_size, 2u);
  EXPECT_STREQ(reinterpret_cast<char*>(data), "3");
  name_size = sizeof name;
  data_size = sizeof data;
  ASSERT_EQ(RegEnumValueA(key, 1, name, &name_size, nullptr, &type, data, &data_size), 0);
  EXPECT_STREQ(name, "Number");
  EXPECT_EQ(type, static_cast<DWORD>(REG_DWORD));
  EXPECT_EQ(data_size, 4u);
  EXPECT_EQ(data[0], 7);
  EXPECT_EQ(RegEnumValueA(key, 2, name, &name_size, nullptr, &type, data, &data_size),
            ERROR_NO_MORE_ITEMS);
  EXPECT_EQ(RegCloseKey(key), 0);
}

TEST_F(Registry, BuffersTooSmallTellTheSizeNeeded) {
  const HKEY key = open(kEnvironment);
  char name[64];
  BYTE data[64] = {};
  DWORD name_size = sizeof name, data_size = 1;
  EXPECT_EQ(RegEnumValueA(key, 0, name, &name_size, nullptr, nullptr, data, &data_size),
            ERROR_MORE_DATA);
  EXPECT_EQ(data_size, 2u);
  EXPECT_EQ(data[0], 0);
  name_size = 14;  // no room for the zero end
  EXPECT_EQ(RegEnumValueA(key, 0, name, &name_size, nullptr, nullptr, nullptr, &data_size),
            ERROR_MORE_DATA);
  data_size = 0;
  EXPECT_EQ(RegQueryValueExA(key, "Number", nullptr, nullptr, nullptr, &data_size), 0);
  EXPECT_EQ(data_size, 4u);
  data_size = 3;
  EXPECT_EQ(RegQueryValueExA(key, "Number", nullptr, nullptr, data, &data_size), ERROR_MORE_DATA);
  EXPECT_EQ(data_size, 4u);
  EXPECT_EQ(RegQueryValueExA(key, "Number", nullptr, nullptr, data, nullptr),
            ERROR_INVALID_PARAMETER);
  EXPECT_EQ(RegCloseKey(key), 0);
}

TEST_F(Registry, QueriesValuesByNameWithoutRegardToCase) {
  const HKEY key = open(kEnvironment);
  EXPECT_EQ(get(key, "dwa_ping_count"), "3");
  EXPECT_EQ(get(key, "missing"), "error 2");
  EXPECT_EQ(get(key, nullptr), "error 2");
  EXPECT_EQ(RegCloseKey(key), 0);
}

TEST_F(Registry, EnumeratesSubKeysInOrder) {
  const HKEY key = open("SOFTWARE\\Marlow");
  char name[64];
  DWORD size = sizeof name;
  FILETIME written = {1, 1};
  ASSERT_EQ(RegEnumKeyExA(key, 0, name, &size, nullptr, nullptr, nullptr, &written), 0);
  EXPECT_STREQ(name, "Another");
  EXPECT_EQ(size, 7u);
  EXPECT_EQ(written.dwLowDateTime, 0u);
  size = 3;
  EXPECT_EQ(RegEnumKeyExA(key, 1, name, &size, nullptr, nullptr, nullptr, nullptr),
            ERROR_MORE_DATA);
  size = 4;
  ASSERT_EQ(RegEnumKeyExA(key, 1, name, &size, nullptr, nullptr, nullptr, nullptr), 0);
  EXPECT_STREQ(name, "DCW");
  EXPECT_EQ(RegEnumKeyExA(key, 2, name, &size, nullptr, nullptr, nullptr, nullptr),
            ERROR_NO_MORE_ITEMS);
  EXPECT_EQ(RegCloseKey(key), 0);
}

TEST_F(Registry, TellsTheNumbersAndSizesOfAKey) {
  const HKEY key = open(kEnvironment);
  DWORD sub_keys = 9, longest_sub_key = 9, values = 9, longest_name = 9, longest_data = 9;
  ASSERT_EQ(RegQueryInfoKeyA(key, nullptr, nullptr, nullptr, &sub_keys, &longest_sub_key, nullptr,
                             &values, &longest_name, &longest_data, nullptr, nullptr),
            0);
  EXPECT_EQ(sub_keys, 0u);
  EXPECT_EQ(longest_sub_key, 0u);
  EXPECT_EQ(values, 2u);
  EXPECT_EQ(longest_name, 14u);
  EXPECT_EQ(longest_data, 4u);
  EXPECT_EQ(RegCloseKey(key), 0);
}

TEST_F(Registry, AMachineWithoutARegistryHasItsRoots) {
  install("", "");
  HKEY key = nullptr;
  EXPECT_EQ(RegOpenKeyExA(HKEY_LOCAL_MACHINE, "SOFTWARE", 0, KEY_READ, &key), ERROR_FILE_NOT_FOUND);
  EXPECT_EQ(RegOpenKeyExA(HKEY_LOCAL_MACHINE, nullptr, 0, KEY_READ, &key), 0);
}

// ---- rights ---------------------------------------------------------------------------------

TEST_F(Registry, AKeyGivesOnlyWhatItWasOpenedFor) {
  const HKEY read = open(kEnvironment, KEY_READ);
  EXPECT_EQ(set(read, "x", "y"), ERROR_ACCESS_DENIED);
  EXPECT_EQ(RegDeleteValueA(read, "Number"), ERROR_ACCESS_DENIED);
  HKEY created = nullptr;
  EXPECT_EQ(RegCreateKeyExA(read, "new", 0, nullptr, 0, KEY_READ, nullptr, &created, nullptr),
            ERROR_ACCESS_DENIED);
  const HKEY write = open(kEnvironment, KEY_SET_VALUE);
  EXPECT_EQ(get(write, "Number"), "error 5");
  char name[8];
  DWORD size = sizeof name;
  EXPECT_EQ(RegEnumKeyExA(write, 0, name, &size, nullptr, nullptr, nullptr, nullptr),
            ERROR_ACCESS_DENIED);
  EXPECT_EQ(RegCloseKey(read), 0);
  EXPECT_EQ(RegCloseKey(write), 0);
}

// ---- writing --------------------------------------------------------------------------------

TEST_F(Registry, WritesAreSeenThroughEveryHandleAndNotInTheRecording) {
  const HKEY first = open(kEnvironment), second = open(kEnvironment);
  EXPECT_EQ(set(first, "dwa_ping_COUNT", "5"), 0);
  EXPECT_EQ(set(first, "New", "text"), 0);
  EXPECT_EQ(get(second, "DWA_PING_COUNT"), "5");
  EXPECT_EQ(get(second, "New"), "text");
  EXPECT_EQ(
      controller_->registry()->values("HKEY_LOCAL_MACHINE\\" + std::string(kEnvironment)).size(),
      2u);
  EXPECT_EQ(RegDeleteValueA(second, "new"), 0);
  EXPECT_EQ(RegDeleteValueA(second, "new"), ERROR_FILE_NOT_FOUND);
  EXPECT_EQ(get(first, "New"), "error 2");
  EXPECT_EQ(RegCloseKey(first), 0);
  EXPECT_EQ(RegCloseKey(second), 0);
  install("");  // a machine of its own
  const HKEY fresh = open(kEnvironment);
  EXPECT_EQ(get(fresh, "DWA_PING_COUNT"), "3");
  EXPECT_EQ(RegCloseKey(fresh), 0);
}

TEST_F(Registry, CreatesKeysWithAllThatLeadToThem) {
  HKEY key = nullptr;
  DWORD disposition = 0;
  char class_name[] = "kind";
  ASSERT_EQ(RegCreateKeyExA(HKEY_LOCAL_MACHINE, "SOFTWARE\\Marlow\\B\\c", 0, class_name, 0,
                            KEY_ALL_ACCESS, nullptr, &key, &disposition),
            0);
  EXPECT_EQ(disposition, static_cast<DWORD>(REG_CREATED_NEW_KEY));
  char found[16];
  DWORD size = sizeof found;
  FILETIME written = {};
  EXPECT_EQ(RegQueryInfoKeyA(key, found, &size, nullptr, nullptr, nullptr, nullptr, nullptr,
                             nullptr, nullptr, nullptr, &written),
            0);
  EXPECT_STREQ(found, "kind");
  EXPECT_NE(written.dwHighDateTime, 0u);
  EXPECT_EQ(RegCloseKey(key), 0);
  ASSERT_EQ(RegCreateKeyExA(HKEY_LOCAL_MACHINE, "software\\marlow\\b\\C", 0, nullptr, 0,
                            KEY_ALL_ACCESS, nullptr, &key, &disposition),
            0);
  EXPECT_EQ(disposition, static_cast<DWORD>(REG_OPENED_EXISTING_KEY));
  EXPECT_EQ(RegCloseKey(key), 0);
  const HKEY parent = open("SOFTWARE\\Marlow");
  char name[16];
  size = sizeof name;
  EXPECT_EQ(RegEnumKeyExA(parent, 1, name, &size, nullptr, nullptr, nullptr, nullptr), 0);
  EXPECT_STREQ(name, "B");
  EXPECT_EQ(RegCloseKey(parent), 0);
}

TEST_F(Registry, DeletesKeysWithoutSubKeysOnly) {
  EXPECT_EQ(RegDeleteKeyA(HKEY_LOCAL_MACHINE, "SOFTWARE\\Marlow\\DCW"), ERROR_ACCESS_DENIED);
  EXPECT_EQ(RegDeleteKeyA(HKEY_LOCAL_MACHINE, "SOFTWARE\\Marlow\\Nothing"), ERROR_FILE_NOT_FOUND);
  const HKEY key = open(kEnvironment);
  EXPECT_EQ(RegDeleteKeyA(HKEY_LOCAL_MACHINE, kEnvironment), 0);
  EXPECT_EQ(get(key, "Number"), "error 1018");
  EXPECT_EQ(RegCloseKey(key), 0);
  HKEY gone = nullptr;
  EXPECT_EQ(RegOpenKeyExA(HKEY_LOCAL_MACHINE, kEnvironment, 0, KEY_READ, &gone),
            ERROR_FILE_NOT_FOUND);
  EXPECT_EQ(RegDeleteKeyA(HKEY_LOCAL_MACHINE, "SOFTWARE\\Marlow\\DCW"), 0);
  // Made anew it is empty: the recording's own does not shine through.
  ASSERT_EQ(RegCreateKeyExA(HKEY_LOCAL_MACHINE, kEnvironment, 0, nullptr, 0, KEY_ALL_ACCESS,
                            nullptr, &gone, nullptr),
            0);
  EXPECT_EQ(get(gone, "Number"), "error 2");
  EXPECT_EQ(RegCloseKey(gone), 0);
}

TEST_F(Registry, AWatchWantsAFilterAHandleAndAnEvent) {
  const HKEY key = open(kEnvironment);
  const HANDLE event = CreateEventA(nullptr, TRUE, FALSE, nullptr);
  EXPECT_EQ(RegNotifyChangeKeyValue(key, 1, 0, event, 1), ERROR_INVALID_PARAMETER);
  EXPECT_EQ(RegNotifyChangeKeyValue(key, 1, 0x100, event, 1), ERROR_INVALID_PARAMETER);
  EXPECT_EQ(RegNotifyChangeKeyValue(key, 1, REG_NOTIFY_CHANGE_NAME, nullptr, 1),
            ERROR_INVALID_HANDLE);
  EXPECT_EQ(RegNotifyChangeKeyValue(HKEY_PERFORMANCE_DATA, 1, REG_NOTIFY_CHANGE_NAME, event, 1),
            ERROR_INVALID_HANDLE);
  EXPECT_EQ(WaitForSingleObject(event, 0), DWORD{WAIT_TIMEOUT});
  EXPECT_EQ(RegCloseKey(key), 0);
  CloseHandle(event);
}

TEST_F(Registry, AWatchTellsAKeyThatIsMadeDeepBelowAtTheKeyWhoseListGrew) {
  const HKEY above = open("SOFTWARE\\Marlow"), key = open("SOFTWARE\\Marlow\\Another");
  const HANDLE at_top = CreateEventA(nullptr, TRUE, FALSE, nullptr);
  const HANDLE at_parent = CreateEventA(nullptr, TRUE, FALSE, nullptr);
  EXPECT_EQ(RegNotifyChangeKeyValue(above, 0, REG_NOTIFY_CHANGE_NAME, at_top, 1), 0);
  EXPECT_EQ(RegNotifyChangeKeyValue(key, 0, REG_NOTIFY_CHANGE_NAME, at_parent, 1), 0);
  HKEY made = nullptr;
  ASSERT_EQ(
      RegCreateKeyExA(above, "Another\\x\\y", 0, nullptr, 0, KEY_READ, nullptr, &made, nullptr), 0);
  EXPECT_EQ(WaitForSingleObject(at_top, 0), DWORD{WAIT_TIMEOUT});
  EXPECT_EQ(WaitForSingleObject(at_parent, 0), DWORD{WAIT_OBJECT_0});
  for (const HKEY opened : {made, key, above}) EXPECT_EQ(RegCloseKey(opened), 0);
  EXPECT_EQ(WaitForSingleObject(at_top, 0), DWORD{WAIT_OBJECT_0});
  CloseHandle(at_top);
  CloseHandle(at_parent);
}

TEST_F(Registry, AWatchEndsWhenItsKeyIsRemoved) {
  const HKEY key = open("SOFTWARE\\Marlow\\Another");
  const HANDLE event = CreateEventA(nullptr, TRUE, FALSE, nullptr);
  EXPECT_EQ(RegNotifyChangeKeyValue(key, 0, REG_NOTIFY_CHANGE_LAST_SET, event, 1), 0);
  EXPECT_EQ(RegDeleteKeyA(HKEY_LOCAL_MACHINE, "SOFTWARE\\Marlow\\Another"), 0);
  EXPECT_EQ(WaitForSingleObject(event, 0), DWORD{WAIT_OBJECT_0});
  EXPECT_EQ(RegCloseKey(key), 0);
  CloseHandle(event);
}

// ---- performance data -----------------------------------------------------------------------

const char kCounters[] =
    "\"(PDH-CSV 4.0) (UTC)(0)\",\"\\NTDS\\LDAP Searches/sec\"\r\n"
    "\"01/02/2011 03:04:05.000\",\"1\"\r\n";

std::string performance_text(const char* name) {
  DWORD size = 0, type = 0;
  const LONG error = RegQueryValueExA(HKEY_PERFORMANCE_DATA, name, nullptr, &type, nullptr, &size);
  if (error != 0) return "error " + std::to_string(error);
  EXPECT_EQ(type, static_cast<DWORD>(REG_MULTI_SZ));
  std::string text(size, 'x');
  EXPECT_EQ(RegQueryValueExA(HKEY_PERFORMANCE_DATA, name, nullptr, &type,
                             reinterpret_cast<BYTE*>(text.data()), &size),
            0);
  EXPECT_EQ(size, text.size());
  return text;
}

TEST_F(Registry, PerformanceDataHoldsTheEnglishNames) {
  install(kCounters);
  const char kExpected[] = "1\0001847\0002\0NTDS\0004\0LDAP Searches/sec\0";
  EXPECT_EQ(performance_text("Counter 009"), std::string(kExpected, sizeof kExpected));
  EXPECT_EQ(RegCloseKey(HKEY_PERFORMANCE_DATA), 0);
}

TEST_F(Registry, PerformanceDataOfAnotherLanguage) {
  install(kCounters);
  EXPECT_EQ(performance_text("Counter 007"), "error 2");
  controller_->facts.language = 1031;
  EXPECT_EQ(performance_text("Counter 007"), performance_text("Counter 009"));
  EXPECT_EQ(performance_text("Global"), "error 2");
}

TEST_F(Registry, ANameTableOfTheRegistryIsHandedOutAsItIs) {
  install(
      kCounters,
      "REGEDIT4\n[HKEY_LOCAL_MACHINE\\SOFTWARE\\Microsoft\\Windows NT\\CurrentVersion\\Perflib\\"
      "009]\n\"Counter\"=hex(7):31,00,78\n");
  EXPECT_EQ(performance_text("Counter 009"), std::string("1\0x", 3));
}

TEST_F(Registry, AMachineWithoutCountersHasNoNames) {
  EXPECT_EQ(performance_text("Counter 009"), "error 2");
}

// ---- faults ---------------------------------------------------------------------------------

TEST_F(Registry, EveryCallCanBeMadeToFail) {
  HKEY key = open(kEnvironment);
  HKEY result = nullptr;
  const HANDLE event = CreateEventA(nullptr, TRUE, FALSE, nullptr);
  char name[64];
  DWORD size = sizeof name;
  const std::vector<std::pair<const char*, std::function<LONG()>>> calls = {
      {"RegOpenKeyExA",
       [&] { return RegOpenKeyExA(HKEY_LOCAL_MACHINE, nullptr, 0, KEY_READ, &result); }},
      {"RegCreateKeyExA",
       [&] {
         const LONG error = RegCreateKeyExA(key, "n", 0, nullptr, 0, 0, nullptr, &result, nullptr);
         if (error == 0) {
           EXPECT_EQ(RegCloseKey(result), 0);
         }
         return error;
       }},
      {"RegConnectRegistryA",
       [&] {
         const LONG error = RegConnectRegistryA(nullptr, HKEY_LOCAL_MACHINE, &result);
         if (error == 0) {
           EXPECT_EQ(RegCloseKey(result), 0);
         }
         return error;
       }},
      {"RegEnumValueA",
       [&] { return RegEnumValueA(key, 0, name, &size, nullptr, nullptr, nullptr, nullptr); }},
      {"RegEnumKeyExA",
       [&] { return RegEnumKeyExA(key, 0, name, &size, nullptr, nullptr, nullptr, nullptr); }},
      {"RegQueryValueExA",
       [&] { return RegQueryValueExA(key, "Number", nullptr, nullptr, nullptr, nullptr); }},
      {"RegQueryInfoKeyA",
       [&] {
         return RegQueryInfoKeyA(key, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr,
                                 nullptr, nullptr, nullptr, nullptr);
       }},
      {"RegSetValueExA", [&] { return set(key, "New", "x"); }},
      {"RegDeleteValueA", [&] { return RegDeleteValueA(key, "New"); }},
      {"RegDeleteKeyA", [&] { return RegDeleteKeyA(key, "n"); }},
      {"RegNotifyChangeKeyValue",
       [&] { return RegNotifyChangeKeyValue(key, 0, REG_NOTIFY_CHANGE_NAME, event, 1); }},
      {"RegCloseKey", [&] { return RegCloseKey(key); }}};
  for (const auto& [call, make] : calls) {
    platform::faults::fail(call, 1);
    EXPECT_NE(make(), 0) << call;
    EXPECT_TRUE(platform::faults::struck()) << call;
    platform::faults::clear();
    platform::faults::fail(call, 1, 77);
    EXPECT_EQ(make(), 77) << call;
    platform::faults::clear();
    size = sizeof name;
    EXPECT_EQ(make(), 0) << call;
  }
  CloseHandle(event);
}

}  // namespace
