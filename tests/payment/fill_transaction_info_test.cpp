#include <gtest/gtest.h>

#include <string>

#include "payment/credit_card_common.h"
#include "support/receipt_case.h"

namespace ccaddin {
namespace {

// A chip sale authorised online, its card number masked as the server returns it.
QlTransaction Authorised() {
  return testing::ReadReceiptCase("authorised_chip", "records").trans;
}

// A record that a till reused: every field holds something the fills may or may not touch.
TTransactionInfo Reused() {
  TTransactionInfo info;
  info.strAuthorisationCode = "OLD";
  info.lTransactionRefNo = 1;
  info.lResponseCode = TRANSINFO_RC_REFERRED;
  info.strPanFirst6Digits = "111111";
  info.strPanLast4Digits = "9999";
  info.lCustomerVerification = TRANSINFO_CV_PINANDSIGNATURE;
  info.lDataEntryMethod = TRANSINFO_DE_SWIPED;
  info.lCashbackAmount = 77;
  info.strToken = "OLD TOKEN";
  info.strCustomerReceipt = "OLD RECEIPT";
  info.strFuelProducts = "OLD PRODUCTS";
  return info;
}

class FillTest : public ::testing::Test {
 protected:
  void SetUp() override {
    Shared().oTender = std::make_unique<TTender>();
    Shared().oTender->InitialiseTender(0, 1000, 0, 200);
    Shared().oTender->UpdateState(0, TTender::kStateAuthorised);
    Shared().strLastCustomerReceipt = "CUSTOMER COPY";
    Shared().strFuelProductText = "001 UNLEADED 20.00L 2450";
  }
  TTransactionInfo Interactive(const QlTransaction& t, int32_t tender_index = -1,
                               TTransactionInfo info = TTransactionInfo{}) {
    Shared().CloneTransaction(t);
    Shared().FillTransactionInfo(info, tender_index);
    return info;
  }
  TTransactionInfo Programmatic(const QlTransaction& t,
                                TTransactionInfo info = TTransactionInfo{}) {
    Shared().FillTransactionInfoFromTrans(t, info);
    return info;
  }
  ScopedSharedState scoped_;
};

TEST_F(FillTest, AuthorisedTransactionFillsTheWholeRecord) {
  const TTransactionInfo info = Interactive(Authorised());
  EXPECT_EQ(info.lResponseCode, TRANSINFO_RC_AUTHORISED);
  EXPECT_EQ(info.strAuthorisationCode, "A12345");
  EXPECT_EQ(info.lTransactionRefNo, 4711);
  EXPECT_EQ(info.lCashbackAmount, 200);  // the ledger's authorised cashback
  EXPECT_EQ(info.strPanFirst6Digits, "476173");
  EXPECT_EQ(info.strPanLast4Digits, "0010");
  EXPECT_EQ(info.strSchemeName, "VISA");
  EXPECT_EQ(info.strEmvAppicationLabel, "VISA DEBIT");
  EXPECT_EQ(info.strEmvAppicationId, "A0000000031010");
  EXPECT_EQ(info.strMerchantNo, "4971234567");
  EXPECT_EQ(info.strTerminalId, "22160001");
  EXPECT_EQ(info.strCurrencyCode, "826");
  EXPECT_EQ(info.lCustomerVerification, TRANSINFO_CV_PIN);
  EXPECT_EQ(info.lDataEntryMethod, TRANSINFO_DE_CHIP);
  EXPECT_EQ(info.lCardClass, TRANSINFO_CC_CREDITDEBIT);
  EXPECT_EQ(info.strToken, "TOKEN-1");
  EXPECT_EQ(info.strCustomerReceipt, "CUSTOMER COPY");
  EXPECT_EQ(info.strFuelProducts, "001 UNLEADED 20.00L 2450");

  const TTransactionInfo programmatic = Programmatic(Authorised());
  EXPECT_EQ(programmatic.lResponseCode, TRANSINFO_RC_AUTHORISED);
  EXPECT_EQ(programmatic.lCashbackAmount, 0);
  EXPECT_EQ(programmatic.strPanLast4Digits, "0010");
  // The programmatic interface hands receipts and tokens over its own way.
  EXPECT_EQ(programmatic.strToken, "");
  EXPECT_EQ(programmatic.strCustomerReceipt, "");
  EXPECT_EQ(programmatic.strFuelProducts, "");
}

TEST_F(FillTest, StatusMapsToTheResponseCodeOrLeavesItAsItWas) {
  struct Case {
    int32_t status;
    bool cancelled;
    TRANSINFO_RESPONSECODE interactive;
    TRANSINFO_RESPONSECODE programmatic;
  };
  // The reused record starts at REFERRED, so "left as it was" reads REFERRED.
  for (const Case& c : {Case{0, false, TRANSINFO_RC_NONE, TRANSINFO_RC_NONE},
                        Case{1, false, TRANSINFO_RC_AUTHORISED, TRANSINFO_RC_AUTHORISED},
                        Case{1, true, TRANSINFO_RC_CANCELLED, TRANSINFO_RC_AUTHORISED},
                        Case{2, false, TRANSINFO_RC_REFERRED, TRANSINFO_RC_REFERRED},
                        Case{3, false, TRANSINFO_RC_DECLINED, TRANSINFO_RC_DECLINED},
                        Case{9, false, TRANSINFO_RC_REFERRED, TRANSINFO_RC_REFERRED}}) {
    QlTransaction t = Authorised();
    t.lStatus = c.status;
    t.bCancelled = c.cancelled;
    EXPECT_EQ(Interactive(t, -1, Reused()).lResponseCode, c.interactive) << c.status;
    EXPECT_EQ(Programmatic(t, Reused()).lResponseCode, c.programmatic) << c.status;
  }
  // A referral on a fresh record stays NONE in the window's fill, and so fills no card.
  QlTransaction referred = Authorised();
  referred.lStatus = 2;
  const TTransactionInfo fresh = Interactive(referred);
  EXPECT_EQ(fresh.lResponseCode, TRANSINFO_RC_NONE);
  EXPECT_EQ(fresh.strAuthorisationCode, "");
  EXPECT_EQ(fresh.strToken, "TOKEN-1");
}

TEST_F(FillTest, VerificationAndEntryTablesLeaveUnknownCodesAlone) {
  struct Code {
    int32_t code;
    TRANSINFO_CUSTOMERVERIFICATION verification;
    TRANSINFO_DATAENTRYMETHOD entry;
  };
  for (const Code& c : {Code{0, TRANSINFO_CV_NONE, TRANSINFO_DE_KEYED},
                        Code{1, TRANSINFO_CV_PIN, TRANSINFO_DE_SWIPED},
                        Code{2, TRANSINFO_CV_PIN, TRANSINFO_DE_CHIP},
                        Code{3, TRANSINFO_CV_SIGNATURE, TRANSINFO_DE_TAPPED},
                        Code{4, TRANSINFO_CV_PINANDSIGNATURE, TRANSINFO_DE_NONE},
                        // Unknown: the reused record's PINANDSIGNATURE and SWIPED stay.
                        Code{5, TRANSINFO_CV_PINANDSIGNATURE, TRANSINFO_DE_SWIPED},
                        Code{-1, TRANSINFO_CV_PINANDSIGNATURE, TRANSINFO_DE_SWIPED}}) {
    QlTransaction t = Authorised();
    t.lCvmCode = c.code;
    t.lEntryMethodCode = c.code;
    for (const TTransactionInfo& info : {Interactive(t, -1, Reused()), Programmatic(t, Reused())}) {
      EXPECT_EQ(info.lCustomerVerification, c.verification) << c.code;
      EXPECT_EQ(info.lDataEntryMethod, c.entry) << c.code;
    }
  }
}

TEST_F(FillTest, DeclinedFillsCardFieldsButNoneFillsOnlyTheCardClassGroup) {
  QlTransaction declined = Authorised();
  declined.lStatus = 3;
  const TTransactionInfo info = Interactive(declined);
  EXPECT_EQ(info.lResponseCode, TRANSINFO_RC_DECLINED);
  EXPECT_EQ(info.strAuthorisationCode, "A12345");
  EXPECT_EQ(info.lTransactionRefNo, 4711);
  EXPECT_EQ(info.strTerminalId, "22160001");
  EXPECT_EQ(info.lCustomerVerification, TRANSINFO_CV_PIN);

  QlTransaction none = Authorised();
  none.lStatus = 0;
  none.lCardType = 1;
  none.lMileage = 12345;
  none.strRegNo = "AB12CDE";
  const TTransactionInfo reused = Interactive(none, -1, Reused());
  EXPECT_EQ(reused.lResponseCode, TRANSINFO_RC_NONE);
  EXPECT_EQ(reused.strAuthorisationCode, "OLD");
  EXPECT_EQ(reused.lTransactionRefNo, 1);
  EXPECT_EQ(reused.strPanFirst6Digits, "111111");
  EXPECT_EQ(reused.lCashbackAmount, 77);
  EXPECT_EQ(reused.lCardClass, TRANSINFO_CC_FUEL);
  EXPECT_EQ(reused.lCustomerMileage, 12345);
  EXPECT_EQ(reused.strCustomerRegNo, "AB12CDE");
  EXPECT_EQ(reused.strToken, "TOKEN-1");
  EXPECT_EQ(reused.strCustomerReceipt, "CUSTOMER COPY");
}

TEST_F(FillTest, ShortCardNumbersAndEmptyPreferredNameFollowTheirRules) {
  QlTransaction t = Authorised();
  t.strPan = "4761739001";  // 10 characters: not split
  t.strAppPreferredName = "";
  const TTransactionInfo info = Interactive(t, -1, Reused());
  EXPECT_EQ(info.strPanFirst6Digits, "111111");
  EXPECT_EQ(info.strPanLast4Digits, "9999");
  EXPECT_EQ(info.strEmvAppicationLabel, "VISA");
  t.strPan = "47617390012";
  EXPECT_EQ(Programmatic(t).strPanFirst6Digits, "476173");
  EXPECT_EQ(Programmatic(t).strPanLast4Digits, "0012");
}

TEST_F(FillTest, SplitTenderTakesThePartsOwnCodeReferenceAndCashback) {
  TTender& ledger = *Shared().oTender;
  ledger.InitialiseTender(1, 600, 0, 50);
  ledger.UpdateTransRefNo(1, 31);
  ledger.UpdateAuthCode(1, "PART2");
  ledger.UpdateState(1, TTender::kStateAuthorised);
  const TTransactionInfo part = Interactive(Authorised(), 1);
  EXPECT_EQ(part.strAuthorisationCode, "PART2");
  EXPECT_EQ(part.lTransactionRefNo, 31);
  EXPECT_EQ(part.lCashbackAmount, 50);
  EXPECT_EQ(Interactive(Authorised()).lCashbackAmount, 250);  // both parts' cashback
}

TEST_F(FillTest, FuelCardTakesBunkerFlagsFromTheProductList) {
  QlTransaction fuel = Authorised();
  fuel.lCardType = 1;
  fuel.lMileage = 500;
  fuel.strRegNo = "AB12CDE";
  TTransactionInfo none = Interactive(fuel);  // a till that passed no products
  EXPECT_EQ(none.lCardClass, TRANSINFO_CC_FUEL);
  EXPECT_FALSE(none.bFuelBunkerCard);

  Shared().oProductInfo = std::make_unique<TProductInfo>();
  Shared().oProductInfo->bBunkerCard = true;
  Shared().oProductInfo->bPrintBunkerTotal = true;
  for (const TTransactionInfo& info : {Interactive(fuel), Programmatic(fuel)}) {
    EXPECT_EQ(info.lCardClass, TRANSINFO_CC_FUEL);
    EXPECT_TRUE(info.bFuelBunkerCard);
    EXPECT_TRUE(info.bPrintFuelBunkerTotal);
    EXPECT_EQ(info.lCustomerMileage, 500);
    EXPECT_EQ(info.strCustomerRegNo, "AB12CDE");
  }
  // A payment card clears what a previous fuel sale left in a reused record.
  TTransactionInfo reused = Interactive(fuel);
  Shared().FillTransactionInfoFromTrans(Authorised(), reused);
  EXPECT_EQ(reused.lCardClass, TRANSINFO_CC_CREDITDEBIT);
  EXPECT_FALSE(reused.bFuelBunkerCard);
  EXPECT_FALSE(reused.bPrintFuelBunkerTotal);
  EXPECT_EQ(reused.lCustomerMileage, 0);
  EXPECT_EQ(reused.strCustomerRegNo, "");
}

TEST_F(FillTest, MissingTransactionOrLedgerStopsWhereItIs) {
  Shared().oCurrentTransaction.reset();
  TTransactionInfo info = Reused();
  Shared().FillTransactionInfo(info, -1);
  EXPECT_EQ(info.lResponseCode, TRANSINFO_RC_REFERRED);
  EXPECT_EQ(info.strToken, "OLD TOKEN");
  EXPECT_EQ(Shared().strErrorMessage(),
            "CreditCardCommon.FillTransactionInfo() Failed - Object variable or With block "
            "variable not set");

  Shared().oTender.reset();
  info = Interactive(Authorised(), -1, Reused());
  EXPECT_EQ(info.lResponseCode, TRANSINFO_RC_AUTHORISED);
  EXPECT_EQ(info.lTransactionRefNo, 4711);  // reached before the ledger was needed
  EXPECT_EQ(info.lCashbackAmount, 77);
  EXPECT_EQ(info.strPanFirst6Digits, "111111");
  EXPECT_EQ(info.strToken, "OLD TOKEN");
}

}  // namespace
}  // namespace ccaddin
