// The naming contexts that a root object names.

#include <gtest/gtest.h>

#include <string>

#include "directory/dns_utils.h"
#include "tests/directory/asking.h"

namespace {

using directory_test::forest;
using directory_test::forest_with;
using directory_test::kConfiguration;
using directory_test::kDomain;

struct Reader {
  int (*read)(const char*, std::span<char>);
  const char* attribute;
  std::string value;
};
const Reader kReaders[] = {
    {DNSUtils::GetSchemaNamingContext, "schemaNamingContext", "CN=Schema," + kConfiguration},
    {DNSUtils::GetConfigurationNamingContext, "configurationNamingContext", kConfiguration},
    {DNSUtils::GetDefaultNamingContext, "rootDomainNamingContext", kDomain},
    {DNSUtils::GetDefaultNamingContextOfServer, "defaultNamingContext", "DC=sub," + kDomain},
};

// The domain of the server is not the forest's root.
std::string forest_of_a_child() {
  return forest_with("defaultNamingContext: ", "defaultNamingContext: DC=sub,");
}

class Contexts : public directory_test::Asking {
 protected:
  Contexts() : Asking(forest_of_a_child()) {}
  char context_[128] = "before";
};

TEST_F(Contexts, AreEachTheirOwnAttribute) {
  for (const Reader& reader : kReaders) {
    EXPECT_EQ(0, reader.read("DC1", std::span(context_))) << reader.attribute;
    EXPECT_EQ(reader.value, context_);
  }
}

TEST_F(Contexts, ByDefaultAreTheForestRootsWhateverServerIsNamed) {
  for (const char* server : {"DC1", "DC2", "elsewhere", ""}) {
    EXPECT_EQ(0, DNSUtils::GetDefaultNamingContext(server, context_)) << server;
    EXPECT_EQ(kDomain, context_);
  }
  EXPECT_EQ(0, DNSUtils::GetDefaultNamingContext(nullptr, context_));
}

TEST_F(Contexts, OfAServerThatIsDownAreAnObjectErrorAndLeaveTheBuffer) {
  for (const Reader& reader : kReaders) {
    platform::faults::fail("ADsGetObject", 1, std::int32_t(0x8007203A));
    EXPECT_EQ(ADSI_OBJECT_ERR, reader.read("DC1", std::span(context_))) << reader.attribute;
    EXPECT_STREQ("before", context_);
    platform::faults::clear();
  }
  EXPECT_EQ(4u, trace_.count("ADsGetObject Failed. Error number: 8007203a"));
}

TEST_F(Contexts, ThatCannotBeReadAreAnObjectErrorAndEmptyTheBuffer) {
  for (const Reader& reader : kReaders) {
    answer_from(
        directory_test::forest_with("\n" + std::string(reader.attribute) + ": ", "\nother: "));
    context_[0] = 'x';
    EXPECT_EQ(ADSI_OBJECT_ERR, reader.read("DC1", std::span(context_))) << reader.attribute;
    EXPECT_STREQ("", context_);
  }
  EXPECT_EQ(4u, trace_.count("pObj->Get Failed. Error number: 8000500d"));
}

TEST_F(Contexts, OfManyValuesAreNoText) {
  answer_from(
      forest_with("\nschemaNamingContext: ", "\nschemaNamingContext: a\nschemaNamingContext: "));
  EXPECT_EQ(0, DNSUtils::GetSchemaNamingContext("DC1", context_));
  EXPECT_STREQ("", context_);
}

TEST_F(Contexts, AreCutAtTheCallersBuffer) {
  char small[6] = "xxxxx";
  EXPECT_EQ(0, DNSUtils::GetConfigurationNamingContext("DC1", small));
  EXPECT_STREQ("CN=Co", small);
  EXPECT_TRUE(trace_.contains("cut to 5"));
}

TEST_F(Contexts, OfAServersDomainAreTracedUnderTheConfigurationsName) {
  trc::set_flags(64);
  EXPECT_EQ(0, DNSUtils::GetDefaultNamingContextOfServer("DC1", context_));
  const auto lines = trace_.lines();
  ASSERT_FALSE(lines.empty());
  EXPECT_EQ(trc::Kind::kEntry, lines.front().kind);
  EXPECT_EQ("GetConfigurationNamingContext", lines.front().function);
}

TEST_F(Contexts, SweepOfFaults) {
  for (const Reader& reader : kReaders) {
    sweep(
        [&reader] {
          char context[128] = "before";
          const int result = reader.read("DC1", std::span(context));
          return std::to_string(result) + " " + context;
        },
        {{"ADsGetObject", "ADsGetObject Failed. Error number: "},
         {"IADs::Get", "pObj->Get Failed. Error number: "}});
  }
}

}  // namespace
