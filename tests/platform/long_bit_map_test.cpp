#include "platform/long_bit_map.h"

#include <gtest/gtest.h>

#include <climits>
#include <string>

namespace ccaddin {
namespace {

TEST(TLongBitMap, FlagsFollowTheBitsOfTheWord) {
  TLongBitMap map;
  EXPECT_EQ(map.GetBitMapAsBinaryString(), std::string(32, '0'));
  map.SetBitMap(5);
  EXPECT_TRUE(map.GetField(0));
  EXPECT_FALSE(map.GetField(1));
  EXPECT_TRUE(map.GetField(2));
  EXPECT_EQ(map.GetBitMapAsBinaryString(), std::string(29, '0') + "101");

  map.SetBitMap(-1);
  EXPECT_EQ(map.GetBitMap(), -1);
  EXPECT_EQ(map.GetBitMapAsBinaryString(), std::string(32, '1'));
}

TEST(TLongBitMap, FlagThirtyOneIsTheSignBit) {
  TLongBitMap map;
  map.SetField(31, true);
  EXPECT_EQ(map.GetBitMap(), INT32_MIN);
  EXPECT_EQ(map.GetBitMapAsBinaryString(), "1" + std::string(31, '0'));
  map.SetBitMap(INT32_MAX);
  EXPECT_FALSE(map.GetField(31));
  EXPECT_TRUE(map.GetField(30));
  map.SetField(0, false);
  map.SetField(30, false);
  EXPECT_EQ(map.GetBitMap(), INT32_MAX - 1 - (1 << 30));
}

TEST(TLongBitMap, FlagNumbersOutsideTheWordChangeNothing) {
  TLongBitMap map;
  map.SetBitMap(0x12345678);
  for (int32_t n : {-1, 32, 33, 64, 1000, INT32_MIN, INT32_MAX}) {
    map.SetField(n, true);
    map.SetField(n, false);
    EXPECT_EQ(map.GetBitMap(), 0x12345678) << n;
  }
  map.SetBitMap(-1);
  for (int32_t n : {-1, 32, INT32_MIN}) EXPECT_FALSE(map.GetField(n)) << n;
}

}  // namespace
}  // namespace ccaddin
