#include "platform/text_encoding.h"

#include <gtest/gtest.h>

namespace ccaddin {
namespace {

TEST(TextEncoding, EveryWindows1252ByteSurvivesARoundTripThroughUtf8) {
  std::string all;
  for (int b = 0; b < 256; ++b) all += static_cast<char>(b);
  const std::string utf8 = Windows1252ToUtf8(all);
  EXPECT_TRUE(IsValidUtf8(utf8));
  bool lossless = false;
  EXPECT_EQ(Utf8ToWindows1252(utf8, &lossless), all);
  EXPECT_TRUE(lossless);
}

TEST(TextEncoding, HighControlRangeFollowsTheCodePageAndUndefinedBytesStayC1) {
  EXPECT_EQ(Windows1252ToUtf8("\x80"), "\xE2\x82\xAC");  // euro sign
  EXPECT_EQ(Windows1252ToUtf8("\x9F"), "\xC5\xB8");      // Y with diaeresis
  EXPECT_EQ(Windows1252ToUtf8("\xE9"), "\xC3\xA9");      // e acute, as Latin-1
  for (const unsigned char undefined : {0x81, 0x8D, 0x8F, 0x90, 0x9D}) {
    EXPECT_EQ(Windows1252ToCodePoint(undefined), static_cast<char32_t>(undefined));
  }
  EXPECT_EQ(CodePointToWindows1252(0x2122), 0x99);  // trade mark sign
  EXPECT_EQ(CodePointToWindows1252(0x0100), -1);    // A with macron: not in the code page
}

TEST(TextEncoding, UnmappableAndMalformedInputBecomesQuestionMarks) {
  bool lossless = true;
  EXPECT_EQ(Utf8ToWindows1252("a\xE6\x97\xA5"
                              "b",
                              &lossless),
            "a?b");  // CJK character
  EXPECT_FALSE(lossless);
  EXPECT_EQ(Utf8ToWindows1252("\xC3", &lossless), "?");  // truncated sequence
  EXPECT_FALSE(lossless);
  EXPECT_EQ(Utf8ToWindows1252("\xC0\xAF", &lossless), "??");       // overlong "/"
  EXPECT_EQ(Utf8ToWindows1252("\xED\xA0\x80", &lossless), "???");  // encoded surrogate
  EXPECT_FALSE(IsValidUtf8("\xED\xA0\x80"));
  EXPECT_EQ(Utf8ToWindows1252("plain", &lossless), "plain");
  EXPECT_TRUE(lossless);
}

TEST(TextEncoding, Utf16LeRoundTripIncludingSurrogatePairs) {
  const std::string utf8 = "A\xE2\x82\xAC\xF0\x9F\x98\x80";  // A, euro, grinning face
  const std::string utf16 = Utf8ToUtf16Le(utf8);
  EXPECT_EQ(utf16, std::string("A\0\xAC\x20\x3D\xD8\x00\xDE", 8));
  std::string back;
  ASSERT_TRUE(Utf16LeToUtf8(utf16, &back));
  EXPECT_EQ(back, utf8);
}

TEST(TextEncoding, MalformedUtf16IsRejected) {
  std::string out;
  EXPECT_FALSE(Utf16LeToUtf8(std::string("A\0B", 3), &out));  // odd length
  EXPECT_FALSE(Utf16LeToUtf8(std::string("\x3D\xD8"
                                         "A\0",
                                         4),
                             &out));                              // high alone
  EXPECT_FALSE(Utf16LeToUtf8(std::string("\x00\xDE", 2), &out));  // low alone
  EXPECT_FALSE(Utf16LeToUtf8(std::string("\x3D\xD8", 2), &out));  // cut short
}

}  // namespace
}  // namespace ccaddin
