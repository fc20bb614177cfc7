#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "framework/trc/control.h"
#include "include/trace.h"
#include "tables/ckutil.h"

namespace {

// A field with guards around it: whatever is written beyond it is noticed.
class Field {
 public:
  explicit Field(std::size_t size) : bytes_(size + 16, '#'), size_(size) {}
  char* data() { return bytes_.data() + 8; }
  // The field, or what became of its surroundings.
  std::string text() const {
    const bool whole = bytes_.starts_with("########") && bytes_.ends_with("########");
    return whole ? bytes_.substr(8, size_) : "written beyond: " + bytes_;
  }

 private:
  std::string bytes_;
  std::size_t size_;
};

std::basic_string<Utf16> utf16(const wchar_t* text) { return utf16_of(text); }

class Fields : public testing::Test {
 protected:
  void SetUp() override { trc::set_flags(trace::kError); }
  void TearDown() override { trc::set_flags(trace::kError); }
};

TEST_F(Fields, AShortTextIsPaddedWithBlanksAndHasNoZeroEnd) {
  Field field(5);
  CKUtil::mwstrncpy(field.data(), "abc", 5);
  EXPECT_EQ(field.text(), "abc  ");
}

TEST_F(Fields, ALongTextIsCutAtTheField) {
  Field field(5);
  CKUtil::mwstrncpy(field.data(), "abcdefg", 5);
  EXPECT_EQ(field.text(), "abcde");
}

TEST_F(Fields, AnEmptyTextLeavesBlanks) {
  Field field(5);
  CKUtil::mwstrncpy(field.data(), "", 5);
  EXPECT_EQ(field.text(), "     ");
}

TEST_F(Fields, ANullPointerLeavesTheTargetAlone) {
  Field field(5);
  CKUtil::mwstrncpy(field.data(), nullptr, 5);
  CKUtil::mwmemcpy(field.data(), nullptr, 5);
  EXPECT_EQ(field.text(), "#####");
  CKUtil::mwstrncpy(nullptr, "abc", 5);
  CKUtil::mwmemcpy(nullptr, "abc", 3);
}

TEST_F(Fields, CopiedBytesThatEndEarlyAreFollowedByBlanks) {
  Field field(6);
  CKUtil::mwmemcpy(field.data(), "ab\0xyz", 6);
  EXPECT_EQ(field.text(), "ab    ");
}

TEST_F(Fields, CopiedBytesWithoutAnEndStayAsTheyAre) {
  Field field(6);
  CKUtil::mwmemcpy(field.data(), "abcdef", 6);
  EXPECT_EQ(field.text(), "abcdef");
}

TEST_F(Fields, Utf16BecomesUtf8PaddedWithBlanks) {
  Field field(8);
  CKUtil::mwUTF16toUTF8cpy(field.data(), utf16(L"z\u00fc\u20ac").c_str(), 8);
  EXPECT_EQ(field.text(), "z\xc3\xbc\xe2\x82\xac  ");
}

TEST_F(Fields, Utf8IsCutBetweenCharacters) {
  Field field(4);
  CKUtil::mwUTF16toUTF8cpy(field.data(), utf16(L"zz\u20ac").c_str(), 4);
  EXPECT_EQ(field.text(), "zz  ");
}

TEST_F(Fields, ACharacterBeyondThe16BitPlaneTakesFourBytes) {
  Field field(5);
  CKUtil::mwUTF16toUTF8cpy(field.data(), utf16(L"\U0001F600").c_str(), 5);
  EXPECT_EQ(field.text(), "\xf0\x9f\x98\x80 ");
}

TEST_F(Fields, Utf16BecomesAscii) {
  Field field(4);
  CKUtil::mwUTF16toASCIIcpy(field.data(), utf16(L"ab").c_str(), 4, 0);
  EXPECT_EQ(field.text(), "ab  ");
}

TEST_F(Fields, WithTheFlagTrailingBlanksBecomeZeros) {
  Field field(4);
  CKUtil::mwUTF16toASCIIcpy(field.data(), utf16(L"12").c_str(), 4, 1);
  EXPECT_EQ(field.text(), "1200");
}

TEST_F(Fields, WithTheFlagBlanksInsideTheTextStay) {
  Field field(6);
  CKUtil::mwUTF16toASCIIcpy(field.data(), utf16(L"1 2 ").c_str(), 6, 1);
  EXPECT_EQ(field.text(), "1 2000");
}

TEST_F(Fields, WithTheFlagAnEmptyTextIsAllZeros) {
  Field field(3);
  CKUtil::mwUTF16toASCIIcpy(field.data(), utf16(L"").c_str(), 3, 1);
  EXPECT_EQ(field.text(), "000");
}

TEST_F(Fields, ANullUtf16TextCountsAsEmpty) {
  Field field(3);
  CKUtil::mwUTF16toUTF8cpy(field.data(), nullptr, 3);
  EXPECT_EQ(field.text(), "   ");
  CKUtil::mwUTF16toASCIIcpy(nullptr, utf16(L"a").c_str(), 3, 0);
}

TEST_F(Fields, TheTailIsBlankedFromTheTextsLengthOn) {
  Field field(5);
  CKUtil::blanksTrails(2, 5, field.data());
  EXPECT_EQ(field.text(), "##   ");
  Field full(5);
  CKUtil::blanksTrails(5, 5, full.data());
  EXPECT_EQ(full.text(), "#####");
}

TEST_F(Fields, ATextTooLongForItsFieldComesOutEmptyAndIsDumped) {
  Field field(5);
  const trc::Capture capture;
  CKUtil::blanksTrails(6, 5, field.data());
  EXPECT_EQ(field.text(), "     ");
  ASSERT_EQ(capture.lines().size(), 1u);
  EXPECT_EQ(capture.lines()[0].kind, trc::Kind::kDump);
  EXPECT_TRUE(capture.lines()[0].text.starts_with("blanksTrails len=6 size=5"))
      << capture.lines()[0].text;
}

TEST_F(Fields, WithoutTheErrorLevelATextTooLongComesOutEmptyWithoutADump) {
  trc::set_flags(0);
  Field field(5);
  const trc::Capture capture;
  CKUtil::blanksTrails(6, 5, field.data());
  EXPECT_EQ(field.text(), "     ");
  EXPECT_TRUE(capture.lines().empty());
}

TEST_F(Fields, ANegativeLengthBlanksTheFieldAndNothingBeforeIt) {
  Field field(5);
  CKUtil::blanksTrails(-3, 5, field.data());
  EXPECT_EQ(field.text(), "     ");
}

TEST_F(Fields, AHostNameLosesItsDomain) {
  Field host(64);
  EXPECT_TRUE(CKUtil::trimHostname("DOMAIN\\host", host.data()));
  EXPECT_EQ(host.text(), "host" + std::string(60, '\0'));
  EXPECT_TRUE(CKUtil::trimHostname("A\\B\\host2", host.data()));
  EXPECT_EQ(host.text(), "host2" + std::string(59, '\0'));
  EXPECT_TRUE(CKUtil::trimHostname("plain", host.data()));
  EXPECT_EQ(host.text(), "plain" + std::string(59, '\0'));
}

TEST_F(Fields, AHostNameLongerThanItsTargetIsCutWithATrace) {
  Field host(64);
  const trc::Capture capture;
  const std::string name(70, 'h');
  EXPECT_TRUE(CKUtil::trimHostname(name.c_str(), host.data()));
  EXPECT_EQ(host.text(), std::string(63, 'h') + '\0');
  EXPECT_TRUE(capture.contains(name));
}

TEST_F(Fields, ASiteNameEndsBeforeItsFirstBackslash) {
  Field site(17);
  trc::set_flags(trace::kDetail);
  const trc::Capture capture;
  EXPECT_TRUE(CKUtil::trimSitename("Site1\\rest\\more", site.data()));
  EXPECT_EQ(site.text(), "Site1" + std::string(11, '\0') + '#');
  EXPECT_EQ(capture.texts(), (std::vector<std::string>{"sitename: Site1\\rest\\more",
                                                       "charIndex: 5", "sitename: Site1"}));
}

TEST_F(Fields, ASiteNameWithoutABackslashIsCopied) {
  char site[16];
  EXPECT_TRUE(CKUtil::trimSitename("Site1", site));
  EXPECT_STREQ(site, "Site1");
}

TEST_F(Fields, LowerAndUpperChangeTheGivenLengthInPlace) {
  char text[] = "AbCdEf";
  EXPECT_EQ(CKUtil::lower(text, 4), text);
  EXPECT_STREQ(text, "abcdEf");
  EXPECT_EQ(CKUtil::upper(text, 2), text);
  EXPECT_STREQ(text, "ABcdEf");
}

}  // namespace
