// CreditCardCommon::ShouldPrintReceipt: which receipt copies are printed.
#include "payment/credit_card_common.h"
#include "payment/question_service.h"
#include "platform/long_bit_map.h"
#include "platform/trap.h"

namespace ccaddin {
namespace {

const char* QuestionTitle(int32_t lReceiptKind) {
  switch (lReceiptKind) {
    case CreditCardCommon::kCustomerAuthorised:
      return "TRANSACTION AUTHORISED";
    case CreditCardCommon::kCustomerDeclined:
      return "TRANSACTION DECLINED";
    default:
      return "TRANSACTION CANCELLED";
  }
}

}  // namespace

bool CreditCardCommon::ShouldPrintReceipt(int32_t lReceiptKind, const QlTransaction& oTrans,
                                          bool bQuestionAllowed) {
  return Trap(error_message_, "CreditCardCommon.ShouldPrintReceipt() Failed - ", false, [&] {
    // 1 is "print everything", not "suppress nothing but kind 0's bit".
    if (lPrintReceiptsBitmap == 1) return true;
    TLongBitMap suppressed;
    suppressed.SetBitMap(lPrintReceiptsBitmap);

    bool print = false;
    if (lReceiptKind >= kMerchantDeclined && lReceiptKind <= kCustomerCancelled) {
      print = !suppressed.GetField(lReceiptKind + 1);
    } else if (lReceiptKind == kMerchantAuthorised) {
      print = !suppressed.GetField(1);
      // The merchant copy is the signed one: keep printing it where a signature belongs on
      // it, unless the till collects merchant copies itself.
      if (!print && !bMakeMerchantReceiptsAvailableToClient) {
        const bool refund = oTrans.lTransactionTypeCode == QL_TT_REFUND;
        print =
            (refund && bRefundSigOnMerchCopy) || (!refund && oTrans.lCvmCode == QL_CVM_SIGNATURE);
      }
    }

    if (print && lReceiptKind >= kCustomerAuthorised && lReceiptKind <= kCustomerCancelled &&
        bQuestionAllowed && oTrans.lEntryMethodCode == QL_ENTRY_TAPPED &&
        oTrans.lCvmCode == QL_CVM_NONE && bPromptTappedCustomerReceipt) {
      strQuestionTitle = QuestionTitle(lReceiptKind);
      strQuestion = "Does customer require a receipt?";
      strQuestionYesCaption = "Yes";
      strQuestionNoCaption = "No";
      bQuestionAnswer = false;
      if (QuestionService* service = CurrentQuestionService()) {
        bQuestionAnswer = service->Ask(strQuestionTitle, strQuestion, strQuestionYesCaption,
                                       strQuestionNoCaption);
      }
      print = bQuestionAnswer;
    }
    return print;
  });
}

}  // namespace ccaddin
