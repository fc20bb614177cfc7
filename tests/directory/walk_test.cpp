// The walks that every question to the directory is made of.

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "directory/patterns.h"
#include "framework/trc/control.h"
#include "platform/control.h"
#include "tests/support/small_recording.h"

namespace {

using testing_support::SmallRecording;

std::string forest_with_children(int count) {
  std::string forest = testing_support::kSmallForest;
  for (int i = 0; i < count; ++i) {
    const std::string dn = "CN=C" + std::to_string(i) + ",CN=Users,DC=corp,DC=example";
    forest += "\ndn: " + dn + "\nobjectClass: top\nobjectClass: container\ncn: C" +
              std::to_string(i) + "\ndistinguishedName: " + dn + "\n";
  }
  return forest;
}

constexpr const wchar_t* kUsers = L"LDAP://CN=Users,DC=corp,DC=example";

class Walks : public ::testing::Test {
 protected:
  explicit Walks(int children = 25) : recording_(forest_with_children(children)) {
    g_sleepWhileIterating = 1;
    trc::set_flags(1 | 128);
    CoInitializeEx(nullptr, COINIT_MULTITHREADED);
  }
  ~Walks() override {
    platform::faults::clear();
    CoUninitialize();
    EXPECT_EQ(before_, platform::accounting::live());
  }
  // Names of the children walked.
  int walk(const directory::Walk& how, std::vector<std::string>& names) {
    DCW_TRACE("walk");
    return directory::walk_container(trace, kUsers, how, [&](IADs* child) {
      std::string name;
      if (directory::read_text(child, "cn", name)) names.push_back(name);
    });
  }

  std::map<std::string, std::int64_t> before_ = platform::accounting::live();
  SmallRecording recording_;
  trc::Capture trace_;
};

TEST_F(Walks, HandsEveryChildInOrderAndEndsWithTheEndCode) {
  std::vector<std::string> names;
  EXPECT_EQ(ADSI_ENUM_END, walk({}, names));
  ASSERT_EQ(25u, names.size());
  EXPECT_EQ("C0", names.front());
  EXPECT_EQ("C24", names.back());
}

TEST_F(Walks, InWhichEveryChildFailsStillEndsWithTheEndCode) {
  DCW_TRACE("walk");
  directory::Children children;
  ASSERT_EQ(directory::OpenFailure::kNone, directory::open_children(kUsers, children).failure);
  platform::faults::fail("IUnknown::QueryInterface", 0);
  int seen = 0;
  EXPECT_EQ(ADSI_ENUM_END, directory::walk_children(trace, children, {}, [&](IADs*) { ++seen; }));
  EXPECT_EQ(0, seen);
  EXPECT_TRUE(trace_.contains("ADsEnumerateNext Failed. Error number: 80004002"));
}

TEST_F(Walks, OfAnOuterLevelGoesOnSilentlyWhenAChildFails) {
  // Binding the container and building its enumerator ask for one interface each.
  platform::faults::fail("IUnknown::QueryInterface", 4);
  directory::Walk outer;
  outer.traces_failed_child = false;
  std::vector<std::string> names;
  EXPECT_EQ(ADSI_ENUM_END, walk(outer, names));
  EXPECT_EQ(24u, names.size());
  EXPECT_FALSE(trace_.contains("ADsEnumerateNext Failed"));
}

TEST_F(Walks, TakeAFailedNextForTheEnd) {
  platform::faults::fail("ADsEnumerateNext", 4);
  std::vector<std::string> names;
  EXPECT_EQ(ADSI_ENUM_END, walk({}, names));
  EXPECT_EQ(3u, names.size());
}

TEST_F(Walks, OfAContainerThatCannotBeBoundAreAnObjectError) {
  platform::faults::fail("ADsGetObject", 1, std::int32_t(0x8007203A));
  std::vector<std::string> names;
  EXPECT_EQ(ADSI_OBJECT_ERR, walk({}, names));
  EXPECT_EQ(1u, trace_.count("ADsGetObject Failed. Error number: 8007203a"));
}

TEST_F(Walks, WithoutAnEnumeratorAreAnEnumerationError) {
  platform::faults::fail("ADsBuildEnumerator", 1, std::int32_t(0x80004005));
  std::vector<std::string> names;
  EXPECT_EQ(ADSI_ENUM_ERR, walk({}, names));
  EXPECT_EQ(1u, trace_.count("ADsBuildEnumerator Failed. Error number: 80004005"));
}

TEST_F(Walks, PauseAMillisecondAtEveryTenthChild) {
  const platform::VirtualTime time;
  std::vector<std::string> names;
  walk({}, names);
  EXPECT_EQ(2, time.elapsed_ms());
}

TEST_F(Walks, DoNotPauseWhenSwitchedOff) {
  g_sleepWhileIterating = 0;
  const platform::VirtualTime time;
  std::vector<std::string> names;
  walk({}, names);
  EXPECT_EQ(0, time.elapsed_ms());
  directory::Walk always;
  always.yields_always = true;
  always.yield_every = 25;
  walk(always, names);
  EXPECT_EQ(1, time.elapsed_ms());
}

TEST_F(Walks, EndEarlyWhenTheVisitorHasFoundItsChild) {
  DCW_TRACE("walk");
  int seen = 0;
  EXPECT_EQ(ADSI_ENUM_END,
            directory::walk_container(trace, kUsers, {}, [&](IADs*) { return ++seen < 3; }));
  EXPECT_EQ(3, seen);
}

TEST_F(Walks, OverValuesDestroyTheArrayOnce) {
  DCW_TRACE("values");
  directory::Reference<IADs> root;
  ASSERT_EQ(0, directory::bind_object(L"LDAP://DC1/rootDSE", root));
  directory::Variant values;
  ASSERT_EQ(0, directory::read(root.get(), "namingContexts", values));
  std::vector<std::string> texts;
  EXPECT_EQ(0, directory::walk_values(trace, values, {}, [&](const directory::Variant& value) {
              texts.push_back(directory::text_of(value));
            }));
  EXPECT_EQ(2u, texts.size());
  EXPECT_FALSE(values.is_array());
}

TEST_F(Walks, OverWhatIsNoArrayFailAtTheLowerBound) {
  DCW_TRACE("values");
  directory::Variant nothing;
  EXPECT_EQ(ADSI_OBJECT_ERR,
            directory::walk_values(trace, nothing, {}, [](const directory::Variant&) {}));
  EXPECT_TRUE(trace_.contains("SafeArrayGetLBound Failed. Error number: "));
}

}  // namespace
