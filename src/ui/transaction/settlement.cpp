// Settling the sale: the result frame, the operator's Accept, Cancel and Complete, the
// confirmation that tells the server what became of the authorisation, and the automatic
// acceptance of a PIN-verified or unverified contactless card where the settings allow.
// No authorisation reaches the till as complete unless the server was asked to confirm it.
#include "payment/credit_card_common.h"
#include "qlclient/ql_codes.h"
#include "qlclient/ql_factory.h"
#include "ui/transaction/frm_transaction.h"

namespace ccaddin {

namespace {

// SendConfirmation's results.
constexpr int32_t kConfirmed = frmTransaction::kPrintingReceipt;
constexpr int32_t kNotConfirmed = frmTransaction::kError;

bool Authorised(const QlTransaction& t) {
  return t.lStatus == QL_STATUS_AUTHORISED;
}

}  // namespace

void frmTransaction::BindSettlement() {
  OnClick(cmdConfirmAuth, &frmTransaction::cmdConfirmAuth_Click);
  OnClick(cmdConfirmCancel, &frmTransaction::cmdConfirmCancel_Click);
  OnClick(cmdComplete, &frmTransaction::cmdComplete_Click);
}

void frmTransaction::FinishAuthorisation(int32_t lNextState) {
  const CreditCardCommon& shared = Shared();
  SetState(lNextState);
  const bool auto_accept =
      lNextState == kResult && oTrans && Authorised(*oTrans) &&
      ((IsPinCvm(oTrans->lCvmCode) && shared.bAutoAcceptOnPinVerification) ||
       (oTrans->lEntryMethodCode == QL_ENTRY_TAPPED && oTrans->lCvmCode == QL_CVM_NONE &&
        shared.bAutoAcceptTappedNoVerification));
  if (!auto_accept) {
    ShowState();
    // The server asked to start again (closing restarts the session), or the operation
    // ended without a result to show.
    if (lState == kRestart || lState == kFinished) {
      cmdCancel.SetEnabled(true);
      (void)Unload();
    }
    return;
  }
  int32_t result = kNotConfirmed;
  SendConfirmation(result);
  if (result == kNotConfirmed) {
    SetState(kError);
    ShowState();
    return;
  }
  if (Authorised(*oTrans)) {
    SetState(kPrintingReceipt);
    ShowState();
    PrintTransactionReceipt(false, false);
  }
  bAutoConfirmed = bAcceptedAutomatically = true;
  AfterConfirmation();
}

void frmTransaction::AfterConfirmation() {
  if (Shared().bRePrintReceipt) {
    SetState(kResult);
    ShowState();
    return;
  }
  SetState(kDisconnecting);
  cmdCancel.SetEnabled(true);
  (void)Unload();
}

void frmTransaction::cmdConfirmAuth_Click() {
  if (bConfirming) return;
  bConfirming = true;
  int32_t result = kNotConfirmed;
  SendConfirmation(result);
  if (result == kConfirmed) {
    bAutoConfirmed = true;
    SetState(kPrintingReceipt);
    ShowState();
    PrintTransactionReceipt(false, false);
    AfterConfirmation();
  } else {
    SetState(kError);
    ShowState();
  }
  bConfirming = false;
}

void frmTransaction::cmdConfirmCancel_Click() {
  if (bConfirmCancelling) return;
  bConfirmCancelling = true;
  SetState(kProcessingCard);
  ShowState();
  oTrans->bCancelled = true;
  int32_t result = kNotConfirmed;
  SendConfirmation(result);
  if (result == kConfirmed) {
    SetState(kPrintingReceipt);
    ShowState();
    PrintTransactionReceipt(true, false);
    PrintTransactionReceipt(false, false);
    AfterConfirmation();
  } else {
    SetState(kError);
    ShowState();
  }
  bConfirmCancelling = false;
}

void frmTransaction::cmdComplete_Click() {
  cmdCancel.SetEnabled(true);
  (void)Unload();
}

void frmTransaction::SendConfirmation(int32_t& lResult) {
  const CreditCardCommon& shared = Shared();
  lResult = kNotConfirmed;
  const bool cancel_was_enabled = cmdCancel.Enabled();
  cmdCancel.SetEnabled(false);

  int32_t ledger_state = TTender::kStateDeclined;
  int32_t confirm_type = QL_CONFIRM_DECLINED;
  if (oTrans->bCancelled) {
    ledger_state = TTender::kStateCancelled;
    confirm_type = QL_CONFIRM_CANCELLED;
  } else if (Authorised(*oTrans)) {
    ledger_state = TTender::kStateAuthorised;
    confirm_type = QL_CONFIRM_AUTHORISED;
  }
  (void)Ledger().UpdateState(shared.lTenderIndex, ledger_state);
  const std::string auth_code = confirm_type == QL_CONFIRM_AUTHORISED ? oTrans->strAuthCode : "";

  if (shared.bSplitTenderActive && confirm_type == QL_CONFIRM_AUTHORISED) {
    // The split tender confirms every part together once they add up to the total.
    lResult = kConfirmed;
  } else {
    auto confirm = CurrentQlFactory().CreateConfirm();
    int32_t result = 0;
    oRequest.ProcessConfirm(*confirm, *oTrans, shared.strQuaylinkClientId, oTrans->lTransRefNo,
                            auth_code, confirm_type, result);
    if (result == QL_REQ_UNEXPECTED) {
      strStatusText = oRequest.strErrorMessage();
      bServerError = true;
      // The server may have settled the sale without the answer arriving.
      if (confirm_type != QL_CONFIRM_DECLINED) ReverseUnconfirmed();
    } else {
      lResult = kConfirmed;
    }
  }
  cmdCancel.SetEnabled(cancel_was_enabled);
}

void frmTransaction::ShowResult() {
  const CreditCardCommon& shared = Shared();
  const QlTransaction& t = oTrans ? *oTrans : QlTransaction{};
  cmdKeyPad.SetEnabled(false);
  cmdComplete.SetVisible(false);
  if (IsResultReceiptPrinted() && shared.bRePrintReceipt) {
    cmdKeyPad.SetVisible(false);
    cmdReprint.SetVisible(true);
  }
  cmdCancel.SetEnabled(false);
  if (Authorised(t) && !t.bCancelled && !bAutoConfirmed) {
    capConfirmState.SetCaption("TRANSACTION HAS BEEN AUTHORISED");
    capbankMessage.SetCaption(t.strResponseText);
    capCv2Avs.SetCaption(t.strCv2AvsResult);
    for (Control* button : {&cmdConfirmAuth, &cmdConfirmCancel}) {
      button->SetVisible(true);
      button->SetEnabled(true);
    }
    std::string signature;
    if (bCustomerPresent &&
        (t.lCvmCode == QL_CVM_SIGNATURE || t.lCvmCode == QL_CVM_PIN_AND_SIGNATURE)) {
      signature = shared.bRefundSigOnMerchCopy || !IsRefundFamily(t.lTransactionTypeCode)
                      ? "CHECK CUSTOMER'S SIGNATURE"
                      : "SIGN CUSTOMER'S RECEIPT";
    }
    capCheckSignature.SetCaption(signature);
    // Escape refuses the payment rather than doing nothing.
    SetCancelButton(cmdConfirmCancel);
  } else {
    if (Authorised(t) && t.bCancelled) {
      capConfirmState.SetCaption("TRANSACTION HAS BEEN CANCELLED");
      capbankMessage.SetCaption("");
    } else if (Authorised(t)) {
      capConfirmState.SetCaption("TRANSACTION HAS BEEN AUTHORISED");
      capbankMessage.SetCaption(t.strResponseText);
      capCv2Avs.SetCaption(t.strCv2AvsResult);
    } else {
      capConfirmState.SetCaption("TRANSACTION HAS BEEN DECLINED");
      capbankMessage.SetCaption(t.strResponseText);
    }
    capCheckSignature.SetCaption("");
    for (Control* button : {&cmdConfirmAuth, &cmdConfirmCancel}) {
      button->SetEnabled(false);
      button->SetVisible(false);
    }
    cmdComplete.SetVisible(true);
    SetCancelButton(cmdComplete);
  }
  ShowFrame(kResult);
  (void)SetFocus(cmdConfirmAuth.Visible() ? cmdConfirmAuth : cmdComplete);
}

bool frmTransaction::IsResultReceiptPrinted() {
  if (!oTrans) return false;
  CreditCardCommon& shared = Shared();
  const QlTransaction& t = *oTrans;
  auto printed = [&](int32_t kind) { return shared.ShouldPrintReceipt(kind, t, false); };
  if (Authorised(t) && !t.bCancelled) {
    return printed(bLastCopyMerchant ? CreditCardCommon::kMerchantAuthorised
                                     : CreditCardCommon::kCustomerAuthorised);
  }
  if (Authorised(t)) {
    return printed(CreditCardCommon::kCustomerCancelled) ||
           printed(CreditCardCommon::kMerchantCancelled);
  }
  if (t.lStatus == QL_STATUS_DECLINED) {
    return printed(CreditCardCommon::kCustomerDeclined) ||
           printed(CreditCardCommon::kMerchantDeclined);
  }
  return false;
}

}  // namespace ccaddin
