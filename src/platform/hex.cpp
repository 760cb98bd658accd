#include "platform/hex.h"

#include <cstddef>
#include <utility>

#include "platform/trap.h"

namespace ccaddin {

namespace {

constexpr char kDigits[] = "0123456789ABCDEF";

void AppendHex(std::string& out, unsigned char byte) {
  out += kDigits[byte >> 4];
  out += kDigits[byte & 0x0F];
}

int DigitValue(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  return -1;
}

// Names the offending character so that whoever typed the setting can find it; control
// and non-ASCII bytes are shown by code because they would not print.
[[noreturn]] void ThrowBadDigit(char c, size_t index) {
  const auto code = static_cast<unsigned char>(c);
  const std::string shown = code >= 0x20 && code < 0x7F ? "\"" + std::string(1, c) + "\""
                                                        : "(code " + std::to_string(code) + ")";
  throw Failure("Invalid hex digit " + shown + " at position " + std::to_string(index + 1));
}

}  // namespace

int16_t THex::ConvertByteArrayToHexString(const std::vector<uint8_t>& btIn, int32_t lNoBytes,
                                          std::string& strOut) {
  return Trap(error_message_, "THex.ConvertByteArrayTohexString() Failed - ", int16_t{1}, [&] {
    if (lNoBytes > 0 && static_cast<size_t>(lNoBytes) > btIn.size()) {
      throw Failure("Subscript out of range");
    }
    std::string hex;
    for (int32_t i = 0; i < lNoBytes; ++i) AppendHex(hex, btIn[static_cast<size_t>(i)]);
    strOut += hex;
    return int16_t{0};
  });
}

int16_t THex::ConvertCharStringToHexString(const std::string& strInBuffer, std::string& strHex) {
  return Trap(error_message_, "THex.ConvertCharStringToHexString() Failed - ", int16_t{1}, [&] {
    std::string hex;
    hex.reserve(strInBuffer.size() * 2);
    for (char c : strInBuffer) AppendHex(hex, static_cast<unsigned char>(c));
    strHex += hex;
    return int16_t{0};
  });
}

int16_t THex::ConvertHexStringToByteArray(const std::string& strHex, std::vector<uint8_t>& btOut) {
  std::string bytes;
  if (Decode(strHex, "THex.ConvertHexStringToByteArray() Failed - ", bytes) != 0) return 1;
  return Trap(error_message_, "THex.ConvertHexStringToByteArray() Failed - ", int16_t{1}, [&] {
    btOut.assign(bytes.begin(), bytes.end());
    return int16_t{0};
  });
}

int16_t THex::ConvertHexStringToCharString(const std::string& strHex, std::string& strOutString) {
  std::string chars;
  if (Decode(strHex, "THex.ConvertHexStringToCharString() Failed - ", chars) != 0) return 1;
  strOutString = std::move(chars);
  return 0;
}

int16_t THex::Decode(const std::string& strHex, const char* failure_prefix, std::string& bytes) {
  if (strHex.size() < 2) {
    error_message_ = "Invalid hex string. must be greater 1 char in length";
    return 1;
  }
  return Trap(error_message_, failure_prefix, int16_t{1}, [&] {
    if (strHex.size() % 2 != 0) {
      throw Failure("Odd number of hex digits (" + std::to_string(strHex.size()) + ")");
    }
    std::string out;
    out.reserve(strHex.size() / 2);
    for (size_t i = 0; i < strHex.size(); i += 2) {
      const int high = DigitValue(strHex[i]);
      if (high < 0) ThrowBadDigit(strHex[i], i);
      const int low = DigitValue(strHex[i + 1]);
      if (low < 0) ThrowBadDigit(strHex[i + 1], i + 1);
      out += static_cast<char>(high * 16 + low);
    }
    bytes = std::move(out);
    return int16_t{0};
  });
}

}  // namespace ccaddin
