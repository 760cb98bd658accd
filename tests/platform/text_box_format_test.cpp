#include "platform/text_box_format.h"

#include <gtest/gtest.h>

#include <climits>
#include <cmath>
#include <limits>
#include <string>
#include <vector>

#include "platform/virtual_env.h"

namespace ccaddin {
namespace {

using TBF = TextBoxFormat;
using BoxFilter = int16_t (*)(int16_t, int16_t, int16_t, int16_t);

TEST(TextBoxFormat, BoxFiltersAcceptTheirCharactersUntilTheTextIsFull) {
  struct Case {
    const char* name;
    BoxFilter filter;
    int16_t key, sel, len, max;
    int16_t expected;
  };
  const Case cases[] = {
      {"numeric digit", TBF::NumericBox, '7', 0, 3, 4, '7'},
      {"numeric full", TBF::NumericBox, '7', 0, 4, 4, 0},
      {"numeric full, backspace", TBF::NumericBox, 8, 0, 4, 4, 8},
      {"numeric full, selection", TBF::NumericBox, '7', 2, 4, 4, '7'},
      {"numeric no limit", TBF::NumericBox, '0', 0, 300, 0, '0'},
      {"numeric letter", TBF::NumericBox, 'a', 0, 0, 4, 0},
      {"numeric point", TBF::NumericBox, '.', 0, 0, 4, 0},
      {"alpha letters", TBF::AlphaBox, 'z', 0, 0, 4, 'z'},
      {"alpha digit", TBF::AlphaBox, '5', 0, 0, 4, 0},
      {"alpha full", TBF::AlphaBox, 'Q', 0, 4, 4, 0},
      {"alphanumeric digit", TBF::AlphaNumericBox, '9', 0, 0, 4, '9'},
      {"alphanumeric letter", TBF::AlphaNumericBox, 'b', 0, 0, 4, 'b'},
      {"alphanumeric dash", TBF::AlphaNumericBox, '-', 0, 0, 4, 0},
      {"alphanumeric full, selection", TBF::AlphaNumericBox, 'b', 1, 4, 4, 'b'},
      {"uc lower to upper", TBF::UCAlphaNumericBox, 'q', 0, 0, 4, 'Q'},
      {"uc full", TBF::UCAlphaNumericBox, 'q', 0, 4, 4, 0},
      {"uc backquote", TBF::UCAlphaNumericBox, '`', 0, 0, 4, 0},
      {"uc brace", TBF::UCAlphaNumericBox, '{', 0, 0, 4, 0},
      {"uc backspace", TBF::UCAlphaNumericBox, 8, 0, 4, 4, 8},
  };
  for (const Case& c : cases) {
    EXPECT_EQ(c.filter(c.key, c.sel, c.len, c.max), c.expected) << c.name;
  }
}

TEST(TextBoxFormat, AlphaNumLenKeepsEditingKeysAndLimitsTheRest) {
  struct Case {
    int16_t key, len, max, expected;
  };
  const Case cases[] = {
      {8, 6, 6, 8},      {37, 6, 6, 37},   {39, 6, 6, 39}, {'a', 5, 6, 'a'},
      {'Z', 5, 6, 'Z'},  {'5', 5, 6, '5'}, {'a', 6, 6, 0}, {'5', 7, 6, 0},
      {'a', 40, 0, 'a'}, {'-', 0, 6, 0},   {13, 0, 6, 0},
  };
  for (const Case& c : cases) {
    EXPECT_EQ(TBF::AlphaNumLen(c.key, c.len, c.max), c.expected)
        << "key " << c.key << " len " << c.len << " max " << c.max;
  }
}

TEST(TextBoxFormat, AllowedCharsBoxBranches) {
  struct Case {
    const char* name;
    int16_t key;
    bool numeric, lower, upper, other, all_other;
    std::string print_chars;
    int16_t len, max, expected;
  };
  const Case cases[] = {
      {"backspace", 8, false, false, false, false, false, "", 9, 4, 8},
      {"tab", 9, true, true, true, true, true, "\t", 0, 0, 0},
      {"unit separator", 31, true, true, true, true, true, "", 0, 0, 0},
      {"delete", 127, true, true, true, true, true, "\x7F", 0, 0, 0},
      {"digit allowed even when full", '4', true, false, false, false, false, "", 9, 4, '4'},
      {"digit refused", '4', false, true, true, true, true, "4", 0, 0, 0},
      {"lower allowed", 'k', false, true, false, false, false, "", 0, 0, 'k'},
      {"lower refused", 'k', true, false, true, true, true, "k", 0, 0, 0},
      {"other refused", '/', true, true, true, false, true, "/", 0, 0, 0},
      {"all other", '/', false, false, false, true, true, "", 3, 4, '/'},
      {"all other, full", '/', false, false, false, true, true, "/", 4, 4, 0},
      {"all other, no limit", ' ', false, false, false, true, true, "", 99, 0, ' '},
      {"listed", '/', false, false, false, true, false, "-/", 0, 0, '/'},
      {"listed, full", '/', false, false, false, true, false, "-/", 9, 4, '/'},
      {"not listed", '.', false, false, false, true, false, "-/", 0, 0, 0},
      {"listed high byte", 0xA3, false, false, false, true, false, "\xA3", 0, 0, 0xA3},
  };
  for (const Case& c : cases) {
    EXPECT_EQ(TBF::AllowedCharsBox(c.key, c.numeric, c.lower, c.upper, c.other, c.all_other,
                                   c.print_chars, c.len, c.max),
              c.expected)
        << c.name;
  }
}

// Feeds `keys` one by one, as the text box would, and returns the text after each.
std::vector<std::string> Type(int16_t exp, std::string text, const std::vector<int16_t>& keys,
                              int16_t max_len = 0) {
  std::vector<std::string> shown;
  for (int16_t key : keys) {
    text = TBF::ExpFormat(exp, text, key, max_len);
    shown.push_back(text);
  }
  return shown;
}

using Shown = std::vector<std::string>;

TEST(TextBoxFormat, ExpFormatTypesAndBacksPastTheSeparator) {
  VirtualEnv env;
  ScopedEnv scoped(&env);
  for (const std::string sep : {".", ","}) {
    env.SetDecimalSeparator(sep);
    const auto s = [&](std::string text) {
      for (char& c : text) c = c == '.' ? sep[0] : c;
      return text;
    };
    EXPECT_EQ(Type(2, "0", {'1', '2', '5', 8}),
              (Shown{s("0.01"), s("0.12"), s("1.25"), s("0.12")}));
    EXPECT_EQ(Type(2, s("0.00"), {'5'}), Shown{s("0.05")});
    EXPECT_EQ(Type(2, s("0.05"), {8, 8, 8}), (Shown{"0", "0", "0"}));
    EXPECT_EQ(Type(2, "0", {'0', '0', '7', '0', '0', 37}),
              (Shown{s("0.00"), s("0.00"), s("0.07"), s("0.70"), s("7.00"), s("0.70")}));
    EXPECT_EQ(Type(0, "0", {'4', '0', 8, 8, '0'}), (Shown{"4", "40", "4", "0", "0"}));
    EXPECT_EQ(Type(3, "0", {'1', '2', '3', '4', 8}),
              (Shown{s("0.001"), s("0.012"), s("0.123"), s("1.234"), s("0.123")}));
    // Keys that are not digits change nothing, not even the leading zeros.
    EXPECT_EQ(Type(2, s("12.34"), {'a', '.', ',', 13}),
              (Shown{s("12.34"), s("12.34"), s("12.34"), s("12.34")}));
  }
}

TEST(TextBoxFormat, ExpFormatLimitsAndOddInput) {
  VirtualEnv env;
  ScopedEnv scoped(&env);
  // Full: only backspace gets through (37 does not).
  EXPECT_EQ(Type(2, "12.34", {'5', 37, 8}, 5), (Shown{"12.34", "12.34", "1.23"}));
  EXPECT_EQ(Type(2, "1.23", {'4', '5'}, 5), (Shown{"12.34", "12.34"}));
  // A stray separator from another locale is dropped, not kept as a digit.
  env.SetDecimalSeparator(",");
  EXPECT_EQ(TBF::ExpFormat(2, "1.50", '0', 0), "15,00");
  EXPECT_EQ(TBF::ExpFormat(-1, "12", '3', 0), "123");
  env.SetDecimalSeparator("");
  EXPECT_EQ(TBF::ExpFormat(2, "1.50", '0', 0), "1.50");
}

TEST(TextBoxFormat, FormatCurrencyUpRoundsTheTypedAmountHalfToEven) {
  struct Case {
    double amount;
    int16_t exponent;
    int32_t expected;
  };
  const Case cases[] = {
      {12.34, 2, 1234},
      {0.125, 2, 12},
      {0.135, 2, 14},
      {1.005, 2, 100},
      {1.015, 2, 102},
      {0.1 + 0.2, 2, 30},
      {2.5, 0, 2},
      {3.5, 0, 4},
      {-1.015, 2, -102},
      {0.005, 2, 0},
      {1250, -2, 12},
      {99.999, 2, 10000},
      {21474836.47, 2, INT32_MAX},
      {-21474836.48, 2, INT32_MIN},
      {21474836.48, 2, 0},
      {5, 400, 0},
      {std::numeric_limits<double>::quiet_NaN(), 2, 0},
      {std::numeric_limits<double>::infinity(), 2, 0},
  };
  for (const Case& c : cases) {
    EXPECT_EQ(TBF::FormatCurrencyUp(c.amount, c.exponent), c.expected)
        << c.amount << " exp " << c.exponent;
  }
}

TEST(TextBoxFormat, FormatCurrencyDownInsertsTheLocaleSeparator) {
  VirtualEnv env;
  ScopedEnv scoped(&env);
  struct Case {
    int32_t amount;
    int16_t exponent;
    std::string dot, comma;
  };
  const Case cases[] = {
      {150, 2, "1.50", "1,50"},
      {0, 2, "0", "0"},
      {7, 0, "7", "7"},
      {12345, 3, "12.345", "12,345"},
      {-150, 2, "-1.50", "-1,50"},
      {-5, 2, "-0.05", "-0,05"},
      {INT32_MIN, 2, "-21474836.48", "-21474836,48"},
      {INT32_MAX, 3, "2147483.647", "2147483,647"},
      {15, -1, "15", "15"},
  };
  for (const Case& c : cases) {
    env.SetDecimalSeparator(".");
    EXPECT_EQ(TBF::FormatCurrencyDown(c.amount, c.exponent), c.dot) << c.amount;
    env.SetDecimalSeparator(",");
    EXPECT_EQ(TBF::FormatCurrencyDown(c.amount, c.exponent), c.comma) << c.amount;
  }
  env.SetDecimalSeparator("");
  EXPECT_EQ(TBF::FormatCurrencyDown(150, 2), "1.50");
}

}  // namespace
}  // namespace ccaddin
