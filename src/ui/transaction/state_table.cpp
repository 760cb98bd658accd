// What each state of the window shows: the one place that says which frame is up, with
// which captions, and which buttons the operator can use.
#include <utility>

#include "payment/credit_card_common.h"
#include "ui/transaction/frm_transaction.h"

namespace ccaddin {

namespace {

constexpr int32_t kStatusPollMs = 350;

// ShowFrame's frame numbers. The generic frame serves three: connecting (1),
// disconnecting (8) and every "please wait" message (11).
constexpr int32_t kFrameGeneric = 1;
constexpr int32_t kFrameDisconnecting = 8;
constexpr int32_t kFrameMessage = 11;

}  // namespace

void frmTransaction::ShowState() {
  const CreditCardCommon& shared = Shared();
  if (state_trail_.empty() || state_trail_.back() != lState) state_trail_.push_back(lState);
  txtStatus.SetText("");
  tmrInsertSwipe.SetEnabled(false);
  tmrStatus.SetEnabled(false);
  cmdReprint.SetVisible(false);
  SetCancelButton(cmdCancel);

  // The generic frame with its message.
  auto message = [&](int32_t frame, const char* text) {
    ShowFrame(frame);
    capGenMessage.SetCaption(text);
  };
  auto poll_status = [&] {
    tmrStatus.SetInterval(kStatusPollMs);
    tmrStatus.SetEnabled(true);
  };

  switch (lState) {
    case kConnecting:
      message(kFrameGeneric, "CONNECTING TO SERVER");
      cmdKeyPad.SetEnabled(false);
      cmdCancel.SetEnabled(false);
      break;
    case kCardWait:
    case kKeyedNumber:
    case kSwipeOnTill:
    case kExternalSwipe:
      ShowCardFrame();
      break;
    case kError:
      ShowFrame(kError);
      capErrorMsg.SetCaption(strStatusText);
      cmdKeyPad.SetEnabled(false);
      cmdCancel.SetEnabled(true);
      // A server failure cannot be continued: the session is not in a state to go on.
      cmdContinueTxn.SetEnabled(!bServerError);
      cmdRestartTxn.SetEnabled(!bServerError);
      (void)SetFocus(bServerError ? cmdCancel : cmdContinueTxn);
      break;
    case kProcessingCard:
    case kProcessing:
      message(kFrameMessage, "PROCESSING TRANSACTION");
      cmdKeyPad.SetEnabled(false);
      cmdCancel.SetEnabled(false);
      poll_status();
      break;
    case kDisconnecting:
      message(kFrameDisconnecting, "DIS-CONNECTING FROM SERVER");
      cmdKeyPad.SetEnabled(false);
      cmdCancel.SetEnabled(false);
      cmdSplitTender.SetEnabled(false);
      break;
    case kDetails: {
      ShowFrame(kDetails);
      Control* fields[] = {&txtExpDate, &txtStartDate,       &txtIssue,   &txtCV2,
                           &txtAddress, &txtPostCode,        &txtRefText, &txtReg,
                           &txtMileage, &txtProductRestrict, &txtSuppId};
      for (Control* field : fields) field->SetText("");
      for (Control* field : fields) {
        if (SetFocus(*field)) break;
      }
      UpdateContinueTransInfo();
      break;
    }
    case kReferral:
      ShowFrame(kReferral);
      ShowReferral();
      cmdKeyPad.SetEnabled(true);
      cmdCancel.SetEnabled(false);
      SetCancelButton(cmdDecline);
      break;
    case kResult:
      ShowResult();
      break;
    case kFinished:
      cmdKeyPad.SetEnabled(false);
      break;
    case kPrintingReceipt:
    case kPrintingReport:
      message(kFrameMessage, "PRINTING RECEIPT");
      cmdCancel.SetEnabled(false);
      break;
    case kDuplicate:
      ShowFrame(kDuplicate);
      txtEftNo.SetText("");
      cmdPrintReceipt.SetEnabled(false);
      cmdKeyPad.SetEnabled(true);
      cmdCancel.SetEnabled(true);
      break;
    case kReport:
      ShowFrame(kReport);
      capReportType.SetCaption(shared.lReportType == 1 ? "PRINT X-REPORT" : "PRINT Z-REPORT");
      break;
    case kCustomerPresent:
      ShowFrame(kCustomerPresent);
      cmdKeyPad.SetEnabled(false);
      cmdCancel.SetEnabled(true);
      break;
    case kCashback:
      ShowFrame(kCashback);
      txtCashAmount.SetText("");
      cmdContinueCashback.SetEnabled(true);
      cmdKeyPad.SetEnabled(true);
      cmdCancel.SetEnabled(true);
      (void)SetFocus(txtCashAmount);
      break;
    case kPinBypass:
      ShowFrame(kPinBypass);
      cmdAllowPinBypass.SetEnabled(true);
      cmdDisallowPinBypass.SetEnabled(true);
      SetCancelButton(cmdDisallowPinBypass);
      break;
    case kVoid:
      ShowFrame(kVoid);
      txtVoidSeqNo.SetText("");
      cmdVoidSeqNo.SetEnabled(false);
      cmdKeyPad.SetEnabled(true);
      cmdCancel.SetEnabled(true);
      break;
    default:
      // 24 (restart) is never shown: the window closes and closing restarts the session.
      break;
  }
}

void frmTransaction::ShowFrame(int32_t lFrame) {
  const std::pair<int32_t, Control*> frames[] = {{kFrameGeneric, &fraGeneric},
                                                 {kFrameDisconnecting, &fraGeneric},
                                                 {kFrameMessage, &fraGeneric},
                                                 {kCardWait, &fraInsertSwipe},
                                                 {kError, &fraError},
                                                 {kDetails, &fraTransInfo},
                                                 {kReferral, &fraReferral},
                                                 {kResult, &fraConfirm},
                                                 {kDuplicate, &fraDuplicate},
                                                 {kReport, &fraReport},
                                                 {kCustomerPresent, &fraCustomerPresent},
                                                 {kCashback, &fraCashback},
                                                 {kPinBypass, &fraPinByPass},
                                                 {kVoid, &fraVoidTransaction}};
  Control* shown = nullptr;
  for (const auto& [number, frame] : frames) {
    if (number == lFrame) shown = frame;
  }
  if (shown == nullptr) return;
  for (const auto& [number, frame] : frames) {
    if (frame != shown) frame->SetVisible(false);
  }
  shown->SetVisible(true);
}

void frmTransaction::SetFieldEnabled(bool bEnabled, Control& oControl) {
  oControl.SetEnabled(bEnabled);
  oControl.SetBackColor(bEnabled ? BackColour::Window : BackColour::ButtonFace);
}

}  // namespace ccaddin
