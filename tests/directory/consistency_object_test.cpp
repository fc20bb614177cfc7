// The marker object of replication: read, made and written.

#include <gtest/gtest.h>

#include <cstdlib>
#include <ctime>
#include <string>

#include "directory/adsi_utils.h"
#include "tests/directory/asking.h"

namespace {

using directory_test::forest;
using directory_test::forest_with;
using directory_test::kDomain;
using directory_test::object;

constexpr const char* kServer = "DC1.corp.example";
constexpr const char* kDomainName = "DC=corp,DC=example";
const std::string kContainer = "LDAP://DC1.corp.example/cn=LostAndFound,DC=corp,DC=example";
const std::string kObject =
    "LDAP://DC1.corp.example/cn=DC1.corp.example,cn=LostAndFound,DC=corp,DC=example";

std::string marker(const std::string& attributes) {
  return object("CN=DC1.corp.example,CN=LostAndFound," + kDomain, "applicationEntity", attributes);
}
const std::string kDescription = "description:: U3VuIEphbiAwMiAwMzowNDowNSAyMDExCg==\n";
std::string forest_with_marker() {
  return forest() + marker(kDescription +
                           "whenChanged: 20110102030405.0Z\n"
                           "whenChanged;x-server-dc2: 20110102025905.0Z\n");
}

class Marker : public directory_test::Asking {
 protected:
  explicit Marker(const std::string& text = forest()) : Asking(text) {
    setenv("TZ", "UTC0", 1);
    tzset();
  }
  int get(const char* server = kServer) {
    return ADSIutils::GetConsistencyObject(server, kDomainName, kServer, record_);
  }
  int create() { return ADSIutils::CreateConsistencyObject(kServer, kDomainName); }
  int update() { return ADSIutils::UpdateConsistencyObject(kServer, kDomainName); }

  ConsistencyObject record_;
};

class RecordedMarker : public Marker {
 protected:
  RecordedMarker() : Marker(forest_with_marker()) {}
};

TEST_F(RecordedMarker, IsReadWithItsNameDescriptionAndTime) {
  EXPECT_EQ(0, get());
  EXPECT_STREQ("DC1.corp.example", record_.name);
  EXPECT_STREQ("Sun Jan 02 03:04:05 2011\n", record_.description);
  EXPECT_EQ(111, record_.whenChanged.tm_year);
  EXPECT_EQ(0, record_.whenChanged.tm_mon);
  EXPECT_EQ(2, record_.whenChanged.tm_mday);
  EXPECT_EQ(3, record_.whenChanged.tm_hour);
  EXPECT_EQ(4, record_.whenChanged.tm_min);
  EXPECT_EQ(5, record_.whenChanged.tm_sec);
  EXPECT_EQ(0, record_.whenChanged.tm_wday);
  EXPECT_EQ(1, record_.whenChanged.tm_yday) << "as mktime has it";
}

TEST_F(RecordedMarker, IsTracedWhateverTheFlags) {
  trc::set_flags(0);
  EXPECT_EQ(0, get());
  EXPECT_EQ(1u, trace_.count("Consistency Object Container: " + kContainer));
  EXPECT_EQ(1u, trace_.count("Consistency Object Name: " + kObject));
  EXPECT_EQ(1u,
            trace_.count("ADsGetObject( " + kContainer + ", IID_IADsContainer, (void**)&pCont);"));
}

TEST_F(RecordedMarker, ChangedEarlierWhereTheServerAskedSawItEarlier) {
  EXPECT_EQ(0, get("dc2"));
  EXPECT_EQ(2, record_.whenChanged.tm_hour);
  EXPECT_EQ(59, record_.whenChanged.tm_min);
}

TEST_F(Marker, ThatDoesNotExistIsAnObjectErrorWhichLeadsTheCallerToMakeIt) {
  EXPECT_EQ(ADSI_OBJECT_ERR, get());
  EXPECT_EQ(1u, trace_.count("ERROR: Container->GetObject failed for applicationEntity object: "
                             "cn=DC1.corp.example"));
  EXPECT_TRUE(trace_.contains("Error number 57"));
  EXPECT_EQ(1u, trace_.count("ADSI_OBJECT_ERR"));
  EXPECT_EQ(0, create());
  EXPECT_EQ(0, get());
  EXPECT_STREQ("DC1.corp.example", record_.name);
}

TEST_F(Marker, WithoutItsContainerIsAContainerError) {
  answer_from(forest_with("dn: CN=LostAndFound,", "dn: CN=Other,"));
  EXPECT_EQ(ADSI_CONTAINER_ERR, get());
  EXPECT_EQ(1u, trace_.count("ERROR: ADsGetObject failed for container: " + kContainer));
  EXPECT_EQ(1u, trace_.count("ADSI_CONTAINER_ERR"));
  EXPECT_EQ(ADSI_CONTAINER_ERR, create());
  EXPECT_EQ(ADSI_CONTAINER_ERR, update());
  EXPECT_EQ(3u, trace_.count("ADSI_CONTAINER_ERR"));
}

TEST_F(RecordedMarker, ThatIsNoObjectIsAnObjectError) {
  // The container's own interface comes first.
  platform::faults::fail("IUnknown::QueryInterface", 2);
  EXPECT_EQ(ADSI_OBJECT_ERR, get());
  EXPECT_EQ(1u, trace_.count("ERROR: IDispatch->QueryInterface failed."));
  EXPECT_EQ(1u, trace_.count("ADSI_OBJECT_ERR"));
}

TEST_F(RecordedMarker, OfWhichAnAttributeCannotBeReadIsAnObjectErrorThatNamesIt) {
  const char* names[] = {"name", "description", "whenChanged"};
  for (std::uint32_t nth = 1; nth <= 3; ++nth) {
    platform::faults::fail("IADs::Get", nth);
    EXPECT_EQ(ADSI_OBJECT_ERR, get());
    EXPECT_EQ(1u,
              trace_.count("ERROR: pObj->Get(\"" + std::string(names[nth - 1]) + "\") failed."));
    platform::faults::clear();
  }
  EXPECT_EQ(3u, trace_.count("ADSI_OBJECT_ERR"));
}

TEST_F(RecordedMarker, OfAnotherClassIsAnObjectError) {
  answer_from(testing_support::replaced(forest_with_marker(), "objectClass: applicationEntity",
                                        "objectClass: container"));
  EXPECT_EQ(ADSI_OBJECT_ERR, get());
}

TEST_F(Marker, LongerThanTheRecordIsCutAndTraced) {
  answer_from(forest() + marker("description: " + std::string(500, 'd') +
                                "\nwhenChanged: 20110102030405.0Z\n"));
  EXPECT_EQ(0, get());
  EXPECT_EQ(std::string(63, 'd'), record_.description);
  EXPECT_TRUE(trace_.contains("Text of 500 characters cut to 63"));
}

TEST_F(Marker, WithSeveralDescriptionsHasAnEmptyOne) {
  answer_from(forest() +
              marker("description: a\ndescription: b\nwhenChanged: 20110102030405.0Z\n"));
  EXPECT_EQ(0, get());
  EXPECT_STREQ("", record_.description);
}

TEST_F(Marker, IsMadeWithTheTimeInUniversalTimeAndANewline) {
  setenv("TZ", "XXX-2", 1);  // two hours east
  tzset();
  const platform::VirtualTime time;
  EXPECT_EQ(0, create());
  EXPECT_EQ(0, get());
  EXPECT_STREQ("Sun Jan 02 03:04:05 2011\n", record_.description);
  EXPECT_EQ(3, record_.whenChanged.tm_hour) << "the directory's time as it stands";
  EXPECT_EQ(1u, trace_.count("strContainerDN: " + kContainer));
  EXPECT_EQ(1u, trace_.count("strObjectDN: " + kObject));
}

TEST_F(Marker, IsMadeWithItsNameAsPresentationAddress) {
  EXPECT_EQ(0, create());
  platform::Entry entry;
  ASSERT_EQ(0, platform::controller()->directory()->read(
                   "dc2", "CN=DC1.corp.example,CN=LostAndFound," + kDomain, {}, entry));
  ASSERT_NE(nullptr, entry.find("presentationAddress"));
  EXPECT_EQ(kServer, entry.find("presentationAddress")->values.front());
  EXPECT_EQ("applicationEntity", entry.find("objectClass")->values.back());
}

TEST_F(RecordedMarker, ThatExistsCannotBeMadeAgainWhichIsTheSignToUpdate) {
  EXPECT_EQ(ADSI_OBJECT_ERR, create());
  EXPECT_EQ(1u, trace_.count("Error number 57"));
  EXPECT_EQ(0, update());
}

TEST_F(Marker, ThatCannotBeMadeIsAnObjectError) {
  platform::faults::fail("IADsContainer::Create", 1);
  EXPECT_EQ(ADSI_OBJECT_ERR, create());
  platform::faults::fail("IUnknown::QueryInterface", 2);
  EXPECT_EQ(ADSI_OBJECT_ERR, create());
  EXPECT_EQ(2u, trace_.count("ADSI_OBJECT_ERR"));
}

TEST_F(Marker, IsMadeWithWhatCouldBeStagedAndTheFailureToldInTheEnd) {
  platform::faults::fail("IADs::Put", 1);
  EXPECT_EQ(ADSI_OBJECT_ERR, create());
  EXPECT_TRUE(trace_.contains("Error number 57"));
  EXPECT_EQ(0, get()) << "it is there all the same";
}

TEST_F(Marker, WhoseDescriptionCannotBeStagedIsMadeWithoutOne) {
  platform::faults::fail("IADs::Put", 2);
  EXPECT_EQ(ADSI_OBJECT_ERR, create());
  EXPECT_EQ(1u, trace_.count("Error number 57"));
  EXPECT_EQ(ADSI_OBJECT_ERR, get());
  EXPECT_EQ(1u, trace_.count("ERROR: pObj->Get(\"description\") failed."));
}

TEST_F(Marker, ThatCannotBeCommittedIsAnObjectErrorAndNotThere) {
  platform::faults::fail("IADs::SetInfo", 1);
  EXPECT_EQ(ADSI_OBJECT_ERR, create());
  EXPECT_EQ(1u, trace_.count("Error number 57"));
  EXPECT_EQ(ADSI_OBJECT_ERR, get());
}

TEST_F(RecordedMarker, IsUpdatedInItsDescriptionAlone) {
  const platform::VirtualTime time(1293937445000 + 3600 * 1000);
  EXPECT_EQ(0, update());
  EXPECT_EQ(0, get());
  EXPECT_STREQ("Sun Jan 02 04:04:05 2011\n", record_.description);
  EXPECT_EQ(4, record_.whenChanged.tm_hour);
  EXPECT_EQ(0, get("dc2")) << "which the change has not reached";
  EXPECT_EQ(2, record_.whenChanged.tm_hour);
  EXPECT_EQ(1u, trace_.count("Container Name: " + kContainer));
  platform::Entry entry;
  ASSERT_EQ(0, platform::controller()->directory()->read(
                   "", "CN=DC1.corp.example,CN=LostAndFound," + kDomain, {}, entry));
  EXPECT_EQ(nullptr, entry.find("presentationAddress"));
}

TEST_F(RecordedMarker, WhoseUpdateIsNotCommittedIsASuccess) {
  platform::faults::fail("IADs::SetInfo", 1);
  EXPECT_EQ(0, update());
  EXPECT_TRUE(platform::faults::struck());
  EXPECT_FALSE(trace_.contains("Error number"));
  EXPECT_EQ(0, get());
  EXPECT_STREQ("Sun Jan 02 03:04:05 2011\n", record_.description);
}

TEST_F(RecordedMarker, WhoseUpdateCannotBeStagedTellsSoTwice) {
  platform::faults::fail("IADs::Put", 1);
  EXPECT_EQ(ADSI_OBJECT_ERR, update());
  EXPECT_EQ(2u, trace_.count("Error number 57"));
}

TEST_F(Marker, ThatIsNotThereCannotBeUpdated) {
  EXPECT_EQ(ADSI_OBJECT_ERR, update());
  EXPECT_EQ(1u, trace_.count("ADSI_OBJECT_ERR"));
  EXPECT_EQ(1u, trace_.count("Consistency Object Name: " + kObject));
}

TEST_F(Marker, OfNobodyIsRefusedWithoutHarm) {
  EXPECT_NE(0, ADSIutils::GetConsistencyObject(nullptr, nullptr, nullptr, record_));
  EXPECT_NE(0, ADSIutils::CreateConsistencyObject(nullptr, nullptr));
  EXPECT_NE(0, ADSIutils::UpdateConsistencyObject(nullptr, nullptr));
}

TEST_F(Marker, SweepOfFaultsOfReading) {
  answer_from(forest_with_marker());
  sweep(
      [] {
        ConsistencyObject record;
        const int result = ADSIutils::GetConsistencyObject(kServer, kDomainName, kServer, record);
        return std::to_string(result) + record.name + record.description +
               std::to_string(record.whenChanged.tm_hour);
      },
      {{"ADsGetObject", "ADSI_CONTAINER_ERR"},
       {"IADsContainer::GetObject", "ERROR: Container->GetObject failed"},
       {"IADs::Get", "ERROR: pObj->Get(\"name\") failed."}});
}

TEST_F(Marker, SweepOfFaultsOfMaking) {
  const platform::VirtualTime time;
  sweep(
      [this] {
        answer_from(forest());
        const int result = create();
        return std::to_string(result);
      },
      {{"ADsGetObject", "ADSI_CONTAINER_ERR"},
       {"IADsContainer::Create", "ADSI_OBJECT_ERR"},
       {"IADs::Put", "Error number "},
       {"IADs::SetInfo", "Error number "}});
}

TEST_F(Marker, SweepOfFaultsOfUpdating) {
  const platform::VirtualTime time;
  answer_from(forest_with_marker());
  sweep(
      [this] {
        const int result = update();
        return std::to_string(result);
      },
      {{"ADsGetObject", "ADSI_CONTAINER_ERR"},
       {"IADsContainer::GetObject", "ADSI_OBJECT_ERR"},
       {"IADs::Put", "Error number "}});
}

}  // namespace
