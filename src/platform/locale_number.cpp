#include "platform/locale_number.h"

#include <charconv>
#include <cmath>
#include <limits>

#include "platform/env.h"
#include "platform/text_rules.h"

namespace ccaddin {

namespace {

bool IsDigit(char c) {
  return c >= '0' && c <= '9';
}

// Rounds half to even without depending on the floating-point environment's mode.
double RoundHalfEven(double x) {
  const double floor = std::floor(x);
  const double diff = x - floor;
  if (diff > 0.5) return floor + 1;
  if (diff < 0.5) return floor;
  return std::fmod(floor, 2.0) == 0 ? floor : floor + 1;
}

template <typename T>
bool ParseWhole(std::string_view text, std::string_view decimal_separator, T* value) {
  double d = 0;
  if (!ParseLocaleDouble(text, decimal_separator, &d)) return false;
  const double rounded = RoundHalfEven(d);
  if (rounded < static_cast<double>(std::numeric_limits<T>::min()) ||
      rounded > static_cast<double>(std::numeric_limits<T>::max())) {
    return false;
  }
  *value = static_cast<T>(rounded);
  return true;
}

}  // namespace

std::string CurrentDecimalSeparator() {
  std::string separator = CurrentEnv()->DecimalSeparator();
  return separator.empty() ? "." : separator;
}

bool ParseLocaleDouble(std::string_view text, std::string_view decimal_separator, double* value) {
  if (decimal_separator.empty()) decimal_separator = ".";
  text = TrimBlanks(text);

  // Rebuilt in the one form from_chars reads, whatever the locale's separator.
  std::string normal;
  size_t pos = 0;
  if (pos < text.size() && (text[pos] == '+' || text[pos] == '-')) {
    if (text[pos] == '-') normal += '-';
    ++pos;
  }
  int digits = 0;
  while (pos < text.size() && IsDigit(text[pos])) normal += text[pos++], ++digits;
  if (text.substr(pos, decimal_separator.size()) == decimal_separator) {
    pos += decimal_separator.size();
    normal += '.';
    while (pos < text.size() && IsDigit(text[pos])) normal += text[pos++], ++digits;
  }
  if (digits == 0) return false;
  if (pos < text.size() && (text[pos] == 'e' || text[pos] == 'E')) {
    normal += 'e';
    ++pos;
    if (pos < text.size() && (text[pos] == '+' || text[pos] == '-')) normal += text[pos++];
    int exponent_digits = 0;
    while (pos < text.size() && IsDigit(text[pos])) normal += text[pos++], ++exponent_digits;
    if (exponent_digits == 0) return false;
  }
  if (pos != text.size()) return false;

  double parsed = 0;
  const auto [ptr, ec] = std::from_chars(normal.data(), normal.data() + normal.size(), parsed);
  if (ec != std::errc() || ptr != normal.data() + normal.size() || !std::isfinite(parsed)) {
    return false;
  }
  *value = parsed;
  return true;
}

bool ParseLocaleInt32(std::string_view text, std::string_view decimal_separator, int32_t* value) {
  return ParseWhole(text, decimal_separator, value);
}

bool ParseLocaleInt16(std::string_view text, std::string_view decimal_separator, int16_t* value) {
  return ParseWhole(text, decimal_separator, value);
}

std::string FormatLocaleDouble(double value, std::string_view decimal_separator) {
  if (decimal_separator.empty()) decimal_separator = ".";
  if (value == 0) return "0";  // also for -0, which would otherwise print as "-0"
  char buffer[64];
  const auto [ptr, ec] =
      std::to_chars(buffer, buffer + sizeof buffer, value, std::chars_format::general, 15);
  if (ec != std::errc()) return "0";
  std::string out;
  for (const char* p = buffer; p != ptr; ++p) {
    if (*p == '.') {
      out += decimal_separator;
    } else if (*p == 'e') {
      out += 'E';
    } else {
      out += *p;
    }
  }
  return out;
}

}  // namespace ccaddin
