#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "lng.h"

namespace {

struct Translated {
  int result;
  std::string text;
  std::uint32_t consumed;
};

Translated translate(std::uint32_t target_set, const std::u16string& source,
                     std::uint32_t target_size) {
  std::string target(target_size + 1, '#');
  std::uint32_t length = 99;
  std::uint32_t consumed = 99;
  const int result =
      LNG2_TranslateString(target_set, target.data(), target_size, LNG2_Utf16Source, source.data(),
                           static_cast<std::uint32_t>(source.size() * 2), &length, 256, &consumed);
  // Nothing behind what was written is touched: the caller has filled it with blanks.
  EXPECT_EQ(target.substr(length), std::string(target.size() - length, '#'));
  return {result, target.substr(0, length), consumed};
}

TEST(Translate, Utf16ToUtf8) {
  const Translated all = translate(LNG2_Utf8, u"a\u00e9\u20ac\U0001F600z", 64);
  EXPECT_EQ(all.result, 0);
  EXPECT_EQ(all.text, "a\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80z");
  EXPECT_EQ(all.consumed, 12u);
}

TEST(Translate, Utf16ToAsciiShowsWhatAsciiLacksAsOneQuestionMarkEach) {
  const Translated all = translate(LNG2_Ascii, u"DC\u00fc\U0001F600x", 64);
  EXPECT_EQ(all.result, 0);
  EXPECT_EQ(all.text, "DC??x");
}

TEST(Translate, HalfASurrogatePairIsReplaced) {
  const std::u16string high{u'a', char16_t{0xD83D}, u'b'};
  const std::u16string low{u'a', char16_t{0xDE00}, u'b'};
  const std::u16string last{u'a', char16_t{0xD83D}};
  const std::u16string twice{char16_t{0xD83D}, char16_t{0xD83D}, char16_t{0xDE00}};
  EXPECT_EQ(translate(LNG2_Utf8, high, 64).text,
            "a\xEF\xBF\xBD"
            "b");
  EXPECT_EQ(translate(LNG2_Utf8, low, 64).text,
            "a\xEF\xBF\xBD"
            "b");
  EXPECT_EQ(translate(LNG2_Utf8, last, 64).text, "a\xEF\xBF\xBD");
  EXPECT_EQ(translate(LNG2_Utf8, twice, 64).text, "\xEF\xBF\xBD\xF0\x9F\x98\x80");
  EXPECT_EQ(translate(LNG2_Ascii, high, 64).text, "a?b");
}

TEST(Translate, ATargetThatIsTooSmallEndsWithTheLastWholeCharacter) {
  const std::u16string text = u"a\u20acb";
  EXPECT_EQ(translate(LNG2_Utf8, text, 0).text, "");
  EXPECT_EQ(translate(LNG2_Utf8, text, 1).text, "a");
  EXPECT_EQ(translate(LNG2_Utf8, text, 3).text, "a");
  EXPECT_EQ(translate(LNG2_Utf8, text, 3).result, 1);
  EXPECT_EQ(translate(LNG2_Utf8, text, 3).consumed, 2u);
  EXPECT_EQ(translate(LNG2_Utf8, text, 4).text, "a\xE2\x82\xAC");
  EXPECT_EQ(translate(LNG2_Utf8, text, 5).result, 0);
  EXPECT_EQ(translate(LNG2_Ascii, text, 2).text, "a?");
}

TEST(Translate, AnEmptySourceWritesNothing) {
  const Translated nothing = translate(LNG2_Utf8, u"", 8);
  EXPECT_EQ(nothing.result, 0);
  EXPECT_EQ(nothing.text, "");
  EXPECT_EQ(nothing.consumed, 0u);
}

TEST(Translate, ALoneLastByteIsLeft) {
  char target[8];
  std::uint32_t length = 0;
  std::uint32_t consumed = 0;
  EXPECT_EQ(LNG2_TranslateString(LNG2_Ascii, target, sizeof target, LNG2_Utf16Source, u"ab", 3,
                                 &length, 256, &consumed),
            0);
  EXPECT_EQ(std::string(target, length), "a");
  EXPECT_EQ(consumed, 2u);
}

TEST(Translate, ASourceNeedNotBeAligned) {
  char bytes[1 + 4];
  std::memcpy(bytes + 1, u"hi", 4);
  char target[4];
  std::uint32_t length = 0;
  EXPECT_EQ(LNG2_TranslateString(LNG2_Utf8, target, sizeof target, LNG2_Utf16Source, bytes + 1, 4,
                                 &length, 256, nullptr),
            0);
  EXPECT_EQ(std::string(target, length), "hi");
}

TEST(Translate, AnUnknownCharacterSetWritesNothing) {
  char target[4] = {'k', 'e', 'p', 't'};
  EXPECT_EQ(
      LNG2_TranslateString(1252, target, 4, LNG2_Utf16Source, u"ab", 4, nullptr, 256, nullptr), 2);
  EXPECT_EQ(LNG2_TranslateString(LNG2_Utf8, target, 4, 37, "ab", 2, nullptr, 256, nullptr), 2);
  EXPECT_EQ(std::string(target, 4), "kept");
}

TEST(Translate, Utf8ToUtf16RefusesWhatIsNoCharacter) {
  const std::string source = "\xC3\xA9\xED\xA0\x80\xC0\xAF\xF0\x9F\x98\x80\xE2\x82";
  char16_t target[32];
  std::uint32_t length = 0;
  EXPECT_EQ(LNG2_TranslateString(LNG2_Utf16Source, reinterpret_cast<char*>(target), sizeof target,
                                 LNG2_Utf8, source.data(),
                                 static_cast<std::uint32_t>(source.size()), &length, 256, nullptr),
            0);
  const std::u16string bad(1, u'\uFFFD');
  EXPECT_EQ(std::u16string(target, length / 2),
            u"\u00e9" + bad + bad + bad + bad + bad + u"\U0001F600" + bad + bad);
}

}  // namespace
