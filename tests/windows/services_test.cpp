// The enumerator of services over a real service manager.

#include <gtest/gtest.h>

#include <cwchar>
#include <string>

#include "include/platform/messages.h"
#include "service_fixture.h"
#include "services/service.h"
#include "services/words.h"
#include "tables/ckutil.h"

namespace {

constexpr DWORD kNone = static_cast<DWORD>(-1);

// Null when there is none of that name.
const ServiceRecord* find(const CService& services, const std::wstring& name) {
  for (std::uint32_t i = 0; i < services.GetRowCount(); ++i) {
    if (services.GetRows()[i].name.get() == name) return &services.GetRows()[i];
  }
  return nullptr;
}

// While others make services, an enumeration can rightly fail between its two calls.
void enumerate(CService& services) {
  int tries = 100;
  while (services.Update() == 0 && --tries > 0) {
  }
  EXPECT_GT(tries, 0);
}

TEST(WindowsServices, OneThatIsMadeHasItsTextsWhole) {
  const wchar_t* const name = L"DirWatcherFixtureMade";
  fixture::remove(name);
  ASSERT_EQ(std::wcslen(fixture::kDisplayName), 70u);
  ASSERT_TRUE(fixture::create(name)) << GetLastError();
  CService services(SERVICE_WIN32, nullptr);
  enumerate(services);
  EXPECT_EQ(services.GetData(nullptr), 1);
  const ServiceRecord* record = find(services, name);
  ASSERT_NE(record, nullptr);
  EXPECT_EQ(record->status->dwCurrentState, DWORD{SERVICE_STOPPED});
  EXPECT_EQ(record->config[0].dwStartType, DWORD{SERVICE_DEMAND_START});
  EXPECT_STREQ(record->config[0].lpDisplayName, fixture::kDisplayName);
  EXPECT_STREQ(record->config[0].lpBinaryPathName, L"C:\\fixture\\program.exe -x");
  EXPECT_STREQ(record->config[0].lpLoadOrderGroup, L"Fixture");
  EXPECT_FALSE(CKUtil::IsServiceRunning("DirWatcherFixtureMade"));
  EXPECT_TRUE(fixture::remove(name));
}

TEST(WindowsServices, OneDeletedBetweenEnumerationAndQueryKeepsItsPlaceAsADummy) {
  const wchar_t* const name = L"DirWatcherFixtureGone";
  fixture::remove(name);
  ASSERT_TRUE(fixture::create(name)) << GetLastError();
  CService services(SERVICE_WIN32, nullptr);
  enumerate(services);
  ASSERT_TRUE(fixture::remove(name)) << GetLastError();
  EXPECT_EQ(services.GetData(nullptr), 1);
  EXPECT_EQ(services.GetRowCount(), static_cast<std::uint32_t>(services.GetCount()));
  const ServiceRecord* record = find(services, name);
  ASSERT_NE(record, nullptr);
  EXPECT_EQ(record->status->dwCurrentState, kNone);
  EXPECT_EQ(record->config[0].dwStartType, kNone);
  EXPECT_STREQ(record->config[0].lpDisplayName, L"");
}

TEST(WindowsServices, AnUnknownOneIsADummy) {
  CService services(SERVICE_WIN32, nullptr);
  EXPECT_EQ(services.GetData(L"DirWatcherNoSuchService"), 1);
  ASSERT_EQ(services.GetRowCount(), 1u);
  EXPECT_EQ(services.GetRows()[0].config[0].dwStartType, kNone);
  EXPECT_FALSE(CKUtil::IsServiceRunning("DirWatcherNoSuchService"));
}

TEST(WindowsServices, TheirWordsAreResourcesOfTheProgram) {
  const char* const words[] = {
      "8",       "Unknown",          "Stopped",       "Start Pending", "Stop Pending",
      "Running", "Continue Pending", "Pause Pending", "Paused",        "5",
      "Boot",    "System",           "Automatic",     "Manual",        "Disabled",
      "Unknown"};
  for (UINT id = 9000; id < 9016; ++id) {
    char word[64] = {};
    LoadStringA(nullptr, id, word, sizeof word);
    EXPECT_STREQ(word, words[id - 9000]) << id;
  }
  char word[kServiceWordSize] = {};
  EXPECT_STREQ(GetStateWord(4, word), "Running");
  EXPECT_STREQ(GetStartTypeWord(kNone, word), "Unknown");
}

}  // namespace
