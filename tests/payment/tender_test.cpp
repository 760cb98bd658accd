#include <gtest/gtest.h>

#include <limits>

#include "payment/tender.h"

namespace ccaddin {
namespace {

TEST(Tender, TotalsCountOnlyAuthorisedParts) {
  TTender tender;
  ASSERT_TRUE(tender.InitialiseTender(0, 600, 50, 1000));
  ASSERT_TRUE(tender.InitialiseTender(1, 400, 20, 500));
  ASSERT_TRUE(tender.InitialiseTender(2, 300, 10, 0));
  tender.UpdateState(0, TTender::kStateAuthorised);
  tender.UpdateState(1, TTender::kStateDeclined);  // part 2 stays pending
  EXPECT_EQ(tender.GetTotalSaleAmount(), 600);
  EXPECT_EQ(tender.GetTotalGratuityAmount(), 50);
  EXPECT_EQ(tender.GetTotalCashAmount(), 1000);

  // A declined part processed again and authorised now counts.
  tender.UpdateState(1, TTender::kStateAuthorised);
  tender.UpdateCashAmount(1, 0);
  EXPECT_EQ(tender.GetTotalSaleAmount(), 1000);
  EXPECT_EQ(tender.GetTotalCashAmount(), 1000);

  TTender empty;
  EXPECT_EQ(empty.GetTotalSaleAmount(), 0);
  EXPECT_EQ(empty.GetState(0), 0);
}

TEST(Tender, PartsKeepTheirOwnFieldsAndInitialiseRestartsAPart) {
  TTender tender;
  tender.InitialiseTender(0, 1000, 100, 0);
  tender.UpdateTransRefNo(0, 4711);
  tender.UpdateAuthCode(0, "AB1234");
  tender.UpdateState(0, TTender::kStateCancelled);
  tender.UpdateSaleAmount(1, 250);
  EXPECT_EQ(tender.GetSaleAmount(0), 1000);
  EXPECT_EQ(tender.GetGratuityAmount(0), 100);
  EXPECT_EQ(tender.GetTransRefNo(0), 4711);
  EXPECT_EQ(tender.GetAuthCode(0), "AB1234");
  EXPECT_EQ(tender.GetSaleAmount(1), 250);
  EXPECT_EQ(tender.GetAuthCode(1), "");

  tender.InitialiseTender(0, 700, 0, 300);
  EXPECT_EQ(tender.GetSaleAmount(0), 700);
  EXPECT_EQ(tender.GetCashAmount(0), 300);
  EXPECT_EQ(tender.GetTransRefNo(0), 0);
  EXPECT_EQ(tender.GetState(0), TTender::kStatePending);
  EXPECT_TRUE(tender.strErrorMessage().empty());
}

TEST(Tender, IndexOutsideTheThreePartsIsRejectedAsOutOfRange) {
  TTender tender;
  tender.InitialiseTender(2, 900, 0, 0);
  EXPECT_FALSE(tender.InitialiseTender(3, 1, 1, 1));
  EXPECT_EQ(tender.strErrorMessage(), "TTender.InitialiseTender() Failed - Subscript out of range");
  EXPECT_FALSE(tender.UpdateAuthCode(-1, "X"));
  EXPECT_EQ(tender.strErrorMessage(), "TTender.UpdateAuthCode() Failed - Subscript out of range");
  EXPECT_EQ(tender.GetSaleAmount(std::numeric_limits<int32_t>::max()), 0);
  EXPECT_EQ(tender.strErrorMessage(), "TTender.GetSaleAmount() Failed - Subscript out of range");
  EXPECT_EQ(tender.GetAuthCode(3), "");
  EXPECT_EQ(tender.strErrorMessage(), "TTender.GetAuthCode() Failed - Subscript out of range");

  // Nothing else moved, and a later success does not clear the message.
  EXPECT_EQ(tender.GetSaleAmount(2), 900);
  EXPECT_EQ(tender.strErrorMessage(), "TTender.GetAuthCode() Failed - Subscript out of range");
}

TEST(Tender, TotalPastThirtyTwoBitsIsReportedNotWrapped) {
  TTender tender;
  for (int32_t i = 0; i < TTender::kTenderCount; ++i) {
    tender.InitialiseTender(i, std::numeric_limits<int32_t>::max(), 0, 0);
    tender.UpdateState(i, TTender::kStateAuthorised);
  }
  EXPECT_EQ(tender.GetTotalSaleAmount(), 0);
  EXPECT_EQ(tender.strErrorMessage(), "TTender.GetTotalSaleAmount() Failed - Overflow");
}

}  // namespace
}  // namespace ccaddin
