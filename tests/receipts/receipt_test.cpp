#include "receipts/receipt.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "payment/credit_card_common.h"
#include "platform/virtual_env.h"
#include "support/case_files.h"
#include "support/golden_text.h"
#include "support/receipt_case.h"
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

class ReceiptTest : public ::testing::Test {
 protected:
  ReceiptTest() : scoped_env_(&env_) {
    CreditCardCommon& config = Shared();
    config.bPrintMerchantHeader = true;
    config.bPrintCustomerHeader = false;
  }

  // The case's transaction; its till becomes the receipts' till.
  QlTransaction FromCase(const std::string& name) {
    ReceiptRequest request = testing::ReadReceiptCase(name);
    till_ = request.till;
    return request.trans;
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

// Each case file under tests/data/receipts against the golden text of each copy beside it
// (<case>_merchant.txt, <case>_customer.txt).
class ReceiptCaseTest : public ReceiptTest, public ::testing::WithParamInterface<std::string> {};

TEST_P(ReceiptCaseTest, CopiesMatchTheirGoldenTextsLineForLineInCrLf) {
  const QlTransaction t = FromCase(GetParam());
  int compared = 0;
  for (const bool merchant : {true, false}) {
    const std::string golden =
        "receipts/" + GetParam() + (merchant ? "_merchant" : "_customer") + ".txt";
    if (!std::filesystem::exists(testing::TestDataPath(golden))) continue;
    ++compared;
    const std::string text = Compose(t, merchant);
    EXPECT_TRUE(MatchesGolden(text, golden));
    // The golden comparison ignores line ends; the till's printers do not.
    const size_t lines = SplitLines(text).size();
    EXPECT_EQ(static_cast<size_t>(std::count(text.begin(), text.end(), '\r')), lines);
    EXPECT_EQ(static_cast<size_t>(std::count(text.begin(), text.end(), '\n')), lines);
    EXPECT_TRUE(text.ends_with("\r\n"));
  }
  EXPECT_GT(compared, 0) << "no golden text beside the case";
}

INSTANTIATE_TEST_SUITE_P(Cases, ReceiptCaseTest,
                         ::testing::ValuesIn(testing::CaseNames("receipts")));

TEST_F(ReceiptTest, AvailableSpendOnTheCustomerCopyOnlyAndALabelRepeatingTheSchemeOnce) {
  QlTransaction t = FromCase("contactless_no_cvm");
  const std::string merchant = Compose(t, true);
  EXPECT_EQ(merchant.find("AVAILABLE SPEND"), std::string::npos);
  EXPECT_NE(merchant.find("MASTERCARD CONTACTLESS\r\nDebit Mastercard\r\n"), std::string::npos);
  // A label that only repeats the scheme in other letters is not printed again.
  t.strAppPreferredName = "MASTERCARD";
  EXPECT_NE(Compose(t, true).find("MASTERCARD CONTACTLESS\r\nAPP ID: "), std::string::npos);
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
    QlTransaction t = FromCase("chip_pin_sale");
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

TEST_F(ReceiptTest, ReferredTransactionStatusBlock) {
  QlTransaction t = FromCase("chip_pin_sale");
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
      QlTransaction t = FromCase("chip_pin_sale");
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

TEST_F(ReceiptTest, FuelDetailsNotAskedForAreNotPrinted) {
  const QlTransaction t = FromCase("fuel_bunker");
  Shared().bMileagePrompted = false;
  Shared().bSuppIdPrompted = false;
  const std::string text = Compose(t, true);
  EXPECT_NE(text.find("\r\n" + TReceipt::JoinLeftRight("", "REG: KX19 ABC") + "\r\n"),
            std::string::npos);
  EXPECT_EQ(text.find("SUPPID"), std::string::npos);
  EXPECT_EQ(text.find("MILEAGE"), std::string::npos);
}

TEST_F(ReceiptTest, ContactlessAndSwipedCardsNeverDumpChipData) {
  const QlTransaction chip = FromCase("chip_dump_every_value");
  for (const char* name : {"contactless_no_cvm", "swiped_refund"}) {
    QlTransaction t = FromCase(name);
    t.strEmvValues = chip.strEmvValues;
    EXPECT_EQ(Compose(t, true).find("Tvr:"), std::string::npos) << name;
  }
}

TEST_F(ReceiptTest, ShortCardNumbersAndMerchantIdsAreAllStars) {
  QlTransaction t = FromCase("swiped_refund");
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
  const QlTransaction t = FromCase("chip_pin_sale");
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
  const QlTransaction t = FromCase("chip_pin_sale");
  till_.strStoreNumber = "";
  till_.strTillNumber = "";
  TReceipt receipt;
  receipt.dtDate = MakeDateTime(2026, 1, 15);
  receipt.strTime = "1030";
  const std::string folder = dir.file("receipts/2026");
  ASSERT_EQ(receipt.WriteReceiptFile(t, till_, folder, true, false), 0)
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
  ASSERT_EQ(receipt.WriteReceiptFile(FromCase("chip_pin_sale"), till_, dir.folder(), true, false,
                                     "", true),
            0);
  EXPECT_FALSE(receipt.strReceipt().empty());
  EXPECT_TRUE(std::filesystem::is_empty(dir.path()));
}

TEST_F(ReceiptTest, AFileThatCannotBeOpenedComposesNothing) {
  TempDir dir;
  dir.Write("blocker", "a file where the folder should be");
  TReceipt receipt;
  EXPECT_EQ(
      receipt.WriteReceiptFile(FromCase("chip_pin_sale"), till_, dir.file("blocker"), true, false),
      1);
  EXPECT_EQ(receipt.strErrorMessage(), "Failed opening receipt file");
  EXPECT_EQ(receipt.strReceipt(), "");
  // No folder at all is refused the same way rather than writing to the working folder.
  TReceipt nowhere;
  EXPECT_EQ(nowhere.WriteReceiptFile(FromCase("chip_pin_sale"), till_, "", true, false), 1);
  EXPECT_EQ(nowhere.strErrorMessage(), "Failed opening receipt file");
}

TEST_F(ReceiptTest, AFullDiskStopsTheReceiptWithTheWriteFailure) {
  if (!std::filesystem::exists("/dev/full")) GTEST_SKIP() << "no /dev/full";
  TempDir dir;
  // The receipt file leads to a device that refuses every write, as a full disk does.
  std::filesystem::create_symlink("/dev/full", dir.file("M_full.rcpt"));
  TReceipt receipt;
  EXPECT_EQ(receipt.WriteReceiptFile(FromCase("chip_pin_sale"), till_, dir.folder(), true, false,
                                     "full.rcpt"),
            1);
  EXPECT_EQ(receipt.strErrorMessage(),
            "TReceipt.WrtieReceiptFile() Failed - WriteData() Failed - No space left on device");
  EXPECT_EQ(receipt.strReceipt(), "");
}

TEST_F(ReceiptTest, ABadAmountSpoilsItsSectionWithTheSectionsText) {
  QlTransaction t = FromCase("chip_pin_sale");
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

  t = FromCase("chip_pin_sale");
  t.strAmount = "2147483000";
  t.strCashbackAmount = "1000";
  t.lTransactionTypeCode = 2;
  TReceipt overflow;
  EXPECT_EQ(overflow.WriteReceiptFile(t, till_, "", true, false, "", true), 1);
  EXPECT_EQ(overflow.strErrorMessage(),
            "TReceiptPrinter.PrintTransAmountDetails() Failed - Overflow");

  t = FromCase("contactless_no_cvm");
  t.strAvailableSpend = "lots";
  TReceipt spend;
  EXPECT_EQ(spend.WriteReceiptFile(t, till_, "", false, false, "", true), 1);
  EXPECT_EQ(spend.strErrorMessage(), "TReceipt.PrintTrailor() Failed - Type mismatch");
}

}  // namespace
}  // namespace ccaddin
