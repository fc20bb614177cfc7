// What is written to a recorded directory, below and through the directory calls.

#include <gtest/gtest.h>

#include <atomic>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "platform/recorded/recorded_directory.h"
#include "tests/platform/adsi_fixture.h"

namespace adsi_test {
namespace {

using platform::Attribute;
using platform::Directory;
using platform::Entry;

constexpr char kTwoServers[] =
    "dn:\n"
    "dnsHostName: DC1.corp.example\n"
    "dnsHostName;x-server-dc2: DC2.corp.example\n"
    "namingContexts: DC=corp,DC=example\n"
    "\n"
    "dn: DC=corp,DC=example\n"
    "objectClass: top\n"
    "objectClass: domain\n"
    "\n"
    "dn: CN=Marker,DC=corp,DC=example\n"
    "objectClass: top\n"
    "objectClass: applicationEntity\n"
    "description: old\n"
    "whenChanged: 20260101000000.0Z\n"
    "whenChanged;x-server-dc2: 20251231235500.0Z\n"
    "\n"
    "dn: CN=Elsewhere,DC=corp,DC=example\n"
    "objectClass: container\n"
    "objectClass;x-server-dc2:\n";

const std::string kDomain = "DC=corp,DC=example";
const std::string kMarker = "CN=Marker," + kDomain;
const std::string kElsewhere = "CN=Elsewhere," + kDomain;

std::unique_ptr<Directory> two_servers() {
  // 2 January 2011, 03:04:05.
  return platform::read_directory(kTwoServers, "directory.ldif", "DC1", "corp.example",
                                  [] { return std::int64_t{1293937445000}; });
}

std::string value(Directory& directory, const std::string& server, const std::string& dn,
                  const std::string& name) {
  Entry entry;
  const auto result = directory.read(server, dn, {}, entry);
  if (result != platform::kDirectoryOk) return "no object";
  const Attribute* attribute = entry.find(name);
  return attribute == nullptr ? "no attribute" : attribute->values.front();
}

Entry container(const std::string& dn) { return {dn, {{"objectClass", {"top", "container"}}}}; }

TEST(RecordedWrites, AnAddedObjectIsNamedAndTimedByTheDirectory) {
  const auto directory = two_servers();
  const std::string dn = "CN=New,CN=Marker," + kDomain;
  ASSERT_EQ(directory->add("dc1", container(dn)), platform::kDirectoryOk);
  for (const char* server : {"dc1", "dc2"}) {
    EXPECT_EQ(value(*directory, server, dn, "cn"), "New");
    EXPECT_EQ(value(*directory, server, dn, "name"), "New");
    EXPECT_EQ(value(*directory, server, dn, "distinguishedName"), dn);
    EXPECT_EQ(value(*directory, server, dn, "whenCreated"), "20110102030405.0Z");
    EXPECT_EQ(value(*directory, server, dn, "whenChanged"), "20110102030405.0Z");
  }
}

TEST(RecordedWrites, AnObjectCannotBeAddedTwiceOrToAServerOrParentThatIsNotThere) {
  const auto directory = two_servers();
  EXPECT_EQ(directory->add("", container("cn=marker, " + kDomain)), platform::kDirectoryExists);
  EXPECT_EQ(directory->add("", container("CN=a,CN=Gone," + kDomain)), platform::kDirectoryNoObject);
  EXPECT_EQ(directory->add("dc9", container("CN=a," + kDomain)), platform::kDirectoryServerDown);
  EXPECT_EQ(directory->add("", container("")), platform::kDirectoryBadPath);
}

TEST(RecordedWrites, AnObjectThatAServerDoesNotSeeCanBeAddedThere) {
  const auto directory = two_servers();
  EXPECT_EQ(directory->add("dc1", container(kElsewhere)), platform::kDirectoryExists);
  EXPECT_EQ(directory->modify("dc2", kElsewhere, {}), platform::kDirectoryNoObject);
  EXPECT_EQ(directory->add("dc2", container(kElsewhere)), platform::kDirectoryOk);
  EXPECT_EQ(value(*directory, "dc2", kElsewhere, "cn"), "Elsewhere");
}

TEST(RecordedWrites, AChangeReachesEveryServerButThoseWithAViewOfTheirOwn) {
  const auto directory = two_servers();
  ASSERT_EQ(directory->modify("dc1", kMarker, {{"description", {"new"}}}), platform::kDirectoryOk);
  EXPECT_EQ(value(*directory, "dc1", kMarker, "description"), "new");
  EXPECT_EQ(value(*directory, "dc2", kMarker, "description"), "new");
  EXPECT_EQ(value(*directory, "dc1", kMarker, "whenChanged"), "20110102030405.0Z");
  EXPECT_EQ(value(*directory, "dc2", kMarker, "whenChanged"), "20251231235500.0Z");
  ASSERT_EQ(directory->modify("dc2", kMarker, {{"description", {}}}), platform::kDirectoryOk);
  EXPECT_EQ(value(*directory, "dc1", kMarker, "description"), "no attribute");
  EXPECT_EQ(value(*directory, "dc2", kMarker, "whenChanged"), "20110102030405.0Z");
}

TEST(RecordedWrites, ARemovedObjectIsGoneAndMayBeMadeAgain) {
  const auto directory = two_servers();
  const std::string child = "CN=Child," + kMarker;
  ASSERT_EQ(directory->add("", container(child)), platform::kDirectoryOk);
  EXPECT_EQ(directory->remove("", kMarker), platform::kDirectoryNotLeaf);
  EXPECT_EQ(directory->remove("dc9", child), platform::kDirectoryServerDown);
  EXPECT_EQ(directory->remove("", child), platform::kDirectoryOk);
  EXPECT_EQ(directory->remove("", child), platform::kDirectoryNoObject);
  EXPECT_EQ(value(*directory, "", child, "cn"), "no object");
  EXPECT_EQ(directory->remove("", kMarker), platform::kDirectoryOk);
  EXPECT_EQ(directory->add("", container(kMarker)), platform::kDirectoryOk);
  EXPECT_EQ(value(*directory, "", kMarker, "description"), "no attribute");
}

TEST(RecordedWrites, AWalkSeesTheObjectsAsTheyWereWhenItBegan) {
  const auto directory = two_servers();
  std::unique_ptr<platform::EntryCursor> cursor;
  ASSERT_EQ(directory->search("", kDomain, platform::SearchScope::kOneLevel, "", {}, cursor),
            platform::kDirectoryOk);
  ASSERT_EQ(directory->remove("", kMarker), platform::kDirectoryOk);
  ASSERT_EQ(directory->add("", container("CN=New," + kDomain)), platform::kDirectoryOk);
  Entry entry;
  EXPECT_EQ(cursor->next(entry), platform::kDirectoryOk);
  EXPECT_EQ(entry.dn, kMarker);
  EXPECT_EQ(cursor->next(entry), platform::kDirectoryOk);
  EXPECT_EQ(cursor->next(entry), platform::kDirectoryEnd);
}

TEST(RecordedWrites, ThreadsReadWholeObjectsWhileAnotherWrites) {
  const auto directory = two_servers();
  std::atomic<bool> done = false;
  std::vector<std::thread> readers;
  std::atomic<int> torn = 0;
  for (int i = 0; i < 3; ++i) {
    readers.emplace_back([&] {
      while (!done) {
        Entry entry;
        directory->read("dc1", kMarker, {}, entry);
        // Both were written in one change.
        const Attribute* one = entry.find("description");
        const Attribute* other = entry.find("info");
        if (other != nullptr && one->values != other->values) ++torn;
        std::unique_ptr<platform::EntryCursor> cursor;
        directory->search("", kDomain, platform::SearchScope::kSubtree, "", {}, cursor);
        while (cursor->next(entry) == platform::kDirectoryOk) {
        }
      }
    });
  }
  for (int i = 0; i < 300; ++i) {
    const std::string text = std::to_string(i);
    const std::string child = "CN=New,CN=Marker," + kDomain;
    EXPECT_EQ(directory->modify("dc1", kMarker, {{"description", {text}}, {"info", {text}}}),
              platform::kDirectoryOk);
    EXPECT_EQ(directory->add("dc1", container(child)), platform::kDirectoryOk);
    EXPECT_EQ(directory->remove("dc1", child), platform::kDirectoryOk);
  }
  done = true;
  for (std::thread& reader : readers) reader.join();
  EXPECT_EQ(torn, 0);
}

// A new child of the domain with a description staged.
HRESULT write_child(const wchar_t* relative_name) {
  Held<IADsContainer> container;
  HRESULT result = ADsGetObject(L"LDAP://DC=corp,DC=example", IID_IADsContainer, container.out());
  if (FAILED(result)) return result;
  const Name class_name(L"applicationEntity");
  const Name child_name(relative_name);
  Held<IDispatch> made;
  result = container->Create(class_name.bstr, child_name.bstr, &made.get);
  if (FAILED(result)) return result;
  Held<IADs> object;
  result = made->QueryInterface(IID_IADs, object.out());
  if (FAILED(result)) return result;
  EXPECT_EQ(property(object.get, &IADs::get_Class), L"applicationEntity");
  EXPECT_EQ(object->GetInfo(), E_ADS_OBJECT_UNBOUND) << "it is not there yet";
  const Name description(L"description");
  Value text;
  text.vt = VT_BSTR;
  text.bstrVal = SysAllocString(L"Gr\u00fc\u00dfe\n");
  result = object->Put(description.bstr, text);
  if (SUCCEEDED(result)) result = object->SetInfo();
  if (SUCCEEDED(result)) {
    EXPECT_EQ(text_of(object.get, L"name"), relative_name + 3);
  }
  return result;
}

TEST_F(Adsi, AChildIsMadeWhenItsChangesAreCommitted) {
  ASSERT_EQ(write_child(L"CN=New"), S_OK);
  Held<IADs> object;
  ASSERT_EQ(ADsGetObject(L"LDAP://CN=New,DC=corp,DC=example", IID_IADs, object.out()), S_OK);
  EXPECT_EQ(text_of(object.get, L"description"), L"Gr\u00fc\u00dfe\n");
  EXPECT_EQ(property(object.get, &IADs::get_Class), L"applicationEntity");
  EXPECT_EQ(write_child(L"CN=New"), platform::kDirectoryExists);
}

TEST_F(Adsi, AChildIsMadeOnlyWithAClassAndAName) {
  Held<IADsContainer> container;
  ASSERT_EQ(ADsGetObject(L"LDAP://DC=corp,DC=example", IID_IADsContainer, container.out()), S_OK);
  const Name name(L"CN=New");
  IDispatch* none = nullptr;
  EXPECT_EQ(container->Create(nullptr, name.bstr, &none), E_ADS_BAD_PARAMETER);
  EXPECT_EQ(container->Create(name.bstr, nullptr, &none), E_ADS_BAD_PARAMETER);
  EXPECT_EQ(container->Create(name.bstr, name.bstr, nullptr), E_ADS_BAD_PARAMETER);
}

TEST_F(Adsi, CommittedValuesAreWhatOthersRead) {
  Held<IADs> object;
  ASSERT_EQ(ADsGetObject(kOne, IID_IADs, object.out()), S_OK);
  const Name description(L"description");
  const Name display(L"displayName");
  Value text;
  text.vt = VT_BSTR;
  text.bstrVal = SysAllocString(L"new");
  ASSERT_EQ(object->Put(description.bstr, text), S_OK);
  ASSERT_EQ(object->PutEx(ADS_PROPERTY_CLEAR, display.bstr, text), S_OK);
  platform::faults::fail("IADs::SetInfo", 1);
  EXPECT_EQ(object->SetInfo(), platform::kDirectoryAccess);
  EXPECT_EQ(object->SetInfo(), S_OK) << "what was refused stays staged";
  Held<IADs> other;
  ASSERT_EQ(ADsGetObject(kOne, IID_IADs, other.out()), S_OK);
  EXPECT_EQ(text_of(other.get, L"description"), L"new");
  EXPECT_EQ(text_of(other.get, L"displayName"), L"(no text)");
}

TEST_F(Adsi, ChildrenAreDeletedByClassAndName) {
  ASSERT_EQ(write_child(L"CN=New"), S_OK);
  Held<IADsContainer> container;
  ASSERT_EQ(ADsGetObject(L"LDAP://DC=corp,DC=example", IID_IADsContainer, container.out()), S_OK);
  const Name right(L"applicationEntity");
  const Name wrong(L"user");
  const Name name(L"CN=New");
  EXPECT_EQ(container->Delete(wrong.bstr, name.bstr), E_ADS_UNKNOWN_OBJECT);
  EXPECT_EQ(container->Delete(nullptr, name.bstr), E_ADS_BAD_PARAMETER);
  EXPECT_EQ(container->Delete(right.bstr, name.bstr), S_OK);
  EXPECT_EQ(container->Delete(right.bstr, name.bstr), platform::kDirectoryNoObject);
}

TEST_F(Adsi, WithoutADirectoryNothingIsWritten) {
  Held<IADs> object;
  ASSERT_EQ(ADsGetObject(kOne, IID_IADs, object.out()), S_OK);
  const Name description(L"description");
  Value text;
  text.vt = VT_BSTR;
  text.bstrVal = SysAllocString(L"new");
  ASSERT_EQ(object->Put(description.bstr, text), S_OK);
  controller_->has_directory = false;
  EXPECT_EQ(object->SetInfo(), platform::kDirectoryNoDomain);
}

}  // namespace
}  // namespace adsi_test
