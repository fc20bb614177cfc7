#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <sstream>

#include "collectors/object_count.h"
#include "include/platform/files.h"
#include "include/unique_handle.h"
#include "tests/collectors/sampling.h"
#include "tests/directory/forest.h"

namespace {

namespace fs = std::filesystem;

using collectors::object_count;
using directory_test::kConfiguration;
using directory_test::kDomain;
using directory_test::object;
using testing_support::number;
using testing_support::replaced;
using testing_support::Sampling;

const std::string kFeature =
    "CN=Recycle Bin Feature,CN=Optional Features,CN=Directory Service,CN=Windows NT,CN=Services," +
    kConfiguration;

// A forest of level 4 with the recycle bin's object and two locked users.
std::string forest_of_level_4() {
  std::string text = directory_test::forest() + object(kFeature, "msDS-OptionalFeature");
  for (const char* name : {"Eva", "Ida"}) {
    text += object(std::string("CN=") + name + ",CN=Users," + kDomain, "user",
                   "objectCategory: CN=Person,CN=Schema," + kConfiguration +
                       "\nlockoutTime: 130000000000000000\n");
  }
  return text;
}

// An installation's folder for the file of the count.
class Installation {
 public:
  explicit Installation(const std::string& folder) : home_(fs::path(folder) / "home") {
    fs::create_directories(home_ / "WATCHD6_x64" / "logs");
    setenv("MARLOW_HOME", home_.c_str(), 1);
  }
  ~Installation() { unsetenv("MARLOW_HOME"); }
  fs::path file() const { return home_ / "WATCHD6_x64" / "logs" / "NumberOfObjects.txt"; }
  void write(const std::string& text) const { std::ofstream(file(), std::ios::binary) << text; }
  std::string read() const {
    std::ostringstream text;
    text << std::ifstream(file(), std::ios::binary).rdbuf();
    return text.str();
  }

 private:
  const fs::path home_;
};

class LdapAttributes : public Sampling {
 protected:
  explicit LdapAttributes(const std::string& forest = forest_of_level_4())
      : Sampling(forest), installation_(recording_.folder()) {}
  std::string sample() {
    const auto rows = xaf::DirectSampler("DCWNTDSLDA").sample();
    EXPECT_EQ(1u, rows.size());
    return rows.empty() ? std::string() : rows[0];
  }
  static std::string row(std::int32_t bin, std::int32_t low_level, std::int32_t locked,
                         std::int32_t objects) {
    return origin_node() + time_stamp() + number(bin) + number(low_level) + number(locked) +
           number(objects);
  }
  Installation installation_;
};

TEST_F(LdapAttributes, GiveOneRowByteForByte) {
  installation_.write("4711");
  EXPECT_EQ(row(1, 0, 2, 4711), sample());
  EXPECT_EQ(1u, trace_.count("String from file : 4711"));
  EXPECT_EQ(1u, trace_.count("Integer : 4711"));
  EXPECT_EQ(1u,
            trace_.count("LDAP Attributes Data collection complete. Transfer to global buffer"));
  EXPECT_TRUE(trace_.contains("TIMER: 16 : LDAP Attributes : TakeSample"));
  EXPECT_TRUE(trace_.contains("\\WATCHD6_x64\\logs\\NumberOfObjects.txt"));
}

TEST_F(LdapAttributes, BeforeTheFirstCountShow0Objects) {
  EXPECT_EQ(row(1, 0, 2, 0), sample());
  EXPECT_EQ(1u, trace_.count("Error: Number Of Objects file open failed: NumberOfObjects.txt"));
}

TEST_F(LdapAttributes, ShowTheCountThatTheLastRunLeft) {
  installation_.write("100");
  EXPECT_EQ(number(100), sample().substr(92, 4));
  EXPECT_EQ(number(100), sample().substr(92, 4));
}

TEST_F(LdapAttributes, CutAFileOfOver16DigitsAt16Bytes) {
  installation_.write("00000000000000123");
  EXPECT_EQ(number(12), sample().substr(92, 4));
  EXPECT_EQ(1u, trace_.count("String from file : 0000000000000012"));
  EXPECT_EQ(1u, trace_.count("The file is cut at 16 characters"));
}

TEST_F(LdapAttributes, ShowNoLockedUsersWhenTheyCannotBeCounted) {
  for (const char* call : {"CoCreateInstance", "Connection::Open", "Command::Execute"}) {
    SCOPED_TRACE(call);
    const trc::Capture trace;
    platform::faults::fail(call, 1);
    EXPECT_EQ(row(1, 0, 0, 0), sample());
    EXPECT_EQ(1u, trace.count("GetNumberOfUsersLocked failed: error"));
    platform::faults::clear();
  }
}

TEST_F(LdapAttributes, TakeALevelThatCannotBeReadForLevel0) {
  // The reads are: the forest's name, then its level.
  platform::faults::fail("IADs::Get", 2);
  EXPECT_EQ(row(2, 1, 2, 0), sample());
  EXPECT_EQ(1u, trace_.count("Functional Level fetching failed: error"));
}

TEST_F(LdapAttributes, SurviveEachPlatformCallFailingOnce) {
  installation_.write("4711");
  sweep("DCWNTDSLDA",
        {{"IADs::Get", "Functional Level fetching failed: error"},
         {"CoCreateInstance", "GetNumberOfUsersLocked failed: error"},
         {"CreateFileA", "Error: Number Of Objects file open failed: NumberOfObjects.txt"}});
}

class WithoutTheFeature : public LdapAttributes {
 protected:
  WithoutTheFeature() : LdapAttributes(directory_test::forest()) {}
};

TEST_F(WithoutTheFeature, LdapAttributesLookItUpAtLevel4AndShow0) {
  EXPECT_EQ(row(0, 0, 0, 0), sample());
}

class OfLevel3 : public LdapAttributes {
 protected:
  OfLevel3()
      : LdapAttributes(replaced(forest_of_level_4(), "msDS-Behavior-Version: 4",
                                "msDS-Behavior-Version: 3")) {}
};

TEST_F(OfLevel3, LdapAttributesLookNothingUpAndShow2) {
  platform::faults::reset_counts();
  EXPECT_EQ(row(2, 1, 2, 0), sample());
  for (const auto& [call, times] : platform::faults::reached()) {
    // The root object for the forest's name, the forest, the root object for the domain's name.
    if (call == "ADsGetObject") {
      EXPECT_EQ(3u, times);
    }
  }
}

TEST(ObjectCount, IsTheNumberAtTheFrontOfTheFile) {
  EXPECT_EQ(0, object_count("0"));
  EXPECT_EQ(123, object_count("123"));
  EXPECT_EQ(123, object_count("123\r\nrest"));
  EXPECT_EQ(0, object_count(""));
  EXPECT_EQ(0, object_count("none"));
  EXPECT_EQ(2147483647, object_count("99999999999"));
  EXPECT_EQ(1, object_count(std::string("1\0002", 3)));
}

class ObjectCountFile : public LdapAttributes {};

TEST_F(ObjectCountFile, HoldsTheDecimalTextAndNothingElse) {
  ASSERT_TRUE(collectors::write_object_count(collectors::object_count_path(), 31));
  EXPECT_EQ("31", installation_.read());
}

TEST_F(ObjectCountFile, OfACountOf0Holds0) {
  installation_.write("a longer text from before");
  ASSERT_TRUE(collectors::write_object_count(collectors::object_count_path(), 0));
  EXPECT_EQ("0", installation_.read());
}

TEST_F(ObjectCountFile, ThatCannotBeOpenedOrWrittenIsAFailure) {
  for (const char* call : {"CreateFileA", "WriteFile"}) {
    platform::faults::fail(call, 1);
    EXPECT_FALSE(collectors::write_object_count(collectors::object_count_path(), 0));
    platform::faults::clear();
  }
}

TEST_F(ObjectCountFile, ThatItsWriterHasJustEmptiedShows0AndThenTheNewCount) {
  installation_.write("4711");
  const UniqueHandle writer{CreateFileA(collectors::object_count_path().c_str(), GENERIC_WRITE,
                                        FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr, CREATE_ALWAYS,
                                        FILE_ATTRIBUTE_NORMAL, nullptr)};
  ASSERT_NE(INVALID_HANDLE_VALUE, writer.get());
  EXPECT_EQ(row(1, 0, 2, 0), sample());
  DWORD written = 0;
  ASSERT_TRUE(WriteFile(writer.get(), "48", 2, &written, nullptr));
  EXPECT_EQ(row(1, 0, 2, 48), sample());
}

TEST_F(ObjectCountFile, IsLookedForFromTheRootWhenNoInstallationIsNamed) {
  unsetenv("MARLOW_HOME");
  EXPECT_EQ(row(1, 0, 2, 0), sample());
  EXPECT_EQ(
      1u, trace_.count("Path for NumberOfObjects file :\\WATCHD6_x64\\logs\\NumberOfObjects.txt"));
  EXPECT_EQ(1u, trace_.count("Error: Number Of Objects file open failed: NumberOfObjects.txt"));
}

}  // namespace
