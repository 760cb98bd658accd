#include "platform/locale_number.h"

#include <gtest/gtest.h>

#include <limits>

namespace ccaddin {
namespace {

struct WholeCase {
  const char* text;
  const char* separator;
  bool converts;
  int32_t value;
};

TEST(LocaleNumber, WholeNumbersRoundHalfToEvenAndRejectWhatDoesNotConvert) {
  const WholeCase cases[] = {
      {"42", ".", true, 42},
      {"  -17\t", ".", true, -17},
      {"1.5", ".", true, 2},
      {"2.5", ".", true, 2},
      {"3.5", ".", true, 4},
      {"2.5000001", ".", true, 3},
      {"1E3", ".", true, 1000},
      {"7.", ".", true, 7},
      {"2147483647", ".", true, std::numeric_limits<int32_t>::max()},
      {"2147483647.4", ".", true, std::numeric_limits<int32_t>::max()},
      {"-2147483648.5", ".", true, std::numeric_limits<int32_t>::min()},
      {"2147483647.5", ".", false, 0},  // rounds to 2^31: out of range
      {"2147483648", ".", false, 0},
      {"1E400", ".", false, 0},
      {"", ".", false, 0},
      {"12abc", ".", false, 0},
      {"1 2", ".", false, 0},
      {"+", ".", false, 0},
      {"1e", ".", false, 0},
      {"inf", ".", false, 0},
      {"0x10", ".", false, 0},
      {"1,000", ".", false, 0},  // no thousands separators
      // A comma locale: the comma is the decimal separator and the point is not.
      {"1,5", ",", true, 2},
      {"-3,5", ",", true, -4},
      {"1.5", ",", false, 0},
      // A locale that reports no separator falls back to the point.
      {"1.5", "", true, 2},
  };
  for (const WholeCase& c : cases) {
    int32_t value = -999;
    EXPECT_EQ(ParseLocaleInt32(c.text, c.separator, &value), c.converts)
        << '"' << c.text << "\" with \"" << c.separator << '"';
    if (c.converts) {
      EXPECT_EQ(value, c.value) << '"' << c.text << '"';
    }
  }
}

TEST(LocaleNumber, SixteenBitRangeForDateParts) {
  int16_t value = 0;
  EXPECT_TRUE(ParseLocaleInt16("32767", ".", &value));
  EXPECT_EQ(value, 32767);
  EXPECT_FALSE(ParseLocaleInt16("32768", ".", &value));
  EXPECT_FALSE(ParseLocaleInt16("9E99", ".", &value));
  EXPECT_TRUE(ParseLocaleInt16("-32768", ".", &value));
  EXPECT_EQ(value, -32768);
}

TEST(LocaleNumber, DoublesKeepTheirFractionAndUseTheLocaleSeparator) {
  double value = 0;
  ASSERT_TRUE(ParseLocaleDouble("1.5", ".", &value));
  EXPECT_DOUBLE_EQ(value, 1.5);
  ASSERT_TRUE(ParseLocaleDouble(" -0,25 ", ",", &value));
  EXPECT_DOUBLE_EQ(value, -0.25);
  ASSERT_TRUE(ParseLocaleDouble("1e-3", ".", &value));
  EXPECT_DOUBLE_EQ(value, 0.001);
  EXPECT_FALSE(ParseLocaleDouble("1.5", ",", &value));
  EXPECT_FALSE(ParseLocaleDouble("1e999", ".", &value));
  EXPECT_FALSE(ParseLocaleDouble("one", ".", &value));
}

TEST(LocaleNumber, FormattingGivesFifteenSignificantDigitsInTheLocaleForm) {
  EXPECT_EQ(FormatLocaleDouble(1.5, "."), "1.5");
  EXPECT_EQ(FormatLocaleDouble(1.5, ","), "1,5");
  EXPECT_EQ(FormatLocaleDouble(2, "."), "2");
  EXPECT_EQ(FormatLocaleDouble(-0.0, "."), "0");
  EXPECT_EQ(FormatLocaleDouble(0.1 + 0.2, "."), "0.3");
  EXPECT_EQ(FormatLocaleDouble(1e20, "."), "1E+20");
  EXPECT_EQ(FormatLocaleDouble(1e-5, ","), "1E-05");
  // What is written reads back as the same value.
  double back = 0;
  ASSERT_TRUE(ParseLocaleDouble(FormatLocaleDouble(1234.5678, ","), ",", &back));
  EXPECT_DOUBLE_EQ(back, 1234.5678);
}

}  // namespace
}  // namespace ccaddin
