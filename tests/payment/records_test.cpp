#include <gtest/gtest.h>

#include <type_traits>

#include "ccaddin/records.h"

namespace ccaddin {
namespace {

TEST(TransactionInfo, MembersFollowInterfaceOrderWithNewRecordDefaults) {
  // Designated initialisers must follow declaration order, so this fails to compile if a
  // property moves out of the published interface order.
  const TTransactionInfo full{.strAuthorisationCode = "A1",
                              .lTransactionRefNo = 2,
                              .lResponseCode = TRANSINFO_RC_DECLINED,
                              .strPanFirst6Digits = "476173",
                              .strPanLast4Digits = "0010",
                              .strSchemeName = "VISA",
                              .strEmvAppicationLabel = "VISA DEBIT",
                              .strEmvAppicationId = "A0000000031010",
                              .strMerchantNo = "M",
                              .strTerminalId = "T",
                              .strCurrencyCode = "826",
                              .lCustomerVerification = TRANSINFO_CV_PIN,
                              .lCashbackAmount = 13,
                              .lDataEntryMethod = TRANSINFO_DE_CHIP,
                              .lCardClass = TRANSINFO_CC_FUEL,
                              .bFuelBunkerCard = true,
                              .bPrintFuelBunkerTotal = true,
                              .lCustomerMileage = 18,
                              .strCustomerRegNo = "AB12CDE",
                              .strCustomerReceipt = "R",
                              .strToken = "TOK",
                              .strFuelProducts = "P"};
  (void)full;

  const TTransactionInfo fresh;
  EXPECT_EQ(fresh.lResponseCode, TRANSINFO_RC_NONE);
  EXPECT_EQ(fresh.lCustomerVerification, TRANSINFO_CV_NONE);
  EXPECT_EQ(fresh.lDataEntryMethod, TRANSINFO_DE_NONE);
  EXPECT_EQ(fresh.lCardClass, TRANSINFO_CC_CREDITDEBIT);
  EXPECT_EQ(fresh.lTransactionRefNo, 0);
  EXPECT_EQ(fresh.lCashbackAmount, 0);
  EXPECT_EQ(fresh.lCustomerMileage, 0);
  EXPECT_FALSE(fresh.bFuelBunkerCard);
  EXPECT_FALSE(fresh.bPrintFuelBunkerTotal);
  EXPECT_TRUE(fresh.strAuthorisationCode.empty() && fresh.strToken.empty() &&
              fresh.strFuelProducts.empty() && fresh.strCustomerReceipt.empty());

  const TTillInformation till{.strMerchantName = "Forecourt",
                              .strAddressLine1 = "1",
                              .strAddressLine2 = "2",
                              .strAddressLine3 = "3",
                              .strSitePhoneNumber = "0",
                              .strTillNumber = "01",
                              .strStoreNumber = "0042",
                              .strReceiptNumber = "77"};
  (void)till;
}

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
