#include "platform/reg_file.h"

#include <gtest/gtest.h>

#include "platform/text_encoding.h"

namespace ccaddin {
namespace {

const std::vector<std::string> kKeys = {
    "HKEY_LOCAL_MACHINE\\SOFTWARE\\Tamberin\\ccaddin",
    "HKEY_LOCAL_MACHINE\\SOFTWARE\\WOW6432Node\\Tamberin\\ccaddin"};

std::string Utf16File(const std::string& utf8) {
  return "\xFF\xFE" + Utf8ToUtf16Le(utf8);
}

std::vector<RegistryChange> MustParse(const std::string& bytes, RegFileFormat* format = nullptr) {
  std::vector<RegistryChange> changes;
  RegFileError error;
  EXPECT_TRUE(ParseRegFile(bytes, kKeys, &changes, &error, format))
      << "line " << error.line << ": " << error.message;
  return changes;
}

TEST(RegFile, ReadsRegedit4WithEscapesDwordAndHex) {
  const std::string file =
      "REGEDIT4\r\n\r\n"
      "; exported from the back office\r\n"
      "[HKEY_LOCAL_MACHINE\\SOFTWARE\\Tamberin\\ccaddin]\r\n"
      "\"ConfigFileLocation\"=\"C:\\\\cfg\\\\\"\r\n"
      "\"IdlePrompt1\"=\"Say \\\"hello\\\" caf\xE9\"\r\n"  // ANSI byte for e acute
      "\"SaveReceipts\"=dword:0000000A\r\n"
      "\"Blob\"=hex:01,ff,\\\r\n"
      "  00\r\n"
      "@=\"default\"\r\n"
      "\"Gone\"=-\r\n";
  RegFileFormat format = RegFileFormat::kRegedit5;
  const auto changes = MustParse(file, &format);
  EXPECT_EQ(format, RegFileFormat::kRegedit4);
  ASSERT_EQ(changes.size(), 6u);
  EXPECT_EQ(changes[0].value,
            (RegistryValue{"ConfigFileLocation", kRegSz, StringValueData("C:\\cfg\\")}));
  EXPECT_EQ(changes[1].value.data, StringValueData("Say \"hello\" caf\xE9"));
  EXPECT_EQ(changes[2].value,
            (RegistryValue{"SaveReceipts", kRegDword, std::string("\x0A\0\0\0", 4)}));
  EXPECT_EQ(changes[3].value, (RegistryValue{"Blob", kRegBinary, std::string("\x01\xFF\x00", 3)}));
  EXPECT_EQ(changes[4].value.name, "");
  EXPECT_TRUE(changes[5].remove);
  EXPECT_EQ(changes[5].value.name, "Gone");
}

TEST(RegFile, ReadsVersion5AsRegeditWritesIt) {
  // UTF-16LE with a byte order mark; string-typed hex data is UTF-16 too.
  const std::string file = Utf16File(
      "Windows Registry Editor Version 5.00\r\n\r\n"
      "[HKEY_LOCAL_MACHINE\\SOFTWARE\\WOW6432Node\\Tamberin\\ccaddin]\r\n"
      "\"BaseCurrencyName\"=\"Euro \xE2\x82\xAC\"\r\n"
      "\"Path\"=hex(2):25,00,41,00,25,00,00,00\r\n"
      "\"Big\"=hex(b):01,00,00,00,00,00,00,00\r\n");
  RegFileFormat format = RegFileFormat::kRegedit4;
  const auto changes = MustParse(file, &format);
  EXPECT_EQ(format, RegFileFormat::kRegedit5);
  ASSERT_EQ(changes.size(), 3u);
  EXPECT_EQ(changes[0].value.data, StringValueData("Euro \x80"));  // the euro in Windows-1252
  EXPECT_EQ(changes[1].value, (RegistryValue{"Path", kRegExpandSz, StringValueData("%A%")}));
  EXPECT_EQ(changes[2].value.type, kRegQword);
  EXPECT_EQ(changes[2].value.data.size(), 8u);
}

TEST(RegFile, MalformedFilesStopAtTheFaultyLine) {
  const std::string head = "REGEDIT4\n\n[HKEY_LOCAL_MACHINE\\SOFTWARE\\Tamberin\\ccaddin]\n";
  struct Case {
    std::string file;
    int line;
    const char* reason;  // part of the message
  };
  const Case cases[] = {
      {"", 0, "not a registry file"},
      {"REGEDIT5\n", 1, "not a registry file"},
      {head + "\"A\"=\"1\"\n\"B\"=\"unterminated\n", 5, "closing quote"},
      {head + "\"A\"=\"C:\\cfg\"\n", 4, "backslash"},
      {head + "\"A\"=\"1\" trailing\n", 4, "after the value"},
      {head + "\"A\"=dword:123456789\n", 4, "dword"},
      {head + "\"A\"=hex:01,zz\n", 4, "hexadecimal byte"},
      {head + "\"A\"=hex(q):01\n", 4, "hex(type)"},
      {head + "\"A\"=hex:01,\\", 4, "ends inside"},
      {head + "\"A\"=42\n", 4, "unrecognised value"},
      {head + "\"A\" \"1\"\n", 4, "\"=\" expected"},
      {head + "A=1\n", 4, "unrecognised line"},
      {head + "[HKEY_LOCAL_MACHINE\\SOFTWARE\\Other]\n", 4, "only the key"},
      {head + "[-HKEY_LOCAL_MACHINE\\SOFTWARE\\Tamberin\\ccaddin]\n", 4, "removing keys"},
      {head + "[HKEY_LOCAL_MACHINE\\SOFTWARE\n", 4, "closing \"]\""},
      {"REGEDIT4\n\"A\"=\"1\"\n", 2, "before any [key]"},
      {"\xFF\xFE"
       "A",
       0, "UTF-16"},
      {"\xFE\xFF", 0, "big-endian"},
  };
  for (const Case& c : cases) {
    std::vector<RegistryChange> changes = {RegistryChange{}};
    RegFileError error;
    EXPECT_FALSE(ParseRegFile(c.file, kKeys, &changes, &error)) << c.file;
    EXPECT_EQ(error.line, c.line) << c.file;
    EXPECT_NE(error.message.find(c.reason), std::string::npos) << error.message;
    EXPECT_TRUE(changes.empty());
  }
  // A character that Windows-1252 cannot hold would be lost: refused, with its line.
  std::vector<RegistryChange> changes;
  RegFileError error;
  EXPECT_FALSE(ParseRegFile(Utf16File("Windows Registry Editor Version 5.00\n\n[" + kKeys[0] +
                                      "]\n\"A\"=\"\xE6\x97\xA5\"\n"),
                            kKeys, &changes, &error));
  EXPECT_EQ(error.line, 4);
  EXPECT_NE(error.message.find("Windows-1252"), std::string::npos);
}

TEST(RegFile, BothFormatsRoundTripEveryKindOfValue) {
  const std::vector<RegistryValue> values = {
      {"", kRegSz, StringValueData("default")},
      {"Quoted \"name\" \\", kRegSz, StringValueData("C:\\cfg\\ \"x\" caf\xE9 \x80")},
      {"Empty", kRegSz, StringValueData("")},
      {"NoNul", kRegSz, "abc"},  // not a plain text: kept as hex(1)
      {"TwoParts", kRegSz, std::string("a\0b\0", 4)},
      {"Flag", kRegDword, std::string("\x01\x00\x00\x80", 4)},
      {"Short", kRegDword, "\x01"},
      {"Expand", kRegExpandSz, StringValueData("%PATH%\xE9")},
      {"Big", kRegQword, std::string(8, '\x7F')},
      {"Blob", kRegBinary, std::string(200, '\xAB')},
      {"Nothing", kRegNone, ""},
  };
  const std::string key = kKeys[0];
  for (const RegFileFormat format : {RegFileFormat::kRegedit4, RegFileFormat::kRegedit5}) {
    const std::string file = WriteRegFile(format, key, values);
    RegFileFormat seen =
        format == RegFileFormat::kRegedit4 ? RegFileFormat::kRegedit5 : RegFileFormat::kRegedit4;
    const auto changes = MustParse(file, &seen);
    EXPECT_EQ(seen, format);
    ASSERT_EQ(changes.size(), values.size());
    for (size_t i = 0; i < values.size(); ++i) {
      EXPECT_FALSE(changes[i].remove);
      EXPECT_EQ(changes[i].value, values[i]) << "value " << i;
    }
  }
}

TEST(RegFile, WritesWhatRegeditWrites) {
  const std::vector<RegistryValue> values = {
      {"Mode", kRegSz, StringValueData("1")},
      {"Flag", kRegDword, std::string("\x0A\0\0\0", 4)},
      {"Blob", kRegBinary, std::string(100, '\x01')},
  };
  const std::string v4 = WriteRegFile(RegFileFormat::kRegedit4, kKeys[0], values);
  EXPECT_TRUE(
      v4.starts_with("REGEDIT4\r\n\r\n[HKEY_LOCAL_MACHINE\\SOFTWARE\\Tamberin\\ccaddin]\r\n"
                     "\"Mode\"=\"1\"\r\n\"Flag\"=dword:0000000a\r\n\"Blob\"=hex:01,01,"));
  EXPECT_TRUE(v4.ends_with("01\r\n\r\n"));
  // Long data wraps before column 80, continued with "\" and two spaces.
  size_t start = 0;
  for (size_t end = v4.find("\r\n"); end != std::string::npos; end = v4.find("\r\n", start)) {
    EXPECT_LE(end - start, 80u);
    start = end + 2;
  }
  EXPECT_NE(v4.find(",\\\r\n  01,"), std::string::npos);

  const std::string v5 = WriteRegFile(RegFileFormat::kRegedit5, kKeys[0], values);
  ASSERT_TRUE(v5.starts_with("\xFF\xFE"));
  std::string text;
  ASSERT_TRUE(Utf16LeToUtf8(v5.substr(2), &text));
  EXPECT_EQ(text, "Windows Registry Editor Version 5.00" + Windows1252ToUtf8(v4.substr(8)));
}

}  // namespace
}  // namespace ccaddin
