#include <gtest/gtest.h>

#include <type_traits>

#include "ccaddin/records.h"

namespace ccaddin {
namespace {

TEST(Enumerations, AreThirtyTwoBitWithThePublishedNumbers) {
  static_assert(std::is_same_v<std::underlying_type_t<TRANSINFO_RESPONSECODE>, int32_t>);
  static_assert(std::is_same_v<std::underlying_type_t<BELLWARD_TASKTYPE>, int32_t>);
  // The numbers a till has compiled against; spot checks across every family.
  EXPECT_EQ(TRANSINFO_RC_REFERRED, 4);
  EXPECT_EQ(TRANSINFO_CV_PINANDSIGNATURE, 3);
  EXPECT_EQ(TRANSINFO_DE_TAPPED, 4);
  EXPECT_EQ(TRANSINFO_CC_FUEL, 1);
  EXPECT_EQ(TAM_TT_FINALAUTH, 3);
  EXPECT_EQ(TAM_TM_ECOMMERCE, 3);
  EXPECT_EQ(RECEIPTTYPE_CUSTOMERCANCELLED, 6);
  EXPECT_EQ(CONFIRMTYPE_CANCELLED, 2);
  EXPECT_EQ(CONFIRMATIONTYPE_DECLINED, 1);
  EXPECT_EQ(DATAENTRY_SWIPE, 1);
  EXPECT_EQ(RETURNCODE_CASHBACKALLOWED, 3);
  EXPECT_EQ(FUELBALANCE_RC_CARDNOTFOUND, 6);
  EXPECT_EQ(REPORTHOOK_RT_XREPORT, 1);
  EXPECT_EQ(TASK_CLOSEBATCH, 2);
}

TEST(ComBool, TrueIsAllBitsAndAnyNonZeroReadsTrue) {
  EXPECT_EQ(ToComBool(true), -1);
  EXPECT_EQ(ToComBool(false), 0);
  EXPECT_TRUE(FromComBool(1));  // a till that writes C's 1 still means True
  EXPECT_TRUE(FromComBool(kComTrue));
  EXPECT_FALSE(FromComBool(kComFalse));
}

}  // namespace
}  // namespace ccaddin
