#include "receipts/receipt.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "payment/credit_card_common.h"
#include "platform/virtual_env.h"
#include "support/golden_text.h"
#include "support/temp_dir.h"

namespace ccaddin {
namespace {

using testing::MatchesGolden;
using testing::SplitLines;
using testing::TempDir;

// ---------------------------------------------------------------- the text builders
// Ordinary lines are covered by the golden receipts; these are the edges they never reach.

TEST(ReceiptLines, EdgesOfCentringJoiningJustifyingDatesAndWrapping) {
  // An odd number of spare columns loses one; longer than the line, half the excess each side.
  EXPECT_EQ(TReceipt::CentreText(std::string(39, 'x')), std::string(39, 'x'));
  EXPECT_EQ(TReceipt::CentreText(std::string(44, 'z')), "  " + std::string(44, 'z') + "  ");
  EXPECT_EQ(TReceipt::CentreText(""), std::string(40, ' '));
  // The left part is trimmed and cut to 40 columns; a right part too wide keeps its start.
  EXPECT_EQ(TReceipt::JoinLeftRight("  REF : ", "A1"), "REF :" + std::string(33, ' ') + "A1");
  EXPECT_EQ(TReceipt::JoinLeftRight(std::string(44, 'L'), "RIGHT"), std::string(40, 'L'));
  EXPECT_EQ(TReceipt::JoinLeftRight(std::string(35, 'L'), "1234567"),
            std::string(35, 'L') + "12345");
  EXPECT_EQ(TReceipt::RightJustify40(std::string(41, 'a') + "b"), std::string(40, 'a'));
  EXPECT_EQ(TReceipt::FormatCardDate("260115"), "15/01/26");
  EXPECT_EQ(TReceipt::FormatCardDate("12/27"), "12/27");
  EXPECT_EQ(TReceipt::FormatCardDate(""), "");
  // Runs of blanks are one separator; no words, no line; a word longer than a line stands
  // on its own line, and the word after it starts its line without the leading blank.
  EXPECT_EQ(TReceipt::WrapWords("  A   B  "), std::vector<std::string>{" A B"});
  EXPECT_TRUE(TReceipt::WrapWords("   ").empty());
  const std::string word(45, 'W');
  EXPECT_EQ(TReceipt::WrapWords("AB " + word + " CD"),
            (std::vector<std::string>{" AB", word, "CD"}));
}

TEST(ReceiptLines, AmountsByExponentAndSeparatorAndFileNamesCutToTheirColumns) {
  VirtualEnv env;
  ScopedEnv scoped(&env);
  EXPECT_EQ(TReceipt::FormatAmount(0, 0), "0");
  EXPECT_EQ(TReceipt::FormatAmount(0, 3), "0.000");
  EXPECT_EQ(TReceipt::FormatAmount(0, 4), "");
  EXPECT_EQ(TReceipt::FormatAmount(5, 3), "0.005");
  env.SetDecimalSeparator(",");
  EXPECT_EQ(TReceipt::FormatAmount(15075, 2), "150,75");

  TTillInformation till;
  till.strStoreNumber = "123456789";
  till.strTillNumber = "3";
  EXPECT_EQ(TReceipt::MakeShortFileName(till, 1234567890, MakeDateTime(2026, 1, 15, 9, 5, 7)),
            "1234567_0000003_1234567890_20260115_090507.rcpt");
}

// ---------------------------------------------------------------- whole receipts

// A chip and PIN sale of 24.50, confirmed online, as the payment server returns it.
QlTransaction ChipPinSale() {
  QlTransaction t;
  t.lEntryMethodCode = 2;
  t.lCustomerPresence = 1;
  t.strPan = "4761739001010119";
  t.strExpiryDate = "2712";
  t.strStartDate = "2201";
  t.lTransactionTypeCode = 1;
  t.strAmount = "2450";
  t.strCashbackAmount = "0";
  t.strGratuityAmount = "0";
  t.lStatus = 1;
  t.strAuthCode = "123456";
  t.strResponseText = "Authorised";
  t.lTransRefNo = 4711;
  t.lAuthSource = 2;
  t.lCvmCode = 1;
  t.strTerminalId = "22160001";
  t.strMerchantNo = "21234567";
  t.strSchemeName = "VISA";
  t.strAid = "A0000000031010";
  t.strAppLabel = "VISA CREDIT";
  t.strCryptogram = "8A1F03C2D4E5B697";
  t.strPanSeqNo = "01";
  t.strCurrencyText = "\xA3";
  t.bMerchPrintExpiry = true;
  t.bCustPrintExpiry = true;
  t.bMerchPrintStartDate = true;
  t.bMerchPrintAuthSource = true;
  return t;
}

QlTransaction ContactlessNoVerification() {
  QlTransaction t = ChipPinSale();
  t.lEntryMethodCode = 3;
  t.strPan = "5413330089020011";
  t.strSchemeName = "Mastercard";
  t.strAid = "A0000000041010";
  t.strAppLabel = "MASTERCARD";
  t.strAppPreferredName = "Debit Mastercard";
  t.strAmount = "1250";
  t.lStatus = 0;
  t.lCvmCode = 0;
  t.lAuthSource = 1;
  t.strAuthCode = "";
  t.strResponseText = "Approved offline";
  t.strAvailableSpend = "15075";
  t.strCryptogram = "";
  return t;
}

QlTransaction SwipedSignatureRefund() {
  QlTransaction t;
  t.lEntryMethodCode = 1;
  t.lCustomerPresence = 1;
  t.strPan = "6759649826438453";
  t.strExpiryDate = " 2811";
  t.strStartDate = " 2303";
  t.strIssueNumber = " 2";
  t.lTransactionTypeCode = 6;
  t.strAmount = "1999";
  t.lStatus = 1;
  t.strAuthCode = "R00412";
  t.strResponseText = "AUTHORISED";
  t.lTransRefNo = 4712;
  t.lAuthSource = 2;
  t.lCvmCode = 3;
  t.strTerminalId = "22160001";
  t.strMerchantNo = "21234567";
  t.strSchemeName = "Maestro";
  t.strCurrencyText = "\xA3";
  t.bMerchPrintExpiry = true;
  t.bMerchPrintStartDate = true;
  t.bMerchPrintIssueNo = true;
  t.bCustPrintIssueNo = true;
  return t;
}

class ReceiptTest : public ::testing::Test {
 protected:
  ReceiptTest() : scoped_env_(&env_) {
    CreditCardCommon& config = Shared();
    config.bPrintMerchantHeader = true;
    config.bPrintCustomerHeader = false;
    till_.strMerchantName = "HARBOUR ROAD STORES";
    till_.strAddressLine1 = "12 Harbour Road";
    till_.strAddressLine3 = "Portwick, Kent PW1 4RD";
    till_.strSitePhoneNumber = "01632 960123";
    till_.strStoreNumber = "12";
    till_.strTillNumber = "3";
    till_.strReceiptNumber = "000981";
  }

  // One copy composed in memory, with the receipt date 15/01/26 10:30.
  std::string Compose(const QlTransaction& trans, bool merchant, bool duplicate = false) {
    TReceipt receipt;
    receipt.dtDate = MakeDateTime(2026, 1, 15);
    receipt.strTime = "1030";
    EXPECT_EQ(receipt.WriteReceiptFile(trans, till_, "", merchant, duplicate, "", true), 0)
        << receipt.strErrorMessage();
    EXPECT_EQ(receipt.strErrorMessage(), "");
    return receipt.strReceipt();
  }

  VirtualEnv env_{MakeDateTime(2026, 1, 15, 10, 30, 12)};
  ScopedEnv scoped_env_;
  ScopedSharedState shared_;
  TTillInformation till_;
};

TEST_F(ReceiptTest, ChipAndPinSaleBothCopiesEveryLineEndingInCrLf) {
  const QlTransaction t = ChipPinSale();
  const std::string merchant = Compose(t, true);
  EXPECT_TRUE(MatchesGolden(merchant, "receipts/chip_pin_sale_merchant.txt"));
  EXPECT_TRUE(MatchesGolden(Compose(t, false), "receipts/chip_pin_sale_customer.txt"));
  // The golden comparison ignores line ends; the till's printers do not.
  const size_t lines = SplitLines(merchant).size();
  EXPECT_EQ(static_cast<size_t>(std::count(merchant.begin(), merchant.end(), '\r')), lines);
  EXPECT_EQ(static_cast<size_t>(std::count(merchant.begin(), merchant.end(), '\n')), lines);
  EXPECT_EQ(merchant.substr(merchant.size() - 2), "\r\n");
}

TEST_F(ReceiptTest, ContactlessWithoutVerificationShowsAvailableSpendOnTheCustomerCopyOnly) {
  const QlTransaction t = ContactlessNoVerification();
  const std::string customer = Compose(t, false);
  EXPECT_TRUE(MatchesGolden(customer, "receipts/contactless_no_cvm_customer.txt"));
  const std::string merchant = Compose(t, true);
  EXPECT_EQ(merchant.find("AVAILABLE SPEND"), std::string::npos);
  EXPECT_NE(merchant.find("MASTERCARD CONTACTLESS\r\nDebit Mastercard\r\n"), std::string::npos);
  // A label that only repeats the scheme in other letters is not printed again.
  QlTransaction same = t;
  same.strAppPreferredName = "MASTERCARD";
  EXPECT_NE(Compose(same, true).find("MASTERCARD CONTACTLESS\r\nAPP ID: "), std::string::npos);
}

TEST_F(ReceiptTest, SwipedRefundSignatureGoesOnTheCustomerCopyByDefault) {
  const QlTransaction t = SwipedSignatureRefund();
  EXPECT_TRUE(MatchesGolden(Compose(t, true), "receipts/swiped_refund_merchant.txt"));
  EXPECT_TRUE(MatchesGolden(Compose(t, false), "receipts/swiped_refund_customer.txt"));
}

TEST_F(ReceiptTest, RefundSignatureOnTheMerchantCopyWhenConfigured) {
  Shared().bRefundSigOnMerchCopy = true;
  const QlTransaction t = SwipedSignatureRefund();
  EXPECT_TRUE(MatchesGolden(Compose(t, true), "receipts/swiped_refund_sig_on_merch_merchant.txt"));
  EXPECT_EQ(Compose(t, false).find("Signature)"), std::string::npos);
}

TEST_F(ReceiptTest, SignatureLinesByCopyPresenceAndType) {
  struct Case {
    int32_t type;
    int32_t cvm;
    int32_t presence;
    bool merchant;
    bool refund_sig_on_merch;
    const char* caption;  // nullptr: no signature line
  };
  const Case cases[] = {
      {1, 3, 1, true, false, "(Cardholder Signature)"},
      {1, 4, 1, true, false, "(Cardholder Signature)"},
      {1, 3, 1, false, false, nullptr},
      {1, 3, 2, true, false, nullptr},  // not present: nobody signs
      {1, 1, 1, true, false, nullptr},  // PIN
      {6, 3, 1, false, false, "(Merchant Signature)"},
      {8, 1, 1, false, false, "(Merchant Signature)"},
      {9, 0, 1, false, false, "(Merchant Signature)"},
      {9, 0, 2, false, false, nullptr},
      {6, 3, 1, true, false, nullptr},
      {6, 3, 1, true, true, "(Cardholder Signature)"},
      {6, 3, 1, false, true, nullptr},
      {1, 3, 1, true, true, "(Cardholder Signature)"},
  };
  for (const Case& c : cases) {
    Shared().bRefundSigOnMerchCopy = c.refund_sig_on_merch;
    QlTransaction t = ChipPinSale();
    t.lTransactionTypeCode = c.type;
    t.lCvmCode = c.cvm;
    t.lCustomerPresence = c.presence;
    const std::string text = Compose(t, c.merchant);
    const std::string where = "type " + std::to_string(c.type) + " cvm " + std::to_string(c.cvm) +
                              " presence " + std::to_string(c.presence) +
                              (c.merchant ? " merchant" : " customer") +
                              (c.refund_sig_on_merch ? " sig-on-merch" : "");
    const std::string dots(40, '.');
    if (c.caption == nullptr) {
      EXPECT_EQ(text.find(dots), std::string::npos) << where;
    } else {
      // The dots and the caption come straight before the authorisation line.
      EXPECT_NE(text.find(dots + "\r\n" + c.caption + "\r\nAUTH CODE:123456\r\n"),
                std::string::npos)
          << where << "\n"
          << text;
    }
  }
}

TEST_F(ReceiptTest, DeclinedChipPrintsAacAndNoSignature) {
  QlTransaction t = ChipPinSale();
  t.lStatus = 3;
  t.lCvmCode = 3;
  t.strAuthCode = "";
  t.strResponseText = "Declined";
  t.lAuthSource = 2;
  EXPECT_TRUE(MatchesGolden(Compose(t, true), "receipts/declined_chip_merchant.txt"));
}

TEST_F(ReceiptTest, ReferredTransactionStatusBlock) {
  QlTransaction t = ChipPinSale();
  t.lStatus = 2;
  t.bMerchPrintAuthSource = false;
  const std::vector<std::string> lines = SplitLines(Compose(t, true));
  ASSERT_GE(lines.size(), 6u);
  // No account statement, no authorisation line; the entry line and the status.
  EXPECT_EQ(lines[lines.size() - 5], "ICC CP PIN VERIFIED");
  EXPECT_EQ(lines[lines.size() - 4], "");
  EXPECT_EQ(lines[lines.size() - 3], TReceipt::CentreText("TRANSACTION REFERRED"));
  for (const std::string& line : lines) EXPECT_EQ(line.find("DEBITED"), std::string::npos);
  // Unknown results print no status block at all.
  t.lStatus = 7;
  const std::string unknown = Compose(t, true);
  EXPECT_EQ(unknown.find("ICC CP"), std::string::npos);
  EXPECT_EQ(unknown.find("TRANSACTION "), std::string::npos);
}

TEST_F(ReceiptTest, CancelledSaleWithCash) {
  QlTransaction t = ChipPinSale();
  t.lTransactionTypeCode = 2;
  t.strCashbackAmount = "2000";
  t.bCancelled = true;
  EXPECT_TRUE(MatchesGolden(Compose(t, false), "receipts/cancelled_sale_with_cash_customer.txt"));
}

TEST_F(ReceiptTest, TypeLinesForEveryTransactionType) {
  const std::vector<std::vector<std::string>> expected = {
      {"SALE", "SALE (CANCELLED)"},
      {"SALE WITH CASH", "SALE WITH CASH|(CANCELLED)"},
      {"CASH ADVANCE", "CASH ADV (CANCELLED)"},
      {"PRE AUTH", "PRE AUTH (CANCELLED)"},
      {"FINAL SALE", "FINAL SALE|(CANCELLED)"},
      {"REFUND", "REFUND (CANCELLED)"},
      {"CHEQUE AUTH", "CHEQUE AUTH|(CANCELLED)"},
      {"PRE AUTH", "PRE AUTH (CANCELLED)"},
      {"FINAL REFUND", "FINAL REFUND|(CANCELLED)"},
  };
  for (int type = 1; type <= 9; ++type) {
    for (int cancelled = 0; cancelled <= 1; ++cancelled) {
      QlTransaction t = ChipPinSale();
      t.lTransactionTypeCode = type;
      t.bCancelled = cancelled == 1;
      std::string want = expected[static_cast<size_t>(type - 1)][static_cast<size_t>(cancelled)];
      if (const auto bar = want.find('|'); bar != std::string::npos) want.replace(bar, 1, "\r\n");
      const std::string text = Compose(t, true);
      // The type stands right after the blank line below the card number.
      EXPECT_NE(text.find("**** 0119\r\n\r\n" + want + "\r\n"), std::string::npos)
          << "type " << type << " cancelled " << cancelled << "\n"
          << text;
      if (!t.bCancelled) {
        const bool credited = type == 6 || type == 8 || type == 9;
        EXPECT_NE(text.find(credited ? "WILL BE CREDITED" : "WILL BE DEBITED"), std::string::npos)
            << type;
      }
    }
  }
}

TEST_F(ReceiptTest, GratuityKeyedCustomerNotPresentWithReference) {
  QlTransaction t;
  t.lEntryMethodCode = 0;
  t.lCustomerPresence = 2;
  t.strPan = "4929123412341234";
  t.strExpiryDate = "2605";
  t.lTransactionTypeCode = 1;
  t.strAmount = "4200";
  t.strGratuityAmount = "500";
  t.lStatus = 1;
  t.strAuthCode = "";
  t.strResponseText = "Authorised - balance 12.00";
  t.lTransRefNo = 4713;
  t.lAuthSource = 2;
  t.lCvmCode = 0;
  t.strTerminalId = "22160001";
  t.strMerchantNo = "21234567";
  t.strSchemeName = "Visa Debit";
  t.strCurrencyText = "\xA3";
  t.strReferenceText = "TABLE 12";
  t.bMerchPrintCvm = false;
  t.bMerchPrintExpiry = false;
  EXPECT_TRUE(MatchesGolden(Compose(t, true), "receipts/gratuity_keyed_merchant.txt"));
}

TEST_F(ReceiptTest, ConvertedCurrency) {
  QlTransaction t = ChipPinSale();
  t.lConversionState = 2;
  t.strBaseCurrencyText = "\xA3";
  t.strBaseAmount = "2450";
  t.strAmount = "2861";
  t.strCurrencyText = "EUR";
  t.strExchangeRate = "1.1677";
  t.lTransCurrencyExponent = 2;
  t.strConversionStatement =
      "I accept that I have been offered a choice of currencies and that my choice is final. "
      "Exchange rate margin 3.00% over the reference rate.";
  EXPECT_TRUE(MatchesGolden(Compose(t, false), "receipts/converted_currency_customer.txt"));
}

TEST_F(ReceiptTest, FuelCardWithBunkerLines) {
  auto products = std::make_unique<TProductInfo>();
  products->AddProductInfo("001", "4500", "3214", 0);
  products->AddProductInfo("512", "500", "", 1);
  ASSERT_EQ(products->AreTillProductsAllowed("001,DIESEL,512,CAR WASH", false), 0);
  products->bBunkerCard = true;
  products->strCurrencyCode = "GBP";
  ASSERT_TRUE(products->BuildReceiptLines());
  CreditCardCommon& shared = Shared();
  shared.oProductInfo = std::move(products);
  shared.bMileagePrompted = true;
  shared.bRegPrompted = true;
  shared.bSuppIdPrompted = true;

  QlTransaction t = ChipPinSale();
  t.lCardType = 1;
  t.strSchemeName = "FLEETCARD";
  t.strAppLabel = "";
  t.strAmount = "5000";
  t.lMileage = 48213;
  t.strRegNo = "KX19 ABC";
  t.strSupplierId = "SUP77";
  EXPECT_TRUE(MatchesGolden(Compose(t, true), "receipts/fuel_bunker_merchant.txt"));
  EXPECT_TRUE(MatchesGolden(Compose(t, false), "receipts/fuel_bunker_customer.txt"));

  // Details not asked for are not printed.
  shared.bMileagePrompted = false;
  shared.bSuppIdPrompted = false;
  const std::string text = Compose(t, true);
  EXPECT_NE(text.find("\r\n" + TReceipt::JoinLeftRight("", "REG: KX19 ABC") + "\r\n"),
            std::string::npos);
  EXPECT_EQ(text.find("SUPPID"), std::string::npos);
  EXPECT_EQ(text.find("MILEAGE"), std::string::npos);
}

TEST_F(ReceiptTest, ChipDataDumpPrintsTheSelectedValuesApplicationIdFirst) {
  QlTransaction t = ChipPinSale();
  for (int i = 0; i < QL_EMV_COUNT; ++i) {
    t.strEmvValues[static_cast<size_t>(i)] = "V" + std::to_string(i);
  }
  Shared().lDumpEmvBitmap = (1 << QL_EMV_APPID) | (1 << QL_EMV_APPLABEL) | (1 << QL_EMV_TVR) |
                            (1 << QL_EMV_IACDEFAULT) | (1 << QL_EMV_PANSEQNO);
  EXPECT_TRUE(MatchesGolden(Compose(t, true), "receipts/chip_dump_merchant.txt"));

  // Every bit, in its order.
  Shared().lDumpEmvBitmap = (1 << QL_EMV_COUNT) - 1;
  const std::vector<std::string> lines = SplitLines(Compose(t, true));
  const std::vector<std::string> labels = {"APPID:",         "AppLabel:",
                                           "PrefAppLabel:",  "TransCryptoGram:",
                                           "Tvr:",           "ResponseCode:",
                                           "CryptoAmt:",     "CryptoType:",
                                           "TermTransDate:", "UnpredictableNo:",
                                           "Iad:",           "Auc:",
                                           "Cid:",           "Cvnr:",
                                           "AppVersion:",    "Tsi:",
                                           "TermType:",      "TermCaps:",
                                           "IacDenial:",     "IacOnline:",
                                           "IacDefault:",    "DfName:",
                                           "PanSeqNo:"};
  size_t at = 0;
  while (at < lines.size() && lines[at].rfind("TC: ", 0) != 0) ++at;
  ASSERT_LT(at + 2 + labels.size(), lines.size());
  EXPECT_EQ(lines[at + 1], "");
  for (size_t i = 0; i < labels.size(); ++i) {
    const int bit = i == 0 ? QL_EMV_APPID : static_cast<int>(i) - 1;
    EXPECT_EQ(lines[at + 2 + i], TReceipt::JoinLeftRight(labels[i], "V" + std::to_string(bit)));
  }
  EXPECT_EQ(lines[at + 2 + labels.size()], "**** **** **** 0119");

  // Contactless and swiped cards never dump chip data.
  QlTransaction tapped = ContactlessNoVerification();
  tapped.strEmvValues = t.strEmvValues;
  EXPECT_EQ(Compose(tapped, true).find("Tvr:"), std::string::npos);
}

TEST_F(ReceiptTest, ShortCardNumbersAndMerchantIdsAreAllStars) {
  QlTransaction t = SwipedSignatureRefund();
  t.strPan = "1234";
  t.strMerchantNo = "12345";
  t.strTerminalId = "99";
  t.bMerchPrintExpiry = false;
  const std::vector<std::string> lines = SplitLines(Compose(t, true));
  EXPECT_NE(std::find(lines.begin(), lines.end(), "****"), lines.end());
  EXPECT_NE(
      std::find(lines.begin(), lines.end(), TReceipt::JoinLeftRight("MID  : *****", "TID  : **")),
      lines.end());
}

TEST_F(ReceiptTest, DuplicateReusesTheNameAndMarksTheTrailer) {
  TempDir dir;
  const QlTransaction t = ChipPinSale();
  TReceipt original;
  original.dtDate = MakeDateTime(2026, 1, 15);
  original.strTime = "1030";
  ASSERT_EQ(original.WriteReceiptFile(t, till_, dir.folder(), false, false), 0);
  EXPECT_EQ(original.strShortReceiptFileName(), "0000012_0000003_0000004711_20260115_103012.rcpt");

  env_.Advance(3600 * 1000);
  TReceipt duplicate;
  duplicate.dtDate = MakeDateTime(2026, 1, 15);
  duplicate.strTime = "1130";
  ASSERT_EQ(duplicate.WriteReceiptFile(t, till_, dir.path().string(), false, true,
                                       original.strShortReceiptFileName()),
            0);
  EXPECT_EQ(duplicate.strLongReceiptFileName(),
            "DUP_C_0000012_0000003_0000004711_20260115_103012.rcpt");
  EXPECT_TRUE(MatchesGolden(duplicate.strReceipt(), "receipts/duplicate_customer.txt"));
  // The file holds the same lines as strReceipt.
  EXPECT_EQ(SplitLines(dir.Read(duplicate.strLongReceiptFileName())),
            SplitLines(duplicate.strReceipt()));
}

TEST_F(ReceiptTest, FileNamesWithoutStoreOrTillAndTheMissingFolderIsCreated) {
  TempDir dir;
  till_.strStoreNumber = "";
  till_.strTillNumber = "";
  TReceipt receipt;
  receipt.dtDate = MakeDateTime(2026, 1, 15);
  receipt.strTime = "1030";
  const std::string folder = dir.file("receipts/2026");
  ASSERT_EQ(receipt.WriteReceiptFile(ChipPinSale(), till_, folder, true, false), 0)
      << receipt.strErrorMessage();
  EXPECT_EQ(receipt.strLongReceiptFileName(), "M_UNKNOWN_UNKNOWN_0000004711_20260115_103012.rcpt");
  EXPECT_EQ(SplitLines(dir.Read("receipts/2026/" + receipt.strLongReceiptFileName())),
            SplitLines(receipt.strReceipt()));
  // Without a till number the till line shows only the receipt number.
  EXPECT_NE(receipt.strReceipt().find("\r\n" + TReceipt::JoinLeftRight("", "RCPT NO: 000981")),
            std::string::npos);
}

TEST_F(ReceiptTest, MemoryOnlyWritesNoFile) {
  TempDir dir;
  TReceipt receipt;
  ASSERT_EQ(receipt.WriteReceiptFile(ChipPinSale(), till_, dir.folder(), true, false, "", true), 0);
  EXPECT_FALSE(receipt.strReceipt().empty());
  EXPECT_TRUE(std::filesystem::is_empty(dir.path()));
}

TEST_F(ReceiptTest, AFileThatCannotBeOpenedComposesNothing) {
  TempDir dir;
  dir.Write("blocker", "a file where the folder should be");
  TReceipt receipt;
  EXPECT_EQ(receipt.WriteReceiptFile(ChipPinSale(), till_, dir.file("blocker"), true, false), 1);
  EXPECT_EQ(receipt.strErrorMessage(), "Failed opening receipt file");
  EXPECT_EQ(receipt.strReceipt(), "");
  // No folder at all is refused the same way rather than writing to the working folder.
  TReceipt nowhere;
  EXPECT_EQ(nowhere.WriteReceiptFile(ChipPinSale(), till_, "", true, false), 1);
  EXPECT_EQ(nowhere.strErrorMessage(), "Failed opening receipt file");
}

TEST_F(ReceiptTest, AFullDiskStopsTheReceiptWithTheWriteFailure) {
  if (!std::filesystem::exists("/dev/full")) GTEST_SKIP() << "no /dev/full";
  TempDir dir;
  // The receipt file leads to a device that refuses every write, as a full disk does.
  std::filesystem::create_symlink("/dev/full", dir.file("M_full.rcpt"));
  TReceipt receipt;
  EXPECT_EQ(receipt.WriteReceiptFile(ChipPinSale(), till_, dir.folder(), true, false, "full.rcpt"),
            1);
  EXPECT_EQ(receipt.strErrorMessage(),
            "TReceipt.WrtieReceiptFile() Failed - WriteData() Failed - No space left on device");
  EXPECT_EQ(receipt.strReceipt(), "");
}

TEST_F(ReceiptTest, ABadAmountSpoilsItsSectionWithTheSectionsText) {
  QlTransaction t = ChipPinSale();
  t.strAmount = "24.50";
  TReceipt receipt;
  EXPECT_EQ(receipt.WriteReceiptFile(t, till_, "", true, false, "", true), 1);
  EXPECT_EQ(receipt.strErrorMessage(),
            "TReceiptPrinter.PrintTransAmountDetails() Failed - Type mismatch");
  // The other sections are still there, the amounts are not.
  EXPECT_NE(receipt.strReceipt().find("MERCHANT COPY"), std::string::npos);
  EXPECT_EQ(receipt.strReceipt().find("TOTAL"), std::string::npos);
  // Written to a file, the spoilt copy is not left to be printed.
  TempDir dir;
  TReceipt filed;
  EXPECT_EQ(filed.WriteReceiptFile(t, till_, dir.folder(), true, false), 1);
  EXPECT_FALSE(std::filesystem::exists(dir.file(filed.strLongReceiptFileName())));
  EXPECT_EQ(filed.PrintReceipt(nullptr, true, dir.file(filed.strLongReceiptFileName()), "", false,
                               false, false),
            1);
  EXPECT_EQ(filed.strErrorMessage(),
            "Failed opening receipt file [" + dir.file(filed.strLongReceiptFileName()) + "]");

  t = ChipPinSale();
  t.strAmount = "2147483000";
  t.strCashbackAmount = "1000";
  t.lTransactionTypeCode = 2;
  TReceipt overflow;
  EXPECT_EQ(overflow.WriteReceiptFile(t, till_, "", true, false, "", true), 1);
  EXPECT_EQ(overflow.strErrorMessage(),
            "TReceiptPrinter.PrintTransAmountDetails() Failed - Overflow");

  t = ContactlessNoVerification();
  t.strAvailableSpend = "lots";
  TReceipt spend;
  EXPECT_EQ(spend.WriteReceiptFile(t, till_, "", false, false, "", true), 1);
  EXPECT_EQ(spend.strErrorMessage(), "TReceipt.PrintTrailor() Failed - Type mismatch");
}

}  // namespace
}  // namespace ccaddin
