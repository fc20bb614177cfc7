#include "counters/globals.h"

#include <gmock/gmock.h>

#include "machine.h"

namespace {

using testing::ElementsAre;

class CollectorGlobals : public CountersTest {
 protected:
  // The names of the g_ lines that the trace has gained since.
  static std::vector<std::string> deleted(const trc::Capture& lines) {
    std::vector<std::string> names;
    for (const std::string& text : lines.texts()) {
      if (text.starts_with("g_")) names.push_back(text.substr(0, text.find(": <")));
    }
    return names;
  }
  static bool signalled() {
    return WaitForSingleObject(g_allocateGlobalsEvent, 0) == WAIT_OBJECT_0;
  }
};

TEST_F(CollectorGlobals, AreBuiltUnderTheLockAndThenSignalled) {
  install(all_series());
  set_version(10, 0);
  SetEvent(g_allocateGlobalsEvent);
  SYS1_GetLock(&g_collectLock);
  const auto thread = _beginthreadex(nullptr, 0, allocateGlobals, nullptr, 0, nullptr);
  ASSERT_NE(thread, 0u);
  Sleep(1000);
  EXPECT_EQ(g_AddressBook.load(), nullptr);
  SYS1_ReleaseLock(&g_collectLock);
  EXPECT_EQ(WaitForSingleObject(reinterpret_cast<HANDLE>(thread), 60000), WAIT_OBJECT_0);
  CloseHandle(reinterpret_cast<HANDLE>(thread));
  EXPECT_TRUE(signalled());
  EXPECT_EQ(trace.count("*****CREATED OBJECTS*****"), 1u);
  ASSERT_NE(g_DFRF.load(), nullptr);
  EXPECT_EQ(g_DFRF.load()->GetInstanceCount(), 1);
  for (const auto* global :
       {&g_AddressBook, &g_Replication, &g_DirServices, &g_KCC, &g_KDC, &g_LDAP, &g_SAM, &g_NSPI,
        &g_LSA, &g_FRS, &g_ESE, &g_DHCP, &g_DNS, &g_DFSR}) {
    ASSERT_NE(global->load(), nullptr);
    EXPECT_EQ(global->load()->IsPresent(), 1);
  }
  // The lock is free again.
  SYS1_GetLock(&g_collectLock);
  SYS1_ReleaseLock(&g_collectLock);
}

TEST_F(CollectorGlobals, SayThatTheyUseTheEnglishNamesAndReadNoRegistry) {
  install(all_series());
  set_version(10, 0);
  platform::faults::reset_counts();
  allocateGlobals(nullptr);
  EXPECT_EQ(trace.count("\n\nUsing Default English Version."), 1u);
  for (const auto& [call, count] : platform::faults::reached()) {
    EXPECT_THAT(call, testing::Not(testing::StartsWith("Reg"))) << count;
  }
}

TEST_F(CollectorGlobals, AreDestroyedInTheirOrderAndOnlyOnce) {
  install(all_series());
  set_version(10, 0);
  const auto before = live();
  allocateGlobals(nullptr);
  EXPECT_NE(live(), before);
  {
    trc::Capture lines;
    deleteGlobals();
    EXPECT_THAT(deleted(lines),
                ElementsAre("g_AddressBook", "g_Replication", "g_DirServices", "g_KCC", "g_KDC",
                            "g_LDAP", "g_NSPI", "g_SAM", "g_LSA", "g_FRS", "g_ESE", "g_DHCP",
                            "g_DNS", "g_DFSR", "g_DFRC", "g_DFSV", "g_DFRF"));
  }
  EXPECT_EQ(live(), before);
  EXPECT_TRUE(signalled());
  trc::Capture lines;
  deleteGlobals();
  EXPECT_TRUE(deleted(lines).empty());
}

TEST_F(CollectorGlobals, AreDestroyedOnceByTwoStopsThatMeet) {
  install(all_series());
  set_version(10, 0);
  const auto before = live();
  for (int round = 0; round < 20; ++round) {
    allocateGlobals(nullptr);
    trc::Capture lines;
    const auto other = _beginthreadex(
        nullptr, 0,
        [](void*) -> unsigned {
          deleteGlobals();
          return 0;
        },
        nullptr, 0, nullptr);
    ASSERT_NE(other, 0u);
    deleteGlobals();
    EXPECT_EQ(WaitForSingleObject(reinterpret_cast<HANDLE>(other), 60000), WAIT_OBJECT_0);
    CloseHandle(reinterpret_cast<HANDLE>(other));
    EXPECT_EQ(deleted(lines).size(), 17u);
  }
  EXPECT_EQ(live(), before);
}

TEST_F(CollectorGlobals, ThatWereBuiltSoFarAreFoundByTheDestruction) {
  install(series_of(g_ABList, 1));
  g_LDAP = new ADPDH(kLdapCollector);
  trc::Capture lines;
  deleteGlobals();
  EXPECT_THAT(deleted(lines), ElementsAre("g_LDAP"));
}

}  // namespace
