#include "platform/text_box_format.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstddef>
#include <limits>

#include "platform/env.h"

namespace ccaddin {

namespace {

constexpr int16_t kBackspace = 8;

bool IsDigit(int16_t c) {
  return c >= '0' && c <= '9';
}
bool IsUpper(int16_t c) {
  return c >= 'A' && c <= 'Z';
}
bool IsLower(int16_t c) {
  return c >= 'a' && c <= 'z';
}

// Typing over a selection replaces it, so only an unselected full text refuses keys.
bool IsFull(int16_t iSelLength, int16_t iLen, int16_t iMaxLen) {
  return iMaxLen != 0 && iLen >= iMaxLen && iSelLength == 0;
}

int16_t Filter(bool accepted, int16_t iKeyAscii, int16_t iSelLength, int16_t iLen,
               int16_t iMaxLen) {
  if (iKeyAscii == kBackspace) return iKeyAscii;
  if (!accepted || IsFull(iSelLength, iLen, iMaxLen)) return 0;
  return iKeyAscii;
}

}  // namespace

int16_t TextBoxFormat::NumericBox(int16_t iKeyAscii, int16_t iSelLength, int16_t iLen,
                                  int16_t iMaxLen) {
  return Filter(IsDigit(iKeyAscii), iKeyAscii, iSelLength, iLen, iMaxLen);
}

int16_t TextBoxFormat::AlphaBox(int16_t iKeyAscii, int16_t iSelLength, int16_t iLen,
                                int16_t iMaxLen) {
  return Filter(IsUpper(iKeyAscii) || IsLower(iKeyAscii), iKeyAscii, iSelLength, iLen, iMaxLen);
}

int16_t TextBoxFormat::AlphaNumericBox(int16_t iKeyAscii, int16_t iSelLength, int16_t iLen,
                                       int16_t iMaxLen) {
  const bool accepted = IsDigit(iKeyAscii) || IsUpper(iKeyAscii) || IsLower(iKeyAscii);
  return Filter(accepted, iKeyAscii, iSelLength, iLen, iMaxLen);
}

int16_t TextBoxFormat::UCAlphaNumericBox(int16_t iKeyAscii, int16_t iSelLength, int16_t iLen,
                                         int16_t iMaxLen) {
  const int16_t key = IsLower(iKeyAscii) ? static_cast<int16_t>(iKeyAscii - 32) : iKeyAscii;
  return Filter(IsDigit(key) || IsUpper(key), key, iSelLength, iLen, iMaxLen);
}

int16_t TextBoxFormat::AlphaNumLen(int16_t iKeyAscii, int16_t iLen, int16_t iMaxLen) {
  if (iKeyAscii == kBackspace || iKeyAscii == 37 || iKeyAscii == 39) return iKeyAscii;
  const bool alphanumeric = IsDigit(iKeyAscii) || IsUpper(iKeyAscii) || IsLower(iKeyAscii);
  if (alphanumeric && (iMaxLen == 0 || iLen < iMaxLen)) return iKeyAscii;
  return 0;
}

int16_t TextBoxFormat::AllowedCharsBox(int16_t iKeyAscii, bool bAllowNumeric, bool bAllowLCAlpha,
                                       bool bAllowUCAlpha, bool bAllowOther, bool bAllowAllOther,
                                       const std::string& strPrintChars, int16_t iLen,
                                       int16_t iMaxLen) {
  if (iKeyAscii == kBackspace) return iKeyAscii;
  if ((iKeyAscii >= 0 && iKeyAscii <= 31) || iKeyAscii == 127) return 0;
  if (IsDigit(iKeyAscii)) return bAllowNumeric ? iKeyAscii : 0;
  if (IsLower(iKeyAscii)) return bAllowLCAlpha ? iKeyAscii : 0;
  if (IsUpper(iKeyAscii)) return bAllowUCAlpha ? iKeyAscii : 0;
  if (!bAllowOther) return 0;
  if (bAllowAllOther) return IsFull(0, iLen, iMaxLen) ? 0 : iKeyAscii;
  for (char c : strPrintChars) {
    if (static_cast<unsigned char>(c) == iKeyAscii) return iKeyAscii;
  }
  return 0;
}

std::string TextBoxFormat::ExpFormat(int16_t iExp, const std::string& strValue, int16_t iKeyAscii,
                                     int16_t iMaxLen) {
  const std::string separator = CurrentEnv()->DecimalSeparator();
  if (separator.empty()) return strValue;
  if (iMaxLen > 0 && strValue.size() >= static_cast<size_t>(iMaxLen) && iKeyAscii != kBackspace) {
    return strValue;
  }

  std::string digits;
  for (char c : strValue) {
    if (IsDigit(c) && !(digits.empty() && c == '0')) digits += c;
  }
  if (iKeyAscii == kBackspace || iKeyAscii == 37) {
    if (!digits.empty()) digits.pop_back();
  } else if (IsDigit(iKeyAscii)) {
    digits += static_cast<char>(iKeyAscii);
  }

  if (digits.empty()) return "0";
  const size_t decimals = iExp > 0 ? static_cast<size_t>(iExp) : 0;
  if (decimals == 0) return digits;
  if (digits.size() > decimals) {
    const size_t whole = digits.size() - decimals;
    return digits.substr(0, whole) + separator + digits.substr(whole);
  }
  return "0" + separator + std::string(decimals - digits.size(), '0') + digits;
}

int32_t TextBoxFormat::FormatCurrencyUp(double dAmount, int16_t iCurrExponent) {
  if (!std::isfinite(dAmount) || dAmount == 0.0) return 0;

  // Shortest round-trip text in the form "d.ddde+XX": the digits as typed and the
  // power of ten of the first one.
  char text[64];
  const auto [end, ec] =
      std::to_chars(text, text + sizeof text, std::fabs(dAmount), std::chars_format::scientific);
  if (ec != std::errc()) return 0;
  std::string digits;
  const char* p = text;
  for (; p != end && *p != 'e'; ++p) {
    if (*p != '.') digits += *p;
  }
  int power = 0;
  if (p == end || std::from_chars(p + (p[1] == '+' ? 2 : 1), end, power).ec != std::errc()) {
    return 0;
  }

  // Number of digits before the decimal point once scaled by the exponent.
  const int64_t whole_digits = int64_t{power} + 1 + iCurrExponent;
  if (whole_digits > 10) return 0;  // at least 10^10: far beyond 32 bits
  const auto digit_at = [&](int64_t i) {
    return i >= 0 && i < static_cast<int64_t>(digits.size()) ? digits[static_cast<size_t>(i)] - '0'
                                                             : 0;
  };
  int64_t whole = 0;
  for (int64_t i = 0; i < whole_digits; ++i) whole = whole * 10 + digit_at(i);

  const int first_dropped = digit_at(whole_digits);
  bool more_after_first = false;
  for (int64_t i = std::max<int64_t>(whole_digits + 1, 0); i < static_cast<int64_t>(digits.size());
       ++i) {
    more_after_first = more_after_first || digit_at(i) != 0;
  }
  if (first_dropped > 5 || (first_dropped == 5 && (more_after_first || whole % 2 != 0))) ++whole;

  const int64_t result = dAmount < 0 ? -whole : whole;
  if (result < std::numeric_limits<int32_t>::min() ||
      result > std::numeric_limits<int32_t>::max()) {
    return 0;
  }
  return static_cast<int32_t>(result);
}

std::string TextBoxFormat::FormatCurrencyDown(int32_t lAmount, int16_t iCurrExponent) {
  const bool negative = lAmount < 0;
  std::string text = std::to_string(negative ? -int64_t{lAmount} : int64_t{lAmount});
  if (text != "0" && iCurrExponent > 0) {
    std::string separator = CurrentEnv()->DecimalSeparator();
    if (separator.empty()) separator.push_back('.');
    const size_t decimals = static_cast<size_t>(iCurrExponent);
    if (text.size() <= decimals) text.insert(0, decimals + 1 - text.size(), '0');
    text.insert(text.size() - decimals, separator);
  }
  return negative ? "-" + text : text;
}

}  // namespace ccaddin
