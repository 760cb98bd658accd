// Key-press filters for the forms' text boxes, implied-decimal amount entry, and the
// conversions between a decimal amount and whole minor units. Stateless; the only
// outside fact used is the locale's decimal separator (CurrentEnv()). Never blocks.
#pragma once

#include <cstdint>
#include <string>

namespace ccaddin {

// A filter receives the code of the key pressed and returns it (accepted), possibly
// changed, or 0 (swallowed). Code 8 is backspace. iSelLength is the length of the
// text box's selection, iLen the length of its text, iMaxLen its maximum length with 0
// meaning no limit.
class TextBoxFormat {
 public:
  // Digits / letters / both / both with lower case turned to upper case. Backspace is
  // always accepted; anything else is swallowed while the text is full and nothing is
  // selected (typing over a selection does not make the text longer).
  [[nodiscard]] static int16_t NumericBox(int16_t iKeyAscii, int16_t iSelLength, int16_t iLen,
                                          int16_t iMaxLen);
  [[nodiscard]] static int16_t AlphaBox(int16_t iKeyAscii, int16_t iSelLength, int16_t iLen,
                                        int16_t iMaxLen);
  [[nodiscard]] static int16_t AlphaNumericBox(int16_t iKeyAscii, int16_t iSelLength, int16_t iLen,
                                               int16_t iMaxLen);
  [[nodiscard]] static int16_t UCAlphaNumericBox(int16_t iKeyAscii, int16_t iSelLength,
                                                 int16_t iLen, int16_t iMaxLen);

  // Codes 8, 37 and 39 always; digits and letters while iLen is below iMaxLen (0: no
  // limit, as for every other filter).
  [[nodiscard]] static int16_t AlphaNumLen(int16_t iKeyAscii, int16_t iLen, int16_t iMaxLen);

  // Backspace is accepted, other control codes and 127 swallowed. Digits, lower-case
  // and upper-case letters follow their own switch and ignore the length. Any other
  // character needs bAllowOther, and then either bAllowAllOther (accepted unless the
  // text is full) or a place in strPrintChars (regardless of length).
  [[nodiscard]] static int16_t AllowedCharsBox(int16_t iKeyAscii, bool bAllowNumeric,
                                               bool bAllowLCAlpha, bool bAllowUCAlpha,
                                               bool bAllowOther, bool bAllowAllOther,
                                               const std::string& strPrintChars, int16_t iLen,
                                               int16_t iMaxLen);

  // Amount entry as on a till keypad, the last iExp digits being decimals: typing 1, 2,
  // 5 with iExp 2 shows 0.01, 0.12, 1.25; backspace (8, or 37) takes the last digit off
  // again; other keys change nothing; with no digits left the text is "0". A full text
  // (iMaxLen above 0) only takes backspace; an unreadable separator changes nothing.
  // Anything in strValue that is not a digit (the separator, or a stray "." from
  // another locale) is dropped before the key is applied, so the result is always a
  // well-formed amount. A negative iExp counts as 0.
  [[nodiscard]] static std::string ExpFormat(int16_t iExp, const std::string& strValue,
                                             int16_t iKeyAscii, int16_t iMaxLen);

  // dAmount times 10 to the power iCurrExponent, rounded to the nearest whole unit,
  // halves to even (0.125 at exponent 2 is 12). The rounding works on the shortest
  // decimal text that reads back as dAmount, i.e. the amount as it was typed, so 1.015
  // is 102 as the merchant expects, not the 101 that binary arithmetic would give.
  // An amount that is not a number or does not fit in 32 bits gives 0, which every
  // amount check refuses, rather than a wrapped or clamped amount.
  [[nodiscard]] static int32_t FormatCurrencyUp(double dAmount, int16_t iCurrExponent);

  // lAmount minor units as decimal text with the locale's separator before the last
  // iCurrExponent digits: 150 at exponent 2 is "1.50", 5 is "0.05", 0 is "0". A
  // negative amount reads as its magnitude with a leading "-" ("-0.05"). Exponent 0 or
  // less gives the whole number. When the locale gives no separator, "." is used:
  // dropping it would show 1.50 as 150.
  [[nodiscard]] static std::string FormatCurrencyDown(int32_t lAmount, int16_t iCurrExponent);
};

}  // namespace ccaddin
