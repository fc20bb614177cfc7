// Registry files as the registry editor exports them, and files that are none.

#include <gtest/gtest.h>

#include <string>

#include "platform/registry/recorded_registry.h"

namespace {

using platform::ControllerError;
using platform::read_registry;
using platform::RegistryValue;

const std::string kHead = "Windows Registry Editor Version 5.00\r\n\r\n";
const std::string kKey = kHead + "[HKEY_LOCAL_MACHINE\\A]\r\n";
constexpr const char* kPath = "HKEY_LOCAL_MACHINE\\A";

std::string error_of(const std::string& text) {
  try {
    read_registry(text, "r.reg");
  } catch (const ControllerError& error) {
    return error.what();
  }
  return "no error";
}

// The only value of the only key.
RegistryValue value_of(const std::string& line, const std::string& head = kKey) {
  const auto values = read_registry(head + line + "\r\n", "r.reg")->values(kPath);
  EXPECT_EQ(values.size(), 1u) << line;
  return values.empty() ? RegistryValue() : values[0];
}

void expect_value(const RegistryValue& value, const std::string& name, std::uint32_t type,
                  const std::string& data) {
  EXPECT_EQ(value.name, name);
  EXPECT_EQ(value.type, type);
  EXPECT_EQ(value.data, data);
}

TEST(RegFile, TextsWithEscapes) {
  expect_value(value_of(R"("Path \"x\""="C:\\Windows\\ \"q\"")"), "Path \"x\"", 1,
               std::string("C:\\Windows\\ \"q\"\0", 16));
  expect_value(value_of(R"("Empty"="")"), "Empty", 1, std::string(1, '\0'));
}

TEST(RegFile, TheDefaultValueHasNoName) {
  expect_value(value_of(R"(@="x")"), "", 1, std::string("x\0", 2));
}

TEST(RegFile, Numbers) {
  expect_value(value_of("\"n\"=dword:0000010a"), "n", 4, std::string("\x0a\x01\0\0", 4));
  expect_value(value_of("\"n\"=hex(b):01,02,03,04,05,06,07,08"), "n", 11,
               "\x01\x02\x03\x04\x05\x06\x07\x08");
}

TEST(RegFile, BytesOverSeveralLines) {
  expect_value(value_of("\"b\"=hex:00,01,\\\r\n  fe,FF,\\\r\n  10"), "b", 3,
               std::string("\x00\x01\xfe\xff\x10", 5));
  expect_value(value_of("\"b\"=hex:"), "b", 3, "");
}

TEST(RegFile, TextsInBytesAreUtf16) {
  expect_value(value_of("\"e\"=hex(2):25,00,58,00,25,00,e4,00,00,00"), "e", 2,
               std::string("%X%\xC3\xA4\0", 6));
  expect_value(value_of("\"m\"=hex(7):61,00,00,00,62,00,00,00,00,00"), "m", 7,
               std::string("a\0b\0\0", 5));
  expect_value(value_of("\"t\"=hex(1):61,00,0d,00,0a,00,00,00"), "t", 1, std::string("a\r\n\0", 4));
}

TEST(RegFile, TextsInBytesOfTheOldVersionAreNarrow) {
  const std::string head = "REGEDIT4\r\n\r\n[HKEY_LOCAL_MACHINE\\A]\r\n";
  expect_value(value_of("\"e\"=hex(2):25,58,25,00", head), "e", 2, std::string("%X%\0", 4));
  expect_value(value_of("\"t\"=\"M\xFCnchen\"", head), "t", 1, std::string("M\xC3\xBCnchen\0", 9));
}

TEST(RegFile, OtherTypesKeepTheirBytes) {
  expect_value(value_of("\"r\"=hex(8):01,02"), "r", 8, "\x01\x02");
  expect_value(value_of("\"z\"=hex(0):"), "z", 0, "");
  expect_value(value_of("\"y\"=hex(ffff0012):01"), "y", 0xffff0012, "\x01");
}

TEST(RegFile, CommentsAndBlankLines) {
  expect_value(value_of("; first\r\n\r\n  ; second\r\n\"a\"=\"x;y\" ; third"), "a", 1,
               std::string("x;y\0", 4));
  expect_value(value_of("\"a\"=dword:5 ; five"), "a", 4, std::string("\5\0\0\0", 4));
  expect_value(value_of("\"a\"=hex:01 ; one"), "a", 3, "\x01");
}

TEST(RegFile, PlainLineFeedsAndUtf16) {
  std::string lines = kKey + "\"a\"=\"x\"\r\n";
  std::string wide = "\xFF\xFE";
  for (const char c : lines) (wide += c) += '\0';
  EXPECT_EQ(read_registry(wide, "r.reg")->values(kPath).size(), 1u);
  std::erase(lines, '\r');
  EXPECT_EQ(read_registry(lines, "r.reg")->values(kPath).size(), 1u);
  EXPECT_EQ(read_registry("\xEF\xBB\xBF" + lines, "r.reg")->values(kPath).size(), 1u);
}

TEST(RegFile, KeysBringThoseAboveThemAndAreSorted) {
  const auto hive =
      read_registry(kHead +
                        "[HKLM\\S\\b]\r\n\"v\"=\"1\"\r\n[HKEY_LOCAL_MACHINE\\S\\a]\r\n"
                        "[hkey_local_machine\\s\\C [x]]\r\n",
                    "r.reg");
  EXPECT_TRUE(hive->has_key("HKEY_LOCAL_MACHINE\\S"));
  EXPECT_TRUE(hive->has_key("hkey_local_machine\\s\\B"));
  EXPECT_FALSE(hive->has_key("HKEY_LOCAL_MACHINE\\S\\d"));
  EXPECT_EQ(hive->subkeys("HKEY_LOCAL_MACHINE\\S"), (std::vector<std::string>{"a", "b", "C [x]"}));
  EXPECT_EQ(hive->values("HKEY_LOCAL_MACHINE\\S").size(), 0u);
  EXPECT_EQ(hive->values("HKEY_LOCAL_MACHINE\\nothing").size(), 0u);
}

TEST(RegFile, WhatComesLaterWins) {
  const auto hive = read_registry(kKey +
                                      "\"a\"=\"1\"\r\n\"b\"=\"2\"\r\n\"A\"=\"3\"\r\n"
                                      "[HKEY_LOCAL_MACHINE\\a]\r\n\"b\"=dword:4\r\n",
                                  "r.reg");
  const auto values = hive->values(kPath);
  ASSERT_EQ(values.size(), 2u);
  expect_value(values[0], "A", 1, std::string("3\0", 2));
  expect_value(values[1], "b", 4, std::string("\4\0\0\0", 4));
}

// ---- errors, with the line ------------------------------------------------------------------

TEST(RegFileErrors, NotARegistryFile) {
  EXPECT_EQ(error_of(""), "r.reg:1: the file is empty");
  EXPECT_EQ(
      error_of("[HKEY_LOCAL_MACHINE\\A]\r\n"),
      "r.reg:1: not a registry file: it must begin with Windows Registry Editor Version 5.00");
}

TEST(RegFileErrors, Deletions) {
  EXPECT_EQ(error_of(kHead + "[-HKEY_LOCAL_MACHINE\\A]\r\n"),
            "r.reg:3: [-...] deletes a key; a recording cannot");
  EXPECT_EQ(error_of(kKey + "\"a\"=-\r\n"), "r.reg:4: =- deletes a value; a recording cannot");
}

TEST(RegFileErrors, Keys) {
  EXPECT_EQ(error_of(kHead + "[HKEY_LOCAL_MACHINE\\A\r\n"),
            "r.reg:3: the key's bracket is not closed");
  EXPECT_EQ(error_of(kHead + "[SOFTWARE\\A]\r\n"),
            "r.reg:3: 'SOFTWARE' is not a root of the registry");
  EXPECT_EQ(error_of(kHead + "[HKLM\\A\\\\B]\r\n"), "r.reg:3: a key's name is empty");
  EXPECT_EQ(error_of(kHead + "[HKLM\\A] x\r\n"),
            "r.reg:3: 'x' is left over at the end of the line");
  std::string deep = "[HKLM";
  for (int i = 0; i < 600; ++i) deep += "\\k";
  EXPECT_EQ(error_of(kHead + deep + "]\r\n"), "r.reg:3: keys nest at most 512 deep");
}

TEST(RegFileErrors, Values) {
  EXPECT_EQ(error_of(kHead + "\"a\"=\"x\"\r\n"), "r.reg:3: a value comes before any key");
  EXPECT_EQ(error_of(kKey + "a=\"x\"\r\n"),
            "r.reg:4: a line must be a [key], a \"name\"=value, an @=value or a ;comment");
  EXPECT_EQ(error_of(kKey + "\"a\" \"x\"\r\n"), "r.reg:4: an = must follow the value's name");
  EXPECT_EQ(error_of(kKey + "\"a=\r\n"), "r.reg:4: a quote is not closed");
  EXPECT_EQ(error_of(kKey + "\"a\"=\"x\r\n"), "r.reg:4: a quote is not closed");
  EXPECT_EQ(error_of(kKey + "\"a\"=\"C:\\x\"\r\n"),
            "r.reg:4: a backslash in quotes must stand before a backslash or a quote");
  EXPECT_EQ(error_of(kKey + "\"a\"=\"x\" y\r\n"),
            "r.reg:4: 'y' is left over at the end of the line");
  EXPECT_EQ(error_of(kKey + "\"a\"=5\r\n"),
            "r.reg:4: a value must be \"text\", dword:, hex: or hex(n):");
}

TEST(RegFileErrors, NumbersAndBytes) {
  EXPECT_EQ(error_of(kKey + "\"a\"=dword:\r\n"),
            "r.reg:4: '' is not a hexadecimal number of 32 bits");
  EXPECT_EQ(error_of(kKey + "\"a\"=dword:123456789\r\n"),
            "r.reg:4: '123456789' is not a hexadecimal number of 32 bits");
  EXPECT_EQ(error_of(kKey + "\"a\"=hex(x):01\r\n"),
            "r.reg:4: 'x' is not a hexadecimal number of 32 bits");
  EXPECT_EQ(error_of(kKey + "\"a\"=hex:01,\\\r\n  0g\r\n"),
            "r.reg:5: '0g' is not a byte of two hexadecimal digits");
  EXPECT_EQ(error_of(kKey + "\"a\"=hex:001\r\n"),
            "r.reg:4: '001' is not a byte of two hexadecimal digits");
  EXPECT_EQ(error_of(kKey + "\"a\"=hex:01 02\r\n"),
            "r.reg:4: a comma must stand between two bytes");
  EXPECT_EQ(error_of(kKey + "\"a\"=hex:01,\r\n"), "r.reg:4: the value ends with a comma");
  EXPECT_EQ(error_of(kKey + "\"a\"=hex:01,\\"), "r.reg:4: the file ends in the middle of a value");
  EXPECT_EQ(error_of(kKey + "\"a\"=hex(7):61,00,00\r\n"),
            "r.reg:4: a text of UTF-16 has an even number of bytes");
}

}  // namespace
