#include "ui/transaction/transaction_receipts.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <set>

#include "payment/credit_card_common.h"
#include "platform/virtual_env.h"
#include "qlclient/ql_codes.h"
#include "receipts/recording_pos_printer.h"
#include "support/golden_text.h"
#include "support/temp_dir.h"
#include "ui/form_call_scope.h"

namespace ccaddin {
namespace {

struct AnswerNo : QuestionService {
  bool Ask(const std::string& title, const std::string&, const std::string&,
           const std::string&) override {
    asked.push_back(title);
    return false;
  }
  std::vector<std::string> asked;
};

class TransactionReceiptsTest : public ::testing::Test {
 protected:
  TransactionReceiptsTest() {
    CreditCardCommon& c = Shared();
    c.lPrinterType = 1;
    c.lBaseCurrencyExponent = 2;
    c.strReceiptFileLocation = dir_.file("rcpt");
    c.oTillInfo.strTillNumber = "3";
    c.oTillInfo.strStoreNumber = "12";
    journal_.StartLog(dir_.folder(), true);
    // A swiped sale of 19.99 that the customer signed for.
    sale_.lEntryMethodCode = sale_.lCustomerPresence = sale_.lTransactionTypeCode = sale_.lStatus =
        1;
    sale_.strPan = "6759649826438453";
    sale_.strAmount = "1999";
    sale_.lTransRefNo = 4712;
    sale_.lCvmCode = 3;
  }
  int32_t Print(bool merchant, bool duplicate = false) {
    return receipts_.PrintTransactionReceipt(sale_, merchant, duplicate);
  }
  // The receipt files left, none holding the card number.
  std::set<std::string> Files() const {
    std::set<std::string> names;
    for (const auto& f : std::filesystem::directory_iterator(dir_.file("rcpt"))) {
      names.insert(f.path().filename().string());
      EXPECT_EQ(dir_.Read("rcpt/" + f.path().filename().string()).find(sale_.strPan),
                std::string::npos);
    }
    return names;
  }

  VirtualEnv env_;
  ScopedEnv scoped_env_{&env_};
  ScopedSharedState shared_;
  testing::TempDir dir_;
  TAddinLog journal_;
  FormCallScope call_{&journal_};
  AnswerNo answer_;
  ScopedQuestionService answers_{&answer_};
  QlTransaction sale_;
  testing::RecordingPrinter printer_;
  TransactionReceipts receipts_{&printer_};
};

TEST_F(TransactionReceiptsTest, BothCopiesThenARePrintOfTheLastWithTheFirstPrintsNameAndTime) {
  CreditCardCommon& c = Shared();
  c.bSaveReceipts = c.bMakeMerchantReceiptsAvailableToClient = true;
  for (auto* text : {&c.oCustomerReceiptStartText, &c.oCustomerReceiptEndText}) {
    *text = std::make_unique<TReceiptDataInterpreter>();
    (*text)->ParseReceiptData(text == &c.oCustomerReceiptEndText ? "Thank you" : "WELCOME", "", "");
  }
  ASSERT_EQ(Print(true), 0) << receipts_.strErrorMessage();
  EXPECT_TRUE(receipts_.bLastCopyMerchant());
  ASSERT_EQ(Print(false), 0);
  EXPECT_FALSE(receipts_.bLastCopyMerchant());
  env_.Advance(90'000);
  ASSERT_EQ(Print(false, true), 0);

  // The card number in clear on the merchant's paper only; the till's texts round the customer's.
  EXPECT_TRUE(
      testing::MatchesGolden(printer_.printed, "receipts/printed_signed_sale_and_reprint.txt"));
  const std::string name = "0000012_0000003_0000004712_20260115_103000.rcpt";
  EXPECT_EQ(Files(), (std::set<std::string>{"M_" + name, "C_" + name, "DUP_C_" + name}));
  std::vector<std::string> kept;  // type, signature flag, card number in clear
  for (const ClientReceipt& r : c.oClientReceipts) {
    kept.push_back(std::to_string(r.lType) + (r.bSignatureRequired ? " signed" : "") +
                   (r.strText.find("6759 6498 2643 8453") != std::string::npos ? " clear" : ""));
  }
  EXPECT_EQ(kept, (std::vector<std::string>{"1 signed clear", "4", "4"}));
  EXPECT_EQ(c.strLastCustomerReceipt, c.oClientReceipts[1].strText);
}

TEST_F(TransactionReceiptsTest, PaperFollowsThePrintRulesAndFailuresWhileTheTillGetsEveryCopy) {
  CreditCardCommon& c = Shared();
  c.bPromptTappedCustomerReceipt = true;
  sale_.lEntryMethodCode =
      QL_ENTRY_TAPPED;  // tapped, no verification: the operator is asked, says No
  sale_.lCvmCode = 0;
  EXPECT_EQ(Print(true) + Print(false), 0);
  EXPECT_TRUE(receipts_.bLastCopyMerchant());
  EXPECT_EQ(Print(false, true), 0);  // a duplicate is asked for: no question
  EXPECT_EQ(answer_.asked, std::vector<std::string>{"TRANSACTION AUTHORISED"});
  // Declined: suppressed for the merchant; the till prints the customer's itself.
  sale_.lStatus = QL_STATUS_DECLINED;
  c.lPrintReceiptsBitmap = 4;
  c.bCustomerReceiptDisabled = true;
  EXPECT_EQ(Print(true) + Print(false), 0);
  EXPECT_EQ(std::count(printer_.calls.begin(), printer_.calls.end(), "PrintNormal 2"), 2);
  printer_.fail_on = "PrintNormal";
  c.bCustomerReceiptDisabled = false;
  EXPECT_EQ(Print(false, true) + Print(true, true), 1);  // only the customer's was tried
  EXPECT_EQ(receipts_.strErrorMessage(),
            "TReceipt.PrintReceipt() Failed - PrintNormal 2: paper out");
  EXPECT_NE(dir_.Read("tamberincreditcard.log")
                .find("ERROR  : TReceipt.PrintReceipt() Failed - PrintNormal 2: paper out"),
            std::string::npos);
  std::string types;
  for (const ClientReceipt& r : c.oClientReceipts) types += std::to_string(r.lType);
  EXPECT_EQ(types, "4455");
  EXPECT_NE(c.strLastCustomerReceipt.find("TRANSACTION DECLINED"), std::string::npos);
  EXPECT_TRUE(Files().empty());
}

}  // namespace
}  // namespace ccaddin
