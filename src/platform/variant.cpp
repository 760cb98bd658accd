#include "platform/variant.h"
#include "platform/text_rules.h"

#include <array>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <limits>
#include <ostream>

#include "platform/env.h"

namespace ccaddin {

namespace {

constexpr int64_t kMsPerDay = 86'400'000;
// 1 January 1970 counted in days from 30 December 1899, the till's day zero.
constexpr int64_t kUnixEpochInOleDays = 25'569;
// The till's date range: 1 January 100 to 31 December 9999.
constexpr double kOleDateMin = -657'434.0;
constexpr double kOleDateMax = 2'958'466.0;

// Powers of ten that fit in 64 bits, 10^0 to 10^18.
constexpr std::array<int64_t, 19> kPow10 = [] {
  std::array<int64_t, 19> p{};
  p[0] = 1;
  for (size_t i = 1; i < p.size(); ++i) p[i] = p[i - 1] * 10;
  return p;
}();

// n / d (d > 0) rounded to the nearest whole number, halves to even.
int64_t DivRoundHalfEven(int64_t n, int64_t d) {
  int64_t q = n / d;
  const int64_t r = n % d;
  const int64_t twice = 2 * (r < 0 ? -r : r);
  if (twice > d || (twice == d && q % 2 != 0)) q += n < 0 ? -1 : 1;
  return q;
}

// a * 10^power, or nothing on overflow.
std::optional<int64_t> ScaleUp(int64_t a, int64_t power) {
  if (a == 0) return 0;
  if (power < 0 || power >= static_cast<int64_t>(kPow10.size())) return std::nullopt;
  int64_t result = 0;
  if (__builtin_mul_overflow(a, kPow10[static_cast<size_t>(power)], &result)) return std::nullopt;
  return result;
}

// a / 10^power rounded halves to even; tiny beyond the table's reach.
int64_t ScaleDown(int64_t a, int64_t power) {
  if (power >= static_cast<int64_t>(kPow10.size())) return 0;
  return DivRoundHalfEven(a, kPow10[static_cast<size_t>(power)]);
}

template <typename T>
Coerced<T> InRange(int64_t value) {
  if (value < std::numeric_limits<T>::min() || value > std::numeric_limits<T>::max()) {
    return Coerced<T>::Fail(kOverflowText);
  }
  return static_cast<T>(value);
}

template <typename T>
Coerced<T> RoundDouble(double value) {
  // The default rounding mode rounds halves to even, as the till's CLng/CInt do.
  const double rounded = std::nearbyint(value);
  if (!(rounded >= static_cast<double>(std::numeric_limits<T>::min()) &&
        rounded <= static_cast<double>(std::numeric_limits<T>::max()))) {
    return Coerced<T>::Fail(kOverflowText);  // NaN lands here too
  }
  return static_cast<T>(rounded);
}

std::string DecimalSeparator() {
  std::string separator = CurrentEnv()->DecimalSeparator();
  return separator.empty() ? "." : separator;
}

// A number read from text: digits x 10^exponent, digits without leading zeros.
struct DecimalText {
  bool negative = false;
  std::string digits;
  int64_t exponent = 0;
};

// Reads "[sign]digits[sep digits][E[sign]digits]" between optional blanks. The decimal
// separator is the locale's or "."; thousands separators are refused rather than
// guessed at, since a misread amount is worse than a refused one.
std::optional<DecimalText> ParseDecimal(std::string_view text) {
  const auto blank = [](char c) { return c == ' ' || c == '\t'; };
  while (!text.empty() && blank(text.front())) text.remove_prefix(1);
  while (!text.empty() && blank(text.back())) text.remove_suffix(1);
  DecimalText out;
  size_t i = 0;
  if (i < text.size() && (text[i] == '+' || text[i] == '-')) out.negative = text[i++] == '-';
  const std::string separator = DecimalSeparator();
  bool any_digit = false;
  bool in_fraction = false;
  for (; i < text.size(); ++i) {
    const char c = text[i];
    if (c >= '0' && c <= '9') {
      any_digit = true;
      if (!(out.digits.empty() && c == '0')) out.digits += c;
      if (in_fraction) --out.exponent;
    } else if (!in_fraction && (c == '.' || text.substr(i).starts_with(separator))) {
      in_fraction = true;
      if (c != '.') i += separator.size() - 1;
    } else {
      break;
    }
  }
  if (!any_digit) return std::nullopt;
  if (i < text.size()) {
    if (text[i] != 'e' && text[i] != 'E') return std::nullopt;
    int64_t power = 0;
    const char* first = text.data() + i + 1;
    const char* last = text.data() + text.size();
    if (first < last && *first == '+') ++first;
    const auto [end, ec] = std::from_chars(first, last, power);
    if (ec != std::errc() || end != last || power > 100'000 || power < -100'000) {
      return std::nullopt;
    }
    out.exponent += power;
  }
  return out;
}

Coerced<double> DecimalToDouble(const DecimalText& d) {
  if (d.digits.empty()) return 0.0;
  const std::string text = (d.negative ? "-" : "") + d.digits + "e" + std::to_string(d.exponent);
  double value = 0;
  const auto [end, ec] = std::from_chars(text.data(), text.data() + text.size(), value);
  if (ec == std::errc::result_out_of_range) {
    // Too large overflows; too small is zero.
    if (d.exponent + static_cast<int64_t>(d.digits.size()) > 0) {
      return Coerced<double>::Fail(kOverflowText);
    }
    return 0.0;
  }
  if (ec != std::errc()) return Coerced<double>::Fail(kTypeMismatchText);
  return value;
}

// Exact, without passing through a double.
Coerced<Currency> DecimalToCurrency(const DecimalText& d) {
  if (d.digits.empty()) return Currency{};
  const int64_t shift = d.exponent + 4;  // power of ten that turns digits into units
  const int64_t length = static_cast<int64_t>(d.digits.size());
  const int64_t whole_digits = length + shift;
  if (whole_digits > 19) return Coerced<Currency>::Fail(kOverflowText);
  int64_t units = 0;
  for (int64_t k = 0; k < std::min(length, whole_digits); ++k) {
    if (__builtin_mul_overflow(units, 10, &units) ||
        __builtin_add_overflow(units, d.digits[static_cast<size_t>(k)] - '0', &units)) {
      return Coerced<Currency>::Fail(kOverflowText);
    }
  }
  if (shift >= 0) {
    const auto scaled = ScaleUp(units, shift);
    if (!scaled) return Coerced<Currency>::Fail(kOverflowText);
    units = *scaled;
  } else if (whole_digits >= 0) {
    // Round on the dropped digits: above half up, exactly half to even.
    const std::string_view dropped =
        std::string_view(d.digits).substr(static_cast<size_t>(whole_digits));
    const bool above_half =
        dropped[0] > '5' ||
        (dropped[0] == '5' && dropped.find_first_not_of('0', 1) != std::string_view::npos);
    const bool half = dropped[0] == '5' && !above_half;
    if (above_half || (half && units % 2 != 0)) ++units;
  }
  return Currency{d.negative ? -units : units};
}

std::string FormatDouble(double value) {
  // 15 significant digits, trailing zeros dropped, "1E+20" for large numbers: the
  // till's own text for a double.
  std::array<char, 64> buffer{};
  const auto [end, ec] = std::to_chars(buffer.data(), buffer.data() + buffer.size(), value,
                                       std::chars_format::general, 15);
  std::string text(buffer.data(), ec == std::errc() ? end : buffer.data());
  std::string out;
  const std::string separator = DecimalSeparator();
  for (char c : text) {
    if (c == '.') {
      out += separator;
    } else {
      out += c == 'e' ? 'E' : c;
    }
  }
  return out;
}

std::string FormatCurrency(Currency value) {
  const bool negative = value.units < 0;
  const uint64_t magnitude =
      negative ? 0 - static_cast<uint64_t>(value.units) : static_cast<uint64_t>(value.units);
  std::string text = (negative ? "-" : "") + std::to_string(magnitude / Currency::kUnitsPerMajor);
  std::string fraction = std::to_string(magnitude % Currency::kUnitsPerMajor + 10'000).substr(1);
  while (!fraction.empty() && fraction.back() == '0') fraction.pop_back();
  if (!fraction.empty()) text += DecimalSeparator() + fraction;
  return text;
}

double ToOleDate(const DateTime& t) {
  const int64_t ms = t.ToSerialMs() + kUnixEpochInOleDays * kMsPerDay;
  int64_t days = ms / kMsPerDay;
  int64_t rest = ms % kMsPerDay;
  if (rest < 0) {
    rest += kMsPerDay;
    --days;
  }
  // Before day zero the whole part counts back and the fraction still counts forward:
  // -1.25 is 29 December 1899, 06:00.
  const double fraction = static_cast<double>(rest) / kMsPerDay;
  return days >= 0 ? static_cast<double>(days) + fraction : static_cast<double>(days) - fraction;
}

Coerced<DateTime> FromOleDate(double value) {
  if (!(value >= kOleDateMin && value < kOleDateMax)) return Coerced<DateTime>::Fail(kOverflowText);
  const double days = std::trunc(value);
  const auto rest = static_cast<int64_t>(std::llround(std::fabs(value - days) * kMsPerDay));
  const int64_t ms = static_cast<int64_t>(days) * kMsPerDay + rest;
  return DateTime::FromSerialMs(ms - kUnixEpochInOleDays * kMsPerDay);
}

std::string FormatDate(const DateTime& t) {
  char buffer[40];
  const bool has_date = !(t.year == 1899 && t.month == 12 && t.day == 30);
  const bool has_time = t.hour != 0 || t.minute != 0 || t.second != 0;
  if (has_date && !has_time) {
    std::snprintf(buffer, sizeof buffer, "%04d-%02d-%02d", t.year, t.month, t.day);
  } else if (!has_date) {
    std::snprintf(buffer, sizeof buffer, "%02d:%02d:%02d", t.hour, t.minute, t.second);
  } else {
    std::snprintf(buffer, sizeof buffer, "%04d-%02d-%02d %02d:%02d:%02d", t.year, t.month, t.day,
                  t.hour, t.minute, t.second);
  }
  return buffer;
}

std::optional<DateTime> ParseDate(std::string_view text) {
  DateTime t;  // day zero, midnight
  const std::string s(text);
  int a = 0, b = 0, c = 0, d = 0, e = 0, f = 0;
  char tail = 0;
  if (std::sscanf(s.c_str(), "%4d-%2d-%2d %2d:%2d:%2d%c", &a, &b, &c, &d, &e, &f, &tail) == 6) {
    t = MakeDateTime(a, b, c, d, e, f);
  } else if (std::sscanf(s.c_str(), "%4d-%2d-%2d%c", &a, &b, &c, &tail) == 3) {
    t = MakeDateTime(a, b, c);
  } else if (std::sscanf(s.c_str(), "%2d:%2d:%2d%c", &d, &e, &f, &tail) == 3) {
    t.hour = d, t.minute = e, t.second = f;
  } else {
    return std::nullopt;
  }
  if (!t.IsValid()) return std::nullopt;
  return t;
}

std::string_view TypeName(VariantType type) {
  switch (type) {
    case VariantType::kEmpty:
      return "Empty";
    case VariantType::kNull:
      return "Null";
    case VariantType::kInteger:
      return "Integer";
    case VariantType::kLong:
      return "Long";
    case VariantType::kDouble:
      return "Double";
    case VariantType::kCurrency:
      return "Currency";
    case VariantType::kDate:
      return "Date";
    case VariantType::kString:
      return "String";
    case VariantType::kObject:
      return "Object";
    case VariantType::kError:
      return "Error";
    case VariantType::kBoolean:
      return "Boolean";
  }
  return "?";
}

}  // namespace

Coerced<Currency> Currency::FromDouble(double value) {
  const double scaled = std::nearbyint(value * kUnitsPerMajor);
  // 2^63 is exactly representable; anything at or beyond it does not fit.
  if (!(scaled > -9.2233720368547758e18 && scaled < 9.2233720368547758e18)) {
    return Coerced<Currency>::Fail(kOverflowText);
  }
  return Currency{static_cast<int64_t>(scaled)};
}

Coerced<Currency> Currency::FromMinorUnits(int64_t amount, int32_t exponent) {
  // Widened first: an absurd exponent must not overflow the arithmetic on it.
  const int64_t e = exponent;
  if (e > 4) return Currency{ScaleDown(amount, e - 4)};
  const auto units = ScaleUp(amount, 4 - e);
  if (!units) return Coerced<Currency>::Fail(kOverflowText);
  return Currency{*units};
}

Coerced<int32_t> Currency::ToMinorUnits(int32_t exponent) const {
  const int64_t e = exponent;
  if (e < 4) return InRange<int32_t>(ScaleDown(units, 4 - e));
  const auto scaled = ScaleUp(units, e - 4);
  if (!scaled) return Coerced<int32_t>::Fail(kOverflowText);
  return InRange<int32_t>(*scaled);
}

VariantType Variant::type() const {
  static constexpr std::array<VariantType, 11> kTypes = {
      VariantType::kEmpty,   VariantType::kNull,   VariantType::kError,  VariantType::kBoolean,
      VariantType::kInteger, VariantType::kLong,   VariantType::kDouble, VariantType::kCurrency,
      VariantType::kDate,    VariantType::kString, VariantType::kObject};
  return kTypes[value_.index()];
}

bool Variant::IsMissing() const {
  return error_code() == kParamNotFound;
}

int32_t Variant::error_code() const {
  const auto* e = std::get_if<ErrorCode>(&value_);
  return e != nullptr ? e->code : 0;
}

Coerced<double> Variant::ToDouble() const {
  switch (type()) {
    case VariantType::kEmpty:
      return 0.0;
    case VariantType::kNull:
      return Coerced<double>::Fail(kInvalidUseOfNullText);
    case VariantType::kBoolean:
      return std::get<bool>(value_) ? -1.0 : 0.0;
    case VariantType::kInteger:
      return static_cast<double>(std::get<int16_t>(value_));
    case VariantType::kLong:
      return static_cast<double>(std::get<int32_t>(value_));
    case VariantType::kDouble:
      return std::get<double>(value_);
    case VariantType::kCurrency:
      return std::get<Currency>(value_).ToDouble();
    case VariantType::kDate:
      return ToOleDate(std::get<DateTime>(value_));
    case VariantType::kString: {
      const auto parsed = ParseDecimal(std::get<std::string>(value_));
      if (!parsed) return Coerced<double>::Fail(kTypeMismatchText);
      return DecimalToDouble(*parsed);
    }
    default:
      return Coerced<double>::Fail(kTypeMismatchText);
  }
}

Coerced<Currency> Variant::ToCurrency() const {
  switch (type()) {
    case VariantType::kInteger:
      return Currency{std::get<int16_t>(value_) * Currency::kUnitsPerMajor};
    case VariantType::kLong:
      return Currency{std::get<int32_t>(value_) * Currency::kUnitsPerMajor};
    case VariantType::kCurrency:
      return std::get<Currency>(value_);
    case VariantType::kString: {
      const auto parsed = ParseDecimal(std::get<std::string>(value_));
      if (!parsed) return Coerced<Currency>::Fail(kTypeMismatchText);
      return DecimalToCurrency(*parsed);
    }
    default: {
      const auto d = ToDouble();
      if (!d.ok()) return Coerced<Currency>::Fail(d.error());
      return Currency::FromDouble(d.value());
    }
  }
}

Coerced<int32_t> Variant::ToInt32() const {
  switch (type()) {
    case VariantType::kInteger:
      return static_cast<int32_t>(std::get<int16_t>(value_));
    case VariantType::kLong:
      return std::get<int32_t>(value_);
    case VariantType::kCurrency:
      return InRange<int32_t>(ScaleDown(std::get<Currency>(value_).units, 4));
    default: {
      const auto d = ToDouble();
      if (!d.ok()) return Coerced<int32_t>::Fail(d.error());
      return RoundDouble<int32_t>(d.value());
    }
  }
}

Coerced<int16_t> Variant::ToInt16() const {
  const auto l = ToInt32();
  if (!l.ok()) return Coerced<int16_t>::Fail(l.error());
  return InRange<int16_t>(l.value());
}

Coerced<bool> Variant::ToBool() const {
  switch (type()) {
    case VariantType::kBoolean:
      return std::get<bool>(value_);
    case VariantType::kCurrency:
      return std::get<Currency>(value_).units != 0;
    case VariantType::kString: {
      std::string_view s = std::get<std::string>(value_);
      while (!s.empty() && (s.front() == ' ' || s.front() == '\t')) s.remove_prefix(1);
      while (!s.empty() && (s.back() == ' ' || s.back() == '\t')) s.remove_suffix(1);
      if (EqualsIgnoringAsciiCase(s, "True")) return true;
      if (EqualsIgnoringAsciiCase(s, "False")) return false;
      [[fallthrough]];
    }
    default: {
      const auto d = ToDouble();
      if (!d.ok()) return Coerced<bool>::Fail(d.error());
      return d.value() != 0.0;
    }
  }
}

Coerced<DateTime> Variant::ToDate() const {
  switch (type()) {
    case VariantType::kDate:
      return std::get<DateTime>(value_);
    case VariantType::kString: {
      const auto parsed = ParseDate(std::get<std::string>(value_));
      if (!parsed) return Coerced<DateTime>::Fail(kTypeMismatchText);
      return *parsed;
    }
    default: {
      const auto d = ToDouble();
      if (!d.ok()) return Coerced<DateTime>::Fail(d.error());
      return FromOleDate(d.value());
    }
  }
}

Coerced<std::string> Variant::ToString() const {
  switch (type()) {
    case VariantType::kEmpty:
      return std::string();
    case VariantType::kNull:
      return Coerced<std::string>::Fail(kInvalidUseOfNullText);
    case VariantType::kBoolean:
      return std::string(std::get<bool>(value_) ? "True" : "False");
    case VariantType::kInteger:
      return std::to_string(std::get<int16_t>(value_));
    case VariantType::kLong:
      return std::to_string(std::get<int32_t>(value_));
    case VariantType::kDouble:
      return FormatDouble(std::get<double>(value_));
    case VariantType::kCurrency:
      return FormatCurrency(std::get<Currency>(value_));
    case VariantType::kDate:
      return FormatDate(std::get<DateTime>(value_));
    case VariantType::kString:
      return std::get<std::string>(value_);
    default:
      return Coerced<std::string>::Fail(kTypeMismatchText);
  }
}

Coerced<DispatchPtr> Variant::ToObject() const {
  if (const auto* object = std::get_if<DispatchPtr>(&value_)) return *object;
  return Coerced<DispatchPtr>::Fail(kTypeMismatchText);
}

Coerced<Variant> Variant::ChangeType(VariantType target) const {
  // Carries a conversion's outcome over into a Variant.
  const auto wrap = [](const auto& converted) -> Coerced<Variant> {
    if (!converted.ok()) return Coerced<Variant>::Fail(converted.error());
    return Variant(converted.value());
  };
  if (target == type()) return *this;
  switch (target) {
    case VariantType::kEmpty:
      return Variant();
    case VariantType::kNull:
      return Null();
    case VariantType::kBoolean:
      return wrap(ToBool());
    case VariantType::kInteger:
      return wrap(ToInt16());
    case VariantType::kLong:
      return wrap(ToInt32());
    case VariantType::kDouble:
      return wrap(ToDouble());
    case VariantType::kCurrency:
      return wrap(ToCurrency());
    case VariantType::kDate:
      return wrap(ToDate());
    case VariantType::kString:
      return wrap(ToString());
    case VariantType::kObject:
      return wrap(ToObject());
    case VariantType::kError:
      break;
  }
  return Coerced<Variant>::Fail(kTypeMismatchText);
}

std::string Variant::Describe() const {
  std::string text(TypeName(type()));
  switch (type()) {
    case VariantType::kEmpty:
    case VariantType::kNull:
      return text;
    case VariantType::kError:
      return text + " " + std::to_string(error_code());
    case VariantType::kObject:
      return std::get<DispatchPtr>(value_) == nullptr ? "Nothing" : text;
    case VariantType::kString:
      return text + " \"" + std::get<std::string>(value_) + "\"";
    default:
      return text + " " + ToString().value_or("?");
  }
}

void PrintTo(const Variant& value, std::ostream* os) {
  *os << value.Describe();
}

}  // namespace ccaddin
