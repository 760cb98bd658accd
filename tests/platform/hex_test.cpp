#include "platform/hex.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

namespace ccaddin {
namespace {

using Bytes = std::vector<uint8_t>;

TEST(THex, EncodesUpperCaseHighHalfFirstAndAppends) {
  THex hex;
  std::string out;
  ASSERT_EQ(hex.ConvertCharStringToHexString("AB", out), 0);
  EXPECT_EQ(out, "4142");
  ASSERT_EQ(hex.ConvertCharStringToHexString(std::string("\xFF\x80\x00\x0A", 4), out), 0);
  EXPECT_EQ(out, "4142FF80000A");

  std::string seq = "1B";
  ASSERT_EQ(hex.ConvertByteArrayToHexString({0x1B, 0x21, 0x00, 0xAB}, 3, seq), 0);
  EXPECT_EQ(seq, "1B1B2100");
  ASSERT_EQ(hex.ConvertByteArrayToHexString({0xAB}, 0, seq), 0);
  EXPECT_EQ(seq, "1B1B2100");
  EXPECT_EQ(hex.strErrorMessage(), "");
}

TEST(THex, ByteCountBeyondTheArrayFailsWithoutWriting) {
  THex hex;
  std::string out = "keep";
  EXPECT_EQ(hex.ConvertByteArrayToHexString({0x01, 0x02}, 3, out), 1);
  EXPECT_EQ(hex.strErrorMessage(),
            "THex.ConvertByteArrayTohexString() Failed - Subscript out of range");
  EXPECT_EQ(out, "keep");
}

TEST(THex, DecodingAcceptsEitherCaseAndRefusesAnythingElse) {
  struct Case {
    std::string hex;
    std::string decoded;  // the bytes, or the failure's description
    bool ok;
  };
  const Case cases[] = {
      {"1B2100", std::string("\x1B!\x00", 3), true},
      {"ff7F", "\xFF\x7F", true},
      {"aBcD", "\xAB\xCD", true},
      {"1", "Invalid hex string. must be greater 1 char in length", false},
      {"", "Invalid hex string. must be greater 1 char in length", false},
      {"1B2", "Odd number of hex digits (3)", false},
      {"1G", "Invalid hex digit \"G\" at position 2", false},
      {"0x1B", "Invalid hex digit \"x\" at position 2", false},
      {"1B 21", "Odd number of hex digits (5)", false},
      {"1B 2", "Invalid hex digit \" \" at position 3", false},
      {"\x1B"
       "1",
       "Invalid hex digit (code 27) at position 1", false},
  };
  for (const Case& c : cases) {
    THex hex;
    Bytes bytes = {0x55};
    std::string chars = "keep";
    const int16_t to_bytes = hex.ConvertHexStringToByteArray(c.hex, bytes);
    const std::string bytes_error = hex.strErrorMessage();
    const int16_t to_chars = hex.ConvertHexStringToCharString(c.hex, chars);
    if (c.ok) {
      EXPECT_EQ(to_bytes, 0) << c.hex;
      EXPECT_EQ(to_chars, 0) << c.hex;
      EXPECT_EQ(bytes, Bytes(c.decoded.begin(), c.decoded.end())) << c.hex;
      EXPECT_EQ(chars, c.decoded) << c.hex;
      continue;
    }
    EXPECT_EQ(to_bytes, 1) << c.hex;
    EXPECT_EQ(to_chars, 1) << c.hex;
    EXPECT_EQ(bytes, Bytes{0x55}) << c.hex;
    EXPECT_EQ(chars, "keep") << c.hex;
    const bool length_rule = c.hex.size() < 2;
    EXPECT_EQ(bytes_error,
              (length_rule ? "" : "THex.ConvertHexStringToByteArray() Failed - ") + c.decoded);
    EXPECT_EQ(hex.strErrorMessage(),
              (length_rule ? "" : "THex.ConvertHexStringToCharString() Failed - ") + c.decoded);
  }
}

TEST(THex, EveryByteRoundTrips) {
  THex hex;
  Bytes all;
  for (int b = 0; b < 256; ++b) all.push_back(static_cast<uint8_t>(b));
  std::string text;
  ASSERT_EQ(hex.ConvertByteArrayToHexString(all, 256, text), 0);
  ASSERT_EQ(text.size(), 512u);
  EXPECT_EQ(text.substr(0x1B * 2, 4), "1B1C");
  Bytes back;
  ASSERT_EQ(hex.ConvertHexStringToByteArray(text, back), 0);
  EXPECT_EQ(back, all);
  std::string chars;
  ASSERT_EQ(hex.ConvertHexStringToCharString(text, chars), 0);
  std::string again;
  ASSERT_EQ(hex.ConvertCharStringToHexString(chars, again), 0);
  EXPECT_EQ(again, text);
}

}  // namespace
}  // namespace ccaddin
