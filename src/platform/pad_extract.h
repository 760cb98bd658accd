// Fixed-width text fields: padding and cutting receipt and report columns, taking a
// delimited piece out of a packet, and removing fill again. Stateless and
// non-blocking; bad arguments give an empty or cut text, never a failure.
#pragma once

#include <cstdint>
#include <string>

namespace ccaddin {

class PadExtract {
 public:
  // The fill kind iPad:  0 "0" on the right, 1 space on the right, 2 "0" on the left,
  // 3 space on the left; any other value fills with "0" on the left.
  // Pads strValue to exactly lMaxLen characters, or cuts it to its first lMaxLen
  // characters when it is not shorter. lMaxLen of 0 or less gives the empty text.
  [[nodiscard]] static std::string PadString(const std::string& strValue, int16_t iPad,
                                             int32_t lMaxLen);

  // The characters of strPacket from the 1-based position lStart up to, not including,
  // the first one whose code is iDelimiter, looking at no more than lMaxLen characters
  // (the delimiter counts among them). A start before 1 or past the end, or lMaxLen of
  // 0 or less, gives the empty text.
  [[nodiscard]] static std::string ExtractData(const std::string& strPacket, int32_t lStart,
                                               int16_t iDelimiter, int32_t lMaxLen);

  // Removes fill: 0 trailing "0" characters (an all-zero text keeps one "0"), 1 leading
  // spaces, 2 leading "0" characters (an all-zero text becomes empty), 3 trailing
  // spaces. Kinds 1 and 3 clean the side opposite the one PadString fills; callers
  // pick the kind that matches their data. Any other kind gives the empty text.
  [[nodiscard]] static std::string StripPadding(int16_t iPad, const std::string& strPacket);
};

}  // namespace ccaddin
