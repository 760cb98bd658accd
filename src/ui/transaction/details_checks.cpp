// After the card is read: the card enquiry, which tells the window what else the card
// needs (dates, issue number, CV2, address, fuel details, cashback), the details and
// cashback frames with their checks, and the fuel card's product checks.
//
// TODO(details): the details and cashback frames' handlers and checks, the fuel card
// evaluation and product checks, and the sale without a card enquiry are not built yet;
// each of those paths fails loudly below ("... is not built yet").
#include "payment/credit_card_common.h"
#include "qlclient/ql_codes.h"
#include "qlclient/ql_factory.h"
#include "ui/transaction/frm_transaction.h"

namespace ccaddin {

namespace {

[[noreturn]] void NotBuiltYet(const std::string& what) {
  throw Failure(what + " is not built yet");
}

}  // namespace

void frmTransaction::BindDetailsChecks() {
  OnClick(cmdContinueTransInfo, &frmTransaction::NotBuiltYet_Click);
  OnClick(cmdContinueCashback, &frmTransaction::NotBuiltYet_Click);
}

void frmTransaction::RunCardEnquiry(int32_t& lNextState) {
  CreditCardCommon& shared = Shared();
  lNextState = kError;
  cmdCancel.SetEnabled(false);
  strStatusText.clear();
  bServerError = false;
  if (!shared.bCardEnquiry) NotBuiltYet("the sale without a card enquiry");

  if (lEntryMethod == kEntryTapped && !shared.bCardReaderStatus) {
    // A tap needs the transaction open on the terminal, which the reader's status
    // polling would otherwise have done.
    int32_t started = kError;
    StartCardSession(false, started);
  }
  int32_t data_mode = QL_ENTRY_CHIP;
  std::string pan;
  std::string track;
  switch (lEntryMethod) {
    case kEntryTillTrack:
      data_mode = QL_ENTRY_SWIPED;
      track = std::exchange(strSwipeBuffer, std::string());
      break;
    case kEntrySwiped:
      data_mode = QL_ENTRY_SWIPED;
      break;
    case kEntryKeyed:
      data_mode = QL_ENTRY_KEYED;
      if (!shared.bE2EEEnabled) pan = txtKeySwipe.Text();
      break;
    case kEntryTapped:
      data_mode = QL_ENTRY_TAPPED;
      break;
    default:
      break;
  }
  int32_t result = 0;
  oRequest.ProcessCardEnquiry(*oEnq,
                              bCustomerPresent ? TAM_TM_CUSTOMERPRESENT : TAM_TM_CUSTOMERNOTPRESENT,
                              pan, track, data_mode, result);
  switch (result) {
    case QL_REQ_DONE: {
      oTrans = NewTransaction();
      switch (oEnq->lCardDataType) {
        case QL_ENTRY_SWIPED:
          oTrans->lEntryMethodCode = QL_ENTRY_SWIPED;
          oTrans->strTrack = oEnq->strTrack;
          break;
        case QL_ENTRY_CHIP:
        case QL_ENTRY_TAPPED:
          oTrans->lEntryMethodCode = oEnq->lCardDataType;
          break;
        default:
          oTrans->lEntryMethodCode = QL_ENTRY_KEYED;
          oTrans->strPan = oEnq->strPan;
          oTrans->strExpiryDate = oEnq->strExpiryDate;
          break;
      }
      oTrans->lCardType = oEnq->lCardType;
      if (shared.bFuelBalanceMode) NotBuiltYet("the fuel balance enquiry");
      if (oEnq->lCardType == QL_CARD_FUEL) NotBuiltYet("the fuel card's details");

      const int32_t cash = Ledger().GetCashAmount(shared.lTenderIndex);
      const bool cashback_possible = oEnq->IsCashbackAllowed(1) && bCustomerPresent &&
                                     shared.lTransactionType == TAM_TT_SALE &&
                                     shared.lTillType != 2 && shared.bCashback;
      if (cash == 0 && cashback_possible && oTrans->lEntryMethodCode != QL_ENTRY_TAPPED) {
        // The details follow the amount (the cashback frame's Continue).
        lNextState = kCashback;
        break;
      } else if (cash >= 1 && cashback_possible) {
        oTrans->lTransactionTypeCode = QL_TT_SALE_CASHBACK;
        oTrans->strCashbackAmount = std::to_string(cash);
      } else if (cash > 0) {
        bServerError = true;
        strStatusText = "Cashback is not allowed for this card";
        break;
      }

      int32_t prompts[7] = {};
      bool any = false;
      for (int32_t i = 0; i < 7; ++i) {
        prompts[i] = oEnq->GetEntryPrompt(i);
        any = any || prompts[i] != 0;
      }
      lCv2Prompt = prompts[3];
      if (!any) {
        RunAuthorisation(lNextState);
        break;
      }
      SetFieldEnabled(prompts[0] != 0, txtExpDate);
      SetFieldEnabled(prompts[1] != 0, txtStartDate);
      SetFieldEnabled(prompts[2] != 0, txtIssue);
      SetFieldEnabled(prompts[3] != 0, txtCV2);
      SetFieldEnabled(prompts[4] != 0, txtPostCode);
      SetFieldEnabled(prompts[5] != 0 && shared.lTransactionType == TAM_TT_SALE, txtAddress);
      SetFieldEnabled(prompts[6] != 0, txtRefText);
      for (Control* fuel : {&txtReg, &txtMileage, &txtProductRestrict, &txtSuppId})
        SetFieldEnabled(false, *fuel);
      lNextState = kDetails;
      break;
    }
    case QL_REQ_FAILED:
      strStatusText = oRequest.strErrorMessage();
      if (!shared.bMailOrderOnly) {
        lReturnState = shared.bExternalSwipe ? kExternalSwipe : kCardWait;
      } else if (!shared.bE2EEEnabled) {
        bCustomerPresent = false;
        lReturnState = kKeyedNumber;
      } else {
        bServerError = true;
        strStatusText = "CARD READER IS NOT AVAILABLE";
      }
      break;
    case QL_REQ_CONNECTION_LOST:
    case QL_REQ_UNEXPECTED:
      ServerFailed(result);
      break;
    case QL_REQ_FALLBACK:
      lNextState = kSwipeOnTill;
      break;
    case QL_REQ_PASSED_ON:
      lNextState = kExternalSwipe;
      break;
    default:
      break;
  }
  cmdCancel.SetEnabled(true);
}

void frmTransaction::CheckFuelProducts(int32_t lSaleAmount, const std::string& strCardData,
                                       int32_t& lResult) {
  (void)lSaleAmount, (void)strCardData;
  lResult = 1;
  NotBuiltYet("the fuel card's product checks");
}

}  // namespace ccaddin
