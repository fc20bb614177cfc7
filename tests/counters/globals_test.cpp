#include "counters/globals.h"

#include <gmock/gmock.h>

#include "counters/localise.h"
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

// A name table of a German system: the registry's own form, little-endian 16-bit text.
std::string multi_text(const std::vector<std::string>& texts) {
  std::string hex;
  for (const std::string& text : texts) {
    for (const char c : text + '\0') {
      char digits[8];
      std::snprintf(digits, sizeof digits, "%02x,00,", static_cast<unsigned char>(c));
      hex += digits;
    }
  }
  return "\"Counter\"=hex(7):" + hex + "00,00\n";
}
std::string name_tables(const std::string& local_key, const std::vector<std::string>& english,
                        const std::vector<std::string>& local) {
  const std::string root =
      "[HKEY_LOCAL_MACHINE\\SOFTWARE\\Microsoft\\Windows NT\\CurrentVersion\\Perflib\\";
  std::string text =
      "Windows Registry Editor Version 5.00\n\n" + root + "009]\n" + multi_text(english) + "\n";
  if (local_key != "009") text += root + local_key + "]\n" + multi_text(local);
  return text;
}

class LocalNames : public CountersTest {
 protected:
  void install_language(std::uint16_t language, const std::vector<Series>& series,
                        const std::string& registry) {
    auto machine = std::make_shared<Machine>(counter_log(series, {0}), registry);
    machine->facts.language = language;
    platform::install(machine);
    set_version(10, 0);
  }
};

TEST_F(LocalNames, StandInTheListsOnAGermanSystem) {
  install_language(1031,
                   {{"\\Verzeichnis\\KDC AS Anfragen", {11}},
                    {"\\Verzeichnis\\KDC TGS Requests", {12}},
                    {"\\Verzeichnis\\Kerberos Anmeldungen", {13}}},
                   name_tables("007",
                               {"1", "1847", "2", "NTDS", "4", "KDC AS Requests", "6",
                                "Kerberos Authentications", "8", "Memory", "10", "DHCP Server"},
                               {"1", "1847", "2", "Verzeichnis", "4", "KDC AS Anfragen", "6",
                                "Kerberos Anmeldungen", "8", "Speicher", "10", "DHCP-Dienst"}));
  allocateGlobals(nullptr);
  EXPECT_EQ(trace.count("\n\nUsing Default English Version."), 0u);
  EXPECT_STREQ(g_KDCList[0].szObjectName, "Verzeichnis");
  EXPECT_STREQ(g_KDCList[0].szCounterName, "KDC AS Anfragen");
  EXPECT_STREQ(g_KDCList[1].szCounterName, "KDC TGS Requests");
  EXPECT_STREQ(g_KDCListV6[2].szCounterName, "Kerberos Anmeldungen");
  EXPECT_STREQ(g_KDCListV6[2].szObjectName, "Security System-Wide Statistics");
  EXPECT_STREQ(g_ABListV6[0].szInstanceName, "NTDS");
  // The first row's object for all rows, whatever they named before.
  EXPECT_STREQ(g_DHCPList[28].szObjectName, "DHCP-Dienst");
  ASSERT_EQ(g_KDC.load()->IsPresent(), 1);
  g_KDC.load()->CollectData();
  EXPECT_EQ(g_KDC.load()->GetValues()[2], 13);
}

TEST_F(LocalNames, AreTheEnglishOnesInBritishEnglishTheLongWay) {
  install_language(2057, series_of(g_KDCList, 1),
                   name_tables("009", {"2", "NTDS", "4", "KDC AS Requests"}, {}));
  platform::faults::reset_counts();
  allocateGlobals(nullptr);
  std::uint32_t look_ups = 0;
  for (const auto& [call, count] : platform::faults::reached()) {
    if (call == "PdhLookupPerfNameByIndexA") look_ups = count;
  }
  EXPECT_EQ(look_ups, 2u);
  EXPECT_STREQ(g_KDCList[0].szObjectName, "NTDS");
  EXPECT_STREQ(g_KDCList[0].szCounterName, "KDC AS Requests");
  EXPECT_EQ(g_KDC.load()->IsPresent(), 1);
}

TEST_F(LocalNames, StayEnglishWhereTheLocalOneIsTooLongOrUnknown) {
  install_language(1031, series_of(g_KDCList, 1),
                   name_tables("007", {"2", "NTDS", "4", "KDC AS Requests"},
                               {"2", std::string(128, 'x'), "6", "y"}));
  testing::internal::CaptureStderr();
  allocateGlobals(nullptr);
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "\n\n Error in PDHQuery\n\n Error in PDHQuery");
  EXPECT_EQ(trace.count("Error: PdhLookupPerfNameByIndex() failed"), 2u);
  EXPECT_STREQ(g_KDCList[0].szObjectName, "NTDS");
  EXPECT_STREQ(g_KDCList[0].szCounterName, "KDC AS Requests");
}

TEST_F(LocalNames, StayEnglishWhenTheNameTableCannotBeRead) {
  install_language(1031, series_of(g_KDCList, 1), name_tables("007", {"2", "NTDS"}, {"2", "V"}));
  platform::faults::fail("RegQueryValueExA", 0);
  convertToLocalizedLanguage();
  EXPECT_EQ(trace.count("Error: RegQueryValueEx() failed"), 2u);
  EXPECT_STREQ(g_KDCList[0].szObjectName, "NTDS");
}

}  // namespace
