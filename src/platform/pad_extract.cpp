#include "platform/pad_extract.h"

#include <algorithm>
#include <cstddef>

namespace ccaddin {

std::string PadExtract::PadString(const std::string& strValue, int16_t iPad, int32_t lMaxLen) {
  if (lMaxLen <= 0) return {};
  const size_t width = static_cast<size_t>(lMaxLen);
  if (strValue.size() >= width) return strValue.substr(0, width);
  const std::string fill(width - strValue.size(), iPad == 1 || iPad == 3 ? ' ' : '0');
  return iPad == 0 || iPad == 1 ? strValue + fill : fill + strValue;
}

std::string PadExtract::ExtractData(const std::string& strPacket, int32_t lStart,
                                    int16_t iDelimiter, int32_t lMaxLen) {
  if (lStart < 1 || lMaxLen <= 0 || static_cast<size_t>(lStart) > strPacket.size()) return {};
  const size_t first = static_cast<size_t>(lStart) - 1;
  const size_t window = std::min(strPacket.size() - first, static_cast<size_t>(lMaxLen));
  size_t length = 0;
  while (length < window && static_cast<unsigned char>(strPacket[first + length]) != iDelimiter) {
    ++length;
  }
  return strPacket.substr(first, length);
}

std::string PadExtract::StripPadding(int16_t iPad, const std::string& strPacket) {
  switch (iPad) {
    case 0: {
      const size_t last = strPacket.find_last_not_of('0');
      if (last != std::string::npos) return strPacket.substr(0, last + 1);
      return strPacket.empty() ? std::string() : std::string("0");
    }
    case 1:
    case 2: {
      const size_t first = strPacket.find_first_not_of(iPad == 1 ? ' ' : '0');
      return first == std::string::npos ? std::string() : strPacket.substr(first);
    }
    case 3: {
      const size_t last = strPacket.find_last_not_of(' ');
      return last == std::string::npos ? std::string() : strPacket.substr(0, last + 1);
    }
    default:
      return {};
  }
}

}  // namespace ccaddin
