#include "payment/tamberin_string.h"

#include "platform/locale_number.h"

namespace ccaddin {

int32_t TamberinString::StrToLong(const std::string& strValue) noexcept {
  try {
    int32_t value = 0;
    return ParseLocaleInt32(strValue, CurrentDecimalSeparator(), &value) ? value : 0;
  } catch (...) {
    return 0;
  }
}

int16_t TamberinString::StrToInt(const std::string& strValue) noexcept {
  try {
    int16_t value = 0;
    return ParseLocaleInt16(strValue, CurrentDecimalSeparator(), &value) ? value : 0;
  } catch (...) {
    return 0;
  }
}

double TamberinString::StrToDouble(const std::string& strValue) noexcept {
  try {
    double value = 0;
    return ParseLocaleDouble(strValue, CurrentDecimalSeparator(), &value) ? value : 0;
  } catch (...) {
    return 0;
  }
}

}  // namespace ccaddin
