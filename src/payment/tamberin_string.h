// TamberinString: text-to-number conversions that never fail, for settings, server fields
// and saved records where a bad number must count as 0 rather than stop the caller.
// Stateless; reads the locale's decimal separator through the Env. Nothing blocks.
#pragma once

#include <cstdint>
#include <string>

namespace ccaddin {

class TamberinString {
 public:
  // Blanks around the number, a sign, the locale's decimal separator and an
  // exponent are accepted; fractions round halves to even. Anything else (empty text,
  // letters, a value beyond the type) gives 0.
  [[nodiscard]] static int32_t StrToLong(const std::string& strValue) noexcept;
  [[nodiscard]] static int16_t StrToInt(const std::string& strValue) noexcept;
  [[nodiscard]] static double StrToDouble(const std::string& strValue) noexcept;
};

}  // namespace ccaddin
