#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "payment/credit_card_common.h"
#include "payment/question_service.h"

namespace ccaddin {
namespace {

using C = CreditCardCommon;

// Answers every question with a preset answer and remembers what it was asked.
class StubQuestions : public QuestionService {
 public:
  explicit StubQuestions(bool answer) : answer_(answer) {}
  bool Ask(const std::string& strTitle, const std::string& strQuestion,
           const std::string& strYesCaption, const std::string& strNoCaption) override {
    asked.push_back(strTitle + "|" + strQuestion + "|" + strYesCaption + "|" + strNoCaption);
    return answer_;
  }
  std::vector<std::string> asked;

 private:
  bool answer_;
};

QlTransaction Trans(int32_t type_code, int32_t cvm, int32_t entry) {
  QlTransaction t;
  t.lTransactionTypeCode = type_code;
  t.lCvmCode = cvm;
  t.lEntryMethodCode = entry;
  return t;
}

const QlTransaction kChipPinSale = Trans(1, 1, 2);
const QlTransaction kSignedSale = Trans(1, 3, 2);
const QlTransaction kSignedRefund = Trans(6, 3, 2);
const QlTransaction kTappedNoCvm = Trans(1, 0, 3);

// Which of the six kinds print, as "010101" (kind 0 first).
std::string Printed(const QlTransaction& t, bool question_allowed = false) {
  std::string out;
  for (int32_t kind = 0; kind <= 5; ++kind) {
    out += Shared().ShouldPrintReceipt(kind, t, question_allowed) ? '1' : '0';
  }
  return out;
}

TEST(PrintDecision, BitmapSuppressesOneKindPerBit) {
  ScopedSharedState scoped;
  struct Case {
    int32_t bitmap;
    std::string printed;
  };
  for (const Case& c : {Case{0, "111111"}, Case{1, "111111"}, Case{2, "011111"}, Case{4, "101111"},
                        Case{8, "110111"}, Case{16, "111011"}, Case{32, "111101"},
                        Case{64, "111110"}, Case{3, "011111"}, Case{126, "000000"},
                        Case{127, "000000"}, Case{128, "111111"}, Case{-1, "000000"}}) {
    Shared().lPrintReceiptsBitmap = c.bitmap;
    EXPECT_EQ(Printed(kChipPinSale), c.printed) << "bitmap " << c.bitmap;
  }
  EXPECT_FALSE(Shared().ShouldPrintReceipt(6, kChipPinSale, false));
  EXPECT_FALSE(Shared().ShouldPrintReceipt(-1, kChipPinSale, false));
}

TEST(PrintDecision, SuppressedMerchantCopyStillPrintsWhereItMustBeSigned) {
  ScopedSharedState scoped;
  C& s = Shared();
  s.lPrintReceiptsBitmap = 126;
  EXPECT_EQ(Printed(kSignedSale), "100000");
  EXPECT_EQ(Printed(kChipPinSale), "000000");
  // A refund's signature goes on the merchant copy only where the setting says so.
  EXPECT_EQ(Printed(kSignedRefund), "000000");
  s.bRefundSigOnMerchCopy = true;
  EXPECT_EQ(Printed(kSignedRefund), "100000");
  EXPECT_EQ(Printed(Trans(6, 1, 2)), "100000");
  // A till that collects merchant copies itself gets the signature slip that way.
  s.bMakeMerchantReceiptsAvailableToClient = true;
  EXPECT_EQ(Printed(kSignedRefund), "000000");
  EXPECT_EQ(Printed(kSignedSale), "000000");
}

TEST(PrintDecision, TappedUnverifiedCustomerCopyIsTheOperatorsQuestion) {
  ScopedSharedState scoped;
  C& s = Shared();
  s.bPromptTappedCustomerReceipt = true;
  StubQuestions no(false);
  {
    ScopedQuestionService installed(&no);
    EXPECT_EQ(Printed(kTappedNoCvm, true), "111000");
  }
  ASSERT_EQ(no.asked.size(), 3u);
  EXPECT_EQ(no.asked[0], "TRANSACTION AUTHORISED|Does customer require a receipt?|Yes|No");
  EXPECT_EQ(no.asked[1], "TRANSACTION DECLINED|Does customer require a receipt?|Yes|No");
  EXPECT_EQ(no.asked[2], "TRANSACTION CANCELLED|Does customer require a receipt?|Yes|No");
  EXPECT_EQ(s.strQuestionTitle, "TRANSACTION CANCELLED");
  EXPECT_FALSE(s.bQuestionAnswer);

  StubQuestions yes(true);
  ScopedQuestionService installed(&yes);
  EXPECT_EQ(Printed(kTappedNoCvm, true), "111111");
  EXPECT_TRUE(s.bQuestionAnswer);
  EXPECT_EQ(yes.asked.size(), 3u);

  // No question: not allowed here, a verified or inserted card, a suppressed copy, the
  // prompt switched off, or a bitmap of 1.
  yes.asked.clear();
  EXPECT_EQ(Printed(kTappedNoCvm, false), "111111");
  EXPECT_EQ(Printed(Trans(1, 1, 3), true), "111111");
  EXPECT_EQ(Printed(Trans(1, 0, 2), true), "111111");
  s.lPrintReceiptsBitmap = 16;
  EXPECT_EQ(Printed(kTappedNoCvm, true), "111011");
  EXPECT_EQ(yes.asked.size(), 2u);  // kinds 4 and 5 were still asked
  yes.asked.clear();
  s.lPrintReceiptsBitmap = 1;
  EXPECT_EQ(Printed(kTappedNoCvm, true), "111111");
  s.lPrintReceiptsBitmap = 0;
  s.bPromptTappedCustomerReceipt = false;
  EXPECT_EQ(Printed(kTappedNoCvm, true), "111111");
  EXPECT_TRUE(yes.asked.empty());
}

TEST(PrintDecision, WithNobodyToAskTheTappedCustomerCopyIsNotPrinted) {
  ScopedSharedState scoped;
  Shared().bPromptTappedCustomerReceipt = true;
  ASSERT_EQ(CurrentQuestionService(), nullptr);
  EXPECT_EQ(Printed(kTappedNoCvm, true), "111000");
  EXPECT_EQ(Shared().strQuestion, "Does customer require a receipt?");
}

}  // namespace
}  // namespace ccaddin
