// The walk over the LostAndFound container.

#include "directory/lost_objects.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "tests/directory/asking.h"

namespace {

using directory_test::forest;
using directory_test::forest_with;
using directory_test::kDomain;
using directory_test::object;

const std::string kContainer = "CN=LostAndFound," + kDomain;

std::string lost(const std::string& name, const std::string& object_class) {
  return object("CN=" + name + "," + kContainer, object_class);
}

// A text, its zero end and blanks up to the field's end.
template <std::size_t kSize>
bool holds(const char (&field)[kSize], const std::string& text) {
  return std::string(field, kSize) == text + '\0' + std::string(kSize - text.size() - 1, ' ');
}

class Lost : public directory_test::Asking {
 protected:
  explicit Lost(const std::string& text = forest() + lost("One", "user") + lost("Two", "group"))
      : Asking(text) {}
  ~Lost() override { LostObjectsEnum::FreeLostObject(); }

  static int open_and_close() {
    int result = 7;
    const LostObjectsEnum walk("DC1", kDomain.c_str(), result);
    return result;
  }
  // A whole walk, as text.
  static std::string walk() {
    int result = 7;
    const LostObjectsEnum walk("DC1", kDomain.c_str(), result);
    std::string seen = std::to_string(result);
    LostObject found;
    while (result == 0 && LostObjectsEnum::GetObject(found) != ADSI_ENUM_END) {
      seen += " " + std::string(found.name) + "/" + found.className;
    }
    LostObjectsEnum::FreeLostObject();
    return seen;
  }

  LostObject record_;
};

TEST_F(Lost, ObjectsAreHandedOutOneByOneWithNameAndClass) {
  int result = 7;
  const LostObjectsEnum walk("DC1", kDomain.c_str(), result);
  EXPECT_EQ(0, result);
  EXPECT_EQ(0, LostObjectsEnum::GetObject(record_));
  EXPECT_TRUE(holds(record_.name, "One"));
  EXPECT_TRUE(holds(record_.className, "user"));
  EXPECT_EQ(0, LostObjectsEnum::GetObject(record_));
  EXPECT_TRUE(holds(record_.name, "Two"));
  EXPECT_TRUE(holds(record_.className, "group"));
  EXPECT_EQ(ADSI_ENUM_END, LostObjectsEnum::GetObject(record_));
  EXPECT_EQ(1u, trace_.count("Container Name: LDAP://DC1/cn=LostAndFound,DC=corp,DC=example"));
  EXPECT_EQ(1u, trace_.count("ObjName: One"));
}

TEST_F(Lost, ObjectsAreTracedStepByStepWhateverTheFlags) {
  trc::set_flags(0);
  EXPECT_EQ("0 One/user Two/group", walk());
  for (const char* text :
       {"Array Found", "lstart: <0>", "lend: <1>", "Releasing pObj ", "Releasing var "}) {
    EXPECT_EQ(2u, trace_.count(text)) << text;
  }
  EXPECT_EQ(1u, trace_.count("String: <user>"));
  EXPECT_FALSE(trace_.contains("ObjName"));
}

TEST_F(Lost, ContainerThatIsEmptyEndsAtTheFirstObject) {
  answer_from(forest());
  int result = 7;
  const LostObjectsEnum walk("DC1", kDomain.c_str(), result);
  EXPECT_EQ(0, result);
  EXPECT_EQ(ADSI_ENUM_END, LostObjectsEnum::GetObject(record_));
}

TEST_F(Lost, ObjectOfSeveralClassesIsOfTheLastOne) {
  answer_from(forest() +
              lost("One", "person\nobjectClass: organizationalPerson\nobjectClass: user"));
  EXPECT_EQ("0 One/user", walk());
  EXPECT_EQ(1u, trace_.count("lend: <3>"));
}

TEST_F(Lost, ObjectOfASingleClassShowsNone) {
  answer_from(forest() + "\ndn: CN=One," + kContainer + "\nobjectClass: top\nname: One\n");
  EXPECT_EQ("0 One/", walk());
  EXPECT_FALSE(trace_.contains("Array Found"));
}

TEST_F(Lost, ObjectOfWhichNothingCanBeReadLeavesTheRecordAsItWas) {
  answer_from(forest() + lost("One", "user") + "\ndn: CN=Two," + kContainer + "\nuid: x\n");
  EXPECT_EQ("0 One/user One/user", walk());
}

TEST_F(Lost, ObjectThatIsNoneCountsAllTheSame) {
  // The container and the enumerator ask for one interface each.
  platform::faults::fail("IUnknown::QueryInterface", 3);
  EXPECT_EQ("0 / Two/group", walk());
  EXPECT_EQ(1u, trace_.count("Fails"));
}

TEST_F(Lost, ObjectWhoseClassesCannotBeWalkedKeepsTheClassOfTheRecord) {
  for (const char* call : {"SafeArrayGetUBound", "SafeArrayGetElement"}) {
    platform::faults::fail(call, 2);
    EXPECT_EQ("0 One/user Two/user", walk()) << call;
    platform::faults::clear();
  }
}

TEST_F(Lost, ContainerThatIsNotThereIsAContainerError) {
  answer_from(forest_with("dn: CN=LostAndFound,", "dn: CN=Other,"));
  EXPECT_EQ("-1", walk());
  EXPECT_EQ(1u, trace_.count("ADSI_CONTAINER_ERR"));
  int result = 7;
  const LostObjectsEnum walk(nullptr, nullptr, result);
  EXPECT_EQ(ADSI_CONTAINER_ERR, result);
}

TEST_F(Lost, ContainerWithoutAnEnumeratorIsAnEnumerationError) {
  platform::faults::fail("ADsBuildEnumerator", 1);
  EXPECT_EQ("-3", walk());
  EXPECT_EQ(1u, trace_.count("ADSI_ENUM_ERR"));
}

TEST_F(Lost, WalkThatFailsEnds) {
  platform::faults::fail("ADsEnumerateNext", 2);
  EXPECT_EQ("0 One/user", walk());
}

TEST_F(Lost, WalkOpenedTwiceFreesTheFirstEnumerator) {
  const auto before = platform::accounting::live();
  int result = 7;
  const LostObjectsEnum first("DC1", kDomain.c_str(), result);
  EXPECT_EQ(0, LostObjectsEnum::GetObject(record_));
  const LostObjectsEnum second("DC1", kDomain.c_str(), result);
  EXPECT_EQ(0, result);
  EXPECT_EQ(1, platform::accounting::live().at("enumerator"));
  EXPECT_EQ(0, LostObjectsEnum::GetObject(record_));
  EXPECT_TRUE(holds(record_.name, "One")) << "from the beginning";
  EXPECT_EQ(0, LostObjectsEnum::FreeLostObject());
  EXPECT_EQ(before, platform::accounting::live());
}

TEST_F(Lost, WalkIsFreedWithItsOpener) {
  const auto before = platform::accounting::live();
  EXPECT_EQ(0, open_and_close());
  EXPECT_EQ(before, platform::accounting::live());
  EXPECT_EQ(ADSI_ENUM_END, LostObjectsEnum::GetObject(record_)) << "and none is open";
  EXPECT_EQ(0, LostObjectsEnum::FreeLostObject());
}

TEST_F(Lost, ObjectWithALongNameIsCutAndTraced) {
  const std::string name(500, 'n');
  answer_from(forest() + lost(name, "user"));
  int result = 7;
  const LostObjectsEnum walk("DC1", kDomain.c_str(), result);
  EXPECT_EQ(0, LostObjectsEnum::GetObject(record_));
  EXPECT_TRUE(holds(record_.name, name.substr(0, 255)));
  EXPECT_TRUE(trace_.contains("Text of 500 characters cut to 255"));
}

TEST_F(Lost, ObjectsByTheThousandAreAllHandedOut) {
  std::string many;
  for (int i = 0; i < 5000; ++i) many += lost("N" + std::to_string(i), "user");
  answer_from(forest() + many);
  trc::set_flags(0);
  int result = 7;
  const LostObjectsEnum walk("DC1", kDomain.c_str(), result);
  int count = 0;
  while (LostObjectsEnum::GetObject(record_) != ADSI_ENUM_END) ++count;
  EXPECT_EQ(5000, count);
  EXPECT_TRUE(holds(record_.name, "N4999"));
}

TEST_F(Lost, SweepOfFaults) {
  sweep([] { return walk(); }, {{"ADsGetObject", "ADSI_CONTAINER_ERR"},
                                {"ADsBuildEnumerator", "ADSI_ENUM_ERR"},
                                {"IUnknown::QueryInterface", "ADSI_CONTAINER_ERR"}});
}

}  // namespace
