#include "platform/pad_extract.h"

#include <gtest/gtest.h>

#include <climits>
#include <string>

namespace ccaddin {
namespace {

TEST(PadExtract, PadStringFillsEachKindOnItsSideAndCutsLongText) {
  struct Case {
    std::string value;
    int16_t pad;
    int32_t max_len;
    std::string expected;
  };
  const Case cases[] = {
      {"12", 0, 5, "12000"},  {"12", 1, 5, "12   "},   {"12", 2, 5, "00012"}, {"12", 3, 5, "   12"},
      {"12", 99, 5, "00012"}, {"123456", 3, 3, "123"}, {"", 3, 2, "  "},      {"12", 2, -4, ""},
  };
  for (const Case& c : cases) {
    EXPECT_EQ(PadExtract::PadString(c.value, c.pad, c.max_len), c.expected)
        << c.value << " pad " << c.pad << " len " << c.max_len;
  }
}

TEST(PadExtract, StripPaddingRemovesEachKindsFill) {
  struct Case {
    int16_t pad;
    std::string packet;
    std::string expected;
  };
  const Case cases[] = {
      {0, "1200", "12"},   {0, "000", "0"},     {0, "0120", "012"}, {1, "  12 ", "12 "},
      {1, "0012", "0012"}, {2, "00120", "120"}, {2, "000", ""},     {3, " 12  ", " 12"},
      {3, "1200", "1200"}, {4, "0012", ""},     {-1, "  12", ""},
  };
  for (const Case& c : cases) {
    EXPECT_EQ(PadExtract::StripPadding(c.pad, c.packet), c.expected)
        << "pad " << c.pad << " '" << c.packet << "'";
  }
}

TEST(PadExtract, ExtractDataStopsAtTheDelimiterOrTheWindow) {
  const std::string packet = "ABC|DEF|\xFFGH";
  struct Case {
    int32_t start;
    int16_t delimiter;
    int32_t max_len;
    std::string expected;
  };
  const Case cases[] = {
      {1, '|', 10, "ABC"},   {5, '|', 10, "DEF"},        {1, '|', 2, "AB"},
      {1, '|', 3, "ABC"},    {9, '|', 10, "\xFFGH"},     {1, 0xFF, 100, "ABC|DEF|"},
      {1, 300, 100, packet}, {12, '|', 5, ""},           {0, '|', 5, ""},
      {5, '|', 0, ""},       {10, '|', INT32_MAX, "GH"},
  };
  for (const Case& c : cases) {
    EXPECT_EQ(PadExtract::ExtractData(packet, c.start, c.delimiter, c.max_len), c.expected)
        << "start " << c.start << " delimiter " << c.delimiter << " max " << c.max_len;
  }
}

}  // namespace
}  // namespace ccaddin
