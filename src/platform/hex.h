// Converts between bytes or characters and hexadecimal text, as held by the settings
// for printer control sequences and card-reader sentinels. A THex is a small value
// owned by its caller; it keeps only its last failure text. Nothing here blocks.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace ccaddin {

// Results are 0 on success and 1 on failure (text in strErrorMessage). Hex digits are
// written in upper case; on reading, upper and lower case are both accepted. Reading
// is strict, because a wrong printer or card-reader byte is worse than none: an odd
// number of digits, or any character that is not a hex digit, fails with a description
// and leaves the output untouched.
class THex {
 public:
  // Appends two digits per byte, high half first, for elements 0 to lNoBytes - 1.
  // Fails when btIn holds fewer than lNoBytes elements.
  [[nodiscard]] int16_t ConvertByteArrayToHexString(const std::vector<uint8_t>& btIn,
                                                    int32_t lNoBytes, std::string& strOut);
  // Appends two digits per character of strInBuffer (its Windows-1252 code).
  [[nodiscard]] int16_t ConvertCharStringToHexString(const std::string& strInBuffer,
                                                     std::string& strHex);
  // Replaces btOut with one byte per pair of digits.
  [[nodiscard]] int16_t ConvertHexStringToByteArray(const std::string& strHex,
                                                    std::vector<uint8_t>& btOut);
  // Replaces strOutString with one character per pair of digits.
  [[nodiscard]] int16_t ConvertHexStringToCharString(const std::string& strHex,
                                                     std::string& strOutString);

  // The last failure; a later success does not clear it.
  [[nodiscard]] const std::string& strErrorMessage() const { return error_message_; }

 private:
  [[nodiscard]] int16_t Decode(const std::string& strHex, const char* failure_prefix,
                               std::string& bytes);

  std::string error_message_;
};

}  // namespace ccaddin
