#include "platform/long_bit_map.h"

namespace ccaddin {

namespace {

bool IsFlagNumber(int32_t n) {
  return n >= 0 && n <= 31;
}

}  // namespace

void TLongBitMap::SetBitMap(int32_t lValue) {
  flags_ = static_cast<uint32_t>(lValue);
}

int32_t TLongBitMap::GetBitMap() const {
  return static_cast<int32_t>(flags_);
}

void TLongBitMap::SetField(int32_t lFieldNumber, bool bTurnOn) {
  if (!IsFlagNumber(lFieldNumber)) return;
  const uint32_t mask = uint32_t{1} << lFieldNumber;
  flags_ = bTurnOn ? flags_ | mask : flags_ & ~mask;
}

bool TLongBitMap::GetField(int32_t lFieldNumber) const {
  return IsFlagNumber(lFieldNumber) && ((flags_ >> lFieldNumber) & 1u) != 0;
}

std::string TLongBitMap::GetBitMapAsBinaryString() const {
  std::string bits(32, '0');
  for (int n = 0; n < 32; ++n) {
    if ((flags_ >> n) & 1u) bits[31 - n] = '1';
  }
  return bits;
}

}  // namespace ccaddin
