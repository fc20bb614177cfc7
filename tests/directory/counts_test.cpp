// Counts over the query layer, and optional features.

#include <gtest/gtest.h>

#include "directory/automation.h"
#include "directory/dns_utils.h"
#include "tests/directory/asking.h"

namespace {

using directory::AutomationError;
using directory_test::Asking;
using directory_test::forest;
using directory_test::forest_with;
using directory_test::kDomain;
using directory_test::object;

std::string user(int number, const std::string& lockout) {
  return object("CN=U" + std::to_string(number) + ",CN=Users," + kDomain, "user",
                "objectCategory: CN=Person,CN=Schema,CN=Configuration," + kDomain + "\n" + lockout);
}
std::string forest_of_users(int locked) {
  std::string text = forest() + user(0, "") + user(1, "lockoutTime: 0\n");
  for (int i = 0; i < locked; ++i) text += user(100 + i, "lockoutTime: 130000000000000000\n");
  return text;
}

class Counts : public Asking {
 protected:
  Counts() : Asking(forest_of_users(3)) {}
  static std::string locked() {
    std::int32_t count = 99;
    const int result = DNSUtils::GetNumberOfUsersLocked(count);
    return std::to_string(result) + " " + std::to_string(count);
  }
  static std::string objects() {
    std::int32_t count = 99;
    const int result = DNSUtils::GetNumberOfObjectsInDomain(count);
    return std::to_string(result) + " " + std::to_string(count);
  }
  // The answer, or the text of what was thrown.
  static std::string caught(const std::function<std::string()>& ask) {
    try {
      return ask();
    } catch (const AutomationError& error) {
      return error.what();
    }
  }
};
using GetNumberOfUsersLocked = Counts;
using GetNumberOfObjectsInDomain = Counts;

TEST_F(GetNumberOfUsersLocked, CountsUsersWithALockoutTime) { EXPECT_EQ("0 3", locked()); }

TEST_F(GetNumberOfUsersLocked, WithoutTheRootObjectFailsWithCount0) {
  platform::faults::fail("ADsGetObject", 1);
  EXPECT_EQ("-1 0", locked());
  EXPECT_EQ(1u, trace_.count("Error: Unable to get object"));
}

TEST_F(GetNumberOfUsersLocked, WithoutTheContextFailsWithCount0) {
  platform::faults::fail("IADs::Get", 1);
  EXPECT_EQ("-1 0", locked());
  EXPECT_EQ(1u, trace_.count("Error: Unable to fetch defaultNamingContext attribute value"));
}

TEST_F(GetNumberOfUsersLocked, TellsEachObjectThatCannotBeMade) {
  const char* messages[] = {"Connection Creation Failed: 80040154",
                            "Recordset Creation Failed: 80040154",
                            "Command Creation Failed: 80040154"};
  for (std::uint32_t i = 0; i < 3; ++i) {
    platform::faults::fail("CoCreateInstance", i + 1);
    EXPECT_EQ("-1 0", locked());
    EXPECT_EQ(1u, trace_.count(messages[i]));
    platform::faults::clear();
  }
}

TEST_F(GetNumberOfUsersLocked, LetsFailuresBeforeTheFirstRecordGoToTheCaller) {
  for (const char* call : {"Connection::Provider", "Connection::Open", "Connection::Properties",
                           "Command::ActiveConnection", "Command::CommandText",
                           "Command::CommandTimeout", "Command::Properties", "Properties::Refresh",
                           "Properties::Item", "Property::Value", "Command::Execute"}) {
    SCOPED_TRACE(call);
    platform::faults::fail(call, 1);
    std::int32_t count = 0;
    EXPECT_THROW(DNSUtils::GetNumberOfUsersLocked(count), AutomationError);
    platform::faults::clear();
  }
}

TEST_F(GetNumberOfUsersLocked, KeepsTheNumberReachedWhenTheLoopFails) {
  platform::faults::fail("Recordset::MoveNext", 2);
  EXPECT_EQ("0 2", locked());
  EXPECT_EQ(1u, trace_.count("Error: Exeception is thrown"));
  platform::faults::clear();
  platform::faults::fail("Recordset::EOF", 3);
  EXPECT_EQ("0 2", locked());
}

TEST_F(GetNumberOfUsersLocked, YieldsAtEvery50thRecordWhereYieldingIsOn) {
  answer_from(forest_of_users(100));
  {
    platform::VirtualTime time;
    EXPECT_EQ("0 100", locked());
    EXPECT_EQ(2, time.elapsed_ms());
  }
  g_sleepWhileIterating = 0;
  platform::VirtualTime time;
  EXPECT_EQ("0 100", locked());
  EXPECT_EQ(0, time.elapsed_ms());
}

TEST_F(GetNumberOfUsersLocked, CutsACommandThatDoesNotFit) {
  // The filter is lost with the end of the command, which the provider then refuses.
  const std::string longest = "DC=" + std::string(225, 'a');
  std::string text =
      forest_with("defaultNamingContext: " + kDomain, "defaultNamingContext: " + longest);
  answer_from(text);
  std::int32_t count = 0;
  EXPECT_THROW(DNSUtils::GetNumberOfUsersLocked(count), AutomationError);
  EXPECT_TRUE(trace_.contains("cut to 259"));
}

TEST_F(GetNumberOfUsersLocked, SurvivesEachPlatformCallFailingOnce) {
  sweep([] { return caught(locked); },
        {{"ADsGetObject", "Error: Unable to get object"},
         {"IADs::Get", "Error: Unable to fetch defaultNamingContext attribute value"},
         {"CoCreateInstance", "Connection Creation Failed: 80040154"},
         {"Recordset::MoveNext", "Error: Exeception is thrown"},
         {"Recordset::EOF", "Error: Exeception is thrown"}});
}

TEST_F(GetNumberOfObjectsInDomain, CountsWhateverHasACategory) { EXPECT_EQ("0 5", objects()); }

TEST_F(GetNumberOfObjectsInDomain, WithoutTheDirectoryFailsWithCount0) {
  platform::faults::fail("ADsGetObject", 1);
  EXPECT_EQ("-1 0", objects());
}

TEST_F(GetNumberOfObjectsInDomain, DoesNotTestCreationsAndFailsInTheStepsThatFollow) {
  for (std::uint32_t i = 1; i <= 3; ++i) {
    SCOPED_TRACE(i);
    platform::faults::fail("CoCreateInstance", i);
    if (i == 2) {
      // The record set is replaced by the one that the command gives.
      EXPECT_EQ("0 5", objects());
    } else {
      std::int32_t count = 0;
      EXPECT_THROW(DNSUtils::GetNumberOfObjectsInDomain(count), AutomationError);
    }
    platform::faults::clear();
  }
  EXPECT_FALSE(trace_.contains("Creation Failed"));
}

TEST_F(GetNumberOfObjectsInDomain, YieldsAtEvery100thRecordWhateverTheSetting) {
  g_sleepWhileIterating = 0;
  answer_from(forest_of_users(200));
  platform::VirtualTime time;
  EXPECT_EQ("0 202", objects());
  EXPECT_EQ(2, time.elapsed_ms());
}

TEST_F(GetNumberOfObjectsInDomain, SurvivesEachPlatformCallFailingOnce) {
  sweep([] { return caught(objects); }, {{"ADsGetObject", "Error: Unable to get object"},
                                         {"Recordset::MoveNext", "Error: Exeception is thrown"}});
}

class IsOptionalFeatureEnabled : public Asking {
 protected:
  IsOptionalFeatureEnabled() : Asking(forest()) {}
};

TEST_F(IsOptionalFeatureEnabled, OfAnAbsentObjectIsFalseAndNoError) {
  std::uint8_t enabled = 7;
  EXPECT_EQ(0, DNSUtils::IsOptionalFeatureEnabled("LDAP://CN=Nothing,DC=corp,DC=example", enabled));
  EXPECT_EQ(0, enabled);
}

TEST_F(IsOptionalFeatureEnabled, OfAnObjectThatIsThereIsTrue) {
  std::uint8_t enabled = 7;
  EXPECT_EQ(0, DNSUtils::IsOptionalFeatureEnabled(("LDAP://" + kDomain).c_str(), enabled));
  EXPECT_EQ(1, enabled);
}

TEST_F(IsOptionalFeatureEnabled, OfANullPathIsAnErrorAndLeavesTheFlag) {
  std::uint8_t enabled = 7;
  EXPECT_EQ(-1, DNSUtils::IsOptionalFeatureEnabled(nullptr, enabled));
  EXPECT_EQ(7, enabled);
  EXPECT_EQ(1u, trace_.count("Error: DistinguishedNameOfFeature is empty or null"));
}

TEST_F(IsOptionalFeatureEnabled, SurvivesEachPlatformCallFailingOnce) {
  sweep(
      [] {
        std::uint8_t enabled = 7;
        DNSUtils::IsOptionalFeatureEnabled(("LDAP://" + kDomain).c_str(), enabled);
        return std::to_string(enabled);
      },
      {});
}

}  // namespace
