// The value that crosses a call by member name: to and from the till's own objects and,
// through the C ABI, into the component's classes. A Variant owns its text and holds a
// shared reference to an object; conversions follow the late-binding coercion rules
// and report failure in their result, never by throwing. Nothing here blocks.
#pragma once

#include <compare>
#include <concepts>
#include <cstdint>
#include <iosfwd>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <variant>

#include "platform/date_time.h"
#include "platform/trap.h"

namespace ccaddin {

class Dispatch;
using DispatchPtr = std::shared_ptr<Dispatch>;

// Descriptions of the run-time errors that coercions raise, as the till's developers
// know them from late-bound code.
inline constexpr std::string_view kTypeMismatchText = "Type mismatch";
inline constexpr std::string_view kOverflowText = "Overflow";
inline constexpr std::string_view kInvalidUseOfNullText = "Invalid use of Null";

// The outcome of a conversion: a value, or the description of why there is none.
template <typename T>
class [[nodiscard]] Coerced {
 public:
  Coerced(T value) : value_(std::move(value)) {}  // NOLINT: a value is a success
  [[nodiscard]] static Coerced Fail(std::string_view error) {
    Coerced c;
    c.error_ = error;
    return c;
  }

  [[nodiscard]] bool ok() const { return value_.has_value(); }
  // Only meaningful when ok().
  [[nodiscard]] const T& value() const { return *value_; }
  [[nodiscard]] const std::string& error() const { return error_; }
  [[nodiscard]] T value_or(T fallback) const { return ok() ? *value_ : std::move(fallback); }
  // For code that runs inside Trap: the failure becomes the operation's error text.
  [[nodiscard]] T OrThrow() const {
    if (!ok()) throw Failure(error_);
    return *value_;
  }

 private:
  Coerced() = default;
  std::optional<T> value_;
  std::string error_;
};

// The host's currency type: a 64-bit count of ten-thousandths of the major unit. Kept
// exact rather than as a double because tender amounts are scaled to minor units,
// added and written back: a double holds 2.675 as 2.67499999..., which rounds to 267
// pence where the till itself (and the customer) expect 268.
struct Currency {
  static constexpr int64_t kUnitsPerMajor = 10'000;
  int64_t units = 0;

  [[nodiscard]] static constexpr Currency FromUnits(int64_t units) { return Currency{units}; }
  // Rounds to the nearest ten-thousandth, halves to even; "Overflow" outside the range.
  [[nodiscard]] static Coerced<Currency> FromDouble(double value);
  // lAmount whole minor units of a currency with `exponent` decimals (150 at 2 is 1.5).
  [[nodiscard]] static Coerced<Currency> FromMinorUnits(int64_t amount, int32_t exponent);

  [[nodiscard]] double ToDouble() const { return static_cast<double>(units) / kUnitsPerMajor; }
  // The amount in whole minor units, rounded halves to even as the till rounds to a
  // Long; "Overflow" when it does not fit in 32 bits.
  [[nodiscard]] Coerced<int32_t> ToMinorUnits(int32_t exponent) const;

  friend auto operator<=>(const Currency&, const Currency&) = default;
};

// Type codes are the COM variant type numbers, so that the C ABI passes them unchanged.
enum class VariantType : uint16_t {
  kEmpty = 0,
  kNull = 1,
  kInteger = 2,  // 16-bit
  kLong = 3,     // 32-bit
  kDouble = 5,
  kCurrency = 6,
  kDate = 7,
  kString = 8,
  kObject = 9,
  kError = 10,  // an error code; "missing" is the error code of an omitted argument
  kBoolean = 11,
};

// The error code that marks an optional argument the caller left out.
inline constexpr int32_t kParamNotFound = static_cast<int32_t>(0x80020004u);

class Variant {
 public:
  Variant() = default;                        // Empty
  Variant(bool value) : value_(value) {}      // NOLINT: values convert implicitly, as in the till
  Variant(int16_t value) : value_(value) {}   // NOLINT
  Variant(int32_t value) : value_(value) {}   // NOLINT
  Variant(double value) : value_(value) {}    // NOLINT
  Variant(Currency value) : value_(value) {}  // NOLINT
  Variant(DateTime value) : value_(value) {}  // NOLINT
  Variant(std::string value) : value_(std::move(value)) {}         // NOLINT
  Variant(const char* value) : value_(std::string(value)) {}       // NOLINT
  Variant(std::string_view value) : value_(std::string(value)) {}  // NOLINT
  // Any object; a null pointer is the till's Nothing.
  template <typename D>
  requires std::convertible_to<D*, Dispatch*> Variant(std::shared_ptr<D> object)  // NOLINT
      : value_(DispatchPtr(std::move(object))) {}
  Variant(std::nullptr_t) : value_(DispatchPtr()) {}  // NOLINT: Nothing

  [[nodiscard]] static Variant Null() { return Variant(NullTag{}); }
  [[nodiscard]] static Variant Error(int32_t code) { return Variant(ErrorCode{code}); }
  [[nodiscard]] static Variant Missing() { return Error(kParamNotFound); }

  [[nodiscard]] VariantType type() const;
  [[nodiscard]] bool IsEmpty() const { return type() == VariantType::kEmpty; }
  [[nodiscard]] bool IsNull() const { return type() == VariantType::kNull; }
  [[nodiscard]] bool IsMissing() const;
  [[nodiscard]] bool IsObject() const { return type() == VariantType::kObject; }
  // The error code of an Error variant, else 0.
  [[nodiscard]] int32_t error_code() const;

  // Coercions. Empty reads as 0, False, "" or the zero date; Null fails with "Invalid
  // use of Null"; an object, an error code or unreadable text fails with "Type
  // mismatch"; a number outside the target's range fails with "Overflow". Numbers
  // round halves to even. Text takes the locale's decimal separator (and "." as well,
  // never as a thousands separator); numbers become text with it.
  [[nodiscard]] Coerced<bool> ToBool() const;
  [[nodiscard]] Coerced<int16_t> ToInt16() const;
  [[nodiscard]] Coerced<int32_t> ToInt32() const;
  [[nodiscard]] Coerced<double> ToDouble() const;
  [[nodiscard]] Coerced<Currency> ToCurrency() const;
  // Numbers are days since 30 December 1899, the fraction being the time of day. Text
  // is read in the form ToString writes: "YYYY-MM-DD", "hh:mm:ss" or both.
  [[nodiscard]] Coerced<DateTime> ToDate() const;
  // Booleans are "True"/"False"; doubles keep 15 significant digits.
  [[nodiscard]] Coerced<std::string> ToString() const;
  // Only an object (or Nothing, a null pointer) converts to an object.
  [[nodiscard]] Coerced<DispatchPtr> ToObject() const;
  // The same value as another type (the till's property of a declared type does this
  // to whatever it is given).
  [[nodiscard]] Coerced<Variant> ChangeType(VariantType target) const;

  // Same type and same value; objects compare by identity.
  friend bool operator==(const Variant&, const Variant&) = default;

  // For test failure messages and logs: type and value, e.g. "Long 12".
  [[nodiscard]] std::string Describe() const;

 private:
  struct NullTag {
    friend bool operator==(NullTag, NullTag) = default;
  };
  struct ErrorCode {
    int32_t code;
    friend bool operator==(ErrorCode, ErrorCode) = default;
  };
  explicit Variant(NullTag tag) : value_(tag) {}
  explicit Variant(ErrorCode code) : value_(code) {}

  std::variant<std::monostate, NullTag, ErrorCode, bool, int16_t, int32_t, double, Currency,
               DateTime, std::string, DispatchPtr>
      value_;
};

// gtest prints variants through this.
void PrintTo(const Variant& value, std::ostream* os);

}  // namespace ccaddin
