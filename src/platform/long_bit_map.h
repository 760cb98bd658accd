// A 32-bit integer seen as 32 numbered flags (0 to 31, flag 31 being the sign bit),
// as the serial port's control-block flag word is handled. A plain value; it never
// fails: flag numbers outside 0 to 31 change nothing and read as False.
#pragma once

#include <cstdint>
#include <string>

namespace ccaddin {

class TLongBitMap {
 public:
  // Flag n becomes bit n of lValue.
  void SetBitMap(int32_t lValue);
  // The integer whose bit n is flag n.
  [[nodiscard]] int32_t GetBitMap() const;
  void SetField(int32_t lFieldNumber, bool bTurnOn);
  [[nodiscard]] bool GetField(int32_t lFieldNumber) const;
  // 32 characters "0" or "1", flag 31 first and flag 0 last.
  [[nodiscard]] std::string GetBitMapAsBinaryString() const;

 private:
  uint32_t flags_ = 0;
};

}  // namespace ccaddin
