// Counter names of a system in another language.

#include "counters/localise.h"

#include <gmock/gmock.h>

#include <cmath>

#include "counter_tables.h"

namespace {

using testing::HasSubstr;

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
    const std::string counters = series.empty() ? "" : counter_log(series, {0});
    auto machine = std::make_shared<Machine>(counters, registry);
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

TEST_F(LocalNames, OfTheLongestThatFitAreTaken) {
  const std::string longest(127, 'x');
  install_language(1031, {}, name_tables("007", {"2", "NTDS"}, {"2", longest}));
  convertToLocalizedLanguage();
  EXPECT_EQ(g_KDCList[0].szObjectName, longest);
}

TEST_F(LocalNames, OfANameThatTheTableHoldsTwiceAreThoseOfTheLast) {
  install_language(1031, {},
                   name_tables("007", {"2", "NTDS", "4", "NTDS"}, {"2", "erstes", "4", "zweites"}));
  convertToLocalizedLanguage();
  EXPECT_STREQ(g_KDCList[0].szObjectName, "zweites");
}

TEST_F(LocalNames, AreLookedUpOnlyForNamesThatTheListsHold) {
  install_language(1031, {},
                   name_tables("007", {"2", "Memory", "4", "NTDS"}, {"2", "Speicher", "4", "V"}));
  platform::faults::reset_counts();
  convertToLocalizedLanguage();
  EXPECT_THAT(platform::faults::reached(),
              testing::Contains(testing::Pair("PdhLookupPerfNameByIndexA", 1u)));
}

// Whatever stands in the registry, the names that it does not make sense of stay English.
TEST_F(LocalNames, StayEnglishAfterAnIndexThatIsNone) {
  const std::vector<std::string> local = {"2", "Verzeichnis", "4", "Anfragen"};
  for (const char* index : {"0", "-2", "two", "", "99999999999"}) {
    SCOPED_TRACE(index);
    const ListsPutBack as_they_were;
    install_language(1031, {}, name_tables("007", {index, "NTDS"}, local));
    convertToLocalizedLanguage();
    EXPECT_STREQ(g_KDCList[0].szObjectName, "NTDS");
  }
}

TEST_F(LocalNames, TakeAnIndexInHexadecimalAndOctal) {
  install_language(
      1031, {}, name_tables("007", {"0x10", "NTDS", "020", "KDC AS Requests"}, {"16", "gleich"}));
  convertToLocalizedLanguage();
  EXPECT_STREQ(g_KDCList[0].szObjectName, "gleich");
  EXPECT_STREQ(g_KDCList[0].szCounterName, "gleich");
}

TEST_F(LocalNames, OfANameThatOnceHadTheIndexZeroStayEnglish) {
  install_language(1031, {}, name_tables("007", {"0", "NTDS", "2", "NTDS"}, {"2", "Verzeichnis"}));
  convertToLocalizedLanguage();
  EXPECT_STREQ(g_KDCList[0].szObjectName, "NTDS");
}

TEST_F(LocalNames, OfATableThatBreaksOffAreThoseBeforeTheBreak) {
  // The last name has an index and nothing behind it.
  install_language(1031, {},
                   name_tables("007", {"2", "NTDS", "4"}, {"2", "Verzeichnis", "4", "Anfragen"}));
  convertToLocalizedLanguage();
  EXPECT_STREQ(g_KDCList[0].szObjectName, "Verzeichnis");
  EXPECT_STREQ(g_KDCList[0].szCounterName, "KDC AS Requests");
}

TEST_F(LocalNames, OfATableThatBreaksOffWithinANameAreThoseBeforeIt) {
  // No zero ends this value: 16-bit units of "2", zero, "NTDS", zero, "4", zero, "KDC AS Req".
  const std::string broken =
      "Windows Registry Editor Version 5.00\n\n[HKEY_LOCAL_MACHINE\\SOFTWARE\\Microsoft\\Windows "
      "NT\\CurrentVersion\\Perflib\\009]\n\"Counter\"=hex(7):32,00,00,00,4e,00,54,00,44,00,53,00,"
      "00,00,34,00,00,00,4b,00,44,00,43,00,20,00,41,00,53,00,20,00,52,00,65,00,71,00\n";
  install_language(1031, {},
                   broken + "\n" +
                       name_tables("007", {}, {"2", "Verzeichnis"})
                           .substr(name_tables("007", {}, {}).find("\n\n") + 2));
  convertToLocalizedLanguage();
  EXPECT_STREQ(g_KDCList[0].szCounterName, "KDC AS Requests");
}

TEST_F(LocalNames, StayEnglishWithoutANameTableAndTheTraceSaysSo) {
  auto machine = std::make_shared<Machine>("");
  machine->facts.language = 1031;
  platform::install(machine);
  convertToLocalizedLanguage();
  EXPECT_EQ(trace.count("Error: RegQueryValueEx() failed"), 2u);
  EXPECT_STREQ(g_KDCList[0].szObjectName, "NTDS");
}

TEST_F(LocalNames, StayEnglishOrBecomeLocalWhicheverCallFails) {
  const auto registry = name_tables("007", {"2", "NTDS", "4", "KDC AS Requests"},
                                    {"2", "Verzeichnis", "4", "Anfragen"});
  install_language(1031, {}, registry);
  const auto before = live();
  const auto names = [] {
    const ListsPutBack as_they_were;
    convertToLocalizedLanguage();
    return std::pair<std::string, std::string>(g_KDCList[0].szObjectName,
                                               g_KDCList[0].szCounterName);
  };
  platform::faults::reset_counts();
  const std::pair<std::string, std::string> right = {"Verzeichnis", "Anfragen"};
  ASSERT_EQ(names(), right);
  std::size_t struck = 0;
  testing::internal::CaptureStderr();
  for (const auto& [call, count] : platform::faults::reached()) {
    for (std::uint32_t nth = 1; nth <= count; ++nth) {
      SCOPED_TRACE(call + " " + std::to_string(nth));
      platform::faults::fail(call, nth);
      const auto [object, counter] = names();
      struck += platform::faults::struck() ? 1u : 0u;
      EXPECT_TRUE(object == "NTDS" || object == "Verzeichnis") << object;
      EXPECT_TRUE(counter == "KDC AS Requests" || counter == "Anfragen") << counter;
      platform::faults::clear();
      EXPECT_EQ(names(), right);
      EXPECT_EQ(live(), before);
    }
  }
  testing::internal::GetCapturedStderr();
  EXPECT_GE(struck, 4u);
}

// ---- the German recording ---------------------------------------------------------------------

class GermanRecording : public CounterTables {
 protected:
  static std::vector<std::atomic<ADPDH*>*> collectors() {
    return {&g_AddressBook, &g_Replication, &g_DirServices, &g_KCC, &g_KDC,  &g_LDAP, &g_SAM,
            &g_NSPI,        &g_LSA,         &g_FRS,         &g_ESE, &g_DHCP, &g_DNS};
  }
  // What every collector reads half a second after the recording was opened.
  std::vector<std::vector<double>> values_of(const std::shared_ptr<platform::Controller>& machine,
                                             int major, int minor) {
    platform::install(machine);
    build_for(major, minor);
    std::vector<std::vector<double>> values;
    for (const std::atomic<ADPDH*>* global : collectors()) {
      ADPDH* collector = global->load();
      EXPECT_EQ(collector->IsPresent(), 1) << values.size();
      EXPECT_EQ(collector->CollectData(), 1);
      values.emplace_back(collector->GetValues(),
                          collector->GetValues() + collector->GetCounterCount());
    }
    return values;
  }
  static std::shared_ptr<platform::Controller> german() {
    return platform::open_recording(DIRWATCH_SOURCE "/recordings/german", stopped_clock);
  }
  static std::shared_ptr<platform::Controller> english() {
    return platform::open_embedded_recording(stopped_clock);
  }
  static std::int64_t stopped_clock() { return 0; }
};

constexpr std::size_t kDhcp = 11, kNameService = 7;

TEST_F(GermanRecording, GivesEveryCollectorTheValuesOfTheEnglishOne) {
  for (const auto& [major, minor] : {std::pair{5, 2}, {6, 0}, {6, 1}, {10, 0}}) {
    SCOPED_TRACE(major * 10 + minor);
    const ListsPutBack as_they_were;
    auto expected = values_of(english(), major, minor);
    auto found = values_of(german(), major, minor);
    // Lists over two objects are looked for under the first one's name alone.
    expected[kDhcp].resize(14);
    found[kDhcp].resize(14);
    if (major == 6) {
      expected[kNameService].resize(3);
      EXPECT_EQ(found[kNameService].at(3), 0);
      found[kNameService].resize(3);
    }
    EXPECT_EQ(found, expected);
    for (const std::vector<double>& values : found) {
      EXPECT_TRUE(std::any_of(values.begin(), values.end(), [](double one) { return one != 0; }));
    }
  }
}

TEST_F(GermanRecording, GivesTheRowsOfTheEnglishOne) {
  const auto rows = [this](const std::shared_ptr<platform::Controller>& machine) {
    const ListsPutBack as_they_were;
    platform::install(machine);
    build_for(10, 0);
    std::vector<std::string> data;
    for (const auto& sampled :
         {sampler<tables::DCWNTDSAB>()->sample(), sampler<tables::DCWNTDSDS>()->sample(),
          sampler<tables::DCWNTDSKDC>()->sample(), sampler<tables::DCWNTDSLDP>()->sample(),
          sampler<tables::DCWNTDSLSA>()->sample(), sampler<tables::DCWNTDSNSP>()->sample(),
          sampler<tables::DCWNTDSSAM>()->sample(), sampler<tables::DCWNTDSXDS>()->sample(),
          sampler<tables::DCWNTDSFRS>()->sample()}) {
      EXPECT_EQ(sampled.size(), 1u) << data.size();
      for (const std::string& row : sampled) data.push_back(row.substr(88));
    }
    deleteGlobals();
    return data;
  };
  EXPECT_EQ(rows(german()), rows(english()));
}

// The objects with instances are asked for by their English names on every system.
TEST_F(GermanRecording, HasNoInstancesOfDistributedReplication) {
  platform::install(german());
  build_for(10, 0);
  EXPECT_EQ(g_DFRC.load()->GetInstanceCount(), 0);
  EXPECT_EQ(g_DFSV.load()->GetInstanceCount(), 0);
  EXPECT_EQ(g_DFRF.load()->GetInstanceCount(), 0);
  EXPECT_EQ(g_DFSR.load()->IsPresent(), 0);
  EXPECT_TRUE(trace.contains("PEOI failed for object DFS Replicated Folders , "));
}

TEST_F(GermanRecording, TranslatesEveryNameOfTheLists) {
  platform::install(german());
  convertToLocalizedLanguage();
  EXPECT_STREQ(g_ABListV6[0].szObjectName, "Verzeichnisdienste");
  EXPECT_STREQ(g_ABListV6[0].szInstanceName, "NTDS");
  EXPECT_STREQ(g_DNSList[6].szCounterName, "gesamt Anfrage empfangen");
  EXPECT_EQ(trace.count("Error: PdhLookupPerfNameByIndex() failed"), 0u);
}

}  // namespace
