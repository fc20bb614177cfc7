#include "platform/recorded/recorded_directory.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <map>
#include <string>
#include <vector>

#include "platform/recorded/distinguished_name.h"
#include "platform/recorded/filter.h"
#include "platform/recorded/ldif.h"
#include "platform/recorded/recording.h"

namespace platform {
namespace {

constexpr char kForest[] =
    "dn:\n"
    "dnsHostName: DC1.corp.example\n"
    "dnsHostName;x-server-dc2: DC2.branch.example\n"
    "defaultNamingContext: DC=corp,DC=example\n"
    "namingContexts: DC=corp,DC=example\n"
    "namingContexts: CN=Configuration,DC=corp,DC=example\n"
    "\n"
    "dn: DC=corp,DC=example\n"
    "objectClass: domainDNS\n"
    "\n"
    "dn: CN=Users,DC=corp,DC=example\n"
    "objectClass: top\n"
    "objectClass: container\n"
    "cn: Users\n"
    "whenChanged: 20260101000000.0Z\n"
    "whenChanged;x-server-dc2: 20260102000000.0Z\n"
    "description: only here\n"
    "description;x-server-dc2:\n"
    "location;x-server-dc2: far away\n"
    "\n"
    "dn: CN=Configuration,DC=corp,DC=example\n"
    "objectClass: configuration\n"
    "msDS-isRODC: FALSE\n"
    "\n"
    "dn: CN=Sites,CN=Configuration,DC=corp,DC=example\n"
    "objectClass: sitesContainer\n"
    "\n"
    "dn: CN=a\\2C b,CN=Users,DC=corp,DC=example\n"
    "objectClass: user\n"
    "objectClass;x-server-dc2:\n"
    "cn: a, b\n"
    "badPwdCount: 5\n"
    "objectCategory: CN=Person,CN=Schema,CN=Configuration,DC=corp,DC=example\n"
    "\n"
    "dn: OU=Machines,DC=corp,DC=example\n"
    "ou: Machines\n";

std::unique_ptr<Directory> forest() { return read_directory(kForest, "directory.ldif", "DC1"); }

std::vector<std::string> names_found(Directory& directory, const std::string& server,
                                     const std::string& base, SearchScope scope,
                                     const std::string& filter) {
  std::vector<std::string> found;
  std::unique_ptr<EntryCursor> cursor;
  if (directory.search(server, base, scope, filter, {}, cursor) != kDirectoryOk) return {"failed"};
  Entry entry;
  while (cursor->next(entry) == kDirectoryOk) found.push_back(entry.dn);
  EXPECT_EQ(cursor->next(entry), kDirectoryEnd) << "the end stays the end";
  return found;
}

std::string value(Directory& directory, const std::string& server, const std::string& dn,
                  const std::string& name) {
  Entry entry;
  if (directory.read(server, dn, {}, entry) != kDirectoryOk) return "no object";
  const Attribute* attribute = entry.find(name);
  return attribute == nullptr ? "no attribute" : attribute->values.front();
}

TEST(DistinguishedName, IsTheSameInEachWayOfWritingIt) {
  EXPECT_EQ(normalise_dn("CN=a\\, b , DC=X"), normalise_dn("cn=A\\2C B,dc=x"));
  EXPECT_EQ(normalise_dn("CN = \xC3\x9C,DC=x"), normalise_dn("cn=\xC3\xBC,DC=X"));
  EXPECT_NE(normalise_dn("CN=a,CN=b"), normalise_dn("CN=a\\,CN=b"));
  EXPECT_EQ(normalise_dn(""), "");
  EXPECT_EQ(normalise_dn("  "), "");
}

TEST(DistinguishedName, IsCutAtCommasThatAreNotEscaped) {
  EXPECT_EQ(parent_dn("CN=a\\,b,DC=x"), "DC=x");
  EXPECT_EQ(parent_dn("DC=x"), "");
  EXPECT_EQ(split_dn("CN=a\\\\,DC=x").size(), 2u);
  EXPECT_EQ(leaf_value("CN=a\\2C b,DC=x"), "a, b");
  EXPECT_EQ(canonical_name("CN=a/b,OU=c,DC=corp,DC=example"), "corp.example/c/a\\/b");
  EXPECT_EQ(canonical_name("DC=corp,DC=example"), "corp.example/");
  EXPECT_EQ(dns_name("CN=x,DC=corp,DC=example"), "corp.example");
}

TEST(RecordedDirectory, FindsEntriesHoweverTheirNamesAreWritten) {
  const auto directory = forest();
  EXPECT_EQ(value(*directory, "", "cn=users, dc=CORP,dc=example", "cn"), "Users");
  EXPECT_EQ(value(*directory, "", "CN=A\\, B,CN=Users,DC=corp,DC=example", "cn"), "a, b");
  EXPECT_EQ(value(*directory, "", "CN=Nobody,DC=corp,DC=example", "cn"), "no object");
}

TEST(RecordedDirectory, TellsMissingObjectsAndServersApart) {
  const auto directory = forest();
  Entry entry;
  std::unique_ptr<EntryCursor> cursor;
  EXPECT_EQ(directory->read("", "CN=x", {}, entry), kDirectoryNoObject);
  EXPECT_EQ(directory->read("dc9", "DC=corp,DC=example", {}, entry), kDirectoryServerDown);
  EXPECT_EQ(directory->read_root("dc9", entry), kDirectoryServerDown);
  EXPECT_EQ(directory->search("dc9", "", SearchScope::kBase, "", {}, cursor), kDirectoryServerDown);
  EXPECT_EQ(directory->search("", "CN=x", SearchScope::kBase, "", {}, cursor), kDirectoryNoObject);
  EXPECT_EQ(directory->search("", "DC=corp,DC=example", SearchScope::kBase, "(a=b", {}, cursor),
            static_cast<DirectoryResult>(0x80005014));
}

TEST(RecordedDirectory, EachServerSeesItsOwnValues) {
  const auto directory = forest();
  const std::string users = "CN=Users,DC=corp,DC=example";
  EXPECT_EQ(value(*directory, "", users, "whenChanged"), "20260101000000.0Z");
  EXPECT_EQ(value(*directory, "dc1", users, "whenChanged"), "20260101000000.0Z");
  EXPECT_EQ(value(*directory, "DC2", users, "whenChanged"), "20260102000000.0Z");
  EXPECT_EQ(value(*directory, "dc2.BRANCH.example", users, "location"), "far away");
  EXPECT_EQ(value(*directory, "", users, "location"), "no attribute");
  EXPECT_EQ(value(*directory, "", users, "description"), "only here");
  EXPECT_EQ(value(*directory, "dc2", users, "description"), "no attribute");
  EXPECT_EQ(value(*directory, "dc2", "", "dnsHostName"), "DC2.branch.example");
  EXPECT_EQ(value(*directory, "dc2", "CN=a\\, b,CN=Users,DC=corp,DC=example", "cn"), "no object");
}

TEST(RecordedDirectory, AnswersToTheNamesOfItsServersAndItsDomain) {
  const auto directory = read_directory(kForest, "directory.ldif", "DC1", "corp.example");
  Entry entry;
  for (const char* server : {"", "DC1", "dc1.corp.example", "corp.example", "dc2",
                             "dc2.corp.example", "DC2.branch.example"}) {
    EXPECT_EQ(directory->read_root(server, entry), kDirectoryOk) << server;
  }
  for (const char* server : {"dc1.other.example", "branch.example", "192.0.2.1"}) {
    EXPECT_EQ(directory->read_root(server, entry), kDirectoryServerDown) << server;
  }
}

TEST(RecordedDirectory, SearchesStayInTheirNamingContext) {
  const auto directory = forest();
  const std::string domain = "DC=corp,DC=example";
  using Names = std::vector<std::string>;
  EXPECT_EQ(names_found(*directory, "", domain, SearchScope::kBase, ""), Names{domain});
  EXPECT_EQ(names_found(*directory, "", domain, SearchScope::kOneLevel, "(objectClass=*)"),
            (Names{"CN=Users,DC=corp,DC=example", "OU=Machines,DC=corp,DC=example"}));
  EXPECT_EQ(names_found(*directory, "", domain, SearchScope::kSubtree, ""),
            (Names{domain, "CN=Users,DC=corp,DC=example", "CN=a\\2C b,CN=Users,DC=corp,DC=example",
                   "OU=Machines,DC=corp,DC=example"}));
  EXPECT_EQ(names_found(*directory, "", "CN=Configuration," + domain, SearchScope::kOneLevel, ""),
            Names{"CN=Sites,CN=Configuration,DC=corp,DC=example"});
  EXPECT_EQ(names_found(*directory, "dc2", "CN=Users," + domain, SearchScope::kOneLevel, ""),
            Names{});
}

TEST(RecordedDirectory, ConstructedAttributesAreGivenOnlyByName) {
  const auto directory = forest();
  const std::string configuration = "CN=Configuration,DC=corp,DC=example";
  EXPECT_EQ(value(*directory, "", configuration, "msDS-isRODC"), "no attribute");
  Entry entry;
  ASSERT_EQ(directory->read("", configuration, {"msds-isrodc", "CanonicalName"}, entry),
            kDirectoryOk);
  ASSERT_EQ(entry.attributes.size(), 2u) << "and nothing else comes along";
  EXPECT_EQ(entry.find("msDS-isRODC")->values.front(), "FALSE");
  EXPECT_EQ(entry.find("canonicalName")->values.front(), "corp.example/Configuration");
  EXPECT_TRUE(is_constructed("CANONICALNAME"));
  EXPECT_FALSE(is_constructed("cn"));
}

TEST(RecordedDirectory, AWalkOutlastsItsDirectory) {
  auto directory = forest();
  std::unique_ptr<EntryCursor> cursor;
  ASSERT_EQ(directory->search("", "DC=corp,DC=example", SearchScope::kOneLevel, "", {}, cursor),
            kDirectoryOk);
  directory.reset();
  Entry entry;
  EXPECT_EQ(cursor->next(entry), kDirectoryOk);
  EXPECT_EQ(entry.dn, "CN=Users,DC=corp,DC=example");
}

TEST(RecordedDirectory, RefusesTwoEntriesOfOneName) {
  try {
    read_directory("dn: CN=a,DC=x\ncn: a\n\ndn: cn=A, dc=x\ncn: a\n", "directory.ldif");
    FAIL() << "taken";
  } catch (const ControllerError& error) {
    EXPECT_STREQ(error.what(), "directory.ldif:4: a second entry named \"cn=A, dc=x\"");
  }
}

TEST(Filter, MatchesAsADirectoryDoes) {
  const Entry entry{"CN=x",
                    {{"cn", {"Default Domain Policy"}},
                     {"objectClass", {"top", "user"}},
                     {"userAccountControl", {"514"}},
                     {"groupType", {"-2147483646"}},
                     {"whenChanged", {"20260102000000.0Z"}},
                     {"fromServer", {"CN=a\\, b,DC=x"}},
                     {"note", {"(a*b)"}},
                     {"objectCategory", {"CN=Group-Policy-Container,CN=Schema,DC=x"}}}};
  const auto matches = [&entry](const char* text) {
    const auto filter = parse_filter(text);
    EXPECT_NE(filter, nullptr) << text;
    return filter && filter->matches(entry);
  };
  for (const char* yes : {"(CN=default domain policy)",
                          "(objectClass=*)",
                          "(objectclass=USER)",
                          "(cn=def*)",
                          "(cn=*policy)",
                          "(cn=*main*)",
                          "(cn=D*t*o*y)",
                          "(userAccountControl>=514)",
                          "(userAccountControl<=514)",
                          "(userAccountControl>=60)",
                          "(groupType<=0)",
                          "(whenChanged>=20260101000000.0Z)",
                          "(userAccountControl:1.2.840.113556.1.4.803:=2)",
                          "(userAccountControl:1.2.840.113556.1.4.804:=3)",
                          "(&(cn=*)(objectClass=top))",
                          "(|(cn=x)(objectClass=top))",
                          "(!(cn=x))",
                          "(&)",
                          "(fromServer=cn=A\\5c2C B,DC=X)",
                          "(note=\\28a\\2ab\\29)",
                          "(objectCategory=groupPolicyContainer)",
                          "(groupType:1.2.840.113556.1.4.803:=2147483648)"}) {
    EXPECT_TRUE(matches(yes)) << yes;
  }
  for (const char* no :
       {"(cn=default)", "(missing=*)", "(cn=*domainx*)", "(cn=Policy*Default)", "(cn=D*D*D*)",
        "(userAccountControl>=515)", "(userAccountControl:1.2.840.113556.1.4.803:=3)",
        "(cn:1.2.840.113556.1.4.803:=1)", "(&(cn=*)(cn=x))", "(|(cn=x)(cn=y))", "(!(cn=*))", "(|)",
        "(objectCategory=person)", "(missing>=1)"}) {
    EXPECT_FALSE(matches(no)) << no;
  }
}

TEST(Filter, RefusesWhatIsNoFilter) {
  for (const char* text :
       {"", "cn=x", "(cn=x", "(cn=x))", "()", "(cn)", "(=x)", "(!(a=b)(c=d))", "(!)", "(&(a=b)",
        "(cn=\\2)", "(cn=\\zz)", "(cn:1.2.3:=1)", "(cn:=1)", "(a b=c)", "(a>=*)", "(a=b)(c=d)"}) {
    EXPECT_EQ(parse_filter(text), nullptr) << text;
  }
  std::string deep;
  for (int i = 0; i < 100000; ++i) deep += "(!";
  EXPECT_EQ(parse_filter(deep), nullptr) << "too deep for the stack";
}

TEST(Recording, TheEmbeddedOneIsTheFolderOfTheRepository) {
  const auto controller = open_embedded_recording([] { return 0; });
  EXPECT_EQ(controller->description(), "the embedded recording");
  EXPECT_EQ(controller->machine().host_name, "DC1");
  EXPECT_EQ(controller->machine().dns_suffix, "corp.example");
  EXPECT_EQ(controller->machine().os_major, 10u);
  EXPECT_EQ(controller->machine().os_build, 20348u);
  EXPECT_EQ(controller->machine().language, 1033);
  EXPECT_NE(controller->counters(), nullptr);
  EXPECT_NE(controller->registry(), nullptr);
  ASSERT_NE(controller->directory(), nullptr);
  Entry root;
  for (const char* server : {"", "DC1", "DC2", "RODC1.corp.example"}) {
    EXPECT_EQ(controller->directory()->read_root(server, root), kDirectoryOk) << server;
    EXPECT_EQ(root.find("namingContexts")->values.size(), 5u);
  }
}

TEST(Recording, TheEmbeddedForestHoldsTogether) {
  std::string text;
  for (const EmbeddedFile& file : embedded_recording_files()) {
    if (file.name == "directory.ldif") text = std::string(file.bytes);
  }
  const auto records = read_ldif(text, "directory.ldif");
  EXPECT_GT(records.size(), 150u);
  const auto directory = read_directory(text, "directory.ldif", "DC1");
  Entry entry;
  for (const LdifRecord& record : records) {
    if (record.entry.dn.empty()) continue;
    EXPECT_NE(record.entry.find("whenCreated"), nullptr) << record.entry.dn;
    EXPECT_NE(record.entry.find("whenChanged"), nullptr) << record.entry.dn;
    for (const char* reference : {"fSMORoleOwner", "fromServer", "siteObject", "siteList",
                                  "serverReference", "transportType", "member"}) {
      const Attribute* values = record.entry.find(reference);
      if (values == nullptr) continue;
      for (const std::string& target : values->values) {
        EXPECT_EQ(directory->read("", target, {}, entry), kDirectoryOk)
            << record.entry.dn << ": " << reference << ": " << target;
      }
    }
  }
}

class RecordingFolder : public testing::Test {
 protected:
  void SetUp() override {
    folder_ = std::filesystem::temp_directory_path() /
              ("dirwatch_recording_" +
               std::string(testing::UnitTest::GetInstance()->current_test_info()->name()));
    std::filesystem::remove_all(folder_);
    std::filesystem::create_directories(folder_);
  }
  void TearDown() override { std::filesystem::remove_all(folder_); }
  void write(const char* name, const std::string& text) {
    std::ofstream(folder_ / name, std::ios::binary) << text;
  }
  std::string fault() {
    try {
      open_recording(folder_.string());
    } catch (const ControllerError& error) {
      return error.what();
    }
    return "no fault";
  }
  std::filesystem::path folder_;
};

TEST_F(RecordingFolder, WhatHasNoFileIsAbsent) {
  write("directory.ldif", kForest);
  const auto controller = open_controller(folder_.string());
  EXPECT_EQ(controller->description(), folder_.string());
  EXPECT_NE(controller->directory(), nullptr);
  EXPECT_EQ(controller->counters(), nullptr);
  EXPECT_EQ(controller->registry(), nullptr);
  EXPECT_EQ(controller->machine().host_name, "DC1") << "from the root object";
  EXPECT_EQ(controller->machine().dns_suffix, "corp.example");
}

TEST_F(RecordingFolder, FaultsNameTheFileInItsFolder) {
  EXPECT_EQ(fault(), folder_.string() +
                         ": holds neither directory.ldif nor counters.csv nor registry.reg nor "
                         "services.json");
  write("directory.ldif", "dn: DC=x\n");
  EXPECT_EQ(fault(), folder_.string() + "/directory.ldif:1: an entry without attributes");
  std::filesystem::remove_all(folder_);
  EXPECT_EQ(fault(), folder_.string() + ": is not a folder");
}

class Registry : public RegistryHive {
 public:
  std::map<std::string, std::vector<RegistryValue>> keys;
  bool has_key(std::string_view path) override { return keys.count(std::string(path)) != 0; }
  std::vector<std::string> subkeys(std::string_view) override { return {}; }
  std::vector<RegistryValue> values(std::string_view path) override {
    return keys[std::string(path)];
  }
};

TEST(MachineFactsOfARegistry, AnOldSystemTellsItsVersionInOneText) {
  Registry registry;
  registry.keys["HKEY_LOCAL_MACHINE\\SOFTWARE\\Microsoft\\Windows NT\\CurrentVersion"] = {
      {"CurrentVersion", 1, std::string("6.1\0", 4)},
      {"CurrentBuildNumber", 1, std::string("7601\0", 5)}};
  registry.keys["HKEY_LOCAL_MACHINE\\SYSTEM\\CurrentControlSet\\Control\\Nls\\Language"] = {
      {"Default", 1, std::string("0407\0", 5)}};
  MachineFacts facts;
  read_machine_facts(registry, facts);
  EXPECT_EQ(facts.os_major, 6u);
  EXPECT_EQ(facts.os_minor, 1u);
  EXPECT_EQ(facts.os_build, 7601u);
  EXPECT_EQ(facts.language, 0x0407);
  EXPECT_EQ(facts.host_name, "");
}

TEST(MachineFactsOfARegistry, ANewSystemTellsItInTwoNumbers) {
  Registry registry;
  registry.keys["HKEY_LOCAL_MACHINE\\SOFTWARE\\Microsoft\\Windows NT\\CurrentVersion"] = {
      {"CurrentVersion", 1, std::string("6.3\0", 4)},
      {"CurrentMajorVersionNumber", 4, std::string("\x0B\0\0\0", 4)},
      {"CurrentMinorVersionNumber", 4, std::string("\x02\0\0\0", 4)}};
  MachineFacts facts;
  read_machine_facts(registry, facts);
  EXPECT_EQ(facts.os_major, 11u);
  EXPECT_EQ(facts.os_minor, 2u);
}

}  // namespace
}  // namespace platform
