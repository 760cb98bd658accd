#include "payment/credit_card_common.h"

#include <gtest/gtest.h>

#include <string>
#include <thread>

#include "payment/tamberin_string.h"
#include "platform/cc_addin_registry.h"
#include "platform/virtual_env.h"
#include "support/test_registry.h"

namespace ccaddin {
namespace {

using testing::TestRegistry;

TEST(CreditCardCommonLoad, EncryptionForcesCardEnquiryAndExternalSwipe) {
  TestRegistry registry;
  registry.Set("CardEnquiryEnabled", "0");
  registry.Set("ExternalSwipe", "0");
  ScopedSharedState scoped;
  Shared().LoadConfiguration();
  EXPECT_FALSE(Shared().bCardEnquiry);
  EXPECT_FALSE(Shared().bExternalSwipe);

  registry.Set("E2EEEnabled", "1");
  Shared().LoadConfiguration();
  EXPECT_TRUE(Shared().bCardEnquiry);
  EXPECT_TRUE(Shared().bExternalSwipe);
}

TEST(CreditCardCommonLoad, StartupPositionOutsideZeroToFiveLoadsAsZero) {
  TestRegistry registry;
  ScopedSharedState scoped;
  for (const auto& [stored, loaded] :
       {std::pair{"5", 5}, {"0", 0}, {"6", 0}, {"-1", 0}, {"3", 3}, {"x", 0}}) {
    registry.Set("StartupPosition", stored);
    Shared().LoadConfiguration();
    EXPECT_EQ(Shared().lStartupPosition, loaded) << stored;
  }
}

TEST(CreditCardCommonLoad, PrinterControlSequencesAreDecodedFromHex) {
  TestRegistry registry;
  ScopedSharedState scoped;
  Shared().LoadConfiguration();  // the settings' own defaults
  EXPECT_EQ(Shared().strPrintNormalControl, std::string("\x1B\x21\x00", 3));
  EXPECT_EQ(Shared().strPrintBoldControl, "\x1B\x21\x48");

  registry.Set("PrintNormalControl", "1b45ff");
  registry.Set("PrintBoldControl", "1B2");  // odd length: no bytes rather than wrong ones
  Shared().LoadConfiguration();
  EXPECT_EQ(Shared().strPrintNormalControl, "\x1B\x45\xFF");
  EXPECT_EQ(Shared().strPrintBoldControl, "");
  EXPECT_TRUE(
      Shared().strErrorMessage().starts_with("CreditCardCommon.HexToControlString() Failed - "))
      << Shared().strErrorMessage();
}

TEST(CreditCardCommonReset, ClearsValuesWithItsExceptionsAndKeepsTheTillsObjects) {
  ScopedSharedState scoped;
  CreditCardCommon& s = Shared();
  s.strConfigFileLocation = "/var/lib/ccaddin/";
  s.lPrinterType = 0;
  s.bAutoDeclinePinBypass = false;
  s.bSplitTender = true;
  s.lTransactionType = TAM_TT_REFUND;
  s.lTransactionMode = TAM_TM_ECOMMERCE;
  s.lFuelBalanceResponseCode = FUELBALANCE_RC_AUTHORISED;
  s.bTransactionComplete = true;
  s.strReferenceText = "REF";
  s.strLastCustomerReceipt = "old receipt";
  s.oClientReceipts.push_back({"receipt", RECEIPTTYPE_CUSTOMERAUTHORISED, false});
  s.oProductInfo = std::make_unique<TProductInfo>();
  s.oProductInfo->AddProductInfo("001", "2450", "2000", 0);
  s.oCustomerReceiptStartText = std::make_unique<TReceiptDataInterpreter>();
  s.CloneTransaction(QlTransaction{});

  s.ResetConfiguration();
  EXPECT_EQ(s.strConfigFileLocation, "");
  EXPECT_EQ(s.lPrinterType, 2);
  EXPECT_EQ(s.lCashbackEntryType, 1);
  EXPECT_TRUE(s.bAutoDeclinePinBypass);
  EXPECT_FALSE(s.bSplitTender);
  EXPECT_EQ(s.lTransactionType, TAM_TT_SALE);
  EXPECT_EQ(s.lTransactionMode, TAM_TM_CUSTOMERNOTPRESENT);
  EXPECT_EQ(s.lFuelBalanceResponseCode, FUELBALANCE_RC_CARDNOTSUPPORTED);
  EXPECT_FALSE(s.bTransactionComplete);
  EXPECT_EQ(s.strReferenceText, "");
  EXPECT_EQ(s.strLastCustomerReceipt, "");
  EXPECT_EQ(s.lClientReceiptCount(), 0);
  // The till passes products and receipt texts before Process, which loads (and so resets).
  ASSERT_NE(s.oProductInfo, nullptr);
  EXPECT_EQ(s.oProductInfo->lProductCount(), 1);
  EXPECT_NE(s.oCustomerReceiptStartText, nullptr);
  EXPECT_NE(s.oCurrentTransaction, nullptr);
}

TEST(CreditCardCommonState, EachThreadHasItsOwnCopy) {
  ScopedSharedState scoped;
  Shared().bSplitTender = true;
  Shared().AddClientReceipt(RECEIPTTYPE_CUSTOMERAUTHORISED, "main", "", false);
  bool other_saw_split = true;
  int32_t other_count = -1;
  std::thread other([&] {
    other_saw_split = Shared().bSplitTender;
    Shared().AddClientReceipt(RECEIPTTYPE_CUSTOMERAUTHORISED, "other", "", false);
    Shared().AddClientReceipt(RECEIPTTYPE_CUSTOMERAUTHORISED, "other", "", false);
    other_count = Shared().lClientReceiptCount();
  });
  other.join();
  EXPECT_FALSE(other_saw_split);
  EXPECT_EQ(other_count, 2);
  EXPECT_EQ(Shared().lClientReceiptCount(), 1);
  EXPECT_TRUE(Shared().bSplitTender);
}

TEST(CreditCardCommonState, RequestSettingsComeFromTheLoadedConfiguration) {
  ScopedSharedState scoped;
  Shared().bExternalSwipe = true;
  Shared().bAutoDeclinePinBypass = false;
  Shared().lOperatingMode = 2;
  const QlRequestSettings settings = MakeQlRequestSettings(Shared());
  EXPECT_TRUE(settings.bExternalSwipe);
  EXPECT_FALSE(settings.bAutoDeclinePinBypass);
  EXPECT_EQ(settings.lOperatingMode, 2);
}

TEST(CreditCardCommonText, MasksKeepOnlyTheDigitsAsked) {
  EXPECT_EQ(CreditCardCommon::MaskCardNumber("4761739001010010"), "************0010");
  EXPECT_EQ(CreditCardCommon::MaskCardNumber("12345"), "*2345");
  EXPECT_EQ(CreditCardCommon::MaskCardNumber("1234"), "****");
  EXPECT_EQ(CreditCardCommon::MaskCardNumber("12"), "****");
  EXPECT_EQ(CreditCardCommon::MaskCardNumber(""), "****");

  EXPECT_EQ(CreditCardCommon::MaskCardNumberMiddle("4761739001010010", 6, 4), "476173******0010");
  EXPECT_EQ(CreditCardCommon::MaskCardNumberMiddle("12345678901", 6, 4), "123456*8901");
  EXPECT_EQ(CreditCardCommon::MaskCardNumberMiddle("1234567890", 6, 4), "**********");
  EXPECT_EQ(CreditCardCommon::MaskCardNumberMiddle("123", 0, 0), "***");
  EXPECT_EQ(CreditCardCommon::MaskCardNumberMiddle("1234567890", -1, 4), "");
  EXPECT_EQ(CreditCardCommon::MaskCardNumberMiddle("1234", 2147483647, 2147483647), "****");

  EXPECT_EQ(CreditCardCommon::StarString(3), "***");
  EXPECT_EQ(CreditCardCommon::StarString(0), "");
  EXPECT_EQ(CreditCardCommon::StarString(-5), "");
}

TEST(CreditCardCommonText, GroupInFoursAndFolderEnds) {
  EXPECT_EQ(CreditCardCommon::GroupInFours("4761739001010010"), "4761 7390 0101 0010");
  EXPECT_EQ(CreditCardCommon::GroupInFours("374245455400126"), "3742 4545 5400 126");
  EXPECT_EQ(CreditCardCommon::GroupInFours("************0010"), "**** **** **** 0010");
  EXPECT_EQ(CreditCardCommon::GroupInFours(" 12 "), "12");
  EXPECT_EQ(CreditCardCommon::GroupInFours(""), "");

  EXPECT_EQ(CreditCardCommon::AddTrailingBackslash("/var/lib/ccaddin"), "/var/lib/ccaddin/");
  EXPECT_EQ(CreditCardCommon::AddTrailingBackslash("/var/lib/ccaddin/"), "/var/lib/ccaddin/");
  EXPECT_EQ(CreditCardCommon::AddTrailingBackslash(""), "");

  ScopedSharedState scoped;
  EXPECT_EQ(Shared().LineEnd(), "\r");
  Shared().bAppendLineFeed = true;
  EXPECT_EQ(Shared().LineEnd(), "\r\n");
}

TEST(CreditCardCommonText, TamberinStringGivesZeroForWhatIsNotANumber) {
  VirtualEnv env;
  ScopedEnv scoped(&env);
  EXPECT_EQ(TamberinString::StrToLong("20261123"), 20261123);
  EXPECT_EQ(TamberinString::StrToLong(" -42 "), -42);
  EXPECT_EQ(TamberinString::StrToLong("2.5"), 2);  // halves to even
  EXPECT_EQ(TamberinString::StrToLong("3.5"), 4);
  EXPECT_EQ(TamberinString::StrToLong(""), 0);
  EXPECT_EQ(TamberinString::StrToLong("12AB"), 0);
  EXPECT_EQ(TamberinString::StrToLong("2147483648"), 0);
  EXPECT_EQ(TamberinString::StrToInt("32767"), 32767);
  EXPECT_EQ(TamberinString::StrToInt("32768"), 0);
  EXPECT_DOUBLE_EQ(TamberinString::StrToDouble("1.5"), 1.5);
  EXPECT_DOUBLE_EQ(TamberinString::StrToDouble("one"), 0);
  env.SetDecimalSeparator(",");
  EXPECT_DOUBLE_EQ(TamberinString::StrToDouble("1,5"), 1.5);
}

struct TrackCase {
  const char* start_id;
  const char* end_id;
  std::string input;
  std::string expected;
};

TEST(CreditCardCommonText, ExtractTrack2FindsTheSentinelsTheSettingsName) {
  const std::string track = "4761739001010010=2512201";  // 24 characters between sentinels
  const TrackCase cases[] = {
      {"3B", "3F", ";" + track + "?", ";" + track + "?"},
      // Standard sentinels: the first of each, so a trailing track 3 is ignored, and a
      // track 1 in front (its "?" comes first) leaves nothing to take.
      {"3B", "3F", ";" + track + "?;999?", ";" + track + "?"},
      {"3B", "3F", "%B4761^X^25?;" + track + "?", ""},
      {"3b", "3f", ";" + track + "?", ";" + track + "?"},
      // End sentinel before the start: nothing.
      {"3B", "3F", "?xxxxxxxxxxxxxxxxxxxx;12345", ""},
      {"3B", "3F", track + "xxxx", ""},                                // no sentinels at all
      {"3B", "3F", ";4761739001010010=25?", ";4761739001010010=25?"},  // exactly 21
      {"3B", "3F", ";476173900101001=25?", ""},                        // 20: too short
      // Custom sentinels: the last of each.
      {"2A", "23", "*old*" + track + "#", ";" + track + "?"},
      {"2A", "23", "*" + track + "#*", ""},  // last start after the last end
      {"2A2A", "2323", "**" + track + "##", ";" + track + "?"},
      // Sentinels that cannot be decoded are never found.
      {"3", "3F", ";" + track + "?", ""},
      {"", "3F", ";" + track + "?", ""},
  };
  ScopedSharedState scoped;
  for (const TrackCase& c : cases) {
    Shared().strTrackStartId = c.start_id;
    Shared().strTrackEndId = c.end_id;
    EXPECT_EQ(Shared().ExtractTrack2(c.input), c.expected) << c.start_id << " " << c.input;
  }
}

TEST(CreditCardCommonHandOver, CloneCopiesEveryFieldIntoANewCurrentTransaction) {
  ScopedSharedState scoped;
  QlTransaction source;
  source.strPan = "4761739001010010";
  source.lStatus = 1;
  source.strEmvValues[QL_EMV_TVR] = "0000008000";
  source.bCustPrintCvm = false;
  Shared().CloneTransaction(source);
  ASSERT_NE(Shared().oCurrentTransaction, nullptr);
  QlTransaction* first = Shared().oCurrentTransaction.get();
  EXPECT_EQ(first->strPan, source.strPan);
  EXPECT_EQ(first->strEmvValues[QL_EMV_TVR], "0000008000");
  EXPECT_FALSE(first->bCustPrintCvm);

  source.lStatus = 3;
  Shared().CloneTransaction(source);
  EXPECT_EQ(Shared().oCurrentTransaction->lStatus, 3);
  // A later change to the window's transaction does not reach the handed-over copy.
  source.lStatus = 0;
  EXPECT_EQ(Shared().oCurrentTransaction->lStatus, 3);
}

TEST(CreditCardCommonHandOver, ClientReceiptsKeepCustomerCopiesAndMerchantCopiesOnlyWhenAsked) {
  ScopedSharedState scoped;
  CreditCardCommon& s = Shared();
  const std::string pan = "4761739001010010";
  const std::string merchant = "CARD **** **** **** 0010\nAGAIN **** **** **** 0010";
  s.AddClientReceipt(RECEIPTTYPE_MERCHANTAUTHORISED, merchant, pan, true);
  s.AddClientReceipt(RECEIPTTYPE_CUSTOMERAUTHORISED, "CUSTOMER **** **** **** 0010", pan, false);
  s.AddClientReceipt(RECEIPTTYPE_UNKNOWN, "OTHER", pan, false);
  ASSERT_EQ(s.lClientReceiptCount(), 2);
  EXPECT_EQ(s.oClientReceipts[0].lType, RECEIPTTYPE_CUSTOMERAUTHORISED);
  EXPECT_EQ(s.oClientReceipts[0].strText, "CUSTOMER **** **** **** 0010");  // never unmasked
  EXPECT_EQ(s.oClientReceipts[1].lType, RECEIPTTYPE_UNKNOWN);

  s.bMakeMerchantReceiptsAvailableToClient = true;
  s.bObscureCardNumber = true;
  s.AddClientReceipt(RECEIPTTYPE_MERCHANTDECLINED, merchant, pan, false);
  EXPECT_EQ(s.oClientReceipts[2].strText, merchant);

  s.bObscureCardNumber = false;
  s.AddClientReceipt(RECEIPTTYPE_MERCHANTAUTHORISED, merchant, pan, true);
  EXPECT_EQ(s.oClientReceipts[3].strText, "CARD 4761 7390 0101 0010\nAGAIN 4761 7390 0101 0010");
  EXPECT_TRUE(s.oClientReceipts[3].bSignatureRequired);
  // Without a card number nothing is put back (and no star is lost).
  s.AddClientReceipt(RECEIPTTYPE_MERCHANTCANCELLED, "CARD ****", "", false);
  EXPECT_EQ(s.oClientReceipts[4].strText, "CARD ****");
}

}  // namespace
}  // namespace ccaddin
