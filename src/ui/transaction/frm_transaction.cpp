// The window's life: loading, closing (with the restart the server may ask for), Cancel,
// the error frame's two buttons and the split tender button.
#include "ui/transaction/frm_transaction.h"

#include "payment/credit_card_common.h"
#include "payment/tamberin_string.h"
#include "platform/trap.h"
#include "qlclient/ql_codes.h"
#include "ui/t_windws_form.h"

namespace ccaddin {

void frmTransaction::Form_Load() {
  CreditCardCommon& shared = Shared();
  Layout();
  if (shared.bAlwaysOnTop) (void)TWindwsForm::SetTopMostWindow(*this, true);
  picLogo.SetVisible(shared.bDisplayHalcyraLogo);

  shared.bMileagePrompted = shared.bRegPrompted = shared.bSuppIdPrompted = false;
  lState = lReturnState = 0;
  strStatusText.clear();
  lEntryMethod = kEntryChip;
  bServerError = bOperatorCancelled = bCancelPending = bSplitTenderRequested = false;
  bKeyEntryPressed = bChipPressed = bSwipePressed = bTapPressed = false;
  bCustomerPresent = true;
  bAutoConfirmed = bRestarted = false;
  bClosing = bRestarting = bContinuing = bKeyEntering = bConfirming = false;
  bContinuingDetails = bContinuingCashback = false;
  strSwipeBuffer.clear();
  lFocusedDetailField = 0;
  bLastCopyMerchant = false;
  CreateSessionObjects();

  fraGeneric.SetVisible(true);
  fraInsertSwipe.SetVisible(false);
  fraCashback.SetVisible(false);
  if (shared.oTender) lTotalSaleAmount = shared.oTender->GetTotalSaleAmount();

  oRequest.SetSettings(MakeQlRequestSettings(shared));
  cmdSplitTender.SetVisible(false);
  strInsertSwipePrompt = "INSERT OR SWIPE CARD";
  tmrStart.SetInterval(50);
  tmrStart.SetEnabled(true);
}

void frmTransaction::Form_Unload(int16_t& Cancel) {
  // Every request disables Cancel, and the window closes only when Cancel is allowed: a
  // close in the middle of a request would leave the server's session half done.
  if (!cmdCancel.Enabled()) {
    Cancel = 1;
    return;
  }
  CreditCardCommon& shared = Shared();
  if (lState == kRestart) {
    // The server asked for the transaction to start again: a new session in this window.
    EndSession();
    SetState(shared.bExternalSwipe ? kExternalSwipe : kCardWait);
    ShowState();
    bRestarted = true;
    tmrStart.SetInterval(50);
    tmrStart.SetEnabled(true);
    Cancel = 1;
    return;
  }
  if (shared.bFuelBalanceMode && lState == kFinished) {
    shared.CloneTransaction(oTrans ? *oTrans : QlTransaction{});
    shared.bTransactionComplete = true;
  }
  SetState(kDisconnecting);
  ShowState();
  EndSession();
  if (IsCardTransaction()) {
    const QlTransaction& trans = oTrans ? *oTrans : QlTransaction{};
    shared.CloneTransaction(trans);
    // Only an authorisation the operator kept counts; the declined, the cancelled and
    // the unanswered do not.
    shared.bTransactionComplete = trans.lStatus != QL_STATUS_NONE && !trans.bCancelled &&
                                  !bOperatorCancelled && trans.lStatus != QL_STATUS_DECLINED;
    if (shared.bTransactionComplete && trans.lTransactionTypeCode == QL_TT_SALE_CASHBACK &&
        shared.oTender) {
      (void)shared.oTender->UpdateCashAmount(shared.lTenderIndex,
                                             TamberinString::StrToLong(trans.strCashbackAmount));
    }
  }
  ReleaseSessionObjects();
  bClosing = bRestarting = bContinuing = bKeyEntering = bConfirming = false;
  bContinuingDetails = bContinuingCashback = false;
}

void frmTransaction::cmdCancel_Click() {
  if (bClosing) return;
  bClosing = true;
  bOperatorCancelled = true;
  if (lState == kCardWait || lState == kExternalSwipe) {
    // The card-wait step may be half way through a reader poll; it closes the window
    // on its next tick, after its own work.
    bCancelPending = true;
    return;
  }
  if (!Unload()) bClosing = false;
}

void frmTransaction::cmdContinueTxn_Click() {
  if (bContinuing) return;
  bContinuing = true;
  SetState(lReturnState);
  ShowState();
  bContinuing = false;
}

void frmTransaction::cmdRestartTxn_Click() {
  if (bRestarting) return;
  bRestarting = true;
  EndSession();
  lReturnState = 0;
  SetState(kConnecting);
  tmrStart_Timer();
  bRestarting = false;
}

void frmTransaction::cmdSplitTender_Click() {
  switch (lState) {
    case kKeyedNumber:
    case kSwipeOnTill:
      Shared().bSplitTenderActive = true;
      (void)Unload();
      break;
    case kCardWait:
    case kExternalSwipe:
      bSplitTenderRequested = true;
      break;
    default:
      break;
  }
}

void frmTransaction::SetState(int32_t state) {
  lState = state;
}

void frmTransaction::NotBuiltYet_Click() {
  throw Failure("this button's work is not built yet");
}

bool frmTransaction::IsCardTransaction() const {
  const CreditCardCommon& shared = Shared();
  return !shared.bReceiptMode && !shared.bReportMode && !shared.bVoidMode &&
         !shared.bFuelBalanceMode;
}

}  // namespace ccaddin
