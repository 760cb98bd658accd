// Numbers in settings text, read and written the way the process locale writes them:
// decimal separator from CurrentEnv()->DecimalSeparator(), fractions rounded half to
// even when a whole number is wanted. Pure functions; nothing blocks.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace ccaddin {

// The locale's decimal separator, "." when the locale gives none.
[[nodiscard]] std::string CurrentDecimalSeparator();

// Reads a decimal number: optional blanks, an optional sign, digits with at most one
// `decimal_separator`, an optional exponent ("1E3"), optional blanks. Anything else
// (thousands separators, hexadecimal, "inf", an empty text) does not convert. False as
// well when the value is beyond the range of a double.
[[nodiscard]] bool ParseLocaleDouble(std::string_view text, std::string_view decimal_separator,
                                     double* value);

// As ParseLocaleDouble, then rounded to the nearest whole number, halves to even
// (2.5 gives 2, 3.5 gives 4). False when the rounded value does not fit the type.
[[nodiscard]] bool ParseLocaleInt32(std::string_view text, std::string_view decimal_separator,
                                    int32_t* value);
[[nodiscard]] bool ParseLocaleInt16(std::string_view text, std::string_view decimal_separator,
                                    int16_t* value);

// Up to 15 significant digits, no trailing zeros, exponent form ("1E+20", "1E-05") only
// for very large or small values, with `decimal_separator` between the whole and the
// fractional part.
[[nodiscard]] std::string FormatLocaleDouble(double value, std::string_view decimal_separator);

}  // namespace ccaddin
