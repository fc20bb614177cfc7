#include "platform/recorded/ldif.h"

#include <gtest/gtest.h>

#include <string>

namespace platform {
namespace {

std::vector<LdifRecord> read(const std::string& text) { return read_ldif(text, "directory.ldif"); }

std::string fault_of(const std::string& text) {
  try {
    read(text);
  } catch (const ControllerError& error) {
    return error.what();
  }
  return "no fault";
}

TEST(Ldif, ReadsEntriesWithTheirValuesInTheOrderOfTheFile) {
  const auto records = read(
      "version: 1\n"
      "dn: CN=Users,DC=x\n"
      "objectClass: top\n"
      "cn: Users\n"
      "objectClass: container\n"
      "\n\n"
      "dn:DC=x\n"
      "dc:   x\n");
  ASSERT_EQ(records.size(), 2u);
  EXPECT_EQ(records[0].entry.dn, "CN=Users,DC=x");
  EXPECT_EQ(records[0].line, 2u);
  ASSERT_EQ(records[0].entry.attributes.size(), 2u);
  EXPECT_EQ(records[0].entry.attributes[0].name, "objectClass");
  EXPECT_EQ(records[0].entry.attributes[0].values, (std::vector<std::string>{"top", "container"}));
  EXPECT_EQ(records[1].entry.attributes[0].values, std::vector<std::string>{"x"});
  EXPECT_EQ(records[1].line, 8u);
}

TEST(Ldif, GathersValuesOfOneNameLetterCaseAside) {
  const auto records = read("dn: DC=x\nMember: a\nmember: b\n");
  ASSERT_EQ(records[0].entry.attributes.size(), 1u);
  EXPECT_EQ(records[0].entry.attributes[0].name, "Member");
  EXPECT_EQ(records[0].entry.attributes[0].values.size(), 2u);
}

TEST(Ldif, JoinsContinuedLinesAndDropsContinuedComments) {
  const auto records = read(
      "# a comment that\n"
      "  goes on: here\n"
      "dn: CN=Us\n"
      " ers,DC=x\n"
      "# inside an entry\n"
      "description: one\n"
      "  two\n");
  ASSERT_EQ(records.size(), 1u);
  EXPECT_EQ(records[0].entry.dn, "CN=Users,DC=x");
  EXPECT_EQ(records[0].entry.attributes[0].values[0], "one two");
}

TEST(Ldif, ReadsCarriageReturnsAndAFileWithoutALastLineEnd) {
  const auto records = read("version: 1\r\ndn: DC=x\r\ndc: a\r\n b\r\n\r\ndn: DC=y\r\ndc: c");
  ASSERT_EQ(records.size(), 2u);
  EXPECT_EQ(records[0].entry.attributes[0].values[0], "ab");
  EXPECT_EQ(records[1].entry.attributes[0].values[0], "c");
}

TEST(Ldif, ReadsBase64AlsoOverSeveralLines) {
  const auto records = read("dn:: REM9w7w=\nobjectGUID:: AAEC\n Aw==\nempty::\n");
  EXPECT_EQ(records[0].entry.dn, "DC=\xC3\xBC");
  EXPECT_EQ(records[0].entry.attributes[0].values[0], std::string("\0\1\2\3", 4));
  EXPECT_EQ(records[0].entry.attributes[1].values[0], "");
}

TEST(Ldif, ReadsTheEmptyNameEmptyValuesOptionsAndNumericNames) {
  const auto records = read("dn:\na:\nwhenChanged;x-server-dc2;binary: z\n1.2.840: n\nb: x \n");
  EXPECT_EQ(records[0].entry.dn, "");
  EXPECT_EQ(records[0].entry.attributes[0].values[0], "");
  EXPECT_EQ(records[0].entry.attributes[1].name, "whenChanged;x-server-dc2;binary");
  EXPECT_EQ(records[0].entry.attributes[2].name, "1.2.840");
  EXPECT_EQ(records[0].entry.attributes[3].values[0], "x ") << "a last blank belongs to the value";
}

TEST(Ldif, TakesEntriesAsTheSystemsExportToolWritesThem) {
  const auto records = read("dn: DC=x\r\nchangetype: add\r\nobjectClass: top\r\ndc: x\r\n\r\n");
  ASSERT_EQ(records.size(), 1u);
  ASSERT_EQ(records[0].entry.attributes.size(), 2u);
  EXPECT_EQ(records[0].entry.attributes[0].name, "objectClass");
}

TEST(Ldif, AnEmptyFileAndOneOfCommentsHoldNothing) {
  EXPECT_TRUE(read("").empty());
  EXPECT_TRUE(read("version: 1\n\n# nothing\n\n").empty());
}

struct FaultCase {
  const char* name;
  std::string text;
  std::string fault;
};

class LdifFault : public testing::TestWithParam<FaultCase> {};

TEST_P(LdifFault, NamesFileLineAndReason) {
  EXPECT_EQ(fault_of(GetParam().text), GetParam().fault);
}

INSTANTIATE_TEST_SUITE_P(
    Each, LdifFault,
    testing::Values(
        FaultCase{"Version", "version: 2\n", "directory.ldif:1: only version 1 is known"},
        FaultCase{"VersionLater", "dn: DC=x\nversion: 1\n\nversion: 1\n",
                  "directory.ldif:4: a record must begin with its dn"},
        FaultCase{"ByteOrderMark", "\xEF\xBB\xBFversion: 1\n",
                  "directory.ldif:1: begins with a byte order mark"},
        FaultCase{"NoDn", "version: 1\n\ncn: x\n",
                  "directory.ldif:3: a record must begin with its dn"},
        FaultCase{"NoColon", "dn: DC=x\ndc x\n", "directory.ldif:2: a line without a colon"},
        FaultCase{"BadName", "dn: DC=x\nd c: x\n",
                  "directory.ldif:2: \"d c\" is not an attribute name"},
        FaultCase{"NoName", "dn: DC=x\n: x\n", "directory.ldif:2: \"\" is not an attribute name"},
        FaultCase{"EmptyOption", "dn: DC=x\na;: x\n",
                  "directory.ldif:2: \"a;\" is not an attribute name"},
        FaultCase{"BadOid", "dn: DC=x\n1..2: x\n",
                  "directory.ldif:2: \"1..2\" is not an attribute name"},
        FaultCase{"Url", "dn: DC=x\njpegPhoto:< file:///x.jpg\n",
                  "directory.ldif:2: a value from a URL, which a recording may not hold"},
        FaultCase{"ChangeType", "dn: DC=x\nchangetype: delete\n",
                  "directory.ldif:2: a change record; a recording holds entries only"},
        FaultCase{"ChangeTypeLate", "dn: DC=x\ndc: x\nchangetype: add\n",
                  "directory.ldif:3: a change record; a recording holds entries only"},
        FaultCase{"Control", "dn: DC=x\ncontrol: 1.2.3 true\n",
                  "directory.ldif:2: a change record; a recording holds entries only"},
        FaultCase{"SecondDn", "dn: DC=x\ndc: x\ndn: DC=y\n",
                  "directory.ldif:3: a second dn; an empty line must stand before it"},
        FaultCase{"NoAttributes", "\ndn: DC=x\n\ndn: DC=y\ndc: y\n",
                  "directory.ldif:2: an entry without attributes"},
        FaultCase{"Continuation", "dn: DC=x\ndc: x\n\n dc: y\n",
                  "directory.ldif:4: a continuation line with nothing before it to continue"},
        FaultCase{"CarriageReturn", "dn: DC=x\ndc: a\rb\n",
                  "directory.ldif:2: a carriage return inside a line"},
        FaultCase{"BeyondAscii", "dn: DC=x\ndc: \xC3\xBC\n",
                  "directory.ldif:2: a value beyond ASCII must be base64"},
        FaultCase{"ZeroByte", std::string("dn: DC=x\ndc: a\0b\n", 17),
                  "directory.ldif:2: a value with a zero byte must be base64"},
        FaultCase{"StartsWithColon", "dn: DC=x\ndc: :a\n",
                  "directory.ldif:2: a value that begins with : or < must be base64"},
        FaultCase{"Base64Letters", "dn: DC=x\ndc:: ab*=\n",
                  "directory.ldif:2: a value that is not base64"},
        FaultCase{"Base64Length", "dn: DC=x\ndc:: abc\n",
                  "directory.ldif:2: a value that is not base64"},
        FaultCase{"Base64Padding", "dn: DC=x\ndc:: a===\n",
                  "directory.ldif:2: a value that is not base64"},
        FaultCase{"Base64Rest", "dn: DC=x\ndc:: AB==\n",
                  "directory.ldif:2: a value that is not base64"},
        FaultCase{"DnNotUtf8", "dn:: /w==\ndc: x\n", "directory.ldif:1: a dn that is not UTF-8"},
        FaultCase{"AfterContinuations", "dn: DC=x\n# c\n c\ndc: a\n b\noops\n",
                  "directory.ldif:6: a line without a colon"}),
    [](const auto& one) { return one.param.name; });

TEST(LdifWriter, FoldsAtSeventySixCharacters) {
  const Entry entry{"DC=x", {{"description", {std::string(200, 'a')}}}};
  const std::string text = ldif_record(entry);
  EXPECT_EQ(text, "\ndn: DC=x\ndescription: " + std::string(63, 'a') + "\n " +
                      std::string(75, 'a') + "\n " + std::string(62, 'a') + "\n");
}

TEST(LdifWriter, WritesBase64WhereTextIsNotSafe) {
  const Entry entry{"CN=\xC3\xBC",
                    {{"a", {" x", "x ", ":x", "<x", "a\nb", std::string("\0", 1), "plain", ""}}}};
  EXPECT_EQ(ldif_record(entry),
            "\ndn:: Q049w7w=\na:: IHg=\na:: eCA=\na:: Ong=\na:: PHg=\na:: YQpi\na:: AA==\n"
            "a: plain\na:\n");
}

TEST(LdifWriter, WhatIsWrittenReadsBackTheSame) {
  Entry entry{"CN=\xC3\xBC,DC=x", {{"octets", {}}, {"text;x-server-dc2", {"a:b", "#c", ""}}}};
  for (int length = 0; length < 120; ++length) {
    std::string bytes;
    for (int i = 0; i < length; ++i) bytes.push_back(static_cast<char>(i * 37 + length));
    entry.attributes[0].values.push_back(bytes);
  }
  const auto records = read(ldif_version_line() + ldif_record(entry) + ldif_record(entry));
  ASSERT_EQ(records.size(), 2u);
  for (const LdifRecord& record : records) {
    EXPECT_EQ(record.entry.dn, entry.dn);
    ASSERT_EQ(record.entry.attributes.size(), 2u);
    EXPECT_EQ(record.entry.attributes[0].values, entry.attributes[0].values);
    EXPECT_EQ(record.entry.attributes[1].values, entry.attributes[1].values);
  }
}

}  // namespace
}  // namespace platform
