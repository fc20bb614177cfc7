#include "directory/dns_utils.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <ctime>
#include <string>
#include <vector>

#include "framework/trc/control.h"
#include "include/platform/adsi.h"
#include "include/settings.h"
#include "platform/control.h"
#include "tests/support/small_recording.h"

namespace {

using testing_support::kSmallForest;
using testing_support::replaced;
using testing_support::SmallRecording;

class Questions : public ::testing::Test {
 protected:
  explicit Questions(const std::string& forest = kSmallForest) : recording_(forest) {
    setenv("TZ", "UTC0", 1);
    tzset();
    trc::set_flags(1 | 128);
    CoInitializeEx(nullptr, COINIT_MULTITHREADED);
  }
  ~Questions() override {
    platform::faults::clear();
    CoUninitialize();
    EXPECT_EQ(before_, platform::accounting::live());
  }
  std::map<std::string, std::int64_t> before_ = platform::accounting::live();
  SmallRecording recording_;
  trc::Capture trace_;
};

using GetRootDSEInfo = Questions;

TEST_F(GetRootDSEInfo, ReadsFourAttributes) {
  RootDSEInfo info;
  EXPECT_EQ(0, DNSUtils::GetRootDSEInfo("DC1", info));
  EXPECT_EQ(7, info.dcFunctionality);
  EXPECT_EQ(6, info.domainFunctionality);
  EXPECT_EQ(5, info.forestFunctionality);
  EXPECT_STREQ("DC=corp,DC=example", info.rootDomainName);
  EXPECT_STREQ("DC=corp,DC=example", info.rootFQDN);
}

TEST_F(GetRootDSEInfo, OfAServerThatIsDownIsAnObjectErrorWithThePresets) {
  RootDSEInfo info;
  info.dcFunctionality = 3;
  std::strcpy(info.rootDomainName, "old");
  EXPECT_EQ(ADSI_OBJECT_ERR, DNSUtils::GetRootDSEInfo("elsewhere", info));
  EXPECT_EQ(-1, info.dcFunctionality);
  EXPECT_STREQ("", info.rootDomainName);
  EXPECT_TRUE(trace_.contains("ADsGetObject Failed. Error number: "));
}

class WithoutForestLevel : public Questions {
 protected:
  WithoutForestLevel() : Questions(replaced(kSmallForest, "forestFunctionality: 5\n", "")) {}
};

TEST_F(WithoutForestLevel, RootDSEInfoIsStillASuccessAndLeavesThePreset) {
  RootDSEInfo info;
  EXPECT_EQ(0, DNSUtils::GetRootDSEInfo("DC1", info));
  EXPECT_EQ(-1, info.forestFunctionality);
  EXPECT_EQ(6, info.domainFunctionality);
  EXPECT_EQ(1u, trace_.count("pObj->Get(forestFunctionality) Failed. Error number: 8000500d"));
}

TEST_F(GetRootDSEInfo, TracesEachAttributeThatCannotBeRead) {
  platform::faults::fail("IADs::Get", 0, std::int32_t(0x8000500D));
  RootDSEInfo info;
  EXPECT_EQ(0, DNSUtils::GetRootDSEInfo("DC1", info));
  for (const char* name : {"rootDomainNamingContext", "domainControllerFunctionality",
                           "domainFunctionality", "forestFunctionality"}) {
    EXPECT_EQ(1u,
              trace_.count("pObj->Get(" + std::string(name) + ") Failed. Error number: 8000500d"));
  }
  EXPECT_STREQ("", info.rootFQDN);
}

using GetNamingContexts = Questions;

TEST_F(GetNamingContexts, AppendsThemInTheServersOrder) {
  std::vector<std::string> contexts{"kept"};
  EXPECT_EQ(0, DNSUtils::GetNamingContexts("DC1", contexts));
  EXPECT_EQ((std::vector<std::string>{"kept", "DC=corp,DC=example",
                                      "CN=Configuration,DC=corp,DC=example"}),
            contexts);
  EXPECT_EQ(1u, trace_.count("Root DSE Object: LDAP://DC1/rootDSE"));
  EXPECT_EQ(1u, trace_.count("SafeArrayGetLBound : <0>"));
  EXPECT_EQ(1u, trace_.count("SafeArrayGetUBound : <1>"));
  EXPECT_EQ(1u, trace_.count("Naming Context DC=corp,DC=example"));
}

TEST_F(GetNamingContexts, ThatCannotBeBoundOrReadAreAnObjectError) {
  std::vector<std::string> contexts;
  EXPECT_EQ(ADSI_OBJECT_ERR, DNSUtils::GetNamingContexts("elsewhere", contexts));
  EXPECT_TRUE(trace_.contains("ADsGetObject Failed. Error number: "));
  platform::faults::fail("IADs::Get", 1, std::int32_t(0x8000500D));
  EXPECT_EQ(ADSI_OBJECT_ERR, DNSUtils::GetNamingContexts("DC1", contexts));
  EXPECT_EQ(1u, trace_.count("pObj->Get Failed. Error number: 8000500d"));
  EXPECT_TRUE(contexts.empty());
}

TEST_F(GetNamingContexts, KeepWhatWasAppendedBeforeAFailure) {
  platform::faults::fail("SafeArrayGetElement", 2, std::int32_t(0x8002000B));
  std::vector<std::string> contexts;
  EXPECT_EQ(ADSI_OBJECT_ERR, DNSUtils::GetNamingContexts("DC1", contexts));
  EXPECT_EQ(1u, contexts.size());
  EXPECT_EQ(1u, trace_.count("SafeArrayGetElement Failed. Error number: 8002000b"));
}

TEST_F(GetNamingContexts, WithoutBoundsAreAnObjectError) {
  std::vector<std::string> contexts;
  platform::faults::fail("SafeArrayGetLBound", 1, std::int32_t(0x8002000B));
  EXPECT_EQ(ADSI_OBJECT_ERR, DNSUtils::GetNamingContexts("DC1", contexts));
  EXPECT_EQ(1u, trace_.count("SafeArrayGetLBound Failed. Error number: 8002000b"));
  platform::faults::fail("SafeArrayGetUBound", 1, std::int32_t(0x8002000B));
  EXPECT_EQ(ADSI_OBJECT_ERR, DNSUtils::GetNamingContexts("DC1", contexts));
  EXPECT_EQ(1u, trace_.count("SafeArrayGetUBound Failed. Error number: 8002000b"));
}

using GetAllCNTList = Questions;
const std::vector<std::string> kContexts{"DC=corp,DC=example",
                                         "CN=Configuration,DC=corp,DC=example"};

TEST_F(GetAllCNTList, KeepsTheContainersAmongTheDirectChildren) {
  std::vector<ContainerInfo> records;
  EXPECT_EQ(ADSI_ENUM_END, DNSUtils::GetAllCNTList(kContexts, records, 2));
  ASSERT_EQ(2u, records.size());
  EXPECT_STREQ("DC=corp,DC=example", records[0].partition);
  EXPECT_STREQ("Users", records[0].commonName);
  EXPECT_STREQ("CN=Users,DC=corp,DC=example", records[0].distinguishedName);
  EXPECT_STREQ("container", records[0].className);
  EXPECT_STREQ("01/02/2011  03:04", records[0].created);
  EXPECT_STREQ("03/04/2011  10:11", records[0].modified);
  EXPECT_STREQ("CN=Configuration,DC=corp,DC=example", records[1].partition);
  EXPECT_STREQ("crossRefContainer", records[1].className);
}

TEST_F(GetAllCNTList, WalksOnlyTheFirstCountContexts) {
  std::vector<ContainerInfo> records;
  EXPECT_EQ(ADSI_ENUM_END, DNSUtils::GetAllCNTList(kContexts, records, 1));
  EXPECT_EQ(1u, records.size());
  EXPECT_EQ(ADSI_ENUM_END, DNSUtils::GetAllCNTList(kContexts, records, 0));
  EXPECT_EQ(1u, records.size());
}

TEST_F(GetAllCNTList, StopsAtAContextThatCannotBeWalkedAndKeepsTheRecordsBefore) {
  std::vector<ContainerInfo> records;
  const std::vector<std::string> contexts{kContexts[0], "DC=gone,DC=example", kContexts[1]};
  EXPECT_EQ(ADSI_OBJECT_ERR, DNSUtils::GetAllCNTList(contexts, records, 3));
  EXPECT_EQ(1u, records.size());
  platform::faults::fail("ADsBuildEnumerator", 1);
  EXPECT_EQ(ADSI_ENUM_ERR, DNSUtils::GetAllCNTList(kContexts, records, 2));
  EXPECT_EQ(1u, records.size());
}

TEST_F(GetAllCNTList, ShowsTimesInTheMachinesZone) {
  setenv("TZ", "XXX-2", 1);  // two hours east
  tzset();
  std::vector<ContainerInfo> records;
  DNSUtils::GetAllCNTList(kContexts, records, 1);
  ASSERT_EQ(1u, records.size());
  EXPECT_STREQ("01/02/2011  05:04", records[0].created);
}

TEST_F(GetAllCNTList, LeavesATimeEmptyThatCannotBeRead) {
  platform::faults::fail("IADs::GetEx", 1);
  std::vector<ContainerInfo> records;
  EXPECT_EQ(ADSI_ENUM_END, DNSUtils::GetAllCNTList(kContexts, records, 1));
  ASSERT_EQ(1u, records.size());
  EXPECT_STREQ("", records[0].created);
  EXPECT_STREQ("03/04/2011  10:11", records[0].modified);
}

class ManyChildren : public Questions {
 protected:
  static std::string forest(int count) {
    std::string text = kSmallForest;
    for (int i = 0; i < count; ++i) {
      const std::string dn = "CN=X" + std::to_string(i) + ",DC=corp,DC=example";
      text += "\ndn: " + dn + "\nobjectClass: top\nobjectClass: container\ncn: X" +
              std::to_string(i) + "\n";
    }
    return text;
  }
  // With Users and Staff, which are children too, 40 in all.
  ManyChildren() : Questions(forest(38)) {}
};

TEST_F(ManyChildren, YieldAtEveryTwentiethAndSaySo) {
  const platform::VirtualTime time;
  std::vector<ContainerInfo> records;
  DNSUtils::GetAllCNTList(kContexts, records, 1);
  EXPECT_EQ(39u, records.size());
  EXPECT_EQ(2u, trace_.count("Sleep Enabled"));
  EXPECT_EQ(2, time.elapsed_ms());
}

TEST_F(ManyChildren, DoNotYieldWhenSwitchedOff) {
  g_sleepWhileIterating = 0;
  const platform::VirtualTime time;
  std::vector<ContainerInfo> records;
  DNSUtils::GetAllCNTList(kContexts, records, 1);
  EXPECT_EQ(0u, trace_.count("Sleep Enabled"));
  EXPECT_EQ(0, time.elapsed_ms());
}

class LongNames : public Questions {
 protected:
  LongNames() : Questions(replaced(kSmallForest, "cn: Users", "cn: " + std::string(90, 'U'))) {}
};

TEST_F(LongNames, AreCutAtTheRecordAndTheCutIsTraced) {
  std::vector<ContainerInfo> records;
  DNSUtils::GetAllCNTList(kContexts, records, 1);
  ASSERT_EQ(1u, records.size());
  EXPECT_EQ(std::string(63, 'U'), records[0].commonName);
  EXPECT_TRUE(trace_.contains("Text of 90 characters cut to 63"));
}

}  // namespace
